// The version resource: nested blocks of length, length of the value, kind, key and value, each at
// a multiple of four bytes, with texts in UTF-16.
#include "tests/windows95/pe_image.h"

#include <stdexcept>

namespace {

constexpr uint32_t kVersionType = 16, kSubdirectory = 0x80000000, kSignature = 0xFEEF04BD;
constexpr uint32_t kNumbersBytes = 52;

uint32_t Aligned(uint32_t at) {
    return (at + 3) & ~3u;
}

} // namespace

void PEImage::ReadVersionBlock(uint32_t at, PEVersion& version) const {
    const auto half = [&](uint32_t address) { return At<uint16_t>(OffsetOf(address)); };
    // Ends behind a zero, or at `end`.
    const auto text = [&](uint32_t address, uint32_t end) {
        std::string result;
        while (address < end && half(address) != 0) {
            result += static_cast<char>(half(address));
            address += 2;
        }
        return result;
    };
    const uint32_t end = at + half(at), valueLength = half(at + 2), isText = half(at + 4);
    if (end <= at) {
        throw std::runtime_error("a version block without a length");
    }
    const std::string key = text(at + 6, end);
    const uint32_t value = Aligned(at + 6 + 2 * (static_cast<uint32_t>(key.size()) + 1));
    if (key == "VS_VERSION_INFO") {
        if (valueLength != kNumbersBytes || Word(value) != kSignature) {
            throw std::runtime_error("no version numbers");
        }
        for (uint32_t i = 0; i < 4; ++i) {
            version.file[i] = half(value + 8 + (i ^ 1) * 2);
            version.product[i] = half(value + 16 + (i ^ 1) * 2);
        }
        version.os = Word(value + 32);
        version.type = Word(value + 36);
    } else if (key == "Translation") {
        version.languageAndPage = Word(value);
    } else if (isText != 0 && valueLength != 0) {
        version.texts[key] = text(value, end);
        return;
    }
    const uint32_t valueBytes = isText != 0 ? valueLength * 2 : valueLength;
    for (uint32_t inner = Aligned(value + valueBytes); inner < end;
         inner = Aligned(inner + half(inner))) {
        ReadVersionBlock(inner, version);
    }
}

PEVersion PEImage::Version() const {
    const uint32_t root = directories[kResources].address;
    if (root == 0) {
        throw std::runtime_error("no resources");
    }
    // Type, name, language.
    uint32_t table = root;
    for (int level = 0; level < 3; ++level) {
        const uint32_t named = At<uint16_t>(OffsetOf(table + 12)),
                       numbered = At<uint16_t>(OffsetOf(table + 14));
        const uint32_t id = Word(table + 16), next = Word(table + 20);
        if (named != 0 || numbered != 1 || (level == 0 && id != kVersionType) ||
            ((next & kSubdirectory) != 0) != (level < 2)) {
            throw std::runtime_error("not one version resource and nothing else");
        }
        table = root + (next & ~kSubdirectory);
    }
    PEVersion version;
    ReadVersionBlock(Word(table), version);
    return version;
}
