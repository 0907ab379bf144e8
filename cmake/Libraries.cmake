# SPDX-License-Identifier: MIT
# Flags of all our own sources, and how the three libraries are made.

add_library(ixlal_flags INTERFACE)
# Under a sanitizer in 32 bits there is nothing to warn of that the product's own build hasn't.
if(NOT CMAKE_CXX_FLAGS MATCHES "-m32 -fsanitize")
    target_compile_options(ixlal_flags INTERFACE
        -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror)
endif()

# Whoever uses installed 32-bit libraries builds for 32 bits. In the tree, the preset says it.
set(ixlal_word_flag "")
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    set(ixlal_word_flag -m32)
endif()

# Directories of the headers that hosts and plugins see.
add_library(ixlal_headers INTERFACE)
target_include_directories(ixlal_headers INTERFACE
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/port>
    $<INSTALL_INTERFACE:include/ixlal>)
target_compile_options(ixlal_headers INTERFACE $<INSTALL_INTERFACE:${ixlal_word_flag}>)
target_link_options(ixlal_headers INTERFACE $<INSTALL_INTERFACE:${ixlal_word_flag}>)
set_target_properties(ixlal_headers PROPERTIES EXPORT_NAME headers)

# ixlal_compile_quickly(): for a directory beside the product, whose code takes far longer to
# compile than to run: two to four times as long when it is optimised, or checked at every call of a
# member. The product is compiled with all of it, and so are the headers that these include.
function(ixlal_compile_quickly)
    if(CMAKE_CXX_FLAGS MATCHES "-fsanitize")
        add_compile_options(-O0)
    endif()
    if(CMAKE_CXX_FLAGS MATCHES "undefined")
        add_compile_options(-fno-sanitize=null,alignment,object-size,vptr)
    endif()
endfunction()

# ixlal_library(TARGET FILE_NAME): a shared library that exports what its version script lists,
# with full RELRO, next to the libraries it needs.
function(ixlal_library target file_name)
    add_library(${target} SHARED)
    string(REPLACE ixlal_ "" name ${target})
    add_library(ixlal::${name} ALIAS ${target})
    set(script ${CMAKE_CURRENT_SOURCE_DIR}/exports.map)
    set_target_properties(${target} PROPERTIES
        OUTPUT_NAME ${file_name}
        EXPORT_NAME ${name}
        BUILD_WITH_INSTALL_RPATH ON
        INSTALL_RPATH $ORIGIN
        LINK_DEPENDS ${script})
    target_link_libraries(${target} PRIVATE ixlal_flags PUBLIC ixlal_headers)
    target_link_options(${target} PRIVATE
        -Wl,--version-script=${script} -Wl,-z,relro,-z,now -Wl,--as-needed
        # Fuzzers bring the runtime of clang's sanitizers along, the libraries do not.
        $<$<NOT:$<BOOL:${IXLAL_BUILD_FUZZERS}>>:-Wl,--no-undefined>)
endfunction()

# ixlal_compile_small(TARGET SOURCES...): for sources whose code runs when a core starts, stops or
# fails. They are compiled for size, which costs such code nothing that anybody would notice.
function(ixlal_compile_small target)
    set_source_files_properties(${ARGN} TARGET_DIRECTORY ${target} PROPERTIES
        COMPILE_OPTIONS $<$<CONFIG:Release>:-Os>)
endfunction()

# ixlal_drop_unused(TARGET): lets the linker leave out functions that nothing calls, and puts the
# others closer together.
function(ixlal_drop_unused target)
    target_compile_options(${target} PRIVATE
        -ffunction-sections -fdata-sections -falign-functions=4 -falign-loops=1)
endfunction()
