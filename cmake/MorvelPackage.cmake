# Packages to hand over: a ZIP with all that Windows needs, or the two Debian packages.
set(CPACK_PACKAGE_NAME morvel)
set(CPACK_PACKAGE_VENDOR "Morvel developers")
set(CPACK_PACKAGE_CONTACT "Morvel developers <maintainers@morvel.example>")
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)

if(WIN32)
    set(CPACK_GENERATOR ZIP)
    set(CPACK_PACKAGE_FILE_NAME morvel-${PROJECT_VERSION}-windows-x64)
    set(CPACK_ARCHIVE_COMPONENT_INSTALL OFF)
elseif(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    set(CPACK_GENERATOR DEB)
    set(CPACK_DEB_COMPONENT_INSTALL ON)
    set(CPACK_COMPONENTS_ALL runtime development)
    set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
    set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
    set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
        OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
    set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
    set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "base services for C++17 applications")
    set(runtime_package libmorvel${PROJECT_VERSION_MAJOR})
    set(description "Text that knows its encoding, files, XML documents addressed by dotted paths,
time stamps and dates, HTTP transfers, a rotating log, locks, random
identifiers and checksums, in one object model.")

    set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${runtime_package})
    set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
    set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
    set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/debian/triggers)
    set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "${description}")

    set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libmorvel-dev)
    set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
    set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${runtime_package} (= ${PROJECT_VERSION})")
    set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION
        "${description}\n\nThis package has the headers, the CMake package and the pkg-config module.")

    # What policy wants under /usr/share/doc: the licence, and a change log of the package.
    set(debian ${PROJECT_BINARY_DIR}/debian)
    configure_file(${PROJECT_SOURCE_DIR}/packaging/debian/changelog.in ${debian}/changelog @ONLY)
    find_program(GZIP gzip)
    if(GZIP)
        execute_process(COMMAND ${GZIP} -9nkf ${debian}/changelog)
        foreach(component runtime development)
            string(TOUPPER ${component} upper)
            set(doc share/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
            install(FILES ${PROJECT_SOURCE_DIR}/packaging/debian/copyright DESTINATION ${doc}
                COMPONENT ${component})
            install(FILES ${debian}/changelog.gz DESTINATION ${doc} COMPONENT ${component})
        endforeach()
    endif()
endif()
include(CPack)
