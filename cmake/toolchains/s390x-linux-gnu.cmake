# IBM Z: the big-endian target.
set(VEK_CROSS_TRIPLE s390x-linux-gnu)
set(VEK_CROSS_PROCESSOR s390x)
set(VEK_CROSS_QEMU qemu-s390x)
include("${CMAKE_CURRENT_LIST_DIR}/LinuxGnuCross.cmake")
