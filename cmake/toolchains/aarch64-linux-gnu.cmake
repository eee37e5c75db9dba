# ARM64, where NEON is baseline: the vector paths are on.
set(VEK_CROSS_TRIPLE aarch64-linux-gnu)
set(VEK_CROSS_PROCESSOR aarch64)
set(VEK_CROSS_QEMU qemu-aarch64)
include("${CMAKE_CURRENT_LIST_DIR}/LinuxGnuCross.cmake")
