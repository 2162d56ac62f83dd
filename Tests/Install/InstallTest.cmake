# SPDX-License-Identifier: LGPL-2.1-or-later
# Tests an installation in a moved folder. Usage:
# cmake -DBUILD=... -DWORK=... -DOUTSIDE=... -DGENERATOR=... -DCXX=... -DSANITIZE=... -DVERSION=... -DLIBRARIES=... -P
# InstallTest.cmake

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "${ARGN}\nended with ${result}:\n${output}")
    endif()
    set(output "${output}" PARENT_SCOPE)
endfunction()

file(REMOVE_RECURSE ${WORK})
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/first)
file(RENAME ${WORK}/first ${WORK}/moved)

set(flags "")
if(SANITIZE)
    set(flags "-fsanitize=${SANITIZE}")
endif()
run(${CMAKE_COMMAND} -S ${OUTSIDE} -B ${WORK}/outside -G ${GENERATOR} -DCMAKE_CXX_COMPILER=${CXX}
    -DCMAKE_CXX_FLAGS=${flags} -DCMAKE_PREFIX_PATH=${WORK}/moved)
run(${CMAKE_COMMAND} --build ${WORK}/outside)
run(${WORK}/outside/outside)
if(NOT output MATCHES "version 10.0, 1 child, shadow quality 2")
    message(FATAL_ERROR "The outside program prints: ${output}")
endif()

run(${WORK}/moved/bin/ktbake --version)
if(NOT output STREQUAL "ktbake ${VERSION}\n")
    message(FATAL_ERROR "The installed ktbake prints: ${output}")
endif()

# Programs that are not built with CMake use pkg-config.
find_program(PKG_CONFIG pkg-config REQUIRED)
get_filename_component(folder ${LIBRARIES} DIRECTORY)
set(ENV{PKG_CONFIG_PATH} ${WORK}/moved/${folder}/pkgconfig)
run(${PKG_CONFIG} --modversion ktAmbientOcclusion)
if(NOT output STREQUAL "${VERSION}\n")
    message(FATAL_ERROR "pkg-config gives the version ${output}")
endif()
run(${PKG_CONFIG} --cflags --libs ktAmbientOcclusion)
separate_arguments(options UNIX_COMMAND "${flags} ${output}")
run(${CXX} -std=c++17 -fPIC ${OUTSIDE}/outside.cpp -o ${WORK}/outside/without-cmake ${options})
run(${WORK}/outside/without-cmake)

# The manual page of the window names each of its options.
if(EXISTS ${WORK}/moved/bin/ktstudio)
    run(${WORK}/moved/bin/ktstudio --help)
    string(REGEX MATCHALL "--[a-z]+" names "${output}")
    list(LENGTH names count)
    file(READ ${WORK}/moved/share/man/man1/ktstudio.1 page)
    string(REPLACE "\\-" "-" page "${page}")
    foreach(name IN LISTS names)
        if(count LESS 4 OR NOT page MATCHES "${name}[^a-z]")
            message(FATAL_ERROR "The manual page of ktstudio does not have ${name}:\n${page}")
        endif()
    endforeach()
endif()

# The manual page and the completions are where man and the shells look.
foreach(file man/man1/ktbake.1 bash-completion/completions/ktbake zsh/site-functions/_ktbake
        fish/vendor_completions.d/ktbake.fish)
    if(NOT EXISTS ${WORK}/moved/share/${file})
        message(FATAL_ERROR "Not installed: share/${file}")
    endif()
    file(READ ${WORK}/moved/share/${file} text)
    if(NOT text MATCHES "ktbake" OR text MATCHES "${BUILD}")
        message(FATAL_ERROR "share/${file} is not about ktbake, or refers to the build folder")
    endif()
endforeach()

if(NOT EXISTS ${WORK}/moved/share/ktambientocclusion/blender/ktambientocclusion-blender.zip)
    message(FATAL_ERROR "The Blender add-on is not installed")
endif()

# No installed file may refer to the folder where it was built.
file(GLOB libraries ${WORK}/moved/${LIBRARIES}/*.so ${WORK}/moved/lib/python*/dist-packages/kthost.so ${WORK}/moved/bin/*)
list(LENGTH libraries count)
if(count LESS 4)
    message(FATAL_ERROR "Libraries are missing; only these are installed: ${libraries}")
endif()
foreach(library IN LISTS libraries)
    run(readelf -d ${library})
    string(REGEX MATCH "R(UN)?PATH[^\n]*" rpath "${output}")
    if(NOT rpath MATCHES "ORIGIN" OR rpath MATCHES "${BUILD}")
        message(FATAL_ERROR "${library} searches libraries in the wrong folders: ${rpath}")
    endif()
endforeach()
file(REMOVE_RECURSE ${WORK})
