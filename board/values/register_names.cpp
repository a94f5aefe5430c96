#include "board/values/register_names.h"

#include "chip/register_table.h"

namespace board {

void AppendHex(std::string& text, uint32_t value, uint32_t digits) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    uint32_t count = 8;
    while (count > digits && value >> (count - 1) * 4 == 0) {
        --count;
    }
    while (count-- != 0) {
        text += kDigits[value >> count * 4 & 0xF];
    }
}

void AppendTagName(std::string& text, uint32_t tagNumber) {
    if (const char* name = NameOfTag(tagNumber)) {
        text += name;
    } else if (IsInVertexStore(tagNumber)) {
        text += NameOfTag(tagNumber & ~0xFu);
        text += '+';
        text += std::to_string(tagNumber & 0xF);
    } else {
        text += "tag ";
        AppendHex(text, tagNumber, 3);
    }
}

void AppendOffsetName(std::string& text, uint32_t offset) {
    if (offset >= reg::MappedRegisters && offset < reg::ApertureBytes && offset % 8 == 0) {
        AppendTagName(text, (offset - reg::MappedRegisters) / 8);
    } else if (const Register* entry = FindRegister(offset)) {
        text += entry->name;
    } else if (offset > reg::FIFOWindow && offset < reg::FIFOWindow + reg::FIFOPageBytes) {
        text += "FIFOWindow+";
        AppendHex(text, offset - reg::FIFOWindow);
    } else {
        text += "offset ";
        AppendHex(text, offset, 4);
    }
}

std::string TagName(uint32_t tagNumber) {
    std::string text;
    AppendTagName(text, tagNumber);
    return text;
}

std::string OffsetName(uint32_t offset) {
    std::string text;
    AppendOffsetName(text, offset);
    return text;
}

} // namespace board
