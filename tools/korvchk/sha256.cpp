#include "tools/korvchk/sha256.h"

#include <bit>

namespace chk {

namespace {

// The first 32 bits of the fractions of the cube roots of the first 64 primes.
constexpr uint32_t kRounds[64] = {
    0x428A2F98, 0x71374491, 0xB5C0FBCF, 0xE9B5DBA5, 0x3956C25B, 0x59F111F1, 0x923F82A4, 0xAB1C5ED5,
    0xD807AA98, 0x12835B01, 0x243185BE, 0x550C7DC3, 0x72BE5D74, 0x80DEB1FE, 0x9BDC06A7, 0xC19BF174,
    0xE49B69C1, 0xEFBE4786, 0x0FC19DC6, 0x240CA1CC, 0x2DE92C6F, 0x4A7484AA, 0x5CB0A9DC, 0x76F988DA,
    0x983E5152, 0xA831C66D, 0xB00327C8, 0xBF597FC7, 0xC6E00BF3, 0xD5A79147, 0x06CA6351, 0x14292967,
    0x27B70A85, 0x2E1B2138, 0x4D2C6DFC, 0x53380D13, 0x650A7354, 0x766A0ABB, 0x81C2C92E, 0x92722C85,
    0xA2BFE8A1, 0xA81A664B, 0xC24B8B70, 0xC76C51A3, 0xD192E819, 0xD6990624, 0xF40E3585, 0x106AA070,
    0x19A4C116, 0x1E376C08, 0x2748774C, 0x34B0BCB5, 0x391C0CB3, 0x4ED8AA4A, 0x5B9CCA4F, 0x682E6FF3,
    0x748F82EE, 0x78A5636F, 0x84C87814, 0x8CC70208, 0x90BEFFFA, 0xA4506CEB, 0xBEF9A3F7, 0xC67178F2};

void Mix(uint32_t (&state)[8], const uint8_t* block) {
    uint32_t w[64];
    for (uint32_t i = 0; i < 16; ++i) {
        w[i] = uint32_t{block[i * 4]} << 24 | uint32_t{block[i * 4 + 1]} << 16 |
               uint32_t{block[i * 4 + 2]} << 8 | block[i * 4 + 3];
    }
    for (uint32_t i = 16; i < 64; ++i) {
        const uint32_t a = w[i - 15], b = w[i - 2];
        w[i] = w[i - 16] + (std::rotr(a, 7) ^ std::rotr(a, 18) ^ a >> 3) + w[i - 7] +
               (std::rotr(b, 17) ^ std::rotr(b, 19) ^ b >> 10);
    }
    uint32_t s[8];
    for (uint32_t i = 0; i < 8; ++i) {
        s[i] = state[i];
    }
    for (uint32_t i = 0; i < 64; ++i) {
        const uint32_t e = s[4], a = s[0];
        const uint32_t first = s[7] + (std::rotr(e, 6) ^ std::rotr(e, 11) ^ std::rotr(e, 25)) +
                               ((e & s[5]) ^ (~e & s[6])) + kRounds[i] + w[i];
        const uint32_t second = (std::rotr(a, 2) ^ std::rotr(a, 13) ^ std::rotr(a, 22)) +
                                ((a & s[1]) ^ (a & s[2]) ^ (s[1] & s[2]));
        for (uint32_t j = 7; j != 0; --j) {
            s[j] = s[j - 1];
        }
        s[4] += first;
        s[0] = first + second;
    }
    for (uint32_t i = 0; i < 8; ++i) {
        state[i] += s[i];
    }
}

} // namespace

void Sha256(const uint8_t* bytes, uint32_t size, char (&text)[65]) {
    uint32_t state[8] = {0x6A09E667, 0xBB67AE85, 0x3C6EF372, 0xA54FF53A,
                         0x510E527F, 0x9B05688C, 0x1F83D9AB, 0x5BE0CD19};
    uint32_t at = 0;
    for (; size - at >= 64; at += 64) {
        Mix(state, bytes + at);
    }
    // The rest, a 1, zeros, and the size in bits.
    uint8_t last[128] = {};
    const uint32_t rest = size - at, padded = rest < 56 ? 64 : 128;
    for (uint32_t i = 0; i < rest; ++i) {
        last[i] = bytes[at + i];
    }
    last[rest] = 0x80;
    last[padded - 5] = static_cast<uint8_t>(size >> 29);
    for (uint32_t i = 0; i < 4; ++i) {
        last[padded - 1 - i] = static_cast<uint8_t>(size << 3 >> (i * 8));
    }
    for (uint32_t block = 0; block < padded; block += 64) {
        Mix(state, last + block);
    }
    for (uint32_t i = 0; i < 64; ++i) {
        text[i] = "0123456789abcdef"[state[i / 8] >> (28 - i % 8 * 4) & 0xF];
    }
    text[64] = 0;
}

} // namespace chk
