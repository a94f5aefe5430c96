// What the compiler calls by itself and would take from its runtime library, which is not linked:
// that one's code is for later processors.
#include <cstddef>
#include <cstdint>

extern "C" {

void* memcpy(void* to, const void* from, size_t bytes) {
    void* at = to;
    size_t count = bytes / 4;
    asm volatile("rep movsl" : "+D"(at), "+S"(from), "+c"(count) : : "memory");
    count = bytes % 4;
    asm volatile("rep movsb" : "+D"(at), "+S"(from), "+c"(count) : : "memory");
    return to;
}

void* memset(void* to, int value, size_t bytes) {
    void* at = to;
    size_t count = bytes / 4;
    const uint32_t word = static_cast<uint8_t>(value) * 0x01010101u;
    asm volatile("rep stosl" : "+D"(at), "+c"(count) : "a"(word) : "memory");
    count = bytes % 4;
    asm volatile("rep stosb" : "+D"(at), "+c"(count) : "a"(word) : "memory");
    return to;
}

int __popcountsi2(int word) {
    int bits = 0;
    for (auto rest = static_cast<uint32_t>(word); rest != 0; rest &= rest - 1) {
        ++bits;
    }
    return bits;
}
}
