# SPDX-License-Identifier: MIT
# Run by cpack before anything else: asks which packages the libraries and programs need, and with
# which versions.

# _ixlal_depends(OUT_VARIABLE FILES...)
function(_ixlal_depends out)
    set(work ${CPACK_IXLAL_BUILD}/packaging/shlibdeps)
    file(WRITE ${work}/debian/control "Source: ixlal\n\nPackage: ixlal\nArchitecture: any\n")
    # Our own libraries, which have no package yet, are none of its business.
    execute_process(
        COMMAND dpkg-shlibdeps -O --ignore-missing-info -l${CPACK_IXLAL_BUILD}/lib ${ARGN}
        WORKING_DIRECTORY ${work}
        OUTPUT_VARIABLE depends OUTPUT_STRIP_TRAILING_WHITESPACE
        ERROR_VARIABLE errors
        RESULT_VARIABLE result)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "dpkg-shlibdeps, of the package dpkg-dev, failed: ${result}\n${errors}")
    endif()
    # A 64-bit machine has the 32-bit libraries from packages with names of their own.
    string(REGEX REPLACE "^shlibs:Depends=" "" depends "${depends}")
    string(REPLACE "libc6-i386" "libc6" depends "${depends}")
    string(REPLACE "lib32" "lib" depends "${depends}")
    set(${out} "${depends}" PARENT_SCOPE)
endfunction()

file(GLOB libraries ${CPACK_IXLAL_BUILD}/lib/libixlal.*.so)
_ixlal_depends(CPACK_DEBIAN_LIBIXLAL_PACKAGE_DEPENDS ${libraries})
file(STRINGS ${CPACK_IXLAL_BUILD}/packaging/tools.txt programs)
if(programs)
    _ixlal_depends(depends ${programs})
    string(PREPEND CPACK_DEBIAN_IXLAL-TOOLS_PACKAGE_DEPENDS "${depends}, ")
endif()
