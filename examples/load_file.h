/*
 * load_file.h - reading a whole file into a string, shared by the examples.
 */
#ifndef VEK_EXAMPLES_LOAD_FILE_H
#define VEK_EXAMPLES_LOAD_FILE_H

#include <Vek/Utils/VekString.h>

/* LoadFile reads a whole file into a block from the allocator and lets text
 * adopt it: the bytes are read once and never copied. 0 when the file cannot
 * be read or memory ran out (text is then left unconstructed). */
int LoadFile(VekString* text, const char* path, VekAllocator* a);

#endif /* VEK_EXAMPLES_LOAD_FILE_H */
