# SPDX-License-Identifier: LGPL-2.1-or-later
# With KT_OPENSG, an installed OpenSG 1.8 is the scene graph instead of OpenSG/. Defines the target ktOpenSG.

set(kt_opensg_headers ${KT_OPENSG}/include/OpenSG)
if(NOT EXISTS ${kt_opensg_headers}/OSGNode.h)
    message(FATAL_ERROR "KT_OPENSG=${KT_OPENSG} has no include/OpenSG/OSGNode.h")
endif()
foreach(name OSGBase OSGSystem)
    find_library(KT_${name} ${name} PATHS ${KT_OPENSG}/lib ${KT_OPENSG}/lib/opt NO_DEFAULT_PATH)
    if(NOT KT_${name})
        message(FATAL_ERROR "KT_OPENSG=${KT_OPENSG} has no library ${name} in lib or lib/opt")
    endif()
endforeach()
# The headers must know how the library finds a thread's own state. Without thread-local variables, a thread that OpenSG
# did not start, for example a worker of TBB, cannot even read through a pointer.
file(STRINGS ${KT_OSGSystem} kt_opensg_threads REGEX "_uiTLSAspectId" LIMIT_COUNT 1)
if(NOT kt_opensg_threads)
    message(FATAL_ERROR "${KT_OSGSystem} has no thread-local state: build OpenSG with OSG_PTHREAD_ELF_TLS")
endif()

# These headers are ours and work with both.
set(kt_opensg_own ${PROJECT_BINARY_DIR}/InstalledOpenSG)
foreach(name OSGFieldAccessMacros.h OSGMaterialGroups.h OSGWorldMatrices.h)
    configure_file(${PROJECT_SOURCE_DIR}/OpenSG/${name} ${kt_opensg_own}/OpenSG/${name} COPYONLY)
endforeach()

add_library(ktOpenSG INTERFACE)
add_library(kt::OpenSG ALIAS ktOpenSG)
target_include_directories(ktOpenSG SYSTEM INTERFACE ${KT_OPENSG}/include ${kt_opensg_headers})
target_include_directories(ktOpenSG INTERFACE $<BUILD_INTERFACE:${kt_opensg_own}>)
# For pkg-config.
set(kt_opensg_flags "-DOSG_PTHREAD_ELF_TLS -Wno-cpp -Wno-narrowing -isystem ${KT_OPENSG}/include -isystem ${kt_opensg_headers}")
target_compile_definitions(ktOpenSG INTERFACE OSG_PTHREAD_ELF_TLS KT_INSTALLED_OPENSG)
# Its headers include <ext/hash_map>, which warns that it is old, and its templates convert numbers to bool.
target_compile_options(ktOpenSG INTERFACE -Wno-cpp -Wno-narrowing)
target_link_libraries(ktOpenSG INTERFACE ${KT_OSGSystem} ${KT_OSGBase})

# Installed files find the library where it is.
get_filename_component(kt_opensg_folder ${KT_OSGSystem} DIRECTORY)
foreach(kind LIBRARY PROGRAM MODULE)
    list(APPEND KT_${kind}_RPATH ${kt_opensg_folder})
endforeach()
