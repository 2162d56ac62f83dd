# SPDX-License-Identifier: LGPL-2.1-or-later
# Tests that each component installs its own files, and that all components together are the whole installation. Usage:
# cmake -DBUILD=... -DWORK=... -DLIBDIR=... -DKT_OPENSG=... -P ComponentsTest.cmake

cmake_minimum_required(VERSION 3.22)

function(install_files name)
    execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/${name} ${ARGN}
        RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "Installing ${name} ended with ${result}:\n${output}")
    endif()
    file(GLOB_RECURSE files LIST_DIRECTORIES false RELATIVE ${WORK}/${name} ${WORK}/${name}/*)
    set(${name} ${files} PARENT_SCOPE)
endfunction()

function(expect component)
    if(NOT "${${component}}" STREQUAL "${ARGN}")
        message(FATAL_ERROR "The component ${component} installs\n  ${${component}}\nand not\n  ${ARGN}")
    endif()
endfunction()

file(REMOVE_RECURSE ${WORK})
install_files(whole)
foreach(component runtime development studio python mpi)
    install_files(${component} --component ${component})
endforeach()

# An installed OpenSG stays where it is.
set(scene_graph ${LIBDIR}/ktambientocclusion/libktOpenSG.so)
set(scene_graph_header OSGNode.h)
if(KT_OPENSG)
    set(scene_graph "")
    set(scene_graph_header OSGFieldAccessMacros.h)
endif()
expect(runtime bin/ktbake
    ${LIBDIR}/ktambientocclusion/ktAmbientOcclusion.so
    ${LIBDIR}/ktambientocclusion/libktHost.so
    ${scene_graph}
    share/bash-completion/completions/ktbake
    share/fish/vendor_completions.d/ktbake.fish
    share/man/man1/ktbake.1
    share/zsh/site-functions/_ktbake)
expect(python
    lib/python3/dist-packages/ktAmbientOcclusion.pyi
    lib/python3/dist-packages/ktAmbientOcclusion.so
    lib/python3/dist-packages/kthost.pyi
    lib/python3/dist-packages/kthost.so)
expect(studio
    bin/ktstudio
    share/applications/ktstudio.desktop
    share/icons/hicolor/scalable/apps/ktstudio.svg
    share/ktAmbientOcclusion/Examples/scenes.py
    share/man/man1/ktstudio.1)
if(NOT "${mpi}" STREQUAL "" AND NOT "${mpi}" STREQUAL "${LIBDIR}/ktambientocclusion/ktRanksMpi.so")
    message(FATAL_ERROR "The component mpi installs ${mpi}")
endif()
foreach(file include/ktAmbientOcclusion/OpenSG/${scene_graph_header} include/ktAmbientOcclusion/Host/Include/ktLog.h
        include/ktAmbientOcclusion/AmbientOcclusion/ktAmbientOcclusion.h ${LIBDIR}/pkgconfig/ktAmbientOcclusion.pc
        ${LIBDIR}/cmake/ktAmbientOcclusion/ktAmbientOcclusionConfig.cmake)
    if(NOT file IN_LIST development)
        message(FATAL_ERROR "The component development does not install ${file}")
    endif()
endforeach()
foreach(file IN LISTS development)
    if(NOT file MATCHES "^(include/ktAmbientOcclusion|${LIBDIR}/cmake/ktAmbientOcclusion|${LIBDIR}/pkgconfig)/.*[.](h|inl|cmake|pc)$")
        message(FATAL_ERROR "The component development installs ${file}")
    endif()
endforeach()

# A file without a component would be in no package. The add-on for Blender has a test of its own.
set(parts ${runtime} ${development} ${studio} ${python} ${mpi})
list(SORT parts)
list(FILTER whole EXCLUDE REGEX "[Bb]lender")
if(NOT "${whole}" STREQUAL "${parts}")
    list(REMOVE_ITEM whole ${parts})
    message(FATAL_ERROR "Files that are in no component: ${whole}")
endif()
file(REMOVE_RECURSE ${WORK})
