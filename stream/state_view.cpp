#include "stream/state_view.h"

#include "board/values/register_names.h"
#include "stream/changes.h"
#include "stream/explain.h"

#include <nlohmann/json.hpp>

#include <bit>

namespace stream {

namespace {

std::string TextOf(const ValueKind& kind, uint32_t bits, uint32_t width, const Reading& reading) {
    std::string text;
    AppendValue(text, kind, bits, width, reading);
    return text;
}

nlohmann::ordered_json ToJson(const FieldView& field) {
    nlohmann::ordered_json json{{"name", field.name},
                                {"low", field.low},
                                {"width", field.width},
                                {"raw", field.raw},
                                {"text", field.text}};
    if (!field.unit.empty()) {
        json["in"] = field.unit;
    }
    return json;
}

} // namespace

RegisterView View(uint32_t offset, uint32_t value, const Reading& reading) {
    const WordForm form = FormOf(offset);
    RegisterView view{};
    view.offset = offset;
    view.name = board::OffsetName(offset);
    view.raw = value;
    if (const Register* row = RowAt(offset)) {
        view.unitOfChip = kUnits[static_cast<size_t>(row->unit)].name;
    }
    if (form.fields.empty()) {
        view.text = TextOf(*form.kind, value, 32, reading);
        view.unit = form.kind->unit;
        return view;
    }
    for (const FieldRow& field : form.fields) {
        const uint32_t bits = field.Get(value);
        view.fields.push_back({field.name, field.low, field.width, bits,
                               TextOf(*field.kind, bits, field.width, reading), field.kind->unit});
    }
    if (const uint32_t rest = RestOf(form, value); rest != 0) {
        const auto low = static_cast<uint32_t>(std::countr_zero(rest));
        const auto width = static_cast<uint32_t>(std::bit_width(rest)) - low;
        view.fields.push_back({"rest", low, width, rest >> low, "0x", ""});
        board::AppendHex(view.fields.back().text, rest);
    }
    return view;
}

nlohmann::ordered_json ToJson(const RegisterView& view) {
    nlohmann::ordered_json json{{"name", view.name}, {"offset", view.offset}};
    if (view.offset >= reg::MappedRegisters && view.offset % 8 == 0) {
        json["tag"] = (view.offset - reg::MappedRegisters) / 8;
    }
    if (!view.unitOfChip.empty()) {
        json["unit"] = view.unitOfChip;
    }
    json["raw"] = view.raw;
    if (view.fields.empty()) {
        json["text"] = view.text;
        if (!view.unit.empty()) {
            json["in"] = view.unit;
        }
        return json;
    }
    json["fields"] = nlohmann::ordered_json::array();
    for (const FieldView& field : view.fields) {
        json["fields"].push_back(ToJson(field));
    }
    return json;
}

} // namespace stream
