// Files in KORV32.dll's place, up to their first instruction. An input: such a file.
#include "host/loader/image.h"
#include "tests/fuzz/target.h"

#include <memory>
#include <stdexcept>

namespace fuzz {

void RunDll(Bytes bytes) {
    static MemoryFile file;
    file.Set(bytes);
    try {
        host::loader::Image image(file.Path());
        image.Load();
        // As DllModule and a crash's report look into it.
        const auto* const first = image.Base();
        for (uint32_t ordinal = 0; ordinal < 64; ++ordinal) {
            const auto* const at = static_cast<const uint8_t*>(image.Export(ordinal));
            Expect(at == nullptr || (at >= first && at < first + image.Bytes()),
                   "an export leads out of the image");
        }
        volatile uint8_t sum = 0;
        for (uint32_t at = 0; at < image.Bytes(); at += 4096) {
            sum = static_cast<uint8_t>(sum + first[at]);
        }
    } catch (const std::runtime_error&) {
        // What is wrong with it is told.
    }
}

} // namespace fuzz
