// Looks into memory from the host's side: records, pixels, blocks of memory, faults of the board.
#include <charconv>
#include <cstring>
#include <functional>

#include <fmt/format.h>

#include "tools/korv/script_step.h"

namespace korv {

namespace {

// Finds a record at play time; null if there is none.
using RecordFinder = std::function<void*(Player&)>;

struct RecordChoice {
    const RecordType* type;
    RecordFinder find;
};

// "record" by its type's name, of a "display", a "surface" or a "context".
RecordChoice ReadRecordChoice(Fields& fields, const Names& names) {
    const Node record = fields["record"];
    const RecordType* type = FindRecord(record.Name());
    if (type == nullptr)
        record.Fail(fmt::format("unknown record '{}'", record.Text()));
    const std::string_view name = type->name;
    if (name == "D3DContext") {
        const std::string context = names.Refer(NameKind::Context, fields["context"]);
        return {type, [context](Player& player) -> void* {
                    return const_cast<D3DContext*>(player.ContextRecord(context));
                }};
    }
    if (name == "PrivateSurfaceData" || name.starts_with("DDRAWI_DDRAWSURFACE")) {
        const std::string surface = names.Refer(NameKind::Surface, fields["surface"]);
        return {type, [surface, name](Player& player) -> void* {
                    host::Surface& one = player.Surface(surface);
                    if (name == "PrivateSurfaceData")
                        return PrivateOf(one.Local());
                    return name == "DDRAWI_DDRAWSURFACE_GBL" ? static_cast<void*>(one.Global())
                                                             : one.GlobalMore();
                }};
    }
    const std::string display = names.DisplayOf(fields);
    return {type, [display, name](Player& player) -> void* {
                DriverData* driver = player.Driver(display);
                return name == "DriverData" ? static_cast<void*>(driver)
                       : name == "ChipInfo" ? driver->ChipInfo
                       : name == "D3DHAL_GLOBALDRIVERDATA"
                           ? driver->D3DGlobalData
                           : static_cast<void*>(driver->D3DCallbacks);
            }};
}

StepPlan ReadCheck(Fields& fields, Names& names) {
    const RecordChoice choice = ReadRecordChoice(fields, names);
    return {[choice](Player& player, Outcome& outcome) {
                const void* record = choice.find(player);
                outcome.Set("present", record != nullptr);
                if (record != nullptr)
                    outcome.SetRecord(*choice.type, record);
            },
            [type = choice.type](const std::string& field) -> std::optional<FieldKind> {
                if (field == "present")
                    return FieldKind::Flag;
                if (const auto place = FindField(*type, field))
                    return place->kind;
                return {};
            }};
}

// Writes fields that belong to the other side: the 16-bit driver's, the mini VDD's, the runtime's.
StepPlan ReadSet(Fields& fields, Names& names) {
    const RecordChoice choice = ReadRecordChoice(fields, names);
    const RecordValues values = ReadRecord(fields["fields"], *choice.type, names);
    return {[choice, values](Player& player, Outcome&) {
                void* record = choice.find(player);
                if (record == nullptr)
                    throw NotThereError(fmt::format("there is no {} here", choice.type->name));
                WriteRecord(record, values, player);
            },
            Only({})};
}

// "X,Y" in pixels.
std::optional<std::pair<uint32_t, uint32_t>> ParsePlace(const std::string& text) {
    uint32_t x = 0, y = 0;
    const char* const end = text.data() + text.size();
    const auto first = std::from_chars(text.data(), end, x);
    if (first.ec != std::errc() || first.ptr == end || *first.ptr != ',')
        return {};
    const auto second = std::from_chars(first.ptr + 1, end, y);
    if (second.ec != std::errc() || second.ptr != end)
        return {};
    return std::pair{x, y};
}

// 32-bit FNV-1a of the raw pixels, four bytes each, row by row.
uint32_t HashPixels(const host::Surface& surface) {
    uint32_t hash = 0x811C9DC5;
    for (uint32_t y = 0; y < surface.Height(); ++y)
        for (uint32_t x = 0; x < surface.Width(); ++x)
            for (uint32_t pixel = surface.Pixel(x, y), i = 0; i < 4; ++i, pixel >>= 8)
                hash = (hash ^ (pixel & 0xFF)) * 0x01000193;
    return hash;
}

StepPlan ReadPixels(Fields& fields, Names& names) {
    const std::string name = names.Refer(NameKind::Surface, fields["surface"]);
    const bool finish = !fields.Has("finish") || fields["finish"].Flag();
    uint32_t counted = 0;
    if (const auto node = fields.Find("count"))
        counted = node->Word();
    std::vector<std::pair<std::string, std::pair<uint32_t, uint32_t>>> places;
    if (const auto expect = fields.Find("expect"); expect && expect->IsObject())
        for (const auto& [field, value] : Fields(*expect).All())
            if (const auto place = ParsePlace(field))
                places.emplace_back(field, *place);
    return {[=](Player& player, Outcome& outcome) {
                host::Surface& surface = player.Surface(name);
                if (finish && surface.HasVideoMemory())
                    player.DisplayOf(name).directDraw->Finish(surface);
                for (const auto& [field, place] : places)
                    if (place.first < surface.Width() && place.second < surface.Height())
                        outcome.Set(field, surface.Pixel(place.first, place.second));
                outcome.Set("hash", HashPixels(surface));
                uint32_t count = 0;
                for (uint32_t y = 0; y < surface.Height(); ++y)
                    for (uint32_t x = 0; x < surface.Width(); ++x)
                        count += surface.Pixel(x, y) == counted;
                outcome.Set("count", count);
            },
            [](const std::string& field) -> std::optional<FieldKind> {
                if (field == "hash" || field == "count" || ParsePlace(field))
                    return FieldKind::Word;
                return {};
            }};
}

// A block of memory of its own, for exports and raw records.
StepPlan ReadMemory(Fields& fields, Names& names) {
    std::vector<Bits> words;
    if (const auto list = fields.Find("words"))
        for (const Node& word : list->List())
            words.push_back(word.IsObject() || word.IsNull()
                                ? ReadAddress(word, names)
                                : ReadBits(word, FieldKind::Word, names));
    const uint32_t count = fields.Has("count") ? fields["count"].Number(1, 1u << 20)
                                               : static_cast<uint32_t>(words.size());
    const std::string name = names.Declare(NameKind::Memory, fields["name"]);
    return {[=](Player& player, Outcome&) {
                std::vector<uint32_t>& block = player.memory[name];
                block.assign(std::max<size_t>(count, words.size()), 0);
                for (size_t i = 0; i < words.size(); ++i)
                    block[i] = words[i](player);
            },
            Only({})};
}

// 32-bit words at byte offsets from an address: "expect": {"0x10": 5}.
StepPlan ReadPeek(Fields& fields, Names& names) {
    const Bits address = ReadAddress(fields["at"], names);
    const auto offsetOf = [](const std::string& field) -> std::optional<uint32_t> {
        uint32_t offset = 0;
        const bool hex = field.starts_with("0x");
        const char* const end = field.data() + field.size();
        const auto parsed =
            std::from_chars(field.data() + (hex ? 2 : 0), end, offset, hex ? 16 : 10);
        if (parsed.ec != std::errc() || parsed.ptr != end)
            return {};
        return offset;
    };
    std::vector<std::pair<std::string, uint32_t>> offsets;
    if (const auto expect = fields.Find("expect"); expect && expect->IsObject())
        for (const auto& [field, value] : Fields(*expect).All())
            if (const auto offset = offsetOf(field))
                offsets.emplace_back(field, *offset);
    return {[=](Player& player, Outcome& outcome) {
                const auto* bytes = reinterpret_cast<const uint8_t*>(address(player));
                for (const auto& [field, offset] : offsets) {
                    uint32_t word;
                    std::memcpy(&word, bytes + offset, 4);
                    outcome.Set(field, word);
                }
            },
            [offsetOf](const std::string& field) -> std::optional<FieldKind> {
                return offsetOf(field) ? std::optional(FieldKind::Word) : std::nullopt;
            }};
}

// Whether the board met anything that no healthy driver does.
StepPlan ReadFaults(Fields& fields, Names& names) {
    const std::string display = names.DisplayOf(fields);
    return {[=](Player& player, Outcome& outcome) {
                outcome.Set("any", player.Display(display).display->Board().FaultReport().Any());
            },
            Only({{"any", FieldKind::Flag}})};
}

constexpr StepKind kSteps[] = {
    {"check", ReadCheck},   {"set", ReadSet},   {"pixels", ReadPixels},
    {"memory", ReadMemory}, {"peek", ReadPeek}, {"faults", ReadFaults},
};

} // namespace

std::span<const StepKind> CheckSteps() {
    return kSteps;
}

} // namespace korv
