// VekUtf8Encoding.cpp - not written yet.
