# SPDX-License-Identifier: MIT
# Run by cpack when the files of all packages are in place: brings them into the form that Debian
# asks for.

file(GLOB_RECURSE documents
    ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*/changelog
    ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*.1)
foreach(document ${documents})
    execute_process(COMMAND gzip -9nf ${document} COMMAND_ERROR_IS_FATAL ANY)
endforeach()

# The system's Python, which leaves no compiled modules between the files of the package.
file(GLOB scripts ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/ixlal-tools/usr/share/ixlal/*/ixla-*)
foreach(script ${scripts})
    execute_process(COMMAND sed -i "1s,^#!/usr/bin/env python3$,#!/usr/bin/python3 -B," ${script}
        COMMAND_ERROR_IS_FATAL ANY)
endforeach()

# Directories are for everybody, whatever the umask is.
file(CHMOD_RECURSE ${CPACK_TEMPORARY_INSTALL_DIRECTORY}
    DIRECTORY_PERMISSIONS ${CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS})
