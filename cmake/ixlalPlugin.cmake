# SPDX-License-Identifier: MIT

# Where plugins are installed, relative to the prefix.
set(ixlal_plugin_directory lib/ixlal/plugins)

# ixlal_add_plugin(NAME [SOURCES] FILE... [LINK LIBRARY...] [VALIDATE [OPTION...]]
#                  [INSTALL] [CONFIG FILE...]): adds the target NAME, the plugin library libNAME.so.
# It is built for the word size of the core, exports only its factory and can be unloaded. Linking
# fails if a symbol is undefined. LINK names more libraries, in the form of
# target_link_libraries(). VALIDATE runs ixla-validate with these options after each link; a failed
# check fails the build. INSTALL, or CONFIG with its files, calls ixlal_install_plugin().
function(ixlal_add_plugin name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "INSTALL" "" "SOURCES;LINK;VALIDATE;CONFIG")
    set(sources ${arg_UNPARSED_ARGUMENTS} ${arg_SOURCES})
    if(NOT sources)
        message(FATAL_ERROR "ixlal_add_plugin(${name}) has no sources")
    endif()

    # The script also makes unique symbols local, which would prevent the unloading.
    set(script ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/plugin.map)
    add_library(${name} MODULE ${sources})
    set_target_properties(${name} PROPERTIES
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON
        LINK_DEPENDS ${script})
    target_compile_features(${name} PRIVATE cxx_std_11)
    target_link_libraries(${name} PRIVATE ixlal::core ${arg_LINK})
    target_link_options(${name} PRIVATE
        -Wl,--version-script=${script} -Wl,--no-undefined -Wl,-z,relro,-z,now)
    if(arg_VALIDATE OR "VALIDATE" IN_LIST arg_KEYWORDS_MISSING_VALUES)
        _ixlal_validate(${name} ${arg_VALIDATE})
    endif()
    if(arg_INSTALL OR arg_CONFIG)
        ixlal_install_plugin(${name} CONFIG ${arg_CONFIG})
    endif()
endfunction()

# ixlal_install_plugin(NAME [CONFIG FILE...] [COMPONENT COMPONENT]): installs the plugin in the
# standard directory, lib/ixlal/plugins of the prefix, and its configuration files in
# etc/ixlal/NAME, which is beside a prefix that ends with /usr, as Debian has it. The host that opens
# a plugin has already loaded the core, so the library needs no path to it.
function(ixlal_install_plugin name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "COMPONENT" "CONFIG")
    if(arg_UNPARSED_ARGUMENTS)
        message(FATAL_ERROR
            "ixlal_install_plugin(${name}) has unknown arguments: ${arg_UNPARSED_ARGUMENTS}")
    endif()
    set(component "")
    if(arg_COMPONENT)
        set(component COMPONENT ${arg_COMPONENT})
    endif()
    install(TARGETS ${name} DESTINATION ${ixlal_plugin_directory} ${component})
    foreach(file ${arg_CONFIG})
        _ixlal_install_config(${name} ${file} ${component})
    endforeach()
endfunction()

# The prefix is known when it is installed, so "cmake --install --prefix" and cpack can set it.
function(_ixlal_install_config name file)
    cmake_path(ABSOLUTE_PATH file BASE_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR})
    if(NOT EXISTS ${file})
        message(FATAL_ERROR "The configuration file ${file} of ${name} does not exist")
    endif()
    install(CODE "
        string(REGEX REPLACE \"(^|/)usr/*\$\" \"\" parent \"\${CMAKE_INSTALL_PREFIX}\")
        file(INSTALL \"${file}\" DESTINATION \"\${parent}/etc/ixlal/${name}\")" ${ARGN})
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
