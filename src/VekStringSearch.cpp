// VekStringSearch.cpp - not written yet.
