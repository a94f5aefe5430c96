#include "board/pixel/source_key.h"

namespace board {

namespace {

constexpr uint32_t kRejectInside = 9; // ChromaTestMode
// FormatOfCode's codes; red is in the high bits of frame buffer pixels.
constexpr uint32_t k8888 = 0, k1555 = 1, k332 = 5;

} // namespace

SourceKey DecodeSourceKey(const RegisterFile& registers, uint32_t bytes, FaultCounts& faults) {
    SourceKey key{};
    if (registers.Get(field::ChromaTestMode_Enable) == 0) {
        return key;
    }
    if (registers[tag::ChromaTestMode] != kRejectInside) {
        ++faults.unmodelled["chroma test mode of copies other than 9"];
        return key;
    }
    key.enabled = true;
    key.bounds = {ChromaKey::Action::DropInside, ColourOfWord(registers[tag::ChromaLowerBound]),
                  ColourOfWord(registers[tag::ChromaUpperBound])};
    key.indices = bytes == 1 && key.bounds.upper.alpha == 0;
    key.format = *FormatOfCode(bytes == 1 ? k332 : bytes == 2 ? k1555 : k8888, 0, true);
    return key;
}

} // namespace board
