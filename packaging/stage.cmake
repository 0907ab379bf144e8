# Run by cpack when the files of all packages are in place: brings them into the form that Debian
# asks for.

file(GLOB_RECURSE documents
    ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*/changelog
    ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*.1)
foreach(document ${documents})
    execute_process(COMMAND gzip -9nf ${document} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
