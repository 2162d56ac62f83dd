# SPDX-License-Identifier: LGPL-2.1-or-later
# Tests an installation in a moved folder. Usage:
# cmake -DBUILD=... -DWORK=... -DOUTSIDE=... -DGENERATOR=... -DCXX=... -DSANITIZE=... -P InstallTest.cmake

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
if(NOT output MATCHES "ktbake 10.0")
    message(FATAL_ERROR "The installed ktbake prints: ${output}")
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

# No installed file may refer to the folder where it was built.
file(GLOB libraries ${WORK}/moved/lib/*.so ${WORK}/moved/bin/*)
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
