# Copyright (c) the Disk Hub developers
# SPDX-License-Identifier: MIT

# Debian's cross compiler for armhf, and a package of that architecture.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE armhf)
