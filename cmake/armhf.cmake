# SPDX-License-Identifier: MIT
# The toolchain for 32-bit ARM, Debian's armhf: clang, because Debian's g++ for ARM cannot be
# installed beside that for 32-bit Intel. Emulator.cmake makes the programs run.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)

set(ixlal_triplet arm-linux-gnueabihf)
set(CMAKE_C_COMPILER clang)
if(NOT DEFINED CMAKE_CXX_COMPILER)
    set(CMAKE_CXX_COMPILER clang++)
endif()
# The other compiler of plugins.
set(IXLAL_OTHER_COMPILER
    ${CMAKE_CURRENT_LIST_DIR}/../build/compilers/armhf/root/usr/bin/${ixlal_triplet}-g++-12)
set(CMAKE_OBJCOPY ${ixlal_triplet}-objcopy)
set(CMAKE_C_COMPILER_TARGET ${ixlal_triplet})
set(CMAKE_CXX_COMPILER_TARGET ${ixlal_triplet})

set(CMAKE_FIND_ROOT_PATH /usr/${ixlal_triplet})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(IXLAL_EMULATOR qemu-arm-static -L /usr/${ixlal_triplet})
