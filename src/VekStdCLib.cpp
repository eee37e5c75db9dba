// VekStdCLib.cpp - not written yet.
