# SPDX-License-Identifier: LGPL-2.1-or-later
# The target `package` makes Debian packages, one for each component of cmake/ktInstall.cmake, and the target `wheel` a wheel
# for pip. Included after all components are known. Maintainer of the packages is who builds them: DEBFULLNAME and DEBEMAIL.

set(name ktambientocclusion)
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ${name})
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
get_cmake_property(CPACK_COMPONENTS_ALL COMPONENTS)
list(REMOVE_ITEM CPACK_COMPONENTS_ALL Unspecified)

foreach(part FULLNAME EMAIL)
    set(maintainer_${part} "$ENV{DEB${part}}")
endforeach()
if(maintainer_FULLNAME STREQUAL "" OR maintainer_EMAIL STREQUAL "")
    set(CPACK_PACKAGE_CONTACT "${PROJECT_NAME} maintainers <maintainers@${name}.invalid>")
else()
    set(CPACK_PACKAGE_CONTACT "${maintainer_FULLNAME} <${maintainer_EMAIL}>")
endif()

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
# Lower than the first revision of a distribution, which would replace these packages.
set(CPACK_DEBIAN_PACKAGE_RELEASE 0kt1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The packages' own libraries. Their dependency is written below, with the exact version.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(exactly "(= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")

# kt_package(COMPONENT NAME SECTION [ARCHITECTURE all] [DEPENDS text] [RECOMMENDS text] [SUGGESTS text] TEXT line...): the
# first line is the short description; each line has at most 79 characters. The line "." divides paragraphs.
function(kt_package component package section)
    cmake_parse_arguments(arg "" "ARCHITECTURE;DEPENDS;RECOMMENDS;SUGGESTS" "TEXT" ${ARGN})
    foreach(line IN LISTS arg_TEXT)
        string(LENGTH "${line}" columns)
        if(columns GREATER 79)
            message(FATAL_ERROR "The description of ${package} has a line of ${columns} characters, more than 79: ${line}")
        endif()
    endforeach()
    string(TOUPPER ${component} upper)
    list(JOIN arg_TEXT "\n" text)
    set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${package} PARENT_SCOPE)
    set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section} PARENT_SCOPE)
    set(CPACK_DEBIAN_${upper}_DESCRIPTION "${text}" PARENT_SCOPE)
    foreach(field ARCHITECTURE DEPENDS RECOMMENDS SUGGESTS)
        if(arg_${field})
            set(CPACK_DEBIAN_${upper}_PACKAGE_${field} "${arg_${field}}" PARENT_SCOPE)
        endif()
    endforeach()
endfunction()

kt_package(runtime ${name} graphics SUGGESTS "python3-${name}, ${name}-studio, ${name}-mpi"
    TEXT "bakes ambient occlusion and bounced light into vertices"
        "ktbake reads a scene, calculates for each vertex how much light reaches it,"
        "and writes the scene with the results. It needs no texture coordinates and no"
        "light maps. Any glTF viewer shows the result."
        "."
        "It reads glTF 2.0 and, through Assimp, many other formats. It writes glTF 2.0.")
kt_package(development ${name}-dev libdevel DEPENDS "${name} ${exactly}, qtbase5-dev (>= 5.15), libboost-dev (>= 1.74)"
    TEXT "bakes light into vertices - development files"
        "Headers, CMake package and pkg-config file to use the baker, its scene graph"
        "and its host library in other programs, or to write plug-ins for the host.")
kt_package(studio ${name}-studio graphics DEPENDS "${name} ${exactly}" RECOMMENDS "python3"
    TEXT "bakes light into vertices - window"
        "ktstudio opens a scene, bakes ambient occlusion and bounced light into its"
        "vertices, shows the result and saves it. Bakes and settings can be undone.")
if(TARGET kthost)
    math(EXPR next "${Python3_VERSION_MINOR} + 1")
    kt_package(python python3-${name} python
        DEPENDS "${name} ${exactly}, python3 (>= 3.${Python3_VERSION_MINOR}), python3 (<< 3.${next})" SUGGESTS python3-numpy
        TEXT "bakes light into vertices - Python modules"
            "The module kthost opens scenes, bakes, and saves them. It gives results as"
            "buffers that NumPy reads without a copy. The module ktAmbientOcclusion holds"
            "the calculation. With this package, ktbake runs scripts.")
endif()
if(TARGET ktRanksMpi)
    kt_package(mpi ${name}-mpi graphics DEPENDS "${name} ${exactly}" RECOMMENDS openmpi-bin
        TEXT "bakes light into vertices - many machines"
            "With this package, processes of ktbake that mpirun or srun has started, on one"
            "machine or many, share one bake. The result has the same bits as without.")
endif()
kt_package(blender ${name}-blender graphics ARCHITECTURE all DEPENDS "${name} (>= ${PROJECT_VERSION})" SUGGESTS blender
    TEXT "bakes light into vertices - add-on for Blender"
        "An add-on that bakes ambient occlusion and bounced light into the colours of a"
        "mesh in Blender.")

configure_file(${PROJECT_SOURCE_DIR}/cmake/Packages/changelog.in ${PROJECT_BINARY_DIR}/packages/changelog @ONLY)
configure_file(${PROJECT_SOURCE_DIR}/cmake/Packages/finish.cmake.in ${PROJECT_BINARY_DIR}/packages/finish.cmake @ONLY)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_BINARY_DIR}/packages/finish.cmake)
include(CPack)

if(TARGET kthost AND KT_PYTHON STREQUAL "3")
    add_custom_target(wheel COMMAND ${KT_PYTHON_EXECUTABLE} ${PROJECT_SOURCE_DIR}/cmake/Packages/make_wheel.py
            --build ${PROJECT_BINARY_DIR} --version ${PROJECT_VERSION} --cmake ${CMAKE_COMMAND}
            --libraries ${KT_LIBRARY_FOLDER} --modules ${KT_PYTHON_FOLDER} --beside ${KT_WHEEL_LIBRARIES}
            --licence ${PROJECT_SOURCE_DIR}/LICENSE --into ${PROJECT_BINARY_DIR}/packages
        DEPENDS kthost COMMENT "Making the wheel" VERBATIM)
endif()
