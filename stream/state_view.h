#pragma once
// A register's value taken apart for people and programs.
#include "stream/value_text.h"

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace stream {

struct FieldView {
    std::string name;
    uint32_t low, width; // bits
    uint32_t raw;
    std::string text; // as AppendValue writes it
    std::string unit; // what the text counts in; empty where nothing needs to be said
};

struct RegisterView {
    uint32_t offset; // in the aperture, bytes
    std::string name;
    std::string unitOfChip; // UnitRow::name; empty for a register outside the vocabulary
    uint32_t raw;
    // A mode word has fields, those that are zero too, and one of the name "rest" for bits that no
    // field has, if some are set; low and width are those of all such bits' hull. Another word has
    // its text and unit.
    std::vector<FieldView> fields;
    std::string text, unit;
};

// The register at an aperture offset, mapped ones by MappedOffset, holding `value`.
RegisterView View(uint32_t offset, uint32_t value, const Reading& reading = {});

// {"name", "offset", "tag" (of the stream's), "unit", "raw", then "text" and "in" or "fields":
// [{"name", "low", "width", "raw", "text", "in"}]}. Numbers are numbers; "in", "unit" and "tag" are
// left out where there is none.
nlohmann::ordered_json ToJson(const RegisterView& view);

} // namespace stream
