# SPDX-License-Identifier: MIT
# The toolchain for 32-bit PowerPC, which shows that nothing depends on the order of bytes: clang, as
# for ARM.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ppc)

set(ixlal_triplet powerpc-linux-gnu)
set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER_TARGET ${ixlal_triplet})
set(CMAKE_CXX_COMPILER_TARGET ${ixlal_triplet})

# clang 14 loses the return address in a function that calls none and uses thread-local variables.
# With a guard of the stack every function calls one.
add_compile_options(-fstack-protector-all)
# Without this the linker puts code into the pages of variables, which the emulator then protects.
add_compile_options(-msecure-plt)

# clang looks for start files and libraries of 32 bits among those of the building machine first.
foreach(kind EXE SHARED MODULE)
    set(CMAKE_${kind}_LINKER_FLAGS_INIT
        "-B/usr/${ixlal_triplet}/lib -L/usr/${ixlal_triplet}/lib -Wl,--secure-plt")
endforeach()
set(CMAKE_CXX_STANDARD_LIBRARIES -latomic)

set(CMAKE_FIND_ROOT_PATH /usr/${ixlal_triplet})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(IXLAL_EMULATOR qemu-ppc-static -L /usr/${ixlal_triplet})
