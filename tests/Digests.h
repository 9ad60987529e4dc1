// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

// Digests of passwords as a device sends them: vectors of RFC 1321, section A.5.

constexpr char MD5_OF_NOTHING[] = "d41d8cd98f00b204e9800998ecf8427e";
constexpr char MD5_OF_A[] = "0cc175b9c0f1b6a831c399e269772661";   // "a"
constexpr char MD5_OF_ABC[] = "900150983cd24fb0d6963f7d28e17f72"; // "abc"
