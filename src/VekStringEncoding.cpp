// VekStringEncoding.cpp - not written yet.
