# SPDX-License-Identifier: LGPL-2.1-or-later
# Copies the add-on's sources into a folder, writes the version into them, and packs the folder. Usage:
# cmake -DSOURCE=... -DFOLDER=... -DZIP=... -DSETTINGS=... -DVERSION=... -P makeZip.cmake
cmake_minimum_required(VERSION 3.22)
file(REMOVE_RECURSE ${FOLDER} ${ZIP})
file(COPY ${SOURCE}/ DESTINATION ${FOLDER} FILES_MATCHING PATTERN "*.py" PATTERN "*.toml" PATTERN __pycache__ EXCLUDE)
file(COPY_FILE ${SETTINGS} ${FOLDER}/settings.json)

# Blender wants three numbers.
string(REPLACE "." ";" numbers "${VERSION}.0.0")
list(SUBLIST numbers 0 3 numbers)
function(set_version file before separator after)
    list(JOIN numbers "${separator}" version)
    file(READ ${FOLDER}/${file} text)
    string(FIND "${text}" "${before}" found)
    if(found LESS 0)
        message(FATAL_ERROR "${SOURCE}/${file}: does not contain ${before}")
    endif()
    string(REPLACE "${before}" "${after}" text "${text}")
    string(REPLACE "@version@" "${version}" text "${text}")
    file(WRITE ${FOLDER}/${file} "${text}")
endfunction()
set_version(__init__.py "(0, 0, 0)" ", " "(@version@)")
set_version(blender_manifest.toml "\"0.0.0\"" "." "\"@version@\"")

# A fixed time and order: the same sources give the same zip.
get_filename_component(parent ${FOLDER} DIRECTORY)
get_filename_component(name ${FOLDER} NAME)
file(GLOB_RECURSE files RELATIVE ${parent} ${FOLDER}/*)
list(SORT files)
execute_process(COMMAND ${CMAKE_COMMAND} -E tar cf ${ZIP} --format=zip "--mtime=2000-01-01 00:00:00 UTC" -- ${files}
    WORKING_DIRECTORY ${parent} RESULT_VARIABLE result)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "${ZIP}: cannot be written")
endif()
