#pragma once
// The checksum that the package's list has.
#include <cstdint>

namespace chk {

// SHA-256 of the bytes: 64 digits and a zero.
void Sha256(const uint8_t* bytes, uint32_t size, char (&text)[65]);

} // namespace chk
