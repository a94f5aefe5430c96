#pragma once
// What the driver asks of the processor itself. Each is an instruction of x86, on which Windows 95
// runs, and has a plain form with the same results for processors that are none.
#include <cstdint>

namespace processor {

/// `signature` and `features` as cpuid function 1 gives them in eax and edx.
struct Identity {
    uint32_t signature;
    uint32_t features;
};

namespace plain {

/// Rounded to the nearest integer, ties to even; 0x80000000 for what does not fit.
inline uint32_t RoundByUnit(float x) {
    const bool fits = x >= -2147483648.0f && x < 2147483648.0f; // no NaN
    return fits ? static_cast<uint32_t>(static_cast<int32_t>(__builtin_rintf(x))) : 0x80000000;
}

/// Every store before it is in memory before any behind it.
inline void ForceWritesOut() {
    __atomic_thread_fence(__ATOMIC_SEQ_CST);
}

/// Of a Pentium's successors, with MMX: what is there in its stead can do as much.
inline Identity Identify() {
    return {0x600, 1u << 23};
}

} // namespace plain

#ifdef __i386__

namespace x86 {

// By the floating-point unit in the mode it is in.
inline uint32_t RoundByUnit(float x) {
    int32_t result;
    asm("fistpl %0" : "=m"(result) : "t"(x) : "st");
    return static_cast<uint32_t>(result);
}

// A bus-locked exchange: pushes the processor's write buffers out.
inline void ForceWritesOut() {
    uint32_t local = 0;
    uint32_t value = 1;
    asm volatile("xchgl %0, %1" : "+r"(value), "+m"(local) : : "memory");
}

inline Identity Identify() {
    uint32_t eax = 1;
    uint32_t ebx, ecx, edx;
    asm volatile("cpuid" : "+a"(eax), "=b"(ebx), "=c"(ecx), "=d"(edx));
    return {eax, edx};
}

} // namespace x86

using namespace x86;

#else

using namespace plain;

#endif

} // namespace processor
