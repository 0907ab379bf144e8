# SPDX-License-Identifier: MIT
# Run by cpack before anything else: asks which packages the libraries and programs need, and with
# which versions. Sets the time of the files in the packages.

# The day of the release, so that the same sources give the same packages.
if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
    execute_process(COMMAND dpkg-parsechangelog -l ${CMAKE_CURRENT_LIST_DIR}/changelog -S Timestamp
        OUTPUT_VARIABLE released OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    set(ENV{SOURCE_DATE_EPOCH} ${released})
endif()

include(${CMAKE_CURRENT_LIST_DIR}/../cmake/ixlalShlibdeps.cmake)

# Our own libraries, which have no package yet, are left out.
set(work ${CPACK_IXLAL_BUILD}/packaging/shlibdeps)
set(searched ${CPACK_IXLAL_BUILD}/lib)
if(CPACK_DEBIAN_PACKAGE_ARCHITECTURE STREQUAL armhf)
    set(ENV{DEB_HOST_ARCH} armhf)
    list(APPEND searched -l/usr/arm-linux-gnueabihf/lib)
endif()
file(GLOB libraries ${CPACK_IXLAL_BUILD}/lib/libixlal.*.so)
_ixlal_shlibdeps(CPACK_DEBIAN_LIBIXLAL_PACKAGE_DEPENDS ${work} "${searched}" ${libraries})
file(STRINGS ${CPACK_IXLAL_BUILD}/packaging/tools.txt programs)
if(programs)
    _ixlal_shlibdeps(depends ${work} "${searched}" ${programs})
    string(PREPEND CPACK_DEBIAN_IXLAL-TOOLS_PACKAGE_DEPENDS "${depends}, ")
endif()
