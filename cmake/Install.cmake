# SPDX-License-Identifier: MIT
# The files that "cmake --install" installs; the components are the Debian packages.

include(CMakePackageConfigHelpers)

set(ixlal_triplet x86_64-linux-gnu)
set(ixlal_architecture amd64)
set(ixlal_product "64-bit x86-64")
set(ixlal_any_compiler "")
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    set(ixlal_triplet i386-linux-gnu)
    set(ixlal_architecture i386)
    set(ixlal_product "32-bit i386")
    # The exported targets set the word size, whatever the compiler's default is.
    set(ixlal_any_compiler ARCH_INDEPENDENT)
endif()
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^arm")
    set(ixlal_triplet arm-linux-gnueabihf)
    set(ixlal_architecture armhf)
    set(ixlal_product "32-bit arm")
    set(ixlal_any_compiler "")
endif()
math(EXPR ixlal_bits "8 * ${CMAKE_SIZEOF_VOID_P}")
set(ixlal_package_dir lib/cmake/ixlal)

# ixlal_install_program(TARGET DIRECTORY): installs a program that uses the libraries of its prefix.
function(ixlal_install_program target directory)
    string(REGEX REPLACE "[^/]+" ".." up ${directory})
    set_target_properties(${target} PROPERTIES
        INSTALL_RPATH "$ORIGIN/${up}/lib;$ORIGIN/${up}/lib/${ixlal_triplet}")
    set(program $<TARGET_FILE:${target}>)
    if(IXLAL_EMULATOR)
        # The target is a script; see Emulator.cmake. The program is installed as it is linked.
        set_target_properties(${target} PROPERTIES BUILD_WITH_INSTALL_RPATH ON)
        string(APPEND program ${IXLAL_PROGRAM_SUFFIX})
        install(PROGRAMS ${program} DESTINATION ${directory} COMPONENT ixlal-tools RENAME ${target})
    else()
        install(TARGETS ${target} DESTINATION ${directory} COMPONENT ixlal-tools)
    endif()
    set_property(GLOBAL APPEND PROPERTY IXLAL_PROGRAMS ${program})
endfunction()

# ixlal_install_script(LINK HOME FILES...): installs the files of a Python tool and the link to it.
function(ixlal_install_script link home)
    get_filename_component(name ${link} NAME)
    set(destination share/ixlal/${name})
    install(PROGRAMS ${home}/${name} DESTINATION ${destination} COMPONENT ixlal-tools)
    install(FILES ${ARGN} DESTINATION ${destination} COMPONENT ixlal-tools)
    install(FILES ${link} DESTINATION bin COMPONENT ixlal-tools)
endfunction()

# _ixlal_install_headers(SOURCE DIRECTORY RULES...): installs the headers of a source directory.
function(_ixlal_install_headers source directory)
    install(DIRECTORY ${PROJECT_SOURCE_DIR}/${source}/ DESTINATION include/ixlal/${directory}
        COMPONENT libixlal-dev FILES_MATCHING PATTERN *.h ${ARGN})
endfunction()

# _ixlal_install_man(SECTION COMPONENT): installs the man pages of a section.
function(_ixlal_install_man section component)
    install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs/man/ DESTINATION share/man/man${section}
        COMPONENT ${component} FILES_MATCHING PATTERN *.${section})
endfunction()

# _ixlal_install_libraries(DIRECTORY EXPORT RUNTIME DEVELOPMENT [EXCLUDE_FROM_ALL]): installs the
# libraries and the files that describe them; RUNTIME and DEVELOPMENT are the components.
function(_ixlal_install_libraries directory export runtime development)
    install(TARGETS ixlal_core ixlal_logger ixlal_portinglayer ixlal_headers ixlal_sdk
        EXPORT ${export} LIBRARY DESTINATION ${directory} COMPONENT ${runtime} ${ARGN})
    install(EXPORT ${export} NAMESPACE ixlal::
        DESTINATION ${ixlal_package_dir} COMPONENT ${development} ${ARGN})

    set(made ${PROJECT_BINARY_DIR}/cmake/${export})
    configure_package_config_file(cmake/ixlalConfig.cmake.in ${made}/ixlalConfig.cmake
        INSTALL_DESTINATION ${ixlal_package_dir})
    install(FILES ${made}/ixlalConfig.cmake
        DESTINATION ${ixlal_package_dir} COMPONENT ${development} ${ARGN})

    string(REGEX REPLACE "[^/]+" ".." up ${directory}/pkgconfig)
    configure_file(cmake/ixlal.pc.in ${made}/ixlal.pc @ONLY)
    install(FILES ${made}/ixlal.pc
        DESTINATION ${directory}/pkgconfig COMPONENT ${development} ${ARGN})
endfunction()

# In a package the libraries are in the system's library directory of their word size.
_ixlal_install_libraries(lib ixlalTargets prefix prefix)
_ixlal_install_libraries(lib/${ixlal_triplet} ixlalPackageTargets
    libixlal libixlal-dev EXCLUDE_FROM_ALL)

_ixlal_install_headers(include "")
_ixlal_install_headers(port/portinglayer portinglayer
    # Internal headers of the porting layer.
    REGEX "P(Blank|Descriptor|Errno|Fork|LibraryImage|Monotonic|PathBytes|Retry|StandardError|TextHash|TimedLockGuard|WriteSignals)\\.h$"
    EXCLUDE)
install(FILES port/logger/PLogger.h DESTINATION include/ixlal/logger COMPONENT libixlal-dev)
_ixlal_install_headers(sdk "")

write_basic_package_version_file(${PROJECT_BINARY_DIR}/cmake/ixlalConfigVersion.cmake
    COMPATIBILITY SameMajorVersion ${ixlal_any_compiler})
install(FILES
    ${PROJECT_BINARY_DIR}/cmake/ixlalConfigVersion.cmake
    cmake/ixlalPlugin.cmake
    cmake/ixlalPackage.cmake
    cmake/ixlalPack.cmake
    cmake/ixlalShlibdeps.cmake
    cmake/plugin.map
    DESTINATION ${ixlal_package_dir} COMPONENT libixlal-dev)

# Authors need the functions and the overview, operators the files.
_ixlal_install_man(3 libixlal-dev)
_ixlal_install_man(5 ixlal-tools)
_ixlal_install_man(7 libixlal-dev)

if(IXLAL_BUILD_TOOLS)
    install(DIRECTORY tools/man/ DESTINATION share/man/man1 COMPONENT ixlal-tools
        FILES_MATCHING PATTERN *.1)
    install(DIRECTORY tools/completion/ DESTINATION share/bash-completion/completions
        COMPONENT ixlal-tools)
    install(DIRECTORY tools/completion-zsh/ DESTINATION share/zsh/vendor-completions
        COMPONENT ixlal-tools)
    install(DIRECTORY tools/completion-fish/ DESTINATION share/fish/vendor_completions.d
        COMPONENT ixlal-tools)
endif()

# The packages have the license in their copyright file.
install(FILES LICENSE DESTINATION share/doc/ixlal COMPONENT prefix)
