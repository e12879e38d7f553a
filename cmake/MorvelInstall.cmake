# Headers, library, CMake package and pkg-config module.
include(CMakePackageConfigHelpers)

install(TARGETS morvel EXPORT MorvelTargets FILE_SET HEADERS)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Morvel)
install(EXPORT MorvelTargets NAMESPACE Morvel:: FILE MorvelTargets.cmake DESTINATION ${package_dir})
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/MorvelConfig.cmake.in
    ${PROJECT_BINARY_DIR}/MorvelConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/MorvelConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/MorvelConfig.cmake ${PROJECT_BINARY_DIR}/MorvelConfigVersion.cmake
    DESTINATION ${package_dir})

# The module finds its prefix from where it lies, so that an installed tree can be moved.
file(RELATIVE_PATH pc_to_prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(${CMAKE_CURRENT_LIST_DIR}/morvel.pc.in ${PROJECT_BINARY_DIR}/morvel.pc @ONLY)
if(NOT WIN32)
    # Where gdb looks for the printers of a library that it loads, if the prefix is its own.
    install(FILES ${PROJECT_SOURCE_DIR}/debugger/morvel-gdb.py
        DESTINATION ${CMAKE_INSTALL_DATADIR}/gdb/auto-load${CMAKE_INSTALL_FULL_LIBDIR}
        RENAME $<TARGET_FILE_NAME:morvel>-gdb.py)
endif()
install(FILES ${PROJECT_BINARY_DIR}/morvel.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
