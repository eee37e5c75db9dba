// VekCoreFoundation.cpp - not written yet.
