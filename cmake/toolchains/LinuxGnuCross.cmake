# Shared by the cross toolchain files beside it: Debian's cross compiler for
# VEK_CROSS_TRIPLE, with test programs run through qemu-user. Each file sets
# VEK_CROSS_TRIPLE, VEK_CROSS_PROCESSOR and VEK_CROSS_QEMU, then includes this.
#
# The target's libraries live under /usr/<triple>, where the cross packages
# put them; find_* looks only there, so the host's GTest, ICU and benchmark are
# never linked into a target program. Tools (qemu, git, python) are the host's.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ${VEK_CROSS_PROCESSOR})

set(CMAKE_C_COMPILER ${VEK_CROSS_TRIPLE}-gcc)
set(CMAKE_CXX_COMPILER ${VEK_CROSS_TRIPLE}-g++)

set(CMAKE_FIND_ROOT_PATH /usr/${VEK_CROSS_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Named explicitly, so the tests run without binfmt_misc registrations; -L
# points qemu's dynamic loader at the target's C and C++ runtimes.
find_program(VEK_CROSS_QEMU_PATH ${VEK_CROSS_QEMU} REQUIRED)
set(CMAKE_CROSSCOMPILING_EMULATOR "${VEK_CROSS_QEMU_PATH};-L;/usr/${VEK_CROSS_TRIPLE}")
