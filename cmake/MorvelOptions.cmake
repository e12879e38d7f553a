# What every target of this project is built with. Users of the installed library see none of it.
add_library(morvel_options INTERFACE)
if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
    target_compile_options(morvel_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow
        -Wnon-virtual-dtor -Woverloaded-virtual)
endif()
if(MORVEL_SANITIZE)
    target_compile_options(morvel_options INTERFACE -fsanitize=${MORVEL_SANITIZE}
        -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
    target_link_options(morvel_options INTERFACE -fsanitize=${MORVEL_SANITIZE})
endif()
