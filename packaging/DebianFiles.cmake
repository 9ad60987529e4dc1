# Copyright (c) the Disk Hub developers
# SPDX-License-Identifier: MIT

# Run by CPack on the staged tree: what Debian wants compressed. Without time stamps, so that equal
# trees make equal packages.

file(GLOB_RECURSE PAGES "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*/man/man1/*.1")
file(GLOB_RECURSE CHANGELOG "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*/doc/disk-hub/changelog")
foreach(FILE IN LISTS PAGES CHANGELOG)
    execute_process(COMMAND gzip -9 --no-name --force "${FILE}" COMMAND_ERROR_IS_FATAL ANY)
endforeach()
