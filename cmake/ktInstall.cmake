# SPDX-License-Identifier: LGPL-2.1-or-later
# What is installed, by component. Included last, when all targets exist. cmake/ktLayout.cmake says where.
#
# runtime      libraries, ktbake with its manual page and completions
# development  headers, the CMake package `ktAmbientOcclusion`, the file for pkg-config
# studio       ktstudio with its manual page, desktop file and icon; nothing if it is not built
# python       the modules for scripts with their stubs
# mpi          the module that shares one bake among machines; nothing if it is not built

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
    get_target_property(type ${target} TYPE)
    if(NOT type STREQUAL "INTERFACE_LIBRARY")
        set_target_properties(${target} PROPERTIES INSTALL_RPATH "${KT_LIBRARY_RPATH}")
    endif()
    install(TARGETS ${target} EXPORT ktAmbientOcclusionTargets
        LIBRARY DESTINATION ${KT_LIBRARY_FOLDER} COMPONENT runtime NAMELINK_COMPONENT runtime)
endfunction()

if(KT_OPENSG)
    kt_install_library(ktOpenSG ${kt_include} ${KT_OPENSG}/include ${KT_OPENSG}/include/OpenSG)
    set(KT_PKGCONFIG_OPENSG "-Wl,-rpath,${kt_opensg_folder} ${KT_OSGSystem} ${KT_OSGBase}")
    set(KT_PKGCONFIG_OPENSG_FLAGS "${kt_opensg_flags}")
else()
    kt_install_library(ktOpenSG ${kt_include})
    set(KT_PKGCONFIG_OPENSG -lktOpenSG)
endif()
kt_install_library(ktHostInterface ${kt_include}/Host/Include)
kt_install_library(ktHost)
kt_install_library(ktHostInternals ${kt_include}/Host/Core ${kt_include}/Host/Scene ${kt_include}/Host/Files
    ${kt_include}/Host/Viewing)
