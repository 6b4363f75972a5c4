# How every target of our own is compiled: warnings are errors, sanitizers on request, includes from the repository's root.

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
endif()

add_library(orvane_options INTERFACE)
target_compile_options(orvane_options INTERFACE -Wall -Wextra -Wpedantic -Werror
                       -ffile-prefix-map=${CMAKE_SOURCE_DIR}/=)
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    # Optimising, this compiler sees overlapping copies in every literal + std::string (GCC bug 105651).
    target_compile_options(orvane_options INTERFACE -Wno-restrict)
endif()
target_include_directories(orvane_options INTERFACE ${CMAKE_SOURCE_DIR})
if(ORVANE_SANITIZE)
    target_compile_options(orvane_options INTERFACE -fsanitize=${ORVANE_SANITIZE} -fno-omit-frame-pointer
                           -fno-sanitize-recover=all)
    target_link_options(orvane_options INTERFACE -fsanitize=${ORVANE_SANITIZE})
endif()

if(ORVANE_FUZZ)
    target_compile_options(orvane_options INTERFACE -fsanitize=fuzzer-no-link,address,undefined -fno-omit-frame-pointer
                           -fno-sanitize-recover=all)
    target_link_options(orvane_options INTERFACE -fsanitize=address,undefined)
endif()

# A library of ours: every .cpp of its folder and of all folders below it but those named.
function(orvane_library name kind)
    file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
    foreach(folder IN LISTS ARGN)
        list(FILTER sources EXCLUDE REGEX "^${CMAKE_CURRENT_SOURCE_DIR}/${folder}/")
    endforeach()
    if(NOT sources)
        set(sources ${CMAKE_BINARY_DIR}/empty.cpp)
        file(WRITE ${sources} "")
    endif()
    add_library(${name} ${kind} ${sources})
    target_link_libraries(${name} PUBLIC orvane_options)
endfunction()
