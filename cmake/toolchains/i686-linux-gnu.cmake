# 32-bit x86: size_t is 32 bits while VekSizeT stays 64.
set(VEK_CROSS_TRIPLE i686-linux-gnu)
set(VEK_CROSS_PROCESSOR i686)
set(VEK_CROSS_QEMU qemu-i386)
include("${CMAKE_CURRENT_LIST_DIR}/LinuxGnuCross.cmake")

# Under qemu-i386 the child of fork() in a dynamically linked program hangs
# or crashes before it runs a line of its own, which would stop every death
# test; statically linked programs fork normally.
set(CMAKE_EXE_LINKER_FLAGS_INIT -static)
