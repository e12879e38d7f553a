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
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE ${PROJECT_SOURCE_DIR}/packaging/windows/README.md
    DESTINATION .)
if(MORVEL_EXAMPLES)
    install(TARGETS exchange fetch notebook RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()
