# SPDX-License-Identifier: LGPL-2.1-or-later
# cmake -DBUILD=... -DWORK=... -DMODULES=... -DPYTHON=... -DSCRIPT=... -P InstalledTest.cmake
# Installs a build, moves the folder, imports the modules from there, and looks for their stubs.
file(REMOVE_RECURSE ${WORK})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/first RESULT_VARIABLE result
    OUTPUT_VARIABLE output ERROR_VARIABLE output)
if(result EQUAL 0)
    file(RENAME ${WORK}/first ${WORK}/moved)
    execute_process(COMMAND ${PYTHON} ${SCRIPT} ${WORK}/moved/${MODULES} RESULT_VARIABLE result
        OUTPUT_VARIABLE output ERROR_VARIABLE output)
    foreach(stub kthost ktAmbientOcclusion)
        if(NOT EXISTS ${WORK}/moved/${MODULES}/${stub}.pyi)
            set(result "a missing stub")
            set(output "${stub}.pyi is not beside the modules")
        endif()
    endforeach()
endif()
file(REMOVE_RECURSE ${WORK})
if(NOT result EQUAL 0)
    message(FATAL_ERROR "ended with ${result}:\n${output}")
endif()
