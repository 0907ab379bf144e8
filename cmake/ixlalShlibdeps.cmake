# SPDX-License-Identifier: MIT
# _ixlal_shlibdeps(OUT_VARIABLE WORK_DIRECTORY LIBRARY_DIRECTORY FILES...): the packages, with their
# versions, that the 32-bit or 64-bit programs and libraries need. Libraries in LIBRARY_DIRECTORY
# that belong to no package are left out.
function(_ixlal_shlibdeps out work libraries)
    file(WRITE ${work}/debian/control "Source: ixlal\n\nPackage: ixlal\nArchitecture: any\n")
    execute_process(
        COMMAND dpkg-shlibdeps -O --ignore-missing-info -l${libraries} ${ARGN}
        WORKING_DIRECTORY ${work}
        OUTPUT_VARIABLE depends OUTPUT_STRIP_TRAILING_WHITESPACE
        ERROR_VARIABLE errors
        RESULT_VARIABLE result)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "dpkg-shlibdeps, of the package dpkg-dev, failed: ${result}\n${errors}")
    endif()
    # A 64-bit machine has the 32-bit libraries from packages with names of their own, and those of
    # another architecture, too.
    string(REGEX REPLACE "^shlibs:Depends=" "" depends "${depends}")
    string(REPLACE "libc6-i386" "libc6" depends "${depends}")
    string(REPLACE "lib32" "lib" depends "${depends}")
    string(REGEX REPLACE "-armhf-cross|:armhf" "" depends "${depends}")
    set(${out} "${depends}" PARENT_SCOPE)
endfunction()
