// VekStringEdit.cpp - not written yet.
