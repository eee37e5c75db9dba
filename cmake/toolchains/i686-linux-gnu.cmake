# 32-bit x86: size_t is 32 bits while VekSizeT stays 64.
set(VEK_CROSS_TRIPLE i686-linux-gnu)
set(VEK_CROSS_PROCESSOR i686)
set(VEK_CROSS_QEMU qemu-i386)
include("${CMAKE_CURRENT_LIST_DIR}/LinuxGnuCross.cmake")
