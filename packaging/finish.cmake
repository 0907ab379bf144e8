# SPDX-License-Identifier: MIT
# Run by cpack when the packages are built: gives the members of each archive the same attributes,
# whatever the umask is.
foreach(package ${CPACK_PACKAGE_FILES})
    set(members ${CPACK_TEMPORARY_DIRECTORY}/members)
    file(REMOVE_RECURSE ${members})
    file(MAKE_DIRECTORY ${members})
    execute_process(COMMAND ar x ${package} WORKING_DIRECTORY ${members} COMMAND_ERROR_IS_FATAL ANY)
    file(REMOVE ${package})
    execute_process(COMMAND ar rcD ${package} debian-binary control.tar.gz data.tar.xz
        WORKING_DIRECTORY ${members} COMMAND_ERROR_IS_FATAL ANY)
    file(REMOVE_RECURSE ${members})
endforeach()
