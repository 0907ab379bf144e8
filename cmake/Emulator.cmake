# SPDX-License-Identifier: MIT
# Programs for another processor run in an emulator: each program NAME is linked as NAME.elf, and NAME
# is a script that runs it. So tests, scripts and other programs start NAME as on its own processor.
# IXLAL_EMULATOR of the toolchain is the emulator with its arguments.

set(IXLAL_PROGRAM_SUFFIX .elf)
list(GET IXLAL_EMULATOR 0 ixlal_emulator)
find_program(IXLAL_EMULATOR_PATH ${ixlal_emulator} REQUIRED)
list(SUBLIST IXLAL_EMULATOR 1 -1 ixlal_emulator)
list(JOIN ixlal_emulator " " ixlal_emulator)
list(APPEND CMAKE_CXX_LINK_EXECUTABLE
    "${PROJECT_SOURCE_DIR}/cmake/emulate.sh <TARGET> ${IXLAL_EMULATOR_PATH} ${ixlal_emulator}")
