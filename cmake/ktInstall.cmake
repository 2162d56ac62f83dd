# SPDX-License-Identifier: LGPL-2.1-or-later
# What is installed: libraries, headers, ktbake with its manual page and completions, ktstudio with its desktop file, and the
# CMake package `ktAmbientOcclusion`. Included last, when all targets exist. Libraries find each other relative to themselves, so the folder can be moved.

include(CMakePackageConfigHelpers)
set(kt_include ${CMAKE_INSTALL_INCLUDEDIR}/ktAmbientOcclusion)
set(kt_package ${CMAKE_INSTALL_LIBDIR}/cmake/ktAmbientOcclusion)

# kt_install_library(TARGET FOLDER...): installs a library into the package. Programs that use the installed library
# include the given folders below the prefix instead of those of the source tree.
function(kt_install_library target)
    get_target_property(folders ${target} INTERFACE_INCLUDE_DIRECTORIES)
    set(both "")
    foreach(folder IN LISTS folders)
        if(folder MATCHES "^[$]<BUILD_INTERFACE:")
            list(APPEND both ${folder})
        elseif(folder AND NOT folder MATCHES "^[$]<INSTALL_INTERFACE:")
            list(APPEND both $<BUILD_INTERFACE:${folder}>)
        endif()
    endforeach()
    foreach(folder IN LISTS ARGN)
        list(APPEND both $<INSTALL_INTERFACE:${folder}>)
    endforeach()
    set_property(TARGET ${target} PROPERTY INTERFACE_INCLUDE_DIRECTORIES "${both}")
    install(TARGETS ${target} EXPORT ktAmbientOcclusionTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
endfunction()

kt_install_library(ktOpenSG ${kt_include})
kt_install_library(ktHostInterface ${kt_include}/Host/Include)
kt_install_library(ktHost)
kt_install_library(ktHostInternals ${kt_include}/Host/Core ${kt_include}/Host/Scene ${kt_include}/Host/Files
    ${kt_include}/Host/Viewing)
kt_install_library(ktAmbientOcclusion ${kt_include}/AmbientOcclusion)
install(TARGETS ktbake RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES ${KT_BAKE_MANUAL_FOLDER}/ktbake.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${KT_BAKE_MANUAL_FOLDER}/ktbake.bash RENAME ktbake
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
install(FILES ${KT_BAKE_MANUAL_FOLDER}/_ktbake DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions)
install(FILES ${KT_BAKE_MANUAL_FOLDER}/ktbake.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)
# ./bake builds only ktbake, and the installation must not fail without the window.
install(TARGETS ktstudio RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} OPTIONAL)
install(FILES ${PROJECT_SOURCE_DIR}/Apps/Studio/Desktop/ktstudio.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${PROJECT_SOURCE_DIR}/Apps/Studio/Desktop/ktstudio.svg
    DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
install(FILES ${PROJECT_SOURCE_DIR}/Examples/scenes.py DESTINATION ${CMAKE_INSTALL_DATADIR}/ktAmbientOcclusion/Examples)
if(TARGET kthost)
    install(TARGETS kthost LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
    install(FILES ${PROJECT_SOURCE_DIR}/Apps/Scripting/kthost.pyi ${PROJECT_SOURCE_DIR}/Apps/Scripting/ktAmbientOcclusion.pyi
        DESTINATION ${CMAKE_INSTALL_LIBDIR})
endif()

install(DIRECTORY ${PROJECT_SOURCE_DIR}/OpenSG DESTINATION ${kt_include} FILES_MATCHING PATTERN "*.h" PATTERN "*.inl")
install(DIRECTORY ${PROJECT_SOURCE_DIR}/AmbientOcclusion DESTINATION ${kt_include} FILES_MATCHING PATTERN "*.h"
    PATTERN "*Python*" EXCLUDE)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/Host/Include DESTINATION ${kt_include}/Host FILES_MATCHING PATTERN "*.h")
# From the rooms of the host, only headers that declare exported symbols, and the headers that these include. The rooms of a
# folder are installed together.
set(kt_host_folders Core Scene Files Viewing)
set(included)
foreach(folder IN LISTS kt_host_folders)
    file(GLOB_RECURSE headers_${folder} CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/Host/${folder}/*.h)
    set(exported_${folder})
    foreach(header IN LISTS headers_${folder})
        file(STRINGS ${header} exported REGEX KT_HOST_EXPORT LIMIT_COUNT 1)
        if(exported)
            list(APPEND exported_${folder} ${header})
            file(STRINGS ${header} lines REGEX "^#include \"")
            list(TRANSFORM lines REPLACE "^#include \"(.*)\".*" "\\1")
            list(APPEND included ${lines})
        endif()
    endforeach()
endforeach()
foreach(folder IN LISTS kt_host_folders)
    install(DIRECTORY DESTINATION ${kt_include}/Host/${folder})
    foreach(header IN LISTS headers_${folder})
        get_filename_component(name ${header} NAME)
        if(header IN_LIST exported_${folder} OR name IN_LIST included)
            install(FILES ${header} DESTINATION ${kt_include}/Host/${folder})
        endif()
    endforeach()
endforeach()

install(EXPORT ktAmbientOcclusionTargets NAMESPACE ktAmbientOcclusion:: DESTINATION ${kt_package})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/ktAmbientOcclusionConfig.cmake.in
    ${PROJECT_BINARY_DIR}/ktAmbientOcclusionConfig.cmake INSTALL_DESTINATION ${kt_package})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ktAmbientOcclusionConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/ktAmbientOcclusionConfig.cmake
    ${PROJECT_BINARY_DIR}/ktAmbientOcclusionConfigVersion.cmake DESTINATION ${kt_package})
