// The handlers below call the board, which takes locks and memory. That would not do in a handler
// of a signal from outside; these come from an instruction of the DLL, so that nothing of this
// program is interrupted in the middle.
#include "host/loader/trap.h"

#include "host/loader/instruction.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <sys/mman.h>
#include <ucontext.h>

namespace host::loader {

namespace {

constexpr size_t kMaxApertures = 8;
constexpr uint32_t kApertureBytes = sizeof(ChipRegisters);
constexpr size_t kPage = 4096;
static_assert(kApertureBytes % kPage == 0);
constexpr greg_t kWriteFault = 2; // in the processor's error code
constexpr greg_t kTrapFlag = 0x100, kDirectionFlag = 0x400;

struct Aperture {
    uint8_t* base = nullptr;
    ChipBus bus{};
};
Aperture apertures[kMaxApertures];

// The access that the processor is let make by itself, for one instruction.
struct Step {
    const Aperture* aperture = nullptr;
    uint32_t offset = 0;
    uint32_t words = 0;
    bool writes = false;
};
thread_local Step step;

// What the process had before the first aperture was trapped.
struct sigaction previousTrap;
size_t trapped = 0;

[[noreturn]] void Die(const char* what, uint32_t offset, uint32_t instruction) {
    std::fprintf(stderr, "trapped aperture: %s at offset %04x, by the instruction at %08x\n", what,
                 offset, instruction);
    std::abort();
}

const Aperture* Find(const void* address) {
    for (const Aperture& aperture : apertures) {
        if (aperture.base != nullptr && static_cast<uint32_t>(static_cast<const uint8_t*>(address) -
                                                              aperture.base) < kApertureBytes) {
            return &aperture;
        }
    }
    return nullptr;
}

void Write(const Aperture& aperture, uint32_t offset, uint32_t value) {
    if (offset >= reg::FIFOWindow && offset < reg::FIFOWindow + reg::FIFOPageBytes) {
        aperture.bus.Words(aperture.bus.self, &value, 1);
    } else {
        aperture.bus.Write(aperture.bus.self, offset, value);
    }
}

uint32_t Read(const Aperture& aperture, uint32_t offset) {
    return aperture.bus.Read(aperture.bus.self, offset);
}

greg_t& Register(ucontext_t* context, uint32_t code) {
    constexpr int kIndex[] = {REG_EAX, REG_ECX, REG_EDX, REG_EBX,
                              REG_ESP, REG_EBP, REG_ESI, REG_EDI};
    return context->uc_mcontext.gregs[kIndex[code]];
}

constexpr uint32_t kEsi = 6, kEdi = 7, kEcx = 1, kEax = 0;

uint32_t LoadWord(uint32_t address, uint32_t instruction) {
    const void* const at = reinterpret_cast<const void*>(address);
    if (const Aperture* aperture = Find(at)) {
        const auto offset = address - reinterpret_cast<uintptr_t>(aperture->base);
        if (offset % 4 != 0) {
            Die("a load across words", offset, instruction);
        }
        return Read(*aperture, offset);
    }
    uint32_t value;
    std::memcpy(&value, at, 4);
    return value;
}

void StoreWord(uint32_t address, uint32_t value, uint32_t instruction) {
    void* const at = reinterpret_cast<void*>(address);
    if (const Aperture* aperture = Find(at)) {
        const auto offset = address - reinterpret_cast<uintptr_t>(aperture->base);
        if (offset % 4 != 0) {
            Die("a store across words", offset, instruction);
        }
        Write(*aperture, offset, value);
    } else {
        std::memcpy(at, &value, 4);
    }
}

// One round of movs or stos; whichever of its two places is an aperture.
void StringRound(const MemoryAccess& access, ucontext_t* context, uint32_t instruction) {
    const bool moves = access.kind == MemoryAccess::Kind::MoveString;
    greg_t &source = Register(context, kEsi), &dest = Register(context, kEdi);
    const greg_t onward = (context->uc_mcontext.gregs[REG_EFL] & kDirectionFlag) != 0 ? -4 : 4;
    StoreWord(static_cast<uint32_t>(dest),
              moves ? LoadWord(static_cast<uint32_t>(source), instruction)
                    : static_cast<uint32_t>(Register(context, kEax)),
              instruction);
    dest += onward;
    source += moves ? onward : 0;
    // With rounds left the same instruction comes back with its next fault.
    if (!access.repeats || --Register(context, kEcx) == 0) {
        context->uc_mcontext.gregs[REG_EIP] += static_cast<greg_t>(access.bytes);
    }
}

// Opens the pages and lets the processor make the access; what was written is taken from there.
void StartStep(const Aperture& aperture, uint32_t offset, const MemoryAccess& access,
               ucontext_t* context, uint32_t instruction) {
    greg_t* registers = context->uc_mcontext.gregs;
    // Bit of the processor's error code that is set for stores, also of what loads first.
    const bool writes = (registers[REG_ERR] & kWriteFault) != 0;
    if (step.aperture != nullptr) {
        Die("an instruction on two apertures", offset, instruction);
    }
    if (access.width == 0) {
        Die("an instruction that no register takes", offset, instruction);
    }
    if (writes && access.width < 4) {
        Die("a store that is not of 32 bits", offset, instruction);
    }
    const uint32_t first = offset & ~3u;
    if (offset % 4 + std::min(access.width, 4u) > 4 || first + access.width > kApertureBytes) {
        Die(writes ? "a store across words" : "a load across words", offset, instruction);
    }
    const uint32_t words = (access.width + 3) / 4;
    mprotect(aperture.base, kApertureBytes, PROT_READ | PROT_WRITE);
    if (!writes || access.kind != MemoryAccess::Kind::Store) {
        for (uint32_t i = 0; i < words; ++i) {
            const uint32_t value = Read(aperture, first + 4 * i);
            std::memcpy(aperture.base + first + 4 * i, &value, 4);
        }
    }
    step = {&aperture, first, words, writes};
    registers[REG_EFL] |= kTrapFlag;
}

void Access(const Aperture& aperture, uint32_t offset, ucontext_t* context) {
    using Kind = MemoryAccess::Kind;
    greg_t* registers = context->uc_mcontext.gregs;
    const auto instruction = static_cast<uint32_t>(registers[REG_EIP]);
    const MemoryAccess access = DecodeAccess(reinterpret_cast<const uint8_t*>(instruction));
    switch (access.kind) {
    case Kind::MoveString:
    case Kind::StoreString:
        StringRound(access, context, instruction);
        return;
    case Kind::Store:
    case Kind::Other:
        StartStep(aperture, offset, access, context, instruction);
        return;
    default:
        break;
    }
    if (offset % 4 != 0) {
        Die(access.kind == Kind::LoadRegister ? "a load across words" : "a store across words",
            offset, instruction);
    }
    switch (access.kind) {
    case Kind::LoadRegister:
        Register(context, access.reg) = static_cast<greg_t>(Read(aperture, offset));
        break;
    case Kind::StoreRegister:
        Write(aperture, offset, static_cast<uint32_t>(Register(context, access.reg)));
        break;
    default:
        Write(aperture, offset, access.immediate);
        break;
    }
    registers[REG_EIP] += static_cast<greg_t>(access.bytes);
}

void OnStep(int, siginfo_t*, void* context) {
    const int error = errno;
    if (step.aperture != nullptr) {
        const Step done = step;
        step = {};
        static_cast<ucontext_t*>(context)->uc_mcontext.gregs[REG_EFL] &= ~kTrapFlag;
        uint32_t values[2] = {};
        std::memcpy(values, done.aperture->base + done.offset, 4 * done.words);
        mprotect(done.aperture->base, kApertureBytes, PROT_NONE);
        for (uint32_t i = 0; done.writes && i < done.words; ++i) {
            Write(*done.aperture, done.offset + 4 * i, values[i]);
        }
    } else {
        sigaction(SIGTRAP, &previousTrap, nullptr);
        raise(SIGTRAP);
    }
    errno = error;
}

} // namespace

TrappedAperture::TrappedAperture(ChipRegisters* registers, const ChipBus& bus)
    : registers_(registers) {
    Aperture* free = nullptr;
    for (Aperture& aperture : apertures) {
        if (aperture.base == nullptr) {
            free = &aperture;
        }
    }
    if (free == nullptr) {
        throw std::runtime_error("too many trapped apertures");
    }
    if (mprotect(registers->bytes, kApertureBytes, PROT_NONE) != 0) {
        throw std::runtime_error("an aperture's pages cannot be protected");
    }
    *free = {registers->bytes, bus};
    if (trapped++ == 0) {
        struct sigaction action {};
        action.sa_sigaction = OnStep;
        action.sa_flags = SA_SIGINFO | SA_ONSTACK;
        sigemptyset(&action.sa_mask);
        sigaction(SIGTRAP, &action, &previousTrap);
    }
}

bool TrappedAperture::OnFault(void* address, ucontext_t* context) {
    const Aperture* aperture = Find(address);
    if (aperture == nullptr || aperture->base != registers_->bytes) {
        return false;
    }
    Access(*aperture, static_cast<uint32_t>(static_cast<uint8_t*>(address) - aperture->base),
           context);
    return true;
}

TrappedAperture::~TrappedAperture() {
    if (--trapped == 0) {
        sigaction(SIGTRAP, &previousTrap, nullptr);
    }
    for (Aperture& aperture : apertures) {
        if (aperture.base == registers_->bytes) {
            aperture = {};
        }
    }
    mprotect(registers_->bytes, kApertureBytes, PROT_READ | PROT_WRITE);
}

} // namespace host::loader
