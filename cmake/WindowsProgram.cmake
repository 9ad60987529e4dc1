# Copyright (c) the Disk Hub developers
# SPDX-License-Identifier: MIT

if(WIN32)
    enable_language(RC)
endif()

# On Windows: gives the program TARGET its icon, its version and DESCRIPTION, by which the system
# names it. Elsewhere nothing.
function(disk_hub_windows_program TARGET DESCRIPTION)
    if(WIN32)
        configure_file(${PROJECT_SOURCE_DIR}/packaging/windows/program.rc.in ${TARGET}.rc @ONLY)
        # By itself: the resource compiler does not know the options of the C++ compiler.
        add_library(${TARGET}-resource OBJECT ${CMAKE_CURRENT_BINARY_DIR}/${TARGET}.rc)
        target_sources(${TARGET} PRIVATE $<TARGET_OBJECTS:${TARGET}-resource>)
    endif()
endfunction()
