# Flags of all our own sources, and how the three libraries are made.

add_library(ixlal_flags INTERFACE)
target_compile_options(ixlal_flags INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror)

# Directories of the headers that hosts and plugins see.
add_library(ixlal_headers INTERFACE)
target_include_directories(ixlal_headers INTERFACE
    ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/port)

# ixlal_library(TARGET FILE_NAME): a shared library that exports what its version script lists,
# with full RELRO, next to the libraries it needs.
function(ixlal_library target file_name)
    add_library(${target} SHARED)
    set(script ${CMAKE_CURRENT_SOURCE_DIR}/exports.map)
    set_target_properties(${target} PROPERTIES
        OUTPUT_NAME ${file_name}
        BUILD_WITH_INSTALL_RPATH ON
        INSTALL_RPATH $ORIGIN
        LINK_DEPENDS ${script})
    target_link_libraries(${target} PRIVATE ixlal_flags PUBLIC ixlal_headers)
    target_link_options(${target} PRIVATE
        -Wl,--version-script=${script} -Wl,-z,relro,-z,now -Wl,--as-needed
        # Fuzzers bring the runtime of clang's sanitizers along, the libraries do not.
        $<$<NOT:$<BOOL:${IXLAL_BUILD_FUZZERS}>>:-Wl,--no-undefined>)
endfunction()
