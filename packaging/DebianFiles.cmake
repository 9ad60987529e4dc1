# Copyright (c) the Disk Hub developers
# SPDX-License-Identifier: MIT

# Run by CPack on the staged tree: what Debian wants compressed. Without time stamps, so that equal
# trees make equal packages.

file(GLOB_RECURSE FILES
    "${CPACK_TEMPORARY_DIRECTORY}/usr/share/man/*.1"
    "${CPACK_TEMPORARY_DIRECTORY}/usr/share/doc/disk-hub/changelog")
foreach(FILE IN LISTS FILES)
    execute_process(COMMAND gzip -9 --no-name --force "${FILE}" COMMAND_ERROR_IS_FATAL ANY)
endforeach()
