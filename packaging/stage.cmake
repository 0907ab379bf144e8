# SPDX-License-Identifier: MIT
# Run by cpack when the files of all packages are in place: brings them into the form that Debian
# asks for.

file(GLOB_RECURSE documents
    ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*/changelog
    ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*/usr/share/man/*.[1-9])
foreach(document ${documents})
    execute_process(COMMAND gzip -9nf ${document} COMMAND_ERROR_IS_FATAL ANY)
endforeach()

# The system's Python, which leaves no compiled modules between the files of the package.
file(GLOB scripts ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/ixlal-tools/usr/share/ixlal/*/ixla-*)
foreach(script ${scripts})
    execute_process(COMMAND sed -i "1s,^#!/usr/bin/env python3$,#!/usr/bin/python3 -B," ${script}
        COMMAND_ERROR_IS_FATAL ANY)
endforeach()

# _ixlal_detach(FILE DIRECTORY): moves the debug information of a program or a library into the
# directory, to the place where gdb searches for its build ID. Leaves other files as they are.
function(_ixlal_detach file directory)
    execute_process(COMMAND readelf -nW ${file} OUTPUT_VARIABLE notes ERROR_QUIET)
    if(NOT notes MATCHES "Build ID: ([0-9a-f][0-9a-f])([0-9a-f]+)")
        return()
    endif()
    set(detached ${directory}/usr/lib/debug/.build-id/${CMAKE_MATCH_1}/${CMAKE_MATCH_2}.debug)
    get_filename_component(parent ${detached} DIRECTORY)
    file(MAKE_DIRECTORY ${parent})
    execute_process(COMMAND ${CPACK_IXLAL_OBJCOPY} --only-keep-debug ${file} ${detached}
        COMMAND_ERROR_IS_FATAL ANY)
    execute_process(COMMAND ${CPACK_IXLAL_OBJCOPY} --strip-unneeded --add-gnu-debuglink=${detached} ${file}
        COMMAND_ERROR_IS_FATAL ANY)
    file(CHMOD ${detached} PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
endfunction()

foreach(package libixlal ixlal-tools)
    set(staged ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/${package})
    file(GLOB_RECURSE files ${staged}/usr/bin/* ${staged}/usr/lib/* ${staged}/usr/libexec/*)
    foreach(file ${files})
        if(NOT IS_SYMLINK ${file})
            _ixlal_detach(${file} ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/${package}-debug)
        endif()
    endforeach()
endforeach()

# Directories and pages are for everybody, whatever the umask is.
execute_process(COMMAND find ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/ixlal-doc -path */html/* -type f
    -exec chmod 644 {} + COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND find ${CPACK_TEMPORARY_INSTALL_DIRECTORY} -type d -exec chmod 755 {} +
    COMMAND_ERROR_IS_FATAL ANY)

# The SPDX document of each package, when its files are complete.
foreach(component ${CPACK_COMPONENTS_ALL})
    string(TOUPPER ${component} upper)
    set(architecture ${CPACK_DEBIAN_PACKAGE_ARCHITECTURE})
    if(CPACK_DEBIAN_${upper}_PACKAGE_ARCHITECTURE)
        set(architecture ${CPACK_DEBIAN_${upper}_PACKAGE_ARCHITECTURE})
    endif()
    execute_process(COMMAND ${CMAKE_CURRENT_LIST_DIR}/sbom.py
        ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/${component} ${CPACK_DEBIAN_${upper}_PACKAGE_NAME}
        ${CPACK_PACKAGE_VERSION} ${architecture} "${CPACK_DEBIAN_${upper}_PACKAGE_DEPENDS}"
        COMMAND_ERROR_IS_FATAL ANY)
endforeach()
