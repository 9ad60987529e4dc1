# Copyright (c) the Disk Hub developers
# SPDX-License-Identifier: MIT

# Sets OUT to the time of the release, DISK_HUB_RELEASED, as string(TIMESTAMP) formats it.
function(disk_hub_release_time OUT FORMAT)
    # The variable of the environment is what string(TIMESTAMP) takes for the present.
    set(before $ENV{SOURCE_DATE_EPOCH})
    set(ENV{SOURCE_DATE_EPOCH} ${DISK_HUB_RELEASED})
    string(TIMESTAMP time "${FORMAT}" UTC)
    set(ENV{SOURCE_DATE_EPOCH} ${before})
    set(${OUT} "${time}" PARENT_SCOPE)
endfunction()

# Makes PAGE from PAGE.in with the version and the date of the release, and installs it.
function(disk_hub_man_page PAGE)
    disk_hub_release_time(RELEASE_DATE %Y-%m-%d)
    configure_file(${PAGE}.in ${PAGE} @ONLY)
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${PAGE} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endfunction()
