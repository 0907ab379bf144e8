# SPDX-License-Identifier: MIT
# The toolchain for 32-bit ARM, Debian's armhf: clang, because Debian's g++ for ARM cannot be
# installed beside that for 32-bit Intel. Programs run in an emulator.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)

set(ixlal_triplet arm-linux-gnueabihf)
set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER_TARGET ${ixlal_triplet})
set(CMAKE_CXX_COMPILER_TARGET ${ixlal_triplet})

set(CMAKE_FIND_ROOT_PATH /usr/${ixlal_triplet})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm-static -L /usr/${ixlal_triplet})
