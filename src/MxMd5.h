// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

class QString;

/// A running MD5 computation (RFC 1321).
struct MD5_CTX {
    unsigned int count[2];    ///< message bits fed in, modulo 2^64; low word first
    unsigned int state[4];    ///< the chaining words A, B, C, D
    unsigned char buffer[64]; ///< the block being gathered; (count[0] / 8) % 64 bytes are in use
    unsigned char digest[16]; ///< the result, once MD5Final() has run
};

/// Starts a computation (RFC 1321, section 3.3).
void MD5Init(MD5_CTX *context);

/// Feeds `length` bytes. Any division into calls gives the same digest.
void MD5Update(MD5_CTX *context, const unsigned char *input, unsigned int length);

/// Pads, and leaves the digest in `context->digest` (RFC 1321, sections 3.1, 3.2 and 3.5).
void MD5Final(MD5_CTX *context);

/// Compresses one block of 16 words into the 4 chaining words (RFC 1321, section 3.4).
void MD5Transform(unsigned int *state, const unsigned int *block);

/// The MD5 digests of the users' passwords. Nothing fails.
///
/// Lengths are 16-bit: a caller that converts a longer length hashes its first (length modulo
/// 65536) bytes. Digests in the field were made so.
class MxMd5
{
public:
    /// Writes the 16 digest bytes of `length` bytes at `data` to `digest`.
    static void HashData(const void *data, unsigned short length, unsigned char *digest);

    /// The digest as 32 lower-case hexadecimal digits, first byte and high nibble first.
    static QString HashDataToString(const void *data, unsigned short length);
};
