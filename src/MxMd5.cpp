// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "MxMd5.h"

#include <QString>
#include <QtEndian>

#include <algorithm>
#include <cstring>

namespace
{

constexpr unsigned int BLOCK_SIZE = 64; // bytes
constexpr unsigned int BLOCK_WORDS = 16;
constexpr unsigned int LENGTH_OFFSET = 56; // of the message's length in the last block
constexpr unsigned int STEPS = 64;
constexpr unsigned int STEPS_PER_ROUND = 16;

const unsigned char PADDING[BLOCK_SIZE] = {0x80};

// The integer part of 2^32 * |sin(i)| for i = 1 to 64, i in radians (RFC 1321, section 3.4).
const unsigned int SINES[STEPS] = {
    0xD76AA478, 0xE8C7B756, 0x242070DB, 0xC1BDCEEE, 0xF57C0FAF, 0x4787C62A, 0xA8304613, 0xFD469501,
    0x698098D8, 0x8B44F7AF, 0xFFFF5BB1, 0x895CD7BE, 0x6B901122, 0xFD987193, 0xA679438E, 0x49B40821,
    0xF61E2562, 0xC040B340, 0x265E5A51, 0xE9B6C7AA, 0xD62F105D, 0x02441453, 0xD8A1E681, 0xE7D3FBC8,
    0x21E1CDE6, 0xC33707D6, 0xF4D50D87, 0x455A14ED, 0xA9E3E905, 0xFCEFA3F8, 0x676F02D9, 0x8D2A4C8A,
    0xFFFA3942, 0x8771F681, 0x6D9D6122, 0xFDE5380C, 0xA4BEEA44, 0x4BDECFA9, 0xF6BB4B60, 0xBEBFBC70,
    0x289B7EC6, 0xEAA127FA, 0xD4EF3085, 0x04881D05, 0xD9D4D039, 0xE6DB99E5, 0x1FA27CF8, 0xC4AC5665,
    0xF4292244, 0x432AFF97, 0xAB9423A7, 0xFC93A039, 0x655B59C3, 0x8F0CCC92, 0xFFEFF47D, 0x85845DD1,
    0x6FA87E4F, 0xFE2CE6E0, 0xA3014314, 0x4E0811A1, 0xF7537E82, 0xBD3AF235, 0x2AD7D2BB, 0xEB86D391,
};

// Bits by which the steps of each round rotate, in turn.
const unsigned int SHIFTS[4][4] = {
    {7, 12, 17, 22},
    {5, 9, 14, 20},
    {4, 11, 16, 23},
    {6, 10, 15, 21},
};

// Each round takes the block's words at `start`, `start + stride`, ... modulo 16.
struct WORD_ORDER {
    unsigned int start;
    unsigned int stride;
};
const WORD_ORDER ORDERS[4] = {{0, 1}, {1, 5}, {5, 3}, {0, 7}};

unsigned int RotateLeft(unsigned int x, unsigned int bits)
{
    return (x << bits) | (x >> (32 - bits));
}

/// The round's auxiliary function: F, G, H or I of the RFC.
unsigned int Mix(unsigned int round, unsigned int x, unsigned int y, unsigned int z)
{
    switch (round) {
    case 0:
        return (x & y) | (~x & z);
    case 1:
        return (x & z) | (y & ~z);
    case 2:
        return x ^ y ^ z;
    default:
        return y ^ (x | ~z);
    }
}

/// Compresses the 64 bytes at `bytes`, wherever they lie.
void TransformBytes(unsigned int *state, const unsigned char *bytes)
{
    unsigned int block[BLOCK_WORDS];
    for (unsigned int i = 0; i < BLOCK_WORDS; ++i)
        block[i] = qFromLittleEndian<quint32>(bytes + 4 * i);
    MD5Transform(state, block);
}

/// Bytes of the buffer that are in use.
unsigned int Buffered(const MD5_CTX &context)
{
    return (context.count[0] >> 3) % BLOCK_SIZE;
}

} // namespace

void MD5Init(MD5_CTX *context)
{
    context->count[0] = 0;
    context->count[1] = 0;
    context->state[0] = 0x67452301;
    context->state[1] = 0xEFCDAB89;
    context->state[2] = 0x98BADCFE;
    context->state[3] = 0x10325476;
}

void MD5Update(MD5_CTX *context, const unsigned char *input, unsigned int length)
{
    unsigned int index = Buffered(*context);

    const unsigned int bits = length << 3;
    context->count[0] += bits;
    if (context->count[0] < bits)
        ++context->count[1];
    context->count[1] += length >> 29;

    while (length > 0) {
        // Whole blocks are compressed where they are.
        if (index == 0 && length >= BLOCK_SIZE) {
            TransformBytes(context->state, input);
            input += BLOCK_SIZE;
            length -= BLOCK_SIZE;
            continue;
        }
        const unsigned int part = std::min(length, BLOCK_SIZE - index);
        std::memcpy(context->buffer + index, input, part);
        input += part;
        length -= part;
        index = (index + part) % BLOCK_SIZE;
        if (index == 0)
            TransformBytes(context->state, context->buffer);
    }
}

void MD5Final(MD5_CTX *context)
{
    unsigned char length[8]; // in bits, before padding
    qToLittleEndian<quint32>(context->count[0], length);
    qToLittleEndian<quint32>(context->count[1], length + 4);

    const unsigned int index = Buffered(*context);
    const unsigned int padding =
        index < LENGTH_OFFSET ? LENGTH_OFFSET - index : LENGTH_OFFSET + BLOCK_SIZE - index;
    MD5Update(context, PADDING, padding);
    MD5Update(context, length, sizeof(length));

    for (int i = 0; i < 4; ++i)
        qToLittleEndian<quint32>(context->state[i], context->digest + 4 * i);
}

void MD5Transform(unsigned int *state, const unsigned int *block)
{
    unsigned int a = state[0];
    unsigned int b = state[1];
    unsigned int c = state[2];
    unsigned int d = state[3];

    for (unsigned int step = 0; step < STEPS; ++step) {
        const unsigned int round = step / STEPS_PER_ROUND;
        const WORD_ORDER &order = ORDERS[round];
        const unsigned int word = block[(order.start + step * order.stride) % BLOCK_WORDS];
        const unsigned int sum = a + Mix(round, b, c, d) + word + SINES[step];
        a = d;
        d = c;
        c = b;
        b += RotateLeft(sum, SHIFTS[round][step % 4]);
    }

    state[0] += a;
    state[1] += b;
    state[2] += c;
    state[3] += d;
}

void MxMd5::HashData(const void *data, unsigned short length, unsigned char *digest)
{
    MD5_CTX context;
    MD5Init(&context);
    MD5Update(&context, static_cast<const unsigned char *>(data), length);
    MD5Final(&context);
    std::copy(std::begin(context.digest), std::end(context.digest), digest);
}

QString MxMd5::HashDataToString(const void *data, unsigned short length)
{
    unsigned char digest[sizeof(MD5_CTX::digest)];
    HashData(data, length, digest);
    const QByteArray bytes(reinterpret_cast<const char *>(digest), sizeof(digest));
    return QString::fromLatin1(bytes.toHex());
}
