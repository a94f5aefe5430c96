#include "driver/core/k32exp.h"

namespace {

constexpr uint16_t kImageMagic = 0x5A4D;
constexpr uint32_t kHeaderOffsetAt = 60;
constexpr uint32_t kHeaderMagic = 0x4550;
constexpr uint32_t kExportDirectoryAt = 120;
// Fields of the export directory.
constexpr uint32_t kNumberOfFunctionsAt = 20;
constexpr uint32_t kAddressOfFunctionsAt = 28;

template <class T>
T Load(const uint8_t* at) {
    return *reinterpret_cast<const T*>(at);
}

} // namespace

HMODULE hmod;

void* GetK32ProcAddress(uint32_t ordinal) {
    if (hmod == nullptr) {
        hmod = GetModuleHandleA("KERNEL32");
        if (hmod == nullptr) {
            return nullptr;
        }
    }
    auto* image = reinterpret_cast<uint8_t*>(hmod);
    if (Load<uint16_t>(image) != kImageMagic) {
        return nullptr;
    }
    const uint8_t* header = image + Load<uint32_t>(image + kHeaderOffsetAt);
    if (Load<uint32_t>(header) != kHeaderMagic) {
        return nullptr;
    }
    const uint8_t* exports = image + Load<uint32_t>(header + kExportDirectoryAt);
    // The directory's ordinal base is taken to be 1; ordinal 0 wraps and is refused.
    if (ordinal - 1 >= Load<uint32_t>(exports + kNumberOfFunctionsAt)) {
        return nullptr;
    }
    const uint8_t* functions = image + Load<uint32_t>(exports + kAddressOfFunctionsAt);
    return image + Load<uint32_t>(functions + (ordinal - 1) * 4);
}
