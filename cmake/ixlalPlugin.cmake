# SPDX-License-Identifier: MIT
# ixlal_add_plugin(NAME [SOURCES] FILE... [LINK LIBRARY...] [VALIDATE [OPTION...]]): adds the target
# NAME, the plugin library libNAME.so. It is built for the word size of the core, exports only its
# factory and can be unloaded. Linking fails if a symbol is undefined. LINK names more libraries, in
# the form of target_link_libraries(). VALIDATE runs ixla-validate with these options after each
# link; a failed check fails the build.
function(ixlal_add_plugin name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LINK;VALIDATE")
    set(sources ${arg_UNPARSED_ARGUMENTS} ${arg_SOURCES})
    if(NOT sources)
        message(FATAL_ERROR "ixlal_add_plugin(${name}) has no sources")
    endif()

    set(script ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/plugin.map)
    add_library(${name} MODULE ${sources})
    set_target_properties(${name} PROPERTIES
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON
        LINK_DEPENDS ${script})
    target_compile_features(${name} PRIVATE cxx_std_11)
    target_compile_options(${name} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>)
    target_link_libraries(${name} PRIVATE ixlal::core ${arg_LINK})
    target_link_options(${name} PRIVATE
        -Wl,--version-script=${script} -Wl,--no-undefined -Wl,-z,relro,-z,now)
    if(arg_VALIDATE OR "VALIDATE" IN_LIST arg_KEYWORDS_MISSING_VALUES)
        _ixlal_validate(${name} ${arg_VALIDATE})
    endif()
endfunction()

function(_ixlal_validate name)
    if(NOT IXLAL_VALIDATE)
        message(FATAL_ERROR "ixlal_add_plugin(${name} ... VALIDATE) finds no ixla-validate: "
            "install the package ixlal-tools, or name the program with -DIXLAL_VALIDATE=FILE")
    endif()
    add_custom_command(TARGET ${name} POST_BUILD
        COMMAND ${IXLAL_VALIDATE} ${ARGN} $<TARGET_FILE:${name}>
        COMMENT "Validating ${name}"
        VERBATIM)
endfunction()
