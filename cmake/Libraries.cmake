# SPDX-License-Identifier: MIT
# The flags of all our own sources, and the functions that build the three libraries.

add_library(ixlal_flags INTERFACE)
# No warnings in a 32-bit sanitizer build: the product's own build reports them.
if(NOT CMAKE_CXX_FLAGS MATCHES "-m32 -fsanitize" AND NOT IXLAL_BUILD_SCHEDULES)
    target_compile_options(ixlal_flags INTERFACE
        -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wdate-time -Werror)
endif()

# Users of installed 32-bit libraries for Intel build for 32 bits. In the tree the preset sets the
# flag.
set(ixlal_word_flag "")
if(CMAKE_SIZEOF_VOID_P EQUAL 4 AND CMAKE_SYSTEM_PROCESSOR MATCHES "86")
    set(ixlal_word_flag -m32)
endif()

# The directories of the public headers.
add_library(ixlal_headers INTERFACE)
target_include_directories(ixlal_headers INTERFACE
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/port>
    $<INSTALL_INTERFACE:include/ixlal>)
target_compile_options(ixlal_headers INTERFACE $<INSTALL_INTERFACE:${ixlal_word_flag}>)
target_link_options(ixlal_headers INTERFACE $<INSTALL_INTERFACE:${ixlal_word_flag}>)
set_target_properties(ixlal_headers PROPERTIES EXPORT_NAME headers)

# ixlal_map_paths(): what the directory compiles contains no path of this machine, so that every
# tree gives the same files. Not in builds for debugging, nor with sanitizers, whose reports name the
# sources.
function(ixlal_map_paths)
    if(CMAKE_BUILD_TYPE STREQUAL "Release" AND NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize"
       AND NOT IXLAL_BUILD_SCHEDULES)
        add_compile_options(-ffile-prefix-map=${PROJECT_SOURCE_DIR}=/usr/src/ixlal
            -ffile-prefix-map=${PROJECT_BINARY_DIR}=/usr/src/ixlal/build)
    endif()
endfunction()

# ixlal_compile_quickly(): for directories outside the product whose code takes far longer to
# compile than to run. Omits optimisation and the check of member calls, which make compiling two to
# four times slower. The product, including the headers used here, is still compiled with both.
# g++ collects no garbage below 1 GB of memory, which saves a tenth of its time.
function(ixlal_compile_quickly)
    add_compile_options($<$<CXX_COMPILER_ID:GNU>:--param=ggc-min-heapsize=1000000>)
    if(CMAKE_CXX_FLAGS MATCHES "-fsanitize")
        add_compile_options(-O0)
    endif()
    if(CMAKE_CXX_FLAGS MATCHES "undefined")
        add_compile_options(-fno-sanitize=null,alignment,object-size,vptr)
    endif()
endfunction()

# ixlal_library(TARGET FILE_NAME): a shared library with full RELRO that exports the symbols of its
# version script and finds the libraries that it needs in its own directory.
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
        # Fuzzers contain the runtime of clang's sanitizers, schedule tests their own; the libraries
        # do not.
        $<$<NOT:$<OR:$<BOOL:${IXLAL_BUILD_FUZZERS}>,$<BOOL:${IXLAL_BUILD_SCHEDULES}>>>:-Wl,--no-undefined>)
endfunction()

# ixlal_compile_small(TARGET SOURCES...): compiles sources for size. For code that runs only when a
# core starts, stops or fails, where speed does not matter.
function(ixlal_compile_small target)
    set_source_files_properties(${ARGN} TARGET_DIRECTORY ${target} PROPERTIES
        COMPILE_OPTIONS $<$<CONFIG:Release>:-Os>)
endfunction()

# ixlal_drop_unused(TARGET): lets the linker remove unused functions, and aligns the others less.
function(ixlal_drop_unused target)
    target_compile_options(${target} PRIVATE
        -ffunction-sections -fdata-sections -falign-functions=4 -falign-loops=1)
endfunction()
