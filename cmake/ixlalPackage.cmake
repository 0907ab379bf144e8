# SPDX-License-Identifier: MIT
# ixlal_package(CONTACT TEXT SUMMARY TEXT [DESCRIPTION TEXT]): lets cpack make a Debian package of
# what the project installs, below /usr and with its configuration in /etc. The package is called
# ixlal-plugin-PROJECT and has the version of the project. CONTACT is the name and the mail address of
# its maintainer. To be called once, at the end of the top CMakeLists.txt.
function(ixlal_package)
    cmake_parse_arguments(PARSE_ARGV 0 arg "" "CONTACT;SUMMARY;DESCRIPTION" "")
    foreach(wanted PROJECT_VERSION arg_CONTACT arg_SUMMARY)
        if("${${wanted}}" STREQUAL "")
            string(REPLACE arg_ "argument " missing ${wanted})
            message(FATAL_ERROR "ixlal_package() needs the ${missing}")
        endif()
    endforeach()
    string(TOLOWER ixlal-plugin-${PROJECT_NAME} name)
    string(REPLACE _ - name ${name})

    set(CPACK_GENERATOR DEB)
    set(CPACK_PACKAGE_NAME ${name})
    set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
    set(CPACK_PACKAGE_CONTACT ${arg_CONTACT})
    set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
    set(CPACK_STRIP_FILES ON)
    set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
        OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
    set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
    set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${ixlal_ARCHITECTURE})
    set(CPACK_DEBIAN_PACKAGE_SECTION misc)
    set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
    if(NOT arg_DESCRIPTION)
        set(arg_DESCRIPTION "A plugin for ixlal. Hosts load it from ${ixlal_plugin_directory}.")
    endif()
    set(CPACK_DEBIAN_PACKAGE_DESCRIPTION "${arg_SUMMARY}\n${arg_DESCRIPTION}")
    # Variables for the script that cpack runs.
    set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/ixlalPack.cmake)
    set(CPACK_IXLAL_VERSION ${ixlal_VERSION})
    set(CPACK_IXLAL_LIBRARY_DIR ${ixlal_LIBRARY_DIR})
    include(CPack)
endfunction()
