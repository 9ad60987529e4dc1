# Copyright (c) the Disk Hub developers
# SPDX-License-Identifier: MIT

# Ends the configuration if TARGET links a module for windows, itself or through what it links.
function(disk_hub_without_windows TARGET)
    set(libraries ${TARGET})
    set(seen)
    while(libraries)
        list(POP_FRONT libraries library)
        if(library IN_LIST seen)
            continue()
        endif()
        list(APPEND seen "${library}")
        if(library MATCHES "Qt[56]?::(Gui|Widgets)(Private)?$")
            message(FATAL_ERROR
                "${TARGET} links ${library}: it serves without windows; what needs them belongs "
                "to disk-hub-gui.")
        endif()
        if(TARGET "${library}")
            foreach(property IN ITEMS LINK_LIBRARIES INTERFACE_LINK_LIBRARIES)
                get_target_property(linked "${library}" ${property})
                if(linked)
                    # A dependency that is for linking only comes wrapped.
                    list(TRANSFORM linked REPLACE "^\\$<LINK_ONLY:(.*)>$" "\\1")
                    list(APPEND libraries ${linked})
                endif()
            endforeach()
        endif()
    endwhile()
endfunction()
