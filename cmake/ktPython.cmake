# SPDX-License-Identifier: LGPL-2.1-or-later
# The interpreter that the scripting module and the host's scripting are built for.
#
# KT_PYTHON         "3" (default), "2" or "OFF" (no scripting)
# KT_PYTHON2_FOLDER for "2": the folder that cmake/setup-python2.sh filled
#
# Makes the target ktPython (headers and library of the interpreter and of Boost.Python for it) and sets
# KT_PYTHON_EXECUTABLE and KT_PYTHON_ENVIRONMENT (a list VAR=value that the interpreter needs to run).

set(KT_PYTHON "3" CACHE STRING "Python that scripting is built for: 3, 2 or OFF")
set_property(CACHE KT_PYTHON PROPERTY STRINGS 3 2 OFF)
set(KT_PYTHON2_FOLDER "${PROJECT_SOURCE_DIR}/build/python2" CACHE PATH "Folder filled by cmake/setup-python2.sh")

set(KT_PYTHON_ENVIRONMENT "")
if(KT_PYTHON STREQUAL "3")
    # Debian's interpreter, because Debian's Boost.Python is built for it. Others on the PATH do not fit.
    set(Python3_FIND_VIRTUALENV STANDARD)
    if(NOT Python3_EXECUTABLE AND EXISTS /usr/bin/python3)
        set(Python3_EXECUTABLE /usr/bin/python3)
    endif()
    find_package(Python3 REQUIRED COMPONENTS Interpreter Development)
    find_package(Boost 1.74 REQUIRED COMPONENTS python${Python3_VERSION_MAJOR}${Python3_VERSION_MINOR})
    add_library(ktPython INTERFACE)
    target_link_libraries(ktPython INTERFACE Boost::python${Python3_VERSION_MAJOR}${Python3_VERSION_MINOR} Python3::Python)
    set(KT_PYTHON_EXECUTABLE ${Python3_EXECUTABLE})
elseif(KT_PYTHON STREQUAL "2")
    set(root ${KT_PYTHON2_FOLDER}/root/usr)
    find_file(KT_PYTHON2_LIBRARY libpython2.7.so PATHS ${root}/lib PATH_SUFFIXES ${CMAKE_LIBRARY_ARCHITECTURE} NO_DEFAULT_PATH)
    find_file(KT_PYTHON2_BOOST libboost_python27.so PATHS ${KT_PYTHON2_FOLDER}/lib NO_DEFAULT_PATH)
    if(NOT KT_PYTHON2_LIBRARY OR NOT KT_PYTHON2_BOOST)
        message(FATAL_ERROR "No Python 2.7 in ${KT_PYTHON2_FOLDER}: run cmake/setup-python2.sh ${KT_PYTHON2_FOLDER}")
    endif()
    get_filename_component(library_folder ${KT_PYTHON2_LIBRARY} DIRECTORY)
    add_library(ktPython INTERFACE)
    target_include_directories(ktPython SYSTEM INTERFACE ${root}/include/python2.7 ${root}/include)
    target_link_libraries(ktPython INTERFACE ${KT_PYTHON2_BOOST} ${KT_PYTHON2_LIBRARY})
    set(KT_PYTHON_EXECUTABLE ${root}/bin/python2.7)
    set(KT_PYTHON_ENVIRONMENT "PYTHONHOME=${root}" "LD_LIBRARY_PATH=${library_folder}:${KT_PYTHON2_FOLDER}/lib")
    # Boost.Python 1.74 uses std::auto_ptr, and the interpreter's headers use register.
    target_compile_options(ktPython INTERFACE -Wno-register -Wno-deprecated-declarations)
endif()
if(TARGET ktPython AND KT_SANITIZE MATCHES "undefined")
    # Boost.Python reads the type of a holder after its destruction; this check clears it.
    target_compile_options(ktPython INTERFACE -fno-sanitize=vptr)
endif()