kt_install_library(ktAmbientOcclusion ${kt_include}/AmbientOcclusion)
set_target_properties(ktbake ktstudio PROPERTIES INSTALL_RPATH "${KT_PROGRAM_RPATH}")
install(TARGETS ktbake RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
install(FILES ${KT_BAKE_MANUAL_FOLDER}/ktbake.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT runtime)
install(FILES ${KT_BAKE_MANUAL_FOLDER}/ktbake.bash RENAME ktbake
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT runtime)
install(FILES ${KT_BAKE_MANUAL_FOLDER}/_ktbake DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions COMPONENT runtime)
install(FILES ${KT_BAKE_MANUAL_FOLDER}/ktbake.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d
    COMPONENT runtime)

# ./bake builds only ktbake. Without the window, nothing that belongs to it is installed.
configure_file(${PROJECT_SOURCE_DIR}/Apps/Studio/Desktop/ktstudio.1.in ${PROJECT_BINARY_DIR}/Apps/ktstudio.1 @ONLY)
function(kt_install_for_studio folder)
    foreach(file IN LISTS ARGN)
        install(CODE "
            if(EXISTS \"$<TARGET_FILE:ktstudio>\")
                file(INSTALL DESTINATION \"\${CMAKE_INSTALL_PREFIX}/${folder}\" TYPE FILE FILES \"${file}\")
            endif()" COMPONENT studio)
    endforeach()
endfunction()
install(TARGETS ktstudio RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT studio OPTIONAL)
kt_install_for_studio(${CMAKE_INSTALL_MANDIR}/man1 ${PROJECT_BINARY_DIR}/Apps/ktstudio.1)
kt_install_for_studio(${CMAKE_INSTALL_DATADIR}/applications ${PROJECT_SOURCE_DIR}/Apps/Studio/Desktop/ktstudio.desktop)
kt_install_for_studio(${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps
    ${PROJECT_SOURCE_DIR}/Apps/Studio/Desktop/ktstudio.svg)
kt_install_for_studio(${CMAKE_INSTALL_DATADIR}/ktAmbientOcclusion/Examples ${PROJECT_SOURCE_DIR}/Examples/scenes.py)

if(TARGET ktRanksMpi)
    set_target_properties(ktRanksMpi PROPERTIES INSTALL_RPATH "${KT_LIBRARY_RPATH}")
    install(TARGETS ktRanksMpi LIBRARY DESTINATION ${KT_LIBRARY_FOLDER} COMPONENT mpi)
endif()

if(TARGET kthost)
    # The plug-in is a module, too. It loads its libraries from where the interpreter finds the link to it.
    set_target_properties(ktAmbientOcclusion kthost PROPERTIES INSTALL_RPATH "${KT_MODULE_RPATH}")
    install(TARGETS kthost LIBRARY DESTINATION ${KT_PYTHON_FOLDER} COMPONENT python)
    install(FILES ${PROJECT_SOURCE_DIR}/Apps/Scripting/kthost.pyi ${PROJECT_SOURCE_DIR}/Apps/Scripting/ktAmbientOcclusion.pyi
        DESTINATION ${KT_PYTHON_FOLDER} COMPONENT python)
    install(CODE "
        set(folder \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${KT_PYTHON_FOLDER}\")
        message(STATUS \"Installing: \${folder}/ktAmbientOcclusion.so\")
        file(CREATE_LINK \"${kt_libraries_from_modules}/ktAmbientOcclusion.so\" \"\${folder}/ktAmbientOcclusion.so\" SYMBOLIC)
        list(APPEND CMAKE_INSTALL_MANIFEST_FILES \"\${CMAKE_INSTALL_PREFIX}/${KT_PYTHON_FOLDER}/ktAmbientOcclusion.so\")
        " COMPONENT python)
endif()

if(KT_OPENSG)
    install(DIRECTORY ${kt_opensg_own}/OpenSG DESTINATION ${kt_include} COMPONENT development)
else()
    install(DIRECTORY ${PROJECT_SOURCE_DIR}/OpenSG DESTINATION ${kt_include} COMPONENT development
        FILES_MATCHING PATTERN "*.h" PATTERN "*.inl")
endif()
install(DIRECTORY ${PROJECT_SOURCE_DIR}/AmbientOcclusion DESTINATION ${kt_include} COMPONENT development
    FILES_MATCHING PATTERN "*.h" PATTERN "*Python*" EXCLUDE)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/Host/Include DESTINATION ${kt_include}/Host COMPONENT development
    FILES_MATCHING PATTERN "*.h")
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
    install(DIRECTORY DESTINATION ${kt_include}/Host/${folder} COMPONENT development)
    foreach(header IN LISTS headers_${folder})
        get_filename_component(name ${header} NAME)
        if(header IN_LIST exported_${folder} OR name IN_LIST included)
            install(FILES ${header} DESTINATION ${kt_include}/Host/${folder} COMPONENT development)
        endif()
    endforeach()
endforeach()

install(EXPORT ktAmbientOcclusionTargets NAMESPACE ktAmbientOcclusion:: DESTINATION ${kt_package} COMPONENT development)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/ktAmbientOcclusionConfig.cmake.in
    ${PROJECT_BINARY_DIR}/ktAmbientOcclusionConfig.cmake INSTALL_DESTINATION ${kt_package})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ktAmbientOcclusionConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/ktAmbientOcclusionConfig.cmake
    ${PROJECT_BINARY_DIR}/ktAmbientOcclusionConfigVersion.cmake DESTINATION ${kt_package} COMPONENT development)
file(RELATIVE_PATH kt_prefix_from_pkgconfig /usr/${CMAKE_INSTALL_LIBDIR}/pkgconfig /usr)
string(REGEX REPLACE "/$" "" kt_prefix_from_pkgconfig "${kt_prefix_from_pkgconfig}")
configure_file(${PROJECT_SOURCE_DIR}/cmake/Packages/ktAmbientOcclusion.pc.in ${PROJECT_BINARY_DIR}/ktAmbientOcclusion.pc
    @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/ktAmbientOcclusion.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
    COMPONENT development)
