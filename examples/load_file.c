/* load_file.c - see load_file.h. */
#include "load_file.h"

#include <stdio.h>

int LoadFile(VekString* text, const char* path, VekAllocator* a)
{
    FILE* f = fopen(path, "rb");
    long length;
    char* block;
    if (f == NULL || fseek(f, 0, SEEK_END) != 0 || (length = ftell(f)) < 0 ||
        fseek(f, 0, SEEK_SET) != 0) {
        if (f != NULL)
            fclose(f);
        return 0;
    }
    block = (char*)VekAllocatorAllocate(a, (VekSizeT)length + 1);
    if (block == NULL || fread(block, 1, (size_t)length, f) != (size_t)length) {
        if (block != NULL)
            VekAllocatorDeallocate(a, block, (VekSizeT)length + 1);
        fclose(f);
        return 0;
    }
    fclose(f);
    VekStringConstructWithExternalBuffer(text, block, (VekSizeT)length, (VekSizeT)length + 1, a);
    return 1;
}
