# Run by CPack once all is in place: the bill of materials, and a list of checksums.
set(root ${CPACK_TEMPORARY_DIRECTORY})
execute_process(COMMAND_ERROR_IS_FATAL ANY
    COMMAND python3 ${CPACK_MORVEL_SBOM} windows ${root}/bin ${CPACK_MORVEL_DEPENDENCIES}
    OUTPUT_FILE ${root}/morvel.cdx.json)

file(GLOB_RECURSE files RELATIVE ${root} ${root}/*)
list(SORT files)
foreach(file IN LISTS files)
    file(SHA256 ${root}/${file} sum)
    string(APPEND sums "${sum}  ${file}\n")
endforeach()
file(WRITE ${root}/SHA256SUMS "${sums}")
