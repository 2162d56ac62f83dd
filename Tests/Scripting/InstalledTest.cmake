# SPDX-License-Identifier: LGPL-2.1-or-later
# cmake -DBUILD=... -DWORK=... -DLIBRARIES=... -DPYTHON=... -DSCRIPT=... -P InstalledTest.cmake
# Installs a build, moves the folder, and imports the modules from there.
file(REMOVE_RECURSE ${WORK})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/first RESULT_VARIABLE result
    OUTPUT_VARIABLE output ERROR_VARIABLE output)
if(result EQUAL 0)
    file(RENAME ${WORK}/first ${WORK}/moved)
    execute_process(COMMAND ${PYTHON} ${SCRIPT} ${WORK}/moved/${LIBRARIES} RESULT_VARIABLE result
        OUTPUT_VARIABLE output ERROR_VARIABLE output)
endif()
file(REMOVE_RECURSE ${WORK})
if(NOT result EQUAL 0)
    message(FATAL_ERROR "ended with ${result}:\n${output}")
endif()
