# Windows looks for a program's DLLs beside it: there they are for all that is built here, and there
# the package puts those of them that library and examples need, with their licences.
file(GLOB runtime_dlls ${CMAKE_FIND_ROOT_PATH}/bin/*.dll)
file(COPY ${runtime_dlls} DESTINATION ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})

foreach(dll libPocoFoundation libPocoNet libcurl libpugixml libutf8proc
        libstdc++-6 libgcc_s_seh-1 libwinpthread-1)
    install(FILES ${CMAKE_FIND_ROOT_PATH}/bin/${dll}.dll DESTINATION ${CMAKE_INSTALL_BINDIR})
endforeach()
foreach(name poco curl pugixml utf8proc cli11 gcc mingw-w64)
    install(FILES ${CMAKE_FIND_ROOT_PATH}/share/licenses/${name}.txt DESTINATION licenses)
endforeach()
install(FILES ${PROJECT_SOURCE_DIR}/debugger/morvel.natvis DESTINATION debugger)
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE ${PROJECT_SOURCE_DIR}/packaging/windows/README.md
    DESTINATION .)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/build/docs DESTINATION . OPTIONAL)  # of script/docs
if(MORVEL_EXAMPLES)
    install(TARGETS exchange feed fetch inventory notebook recode RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

# The package: a ZIP with all of that. The library's debug information goes into a file of its own
# beside it, where debuggers look; CMAKE_INSTALL_PREFIX is known when the rule runs.
install(CODE "
    set(dll \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}/morvel.dll\")
    execute_process(COMMAND_ERROR_IS_FATAL ANY
        COMMAND ${CMAKE_OBJCOPY} --only-keep-debug \"$<TARGET_FILE:morvel>\" \${dll}.debug)
    execute_process(COMMAND_ERROR_IS_FATAL ANY
        COMMAND ${CMAKE_OBJCOPY} --add-gnu-debuglink=\${dll}.debug \${dll})")

set(CPACK_PACKAGE_NAME morvel)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_GENERATOR ZIP)
set(CPACK_PACKAGE_FILE_NAME morvel-${PROJECT_VERSION}-windows-x64)
set(CPACK_ARCHIVE_COMPONENT_INSTALL OFF)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/packaging/windows/finish.cmake)
set(CPACK_MORVEL_SBOM ${PROJECT_SOURCE_DIR}/packaging/sbom.py)
set(CPACK_MORVEL_DEPENDENCIES ${CMAKE_FIND_ROOT_PATH})
include(CPack)
