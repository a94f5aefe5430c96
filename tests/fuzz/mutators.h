#pragma once
// How inputs are changed that have a form. Part of the fuzzer alone.
#include "tests/fuzz/target.h"

#include <cstddef>

namespace fuzz {

// As libFuzzer's own functions: bytes are changed in place, `most` of them at most, and their number
// comes back.
struct Mutator {
    std::string_view target;
    size_t (*mutate)(uint8_t* bytes, size_t size, size_t most, unsigned int seed);
    // Null: two inputs are not put together. 0: nothing came of it.
    size_t (*cross)(Bytes first, Bytes second, uint8_t* out, size_t most, unsigned int seed);
};

// Null for targets whose inputs are just bytes.
const Mutator* FindMutator(std::string_view target);

size_t MutateCapture(uint8_t* bytes, size_t size, size_t most, unsigned int seed);
size_t MutateScript(uint8_t* bytes, size_t size, size_t most, unsigned int seed);
size_t CrossScripts(Bytes first, Bytes second, uint8_t* out, size_t most, unsigned int seed);
size_t MutateWords(uint8_t* bytes, size_t size, size_t most, unsigned int seed);

} // namespace fuzz
