# SPDX-License-Identifier: MIT
# "cpack" in a 32-bit build tree builds the Debian packages.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ixlal)
set(CPACK_PACKAGE_CONTACT "The ixlal maintainers <maintainers@ixlal.example.org>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_COMPONENTS_ALL
    libixlal libixlal-debug libixlal-dev ixlal-tools ixlal-tools-debug ixlal-doc)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${ixlal_architecture})
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# _ixlal_package(NAME SECTION SUMMARY DESCRIPTION [COMPONENT]): the control file of a package, and
# the files that every package has in addition to its component, which has its name by default.
function(_ixlal_package name section summary description)
    set(component ${name})
    if(ARGN)
        set(component ${ARGN})
    endif()
    string(TOUPPER ${component} upper)
    set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name} PARENT_SCOPE)
    set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section} PARENT_SCOPE)
    set(CPACK_DEBIAN_${upper}_DESCRIPTION "${summary}\n${description}" PARENT_SCOPE)
    install(FILES packaging/copyright packaging/changelog
        DESTINATION share/doc/${name} COMPONENT ${component} EXCLUDE_FROM_ALL)
endfunction()

set(about
"A host links the core and gets service objects of separately built plugin
libraries by interface ID. The core brings configuration, events and logs.
.
This package holds")
_ixlal_package(libixlal libs "core of a plugin framework - libraries"
"${about} the libraries that hosts and plugins run with.")

_ixlal_package(libixlal-dev libdevel "core of a plugin framework - development files"
"${about} the headers, helpers and a test kit for authors of hosts
and plugins, and what CMake and pkg-config need to find them.")

_ixlal_package(ixlal-tools devel "core of a plugin framework - tools"
"${about} tools that begin, run, inspect and validate plugins, and
that explain configurations and logs.")

_ixlal_package(ixlal-doc doc "core of a plugin framework - documentation and examples"
"${about} the documentation as a site with search, and examples of
plugins and hosts that are built with libixlal-dev.")
set(CPACK_DEBIAN_IXLAL-DOC_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_IXLAL-DOC_PACKAGE_DEPENDS
    "fonts-font-awesome, libjs-bootstrap4, libjs-jquery, libjs-lunr")
set(CPACK_DEBIAN_IXLAL-DOC_PACKAGE_SUGGESTS "libixlal-dev, cmake")
set(doc_directory share/doc/ixlal-doc)
install(CODE "execute_process(COMMAND \"${PROJECT_SOURCE_DIR}/scripts/docs_site.py\"
        \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${doc_directory}/html\" /usr/${doc_directory}/html
        COMMAND_ERROR_IS_FATAL ANY)"
    COMPONENT ixlal-doc EXCLUDE_FROM_ALL)
install(FILES packaging/doc-base DESTINATION share/doc-base RENAME ixlal-doc.ixlal
    COMPONENT ixlal-doc EXCLUDE_FROM_ALL)
# The README is a page of the site, and minimal/build.sh needs the tree.
install(DIRECTORY examples/ DESTINATION ${doc_directory}/examples
    COMPONENT ixlal-doc EXCLUDE_FROM_ALL
    PATTERN README.md EXCLUDE PATTERN *.sh EXCLUDE PATTERN .clang-* EXCLUDE)
install(PROGRAMS examples/run-demo.sh DESTINATION ${doc_directory}/examples
    COMPONENT ixlal-doc EXCLUDE_FROM_ALL)

# packaging/stage.cmake moves the debug information there. cpack removes directories of components
# whose names end with -dbgsym.
foreach(package libixlal ixlal-tools)
    _ixlal_package(${package}-dbgsym debug "debug information of ${package}"
"gdb finds the debug information by the build IDs of the files. It is needed to
look into a process that hangs, or into a core dump, with ixla-debug."
        ${package}-debug)
endforeach()

install(FILES packaging/overrides/libixlal
    DESTINATION share/lintian/overrides COMPONENT libixlal EXCLUDE_FROM_ALL)

set(same_version "(= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_LIBIXLAL-DEBUG_PACKAGE_DEPENDS "libixlal ${same_version}")
set(CPACK_DEBIAN_IXLAL-TOOLS-DEBUG_PACKAGE_DEPENDS "ixlal-tools ${same_version}")
set(CPACK_DEBIAN_LIBIXLAL-DEV_PACKAGE_DEPENDS "libixlal ${same_version}")
set(CPACK_DEBIAN_LIBIXLAL-DEV_PACKAGE_SUGGESTS "ixlal-tools ${same_version}, ixlal-doc")
set(CPACK_DEBIAN_IXLAL-TOOLS_PACKAGE_DEPENDS
    "libixlal ${same_version}, python3:any, python3-pyelftools")
set(CPACK_DEBIAN_IXLAL-TOOLS_PACKAGE_RECOMMENDS "libixlal-dev ${same_version}, cmake")
set(CPACK_DEBIAN_IXLAL-TOOLS_PACKAGE_SUGGESTS "libixlal-dbgsym ${same_version}, gdb, valgrind")
# From the symbols file other packages compute their dependency on the libraries.
set(symbols ${PROJECT_SOURCE_DIR}/packaging/symbols)
if(ixlal_architecture STREQUAL armhf)
    # There va_list is another type.
    file(READ ${symbols} names)
    string(REPLACE "PKwPc@" "PKwSt9__va_list@" names "${names}")
    set(symbols ${PROJECT_BINARY_DIR}/packaging/symbols)
    file(WRITE ${symbols} "${names}")
endif()
set(CPACK_DEBIAN_LIBIXLAL_PACKAGE_CONTROL_EXTRA
    ${PROJECT_SOURCE_DIR}/packaging/triggers ${symbols})

# Variables for the scripts that cpack runs.
get_property(programs GLOBAL PROPERTY IXLAL_PROGRAMS)
file(GENERATE OUTPUT ${PROJECT_BINARY_DIR}/packaging/tools.txt
    CONTENT "$<JOIN:${programs},\n>\n")
set(CPACK_PROJECT_CONFIG_FILE ${PROJECT_SOURCE_DIR}/packaging/depends.cmake)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/packaging/stage.cmake)
set(CPACK_POST_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/packaging/finish.cmake)
set(CPACK_IXLAL_BUILD ${PROJECT_BINARY_DIR})
set(CPACK_IXLAL_OBJCOPY ${CMAKE_OBJCOPY})

include(CPack)
