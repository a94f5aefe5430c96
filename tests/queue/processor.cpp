#include "tests/queue/processor.h"

#include "host/loader/instruction.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/mman.h>
#include <ucontext.h>

namespace queue {

namespace {

constexpr size_t kPage = 4096;
constexpr size_t kStackBytes = 32 * 1024;
// What a step uses of it at most, mostly: cleared before each, so that equal states have equal
// stacks.
constexpr size_t kClearedBytes = 12 * 1024;
constexpr uint32_t kProcessors = 2;
constexpr greg_t kTrapFlag = 0x100, kWriteFault = 2;
static_assert(sizeof(ChipInfo) <= kPage);
// Of the processor's register codes.
constexpr int kNumber[] = {REG_EAX, REG_ECX, REG_EDX, REG_EBX, REG_ESP, REG_EBP, REG_ESI, REG_EDI};

struct Runner {
    uint8_t* stack = nullptr;
    uint32_t at = 0; // stack pointer, while it is stopped
    const std::function<void()>* code = nullptr;
    Access next;
    // Of the instruction that faulted: its registers, and where the live stack began then.
    const greg_t* faulted = nullptr;
    uint32_t stackFrom = 0;
};

SharedWords* shared = nullptr;
Runner runners[kProcessors];
uint32_t running = 0;
uint32_t explorer = 0; // its stack pointer, while a processor runs
uint8_t* page = nullptr;
struct Stepping {
    bool on = false, writes = false, locked = false;
    uint32_t offset = 0;
} stepping;
struct sigaction previousFault, previousTrap;
alignas(kPage) ChipRegisters aperture;

uint64_t Mixed(uint64_t digest, const void* bytes, size_t count) {
    const auto* at = static_cast<const uint8_t*>(bytes);
    for (; count >= 4; at += 4, count -= 4) {
        uint32_t word;
        std::memcpy(&word, at, 4);
        digest = (digest ^ word) * 0x9E3779B97F4A7C15ull;
        digest ^= digest >> 29;
    }
    return digest;
}

// Leaves one stack for another. Signal masks stay as they are: a handler of this file blocks none.
__attribute__((noinline, naked)) void Switch(uint32_t* /*leave*/, uint32_t /*to*/) {
    asm("movl 4(%esp), %eax\n\t"
        "movl 8(%esp), %edx\n\t"
        "pushl %ebp\n\tpushl %ebx\n\tpushl %esi\n\tpushl %edi\n\t"
        "movl %esp, (%eax)\n\t"
        "movl %edx, %esp\n\t"
        "popl %edi\n\tpopl %esi\n\tpopl %ebx\n\tpopl %ebp\n\t"
        "ret");
}

// Waits in front of an access until the explorer makes the processor step.
void Stop(const Access& access) {
    Runner& runner = runners[running];
    runner.next = access;
    Switch(&runner.at, explorer);
}

// A store that no other access can come in between: lock prefix, or exchange with memory.
bool IsLocked(const uint8_t* code) {
    return code[0] == 0xF0 || code[0] == 0x86 || code[0] == 0x87;
}

void OnFault(int, siginfo_t* info, void* raw) {
    auto* context = static_cast<ucontext_t*>(raw);
    greg_t* registers = context->uc_mcontext.gregs;
    const auto offset = static_cast<uint32_t>(static_cast<uint8_t*>(info->si_addr) - page);
    if (offset >= sizeof(ChipInfo) || stepping.on) {
        sigaction(SIGSEGV, &previousFault, nullptr);
        return; // faults again
    }
    const uint32_t word = offset & ~3u;
    const bool writes = (registers[REG_ERR] & kWriteFault) != 0;
    const auto* code = reinterpret_cast<const uint8_t*>(registers[REG_EIP]);
    const bool locked = writes && IsLocked(code);
    if (shared->NeedsStop(running, word, writes)) {
        Runner& runner = runners[running];
        runner.faulted = registers;
        runner.stackFrom = static_cast<uint32_t>(registers[REG_ESP]);
        Stop({!writes  ? Access::Kind::Load
              : locked ? Access::Kind::LockedStore
                       : Access::Kind::Store,
              word, 0});
        runner.faulted = nullptr;
    }
    using Kind = host::loader::MemoryAccess::Kind;
    const auto access = host::loader::DecodeAccess(code);
    if (access.width == 4 && access.kind == Kind::LoadRegister) {
        registers[kNumber[access.reg]] = static_cast<greg_t>(shared->Load(running, word));
        registers[REG_EIP] += static_cast<greg_t>(access.bytes);
        return;
    }
    if (access.width == 4 &&
        (access.kind == Kind::StoreRegister || access.kind == Kind::StoreImmediate)) {
        shared->Store(running, word,
                      access.kind == Kind::StoreImmediate
                          ? access.immediate
                          : static_cast<uint32_t>(registers[kNumber[access.reg]]),
                      false);
        registers[REG_EIP] += static_cast<greg_t>(access.bytes);
        return;
    }
    // All else the processor does by itself, in a single step.
    mprotect(page, kPage, PROT_READ | PROT_WRITE);
    const uint32_t value = shared->Load(running, word);
    std::memcpy(page + word, &value, 4);
    stepping = {true, writes, locked, word};
    registers[REG_EFL] |= kTrapFlag;
}

void OnStep(int, siginfo_t*, void* raw) {
    static_cast<ucontext_t*>(raw)->uc_mcontext.gregs[REG_EFL] &= ~kTrapFlag;
    uint32_t value;
    std::memcpy(&value, page + stepping.offset, 4);
    mprotect(page, kPage, PROT_NONE);
    if (stepping.writes) {
        shared->Store(running, stepping.offset, value, stepping.locked);
    }
    stepping.on = false;
}

uint32_t OnRead(void*, uint32_t offset) {
    if (shared->NeedsStopAtRegister(offset)) {
        Stop({Access::Kind::ReadChip, offset, 0});
    }
    return shared->ReadChip(running, offset);
}

void OnWrite(void*, uint32_t offset, uint32_t value) {
    if (shared->NeedsStopAtRegister(offset)) {
        Stop({Access::Kind::WriteChip, offset, value});
    }
    shared->WriteChip(running, offset, value);
}

void Main() {
    (*runners[running].code)();
    Stop({});
}

// Runs the processor until it stops again.
void Run(uint32_t processor, ProcessorState& state) {
    Runner& runner = runners[processor];
    running = processor;
    Switch(&explorer, runner.at);

    // The live stack, with the signal's frame in it if there is one.
    const auto top = reinterpret_cast<uint32_t>(runner.stack) + kStackBytes;
    const uint32_t from = runner.at;
    state.stack.assign(reinterpret_cast<uint8_t*>(from), reinterpret_cast<uint8_t*>(top));
    state.next = runner.next;
    if (state.next.kind == Access::Kind::Nothing) {
        state.digest = 0;
        return;
    }
    // The digest is of the code's own registers and stack, not of the signal's frame.
    uint64_t digest = 1;
    uint32_t live = from;
    if (runner.faulted != nullptr) {
        for (const int number : kNumber) {
            digest = Mixed(digest, &runner.faulted[number], 4);
        }
        digest = Mixed(digest, &runner.faulted[REG_EIP], 4);
        live = runner.stackFrom;
    } else {
        digest = Mixed(digest, &runner.next, sizeof(runner.next));
    }
    state.digest = Mixed(digest, reinterpret_cast<const void*>(live), top - live);
}

} // namespace

Machine::Machine(SharedWords& words) {
    shared = &words;
    for (Runner& runner : runners) {
        runner.stack = static_cast<uint8_t*>(
            mmap(nullptr, kStackBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    }
    mprotect(SharedPage(), kPage, PROT_NONE);
    struct sigaction action {};
    action.sa_flags = SA_SIGINFO | SA_NODEFER;
    sigemptyset(&action.sa_mask);
    action.sa_sigaction = OnFault;
    sigaction(SIGSEGV, &action, &previousFault);
    action.sa_sigaction = OnStep;
    sigaction(SIGTRAP, &action, &previousTrap);
    AttachChipBus(&aperture, {nullptr, OnRead, OnWrite, [](void*, const uint32_t*, uint32_t) {},
                              [](void*, uint32_t) {}});
}

Machine::~Machine() {
    DetachChipBus(&aperture);
    sigaction(SIGSEGV, &previousFault, nullptr);
    sigaction(SIGTRAP, &previousTrap, nullptr);
    munmap(page, kPage);
    page = nullptr;
    for (Runner& runner : runners) {
        munmap(runner.stack, kStackBytes);
        runner = {};
    }
}

ChipInfo* Machine::SharedPage() {
    if (page == nullptr) {
        page = static_cast<uint8_t*>(
            mmap(nullptr, kPage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    }
    return reinterpret_cast<ChipInfo*>(page);
}

ChipRegisters* Machine::Aperture() {
    return &aperture;
}

ProcessorState Machine::Begin(uint32_t processor, const std::function<void()>& code) {
    Runner& runner = runners[processor];
    std::memset(runner.stack, 0, kStackBytes);
    runner.code = &code;
    runner.faulted = nullptr;
    // Four registers, and where the switch returns to; behind them the return address of Main,
    // which has none.
    auto* top = reinterpret_cast<uint32_t*>(runner.stack + kStackBytes) - 4;
    top[-1] = 0;
    top[-2] = reinterpret_cast<uint32_t>(&Main);
    runner.at = reinterpret_cast<uint32_t>(top - 6);
    ProcessorState state;
    Run(processor, state);
    return state;
}

void Machine::Step(uint32_t processor, ProcessorState& state) {
    Runner& runner = runners[processor];
    runner.faulted = nullptr;
    // Nothing is left below the stack of what ran there in between.
    const auto live = static_cast<size_t>(state.stack.size());
    const size_t cleared = std::max(live, kClearedBytes);
    std::memset(runner.stack + kStackBytes - cleared, 0, cleared - live);
    std::memcpy(runner.stack + kStackBytes - live, state.stack.data(), live);
    runner.at = reinterpret_cast<uint32_t>(runner.stack + kStackBytes - live);
    Run(processor, state);
}

void Machine::Barrier() {
    Stop({Access::Kind::Barrier, 0, 0});
    shared->Barrier(running);
}

} // namespace queue
