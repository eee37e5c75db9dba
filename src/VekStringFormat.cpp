// VekStringFormat.cpp - not written yet.
