# SPDX-License-Identifier: MIT
# Run by cpack for ixlal_package(), when the files of the package are in place.

include(${CMAKE_CURRENT_LIST_DIR}/ixlalShlibdeps.cmake)

set(_ixlal_work ${CPACK_TOPLEVEL_DIRECTORY}/control)
file(MAKE_DIRECTORY ${_ixlal_work})

file(GLOB_RECURSE _ixlal_files ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/usr/lib/*.so
    ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/usr/bin/*)
_ixlal_shlibdeps(CPACK_DEBIAN_PACKAGE_DEPENDS
    ${_ixlal_work} ${CPACK_IXLAL_LIBRARY_DIR} ${_ixlal_files})
# Libraries of ixlal below a prefix belong to no package.
if(NOT CPACK_DEBIAN_PACKAGE_DEPENDS MATCHES "libixlal ")
    string(PREPEND CPACK_DEBIAN_PACKAGE_DEPENDS "libixlal (>= ${CPACK_IXLAL_VERSION}), ")
endif()

# Directories are for everybody, whatever the umask is.
file(CHMOD_RECURSE ${CPACK_TEMPORARY_INSTALL_DIRECTORY}
    DIRECTORY_PERMISSIONS ${CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS})

# dpkg keeps what an operator has changed in these files.
file(GLOB_RECURSE _ixlal_files RELATIVE ${CPACK_TEMPORARY_INSTALL_DIRECTORY}
    ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/etc/*)
if(_ixlal_files)
    list(TRANSFORM _ixlal_files REPLACE "(.+)" "/\\1\n" OUTPUT_VARIABLE _ixlal_lines)
    string(CONCAT _ixlal_text ${_ixlal_lines})
    file(WRITE ${_ixlal_work}/conffiles "${_ixlal_text}")
    set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${_ixlal_work}/conffiles)
endif()
