// The handlers below call the board, which takes locks and memory. That would not do in a handler
// of a signal from outside; these come from an instruction of the DLL, so that nothing of this
// program is interrupted in the middle.
#include "host/loader/trap.h"

#include "host/loader/instruction.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>

#include <sys/mman.h>
#include <ucontext.h>

namespace host::loader {

namespace {

constexpr size_t kMaxApertures = 8;
constexpr uint32_t kApertureBytes = sizeof(ChipRegisters);
constexpr size_t kPage = 4096;
static_assert(kApertureBytes % kPage == 0);
// The board draws on it.
constexpr size_t kHandlerStackBytes = 1u << 20;
constexpr greg_t kWriteFault = 2; // in the processor's error code
constexpr greg_t kTrapFlag = 0x100;

struct Aperture {
    uint8_t* base = nullptr;
    ChipBus bus{};
};
Aperture apertures[kMaxApertures];

// The access that the processor is let make by itself, for one instruction.
struct Step {
    const Aperture* aperture = nullptr;
    uint32_t offset = 0;
    bool writes = false;
};
thread_local Step step;

// What the process had before the first aperture was trapped.
struct Previous {
    struct sigaction fault {
    }, trap{};
    stack_t stack{};
    std::unique_ptr<uint8_t[]> ours;
};
Previous previous;
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
    if (offset >= reg::FIFOWindow && offset < reg::FIFOWindow + reg::FIFOWindowBytes) {
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

void Access(const Aperture& aperture, uint32_t offset, ucontext_t* context) {
    using Kind = MemoryAccess::Kind;
    greg_t* registers = context->uc_mcontext.gregs;
    const auto instruction = static_cast<uint32_t>(registers[REG_EIP]);
    const MemoryAccess access = DecodeAccess(reinterpret_cast<const uint8_t*>(instruction));
    if (!access.is32Bit || offset % 4 != 0) {
        Die("an access that is not of 32 bits", offset, instruction);
    }
    switch (access.kind) {
    case Kind::LoadRegister:
        Register(context, access.reg) = static_cast<greg_t>(Read(aperture, offset));
        break;
    case Kind::StoreRegister:
        Write(aperture, offset, static_cast<uint32_t>(Register(context, access.reg)));
        break;
    case Kind::StoreImmediate:
        Write(aperture, offset, access.immediate);
        break;
    case Kind::Store:
    case Kind::Other: {
        // The processor makes the access on the open page; what was written is taken from there.
        const bool writes = (registers[REG_ERR] & kWriteFault) != 0;
        mprotect(aperture.base, kApertureBytes, PROT_READ | PROT_WRITE);
        if (!writes || access.kind == Kind::Other) {
            const uint32_t value = Read(aperture, offset);
            std::memcpy(aperture.base + offset, &value, 4);
        }
        step = {&aperture, offset, writes};
        registers[REG_EFL] |= kTrapFlag;
        return;
    }
    }
    registers[REG_EIP] += static_cast<greg_t>(access.bytes);
}

void OnFault(int, siginfo_t* info, void* context) {
    const int error = errno;
    if (const Aperture* aperture = Find(info->si_addr)) {
        const auto offset =
            static_cast<uint32_t>(static_cast<uint8_t*>(info->si_addr) - aperture->base);
        Access(*aperture, offset, static_cast<ucontext_t*>(context));
    } else {
        // Not ours: the instruction faults again, and whoever was there before hears of it.
        sigaction(SIGSEGV, &previous.fault, nullptr);
    }
    errno = error;
}

void OnStep(int, siginfo_t*, void* context) {
    const int error = errno;
    if (step.aperture != nullptr) {
        const Step done = step;
        step = {};
        static_cast<ucontext_t*>(context)->uc_mcontext.gregs[REG_EFL] &= ~kTrapFlag;
        uint32_t value;
        std::memcpy(&value, done.aperture->base + done.offset, 4);
        mprotect(done.aperture->base, kApertureBytes, PROT_NONE);
        if (done.writes) {
            Write(*done.aperture, done.offset, value);
        }
    } else {
        sigaction(SIGTRAP, &previous.trap, nullptr);
        raise(SIGTRAP);
    }
    errno = error;
}

void Install(int signal, void (*handler)(int, siginfo_t*, void*), struct sigaction* before) {
    struct sigaction action {};
    action.sa_sigaction = handler;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    sigemptyset(&action.sa_mask);
    sigaction(signal, &action, before);
}

void InstallHandlers() {
    previous.ours = std::make_unique<uint8_t[]>(kHandlerStackBytes);
    stack_t stack{};
    stack.ss_sp = previous.ours.get();
    stack.ss_size = kHandlerStackBytes;
    sigaltstack(&stack, &previous.stack);
    Install(SIGSEGV, OnFault, &previous.fault);
    Install(SIGTRAP, OnStep, &previous.trap);
}

void RemoveHandlers() {
    sigaction(SIGSEGV, &previous.fault, nullptr);
    sigaction(SIGTRAP, &previous.trap, nullptr);
    sigaltstack(&previous.stack, nullptr);
    previous.ours.reset();
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
        InstallHandlers();
    }
}

TrappedAperture::~TrappedAperture() {
    if (--trapped == 0) {
        RemoveHandlers();
    }
    for (Aperture& aperture : apertures) {
        if (aperture.base == registers_->bytes) {
            aperture = {};
        }
    }
    mprotect(registers_->bytes, kApertureBytes, PROT_READ | PROT_WRITE);
}

} // namespace host::loader
