# SPDX-License-Identifier: LGPL-2.1-or-later
# Compiles headers of libraries once for the many sources that include them. Every source still includes what it uses and
# compiles without them: -DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON.

# kt_precompiled_headers(NAME HEADERS header... [LINKS target...] [OPTIONS option...]): makes the target NAME, which
# compiles the headers once, with these options and with what the linked targets need.
function(kt_precompiled_headers name)
    cmake_parse_arguments(arg "" "" "HEADERS;LINKS;OPTIONS" ${ARGN})
    # CMake builds a precompiled header only with a source.
    set(source ${CMAKE_CURRENT_BINARY_DIR}/${name}.cpp)
    if(NOT EXISTS ${source})
        file(WRITE ${source} "// Empty: the headers are what is compiled.\n")
    endif()
    list(TRANSFORM arg_HEADERS PREPEND "<")
    list(TRANSFORM arg_HEADERS APPEND ">")
    add_library(${name} OBJECT ${source})
    target_link_libraries(${name} PRIVATE ${arg_LINKS})
    target_compile_options(${name} PRIVATE ${arg_OPTIONS})
    target_precompile_headers(${name} PRIVATE ${arg_HEADERS})
endfunction()

# kt_use_precompiled_headers(TARGET NAME): the target uses the headers of NAME. Both must compile with the same options;
# else the compiler warns.
function(kt_use_precompiled_headers target name)
    target_precompile_headers(${target} REUSE_FROM ${name})
endfunction()
