#include "host/observe/memory_faults.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <memory>
#include <stdexcept>

namespace host {

namespace {

// A board draws on it.
constexpr size_t kStackBytes = 1u << 20;
constexpr size_t kMostHandlers = 32;

FaultHandler* handlers[kMostHandlers];
size_t handlerCount = 0;

// What the process had before.
struct Previous {
    struct sigaction fault {};
    stack_t stack{};
    std::unique_ptr<uint8_t[]> ours;
};
Previous previous;

void OnSignal(int, siginfo_t* info, void* context) {
    const int error = errno;
    bool answered = false;
    for (size_t i = 0; i < handlerCount && !answered; ++i) {
        answered = handlers[i]->OnFault(info->si_addr, static_cast<ucontext_t*>(context));
    }
    if (!answered) {
        // The instruction faults again, and whoever was there before hears of it.
        sigaction(SIGSEGV, &previous.fault, nullptr);
    }
    errno = error;
}

} // namespace

FaultHandler::FaultHandler() {
    if (handlerCount == kMostHandlers) {
        throw std::runtime_error("too many handlers of memory faults");
    }
    if (handlerCount == 0) {
        previous.ours = std::make_unique<uint8_t[]>(kStackBytes);
        stack_t stack{};
        stack.ss_sp = previous.ours.get();
        stack.ss_size = kStackBytes;
        sigaltstack(&stack, &previous.stack);
        struct sigaction action {};
        action.sa_sigaction = OnSignal;
        // A handler may itself touch memory that another one watches.
        action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_NODEFER;
        sigemptyset(&action.sa_mask);
        sigaction(SIGSEGV, &action, &previous.fault);
    }
    handlers[handlerCount++] = this;
}

FaultHandler::~FaultHandler() {
    handlerCount =
        static_cast<size_t>(std::remove(handlers, handlers + handlerCount, this) - handlers);
    if (handlerCount == 0) {
        sigaction(SIGSEGV, &previous.fault, nullptr);
        sigaltstack(&previous.stack, nullptr);
        previous.ours.reset();
    }
}

} // namespace host
