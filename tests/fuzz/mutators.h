#pragma once
// How inputs are changed that have a form. Part of the fuzzer alone: libFuzzer's own functions for
// targets that bring theirs.
#include "tests/fuzz/target.h"

#include <cstddef>

namespace fuzz {

size_t MutateCapture(uint8_t* bytes, size_t size, size_t most, unsigned int seed);
size_t MutateScript(uint8_t* bytes, size_t size, size_t most, unsigned int seed);
size_t CrossScripts(Bytes first, Bytes second, uint8_t* out, size_t most, unsigned int seed);
size_t MutateWords(uint8_t* bytes, size_t size, size_t most, unsigned int seed);

} // namespace fuzz
