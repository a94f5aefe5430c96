// What libFuzzer asks for. `--target=NAME` says what is fuzzed.
#include "tests/fuzz/mutators.h"
#include "tests/fuzz/target.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <string_view>

extern "C" size_t LLVMFuzzerMutate(uint8_t* bytes, size_t size, size_t most);

namespace {

// How inputs are changed that have a form. `most` bytes at most; their number comes back, of two
// put together 0 if nothing came of it.
struct Mutator {
    std::string_view target;
    size_t (*mutate)(uint8_t* bytes, size_t size, size_t most, unsigned int seed);
    size_t (*cross)(fuzz::Bytes first, fuzz::Bytes second, uint8_t* out, size_t most,
                    unsigned int seed);
};
constexpr Mutator kMutators[] = {
    {"script", fuzz::MutateScript, fuzz::CrossScripts},
    {"words", fuzz::MutateWords, nullptr},
    {"capture", fuzz::MutateCapture, nullptr},
};

const fuzz::Target* target = nullptr;
const Mutator* mutator = nullptr; // null: inputs are just bytes

} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    constexpr std::string_view kOption = "--target=";
    for (int i = 1; i < *argc; ++i) {
        const std::string_view argument = (*argv)[i];
        if (argument.starts_with(kOption)) {
            target = fuzz::FindTarget(argument.substr(kOption.size()));
        }
    }
    if (target == nullptr) {
        std::fputs("fuzzer: expected --target=NAME, one of", stderr);
        for (const fuzz::Target& one : fuzz::Targets()) {
            std::fprintf(stderr, " %.*s", static_cast<int>(one.name.size()), one.name.data());
        }
        std::fputs("\n", stderr);
        std::exit(2);
    }
    const auto* const found = std::ranges::find(kMutators, target->name, &Mutator::target);
    mutator = found != std::end(kMutators) ? found : nullptr;
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    target->run({bytes, size});
    return 0;
}

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* bytes, size_t size, size_t most,
                                          unsigned int seed) {
    return mutator != nullptr ? mutator->mutate(bytes, size, most, seed)
                              : LLVMFuzzerMutate(bytes, size, most);
}

extern "C" size_t LLVMFuzzerCustomCrossOver(const uint8_t* first, size_t firstSize,
                                            const uint8_t* second, size_t secondSize, uint8_t* out,
                                            size_t most, unsigned int seed) {
    return mutator != nullptr && mutator->cross != nullptr
               ? mutator->cross({first, firstSize}, {second, secondSize}, out, most, seed)
               : 0;
}

// Leaks are not looked for: an input that is given up in the middle of the driver leaves its
// machine.
extern "C" const char* __asan_default_options() {
    return "detect_leaks=0:quarantine_size_mb=32:detect_stack_use_after_return=0";
}

extern "C" const char* __ubsan_default_options() {
    return "print_stacktrace=1";
}
