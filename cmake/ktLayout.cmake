# SPDX-License-Identifier: LGPL-2.1-or-later
# Where installed files are, relative to the prefix. Libraries and modules find each other relative to themselves, so an
# installation can be moved.
#
# KT_LIBRARY_FOLDER   the libraries; private, because no other program links them without the CMake package or pkg-config
# KT_PYTHON_FOLDER    the modules for scripts, where Debian's interpreter looks below /usr
# KT_..._RPATH        where the files of each kind look for the libraries

include(GNUInstallDirs)
set(KT_LIBRARY_FOLDER ${CMAKE_INSTALL_LIBDIR}/ktambientocclusion)
if(KT_PYTHON STREQUAL "2")
    set(KT_PYTHON_FOLDER lib/python2.7/dist-packages)
else()
    set(KT_PYTHON_FOLDER lib/python3/dist-packages)
endif()

file(RELATIVE_PATH kt_libraries_from_programs /usr/${CMAKE_INSTALL_BINDIR} /usr/${KT_LIBRARY_FOLDER})
file(RELATIVE_PATH kt_libraries_from_modules /usr/${KT_PYTHON_FOLDER} /usr/${KT_LIBRARY_FOLDER})
file(RELATIVE_PATH KT_MODULES_FROM_LIBRARIES /usr/${KT_LIBRARY_FOLDER} /usr/${KT_PYTHON_FOLDER})
set(KT_LIBRARY_RPATH "$ORIGIN")
set(KT_PROGRAM_RPATH "$ORIGIN/${kt_libraries_from_programs}")
# A wheel has the libraries in a folder beside the modules.
set(KT_WHEEL_LIBRARIES ktambientocclusion.libs)
set(KT_MODULE_RPATH "$ORIGIN" "$ORIGIN/${kt_libraries_from_modules}" "$ORIGIN/${KT_WHEEL_LIBRARIES}")
