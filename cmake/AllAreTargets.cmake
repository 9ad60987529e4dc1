# Copyright (c) the Disk Hub developers
# SPDX-License-Identifier: MIT

# Ends the configuration if a source file of this directory that fits PATTERN has no target of its
# name: nobody would miss a test that is not built.
function(disk_hub_all_are_targets PATTERN)
    file(GLOB sources CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/${PATTERN}")
    get_property(targets DIRECTORY PROPERTY BUILDSYSTEM_TARGETS)
    foreach(source IN LISTS sources)
        get_filename_component(name "${source}" NAME_WE)
        if(NOT name IN_LIST targets)
            message(FATAL_ERROR "${source} is not in ${CMAKE_CURRENT_LIST_FILE}.")
        endif()
    endforeach()
endfunction()
