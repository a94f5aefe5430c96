#include "stream/explain.h"

#include "board/values/register_names.h"

namespace stream {

namespace {

const ValueKind& KindOfVertexWord(uint32_t tagNumber) {
    const VertexRow* row = FindVertexRow(tagNumber);
    if (row == nullptr) {
        return kind::Bits;
    }
    const bool single = tagNumber >= tag::V0Float && row->kind->form == Form::Fixed;
    return single ? kind::Single : *row->kind;
}

} // namespace

WordForm FormOf(uint32_t offset) {
    const bool mapped = offset >= reg::MappedRegisters && offset % 8 == 0;
    if (mapped && IsInVertexStore((offset - reg::MappedRegisters) / 8)) {
        return {{}, &KindOfVertexWord((offset - reg::MappedRegisters) / 8)};
    }
    const Register* entry = FindRegister(offset);
    return entry != nullptr ? WordForm{FieldsOf(*entry), entry->kind} : WordForm{{}, &kind::Bits};
}

void FollowWrite(Reading& reading, uint32_t offset, uint32_t value) {
    if (offset == MappedOffset(tag::TextureAddressMode)) {
        reading.perspective = field::TextureAddressMode_Perspective.Get(value) != 0;
    }
}

uint32_t RestOf(const WordForm& form, uint32_t word) {
    if (form.fields.empty()) {
        return 0;
    }
    for (const FieldRow& field : form.fields) {
        word &= ~field.Mask();
    }
    return word;
}

void AppendMeaning(std::string& text, uint32_t offset, uint32_t word, const Reading& reading) {
    const WordForm form = FormOf(offset);
    if (form.fields.empty()) {
        text += " = ";
        AppendValue(text, *form.kind, word, 32, reading);
        if (*form.kind->unit != '\0') {
            text += ' ';
            text += form.kind->unit;
        }
        return;
    }
    if (word == 0) {
        text += " = 0";
        return;
    }
    for (const FieldRow& field : form.fields) {
        const uint32_t bits = field.Get(word);
        if (bits != 0) {
            text += ' ';
            text += field.name;
            text += '=';
            AppendValue(text, *field.kind, bits, field.width, reading);
        }
    }
    if (const uint32_t rest = RestOf(form, word); rest != 0) {
        text += " rest=0x";
        board::AppendHex(text, rest);
    }
}

void Explainer::Append(std::string& text, uint32_t word) {
    board::RegisterWrite write{};
    switch (decoder_.Feed(word, write)) {
    case board::StreamDecoder::Kind::Data: {
        const uint32_t offset = MappedOffset(write.tag);
        board::AppendTagName(text, write.tag);
        AppendMeaning(text, offset, word, reading_);
        FollowWrite(reading_, offset, word);
        return;
    }
    case board::StreamDecoder::Kind::Malformed:
        text += "malformed";
        return;
    case board::StreamDecoder::Kind::Tag:
        AppendTagWord(text, word);
        return;
    }
}

void Explainer::AppendTagWord(std::string& text, uint32_t word) const {
    const uint32_t base = word & kTagMask;
    const uint32_t high = word >> 16;
    if ((word & kIndexedForm) == 0) {
        board::AppendTagName(text, base);
        if (high != 0) {
            text += " x" + std::to_string(high + 1);
        }
        return;
    }
    const char* separator = "{";
    for (uint32_t bit = 0; bit < 16; ++bit) {
        if ((high >> bit & 1) != 0) {
            text += separator;
            board::AppendTagName(text, base + bit);
            separator = ", ";
        }
    }
    text += '}';
}

std::optional<board::RegisterWrite> Explainer::Follow(uint32_t word) {
    board::RegisterWrite write{};
    if (decoder_.Feed(word, write) != board::StreamDecoder::Kind::Data) {
        return std::nullopt;
    }
    FollowWrite(reading_, MappedOffset(write.tag), write.data);
    return write;
}

std::string Explainer::Explain(uint32_t word) {
    std::string text;
    Append(text, word);
    return text;
}

void Explainer::AppendAccess(std::string& text, uint32_t offset, uint32_t value) const {
    const WordForm form = FormOf(offset);
    const bool repeats = form.fields.empty() && form.kind->form == Form::Bits;
    if (value == 0 || repeats) {
        return;
    }
    std::string meaning;
    AppendMeaning(meaning, offset, value, reading_);
    text.append(meaning, meaning.starts_with(" = ") ? 2 : 0);
}

} // namespace stream
