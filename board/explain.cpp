#include "board/explain.h"

#include <fmt/format.h>

namespace board {

std::string OffsetText(uint32_t offset) {
    if (offset >= reg::MappedRegisters && offset < reg::ApertureBytes && offset % 8 == 0) {
        return TagText((offset - reg::MappedRegisters) / 8);
    }
    if (const Register* entry = FindRegister(offset)) {
        return entry->name;
    }
    if (offset > reg::FIFOWindow && offset < reg::FIFOWindow + reg::FIFOPageBytes) {
        return fmt::format("FIFOWindow+{:X}", offset - reg::FIFOWindow);
    }
    return fmt::format("offset {:04X}", offset);
}

std::string FieldsText(uint32_t offset, uint32_t word) {
    std::string text;
    for (const Field& field : kFields) {
        if (field.offset == offset && field.Get(word) != 0) {
            text += fmt::format(" {}={:X}", field.name, field.Get(word));
        }
    }
    return text;
}

std::string StreamExplainer::Explain(uint32_t word) {
    RegisterWrite write{};
    switch (decoder_.Feed(word, write)) {
    case StreamDecoder::Kind::Data:
        return fmt::format("{} = {:X}{}", TagText(write.tag), write.data,
                           FieldsText(MappedOffset(write.tag), write.data));
    case StreamDecoder::Kind::Malformed:
        return "malformed";
    case StreamDecoder::Kind::Tag:
        break;
    }
    const uint32_t base = word & kTagMask;
    const uint32_t high = word >> 16;
    if ((word & kIndexedForm) == 0) {
        return high == 0 ? TagText(base) : fmt::format("{} x{}", TagText(base), high + 1);
    }
    std::string text = fmt::format("group {:03X} mask {:04X}:", base, high);
    const char* separator = " ";
    for (uint32_t bit = 0; bit < 16; ++bit) {
        if ((high >> bit & 1) != 0) {
            text += separator + TagText(base + bit);
            separator = ", ";
        }
    }
    return text;
}

} // namespace board
