#include "stream/mark.h"

#include <algorithm>

namespace stream {

namespace {

const MarkField* Find(const Mark& mark, std::string_view name) {
    const auto found = std::ranges::find(mark.fields, name, &MarkField::name);
    return found != mark.fields.end() ? &*found : nullptr;
}

} // namespace

const char* NameOf(MarkKind kind) {
    static constexpr const char* kNames[] = {
        nullptr,   "display",      "mode",  "surface",  "surface name", "surface gone",
        "context", "context gone", "call",  "call end", "words",        "primitives",
        "batch",   "flip",         "frame", "picture",  "step",         "end"};
    const auto number = static_cast<uint32_t>(kind);
    return number < std::size(kNames) ? kNames[number] : nullptr;
}

std::optional<int64_t> Mark::Number(std::string_view field) const {
    const MarkField* found = Find(*this, field);
    const auto* number = found != nullptr ? std::get_if<int64_t>(&found->value) : nullptr;
    return number != nullptr ? std::optional(*number) : std::nullopt;
}

const std::string* Mark::Text(std::string_view field) const {
    const MarkField* found = Find(*this, field);
    return found != nullptr ? std::get_if<std::string>(&found->value) : nullptr;
}

} // namespace stream
