# SPDX-License-Identifier: LGPL-2.1-or-later
# Language level, warnings, sanitizers and the compiler cache, for every target of the project.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE Release CACHE STRING "" FORCE)
endif()

add_compile_options(-Wall -Wextra)
if(KT_WARNINGS_AS_ERRORS)
    add_compile_options(-Werror)
endif()
# Each top folder of this tree adds these for itself: a project around this one keeps its own choice.
set(kt_own_warnings $<$<CXX_COMPILER_ID:GNU>:-Wshadow> $<$<CXX_COMPILER_ID:GNU>:-Wmissing-declarations>)

# kt_join_sources(TARGET): with KT_JOIN_SOURCES, the target's sources are compiled together, eight at once. Names in their
# unnamed namespaces must then differ. The tracer, tests and benchmarks are not joined: their code should be what a
# compiler makes of each file alone.
function(kt_join_sources target)
    set_target_properties(${target} PROPERTIES UNITY_BUILD ${KT_JOIN_SOURCES} UNITY_BUILD_BATCH_SIZE 8)
endfunction()

if(KT_SANITIZE)
    add_compile_options(-fsanitize=${KT_SANITIZE} -fno-omit-frame-pointer)
    # Reports name lines. Other build types have what they need for that.
    add_compile_options($<$<CONFIG:Release>:-g1>)
    add_link_options(-fsanitize=${KT_SANITIZE})
    # This warning is mostly wrong in instrumented code. Builds without sanitizers keep it.
    add_compile_options($<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
    if(KT_SANITIZE MATCHES "undefined")
        add_compile_options(-fno-sanitize-recover=undefined)
    endif()
endif()

find_program(KT_CCACHE ccache)
if(KT_CCACHE)
    # Relative paths and relaxed time checks let checkouts in different folders share the cache.
    set(KT_CCACHE_LAUNCHER ${CMAKE_COMMAND} -E env
        CCACHE_BASEDIR=${CMAKE_SOURCE_DIR} CCACHE_NOHASHDIR=1 CCACHE_DEPEND=1
        CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime ${KT_CCACHE})
    set(CMAKE_CXX_COMPILER_LAUNCHER ${KT_CCACHE_LAUNCHER})
endif()
