# SPDX-License-Identifier: MIT
# Run by cpack before anything else: asks which packages the libraries and programs need, and with
# which versions.

include(${CMAKE_CURRENT_LIST_DIR}/../cmake/ixlalShlibdeps.cmake)

# Our own libraries, which have no package yet, are left out.
set(work ${CPACK_IXLAL_BUILD}/packaging/shlibdeps)
file(GLOB libraries ${CPACK_IXLAL_BUILD}/lib/libixlal.*.so)
_ixlal_shlibdeps(CPACK_DEBIAN_LIBIXLAL_PACKAGE_DEPENDS ${work} ${CPACK_IXLAL_BUILD}/lib ${libraries})
file(STRINGS ${CPACK_IXLAL_BUILD}/packaging/tools.txt programs)
if(programs)
    _ixlal_shlibdeps(depends ${work} ${CPACK_IXLAL_BUILD}/lib ${programs})
    string(PREPEND CPACK_DEBIAN_IXLAL-TOOLS_PACKAGE_DEPENDS "${depends}, ")
endif()
