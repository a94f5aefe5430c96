// Looks into memory from the host's side: records, pixels, blocks of memory, faults of the board.
#include "host/inspect/unwaited.h"
#include "tools/korv/replay/step.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <functional>

namespace korv {

namespace {

// Finds a record at play time; null if there is none.
using RecordFinder = std::function<void*(Player&)>;

struct RecordChoice {
    const RecordType* type;
    RecordFinder find;
};

bool IsOfSurface(std::string_view record) {
    return record == "PrivateSurfaceData" || record.starts_with("DDRAWI_DDRAWSURFACE");
}

bool IsOfDisplay(std::string_view record) {
    return record == "DriverData" || record == "ChipInfo" || record == "D3DHAL_GLOBALDRIVERDATA" ||
           record == "D3DHAL_CALLBACKS";
}

// "record" by its type's name, of a "display", a "surface" or a "context", or in a "memory".
RecordChoice ReadRecordChoice(Fields& fields, const Names& names) {
    const Node record = fields["record"];
    const RecordType* type = FindRecord(record.Name());
    if (type == nullptr) {
        record.Fail(fmt::format("unknown record '{}'", record.Text()));
    }
    const std::string_view name = type->name;
    if (name == "D3DContext") {
        const std::string context = names.Refer(NameKind::Context, fields["context"]);
        return {type, [context](Player& player) -> void* {
                    return const_cast<D3DContext*>(player.ContextRecord(context));
                }};
    }
    if (IsOfSurface(name)) {
        const std::string surface = names.Refer(NameKind::Surface, fields["surface"]);
        return {type, [surface, name](Player& player) -> void* {
                    host::Surface& one = player.Surface(surface);
                    if (name == "PrivateSurfaceData") {
                        return PrivateOf(one.Local());
                    }
                    if (name == "DDRAWI_DDRAWSURFACE_LCL") {
                        return one.Local();
                    }
                    return name == "DDRAWI_DDRAWSURFACE_GBL" ? static_cast<void*>(one.Global())
                                                             : one.GlobalMore();
                }};
    }
    if (!IsOfDisplay(name)) {
        const Node memory = fields["memory"];
        const std::string block = names.Refer(NameKind::Memory, memory);
        return {type, [block, memory, type](Player& player) -> void* {
                    std::vector<uint32_t>& words = player.Memory(block);
                    if (words.size() * 4 < type->size) {
                        memory.Fail(fmt::format("{} bytes are too few for a {} of {}",
                                                words.size() * 4, type->name, type->size));
                    }
                    return words.data();
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
                if (record != nullptr) {
                    outcome.SetRecord(*choice.type, record);
                }
            },
            [type = choice.type](const std::string& field) -> std::optional<FieldKind> {
                if (field == "present") {
                    return FieldKind::Flag;
                }
                if (const auto place = FindField(*type, field)) {
                    return place->kind;
                }
                return {};
            }};
}

// Writes fields that belong to the other side: the 16-bit driver's, the mini VDD's, the runtime's.
StepPlan ReadSet(Fields& fields, Names& names) {
    const RecordChoice choice = ReadRecordChoice(fields, names);
    const RecordValues values = ReadRecord(fields["fields"], *choice.type, names);
    return {[choice, values](Player& player, Outcome&) {
                void* record = choice.find(player);
                if (record == nullptr) {
                    throw NotThereError(fmt::format("there is no {} here", choice.type->name));
                }
                WriteRecord(record, values, player);
            },
            Only({})};
}

// "X,Y" in pixels.
std::optional<std::pair<uint32_t, uint32_t>> ParsePlace(const std::string& text) {
    uint32_t x = 0, y = 0;
    const char* const end = text.data() + text.size();
    const auto first = std::from_chars(text.data(), end, x);
    if (first.ec != std::errc() || first.ptr == end || *first.ptr != ',') {
        return {};
    }
    const auto second = std::from_chars(first.ptr + 1, end, y);
    if (second.ec != std::errc() || second.ptr != end) {
        return {};
    }
    return std::pair{x, y};
}

// 32-bit FNV-1a of the raw pixels, four bytes each, row by row.
uint32_t HashPixels(const host::Surface& surface) {
    uint32_t hash = 0x811C9DC5;
    for (uint32_t y = 0; y < surface.Height(); ++y) {
        for (uint32_t x = 0; x < surface.Width(); ++x) {
            for (uint32_t pixel = surface.Pixel(x, y), i = 0; i < 4; ++i, pixel >>= 8) {
                hash = (hash ^ (pixel & 0xFF)) * 0x01000193;
            }
        }
    }
    return hash;
}

StepPlan ReadPixels(Fields& fields, Names& names) {
    const std::string name = names.Refer(NameKind::Surface, fields["surface"]);
    const bool finish = !fields.Has("finish") || fields["finish"].Flag();
    uint32_t counted = 0;
    if (const auto node = fields.Find("count")) {
        counted = node->Word();
    }
    std::vector<std::pair<std::string, std::pair<uint32_t, uint32_t>>> places;
    if (const auto expect = fields.Find("expect"); expect && expect->IsObject()) {
        for (const auto& [field, value] : Fields(*expect).All()) {
            if (const auto place = ParsePlace(field)) {
                places.emplace_back(field, *place);
            }
        }
    }
    return {[=](Player& player, Outcome& outcome) {
                host::Surface& surface = player.SurfaceWithPixels(name);
                if (finish && surface.HasVideoMemory()) {
                    player.DisplayOf(name).directDraw->Finish(surface);
                }
                for (const auto& [field, place] : places) {
                    if (place.first < surface.Width() && place.second < surface.Height()) {
                        outcome.Set(field, surface.Pixel(place.first, place.second));
                    }
                }
                outcome.Set("hash", HashPixels(surface));
                uint32_t count = 0;
                for (uint32_t y = 0; y < surface.Height(); ++y) {
                    for (uint32_t x = 0; x < surface.Width(); ++x) {
                        count += surface.Pixel(x, y) == counted;
                    }
                }
                outcome.Set("count", count);
            },
            [](const std::string& field) -> std::optional<FieldKind> {
                if (field == "hash" || field == "count" || ParsePlace(field)) {
                    return FieldKind::Word;
                }
                return {};
            }};
}

// A block of memory of its own, for exports and raw records: words, or a record.
StepPlan ReadMemory(Fields& fields, Names& names) {
    std::vector<Bits> words;
    RecordValues values;
    size_t needed = 0;
    if (const auto record = fields.Find("record")) {
        const RecordType* type = FindRecord(record->Name());
        if (type == nullptr) {
            record->Fail(fmt::format("unknown record '{}'", record->Text()));
        }
        needed = (type->size + 3) / 4;
        if (const auto node = fields.Find("fields")) {
            values = ReadRecord(*node, *type, names);
        }
    } else if (const auto list = fields.Find("words")) {
        for (const Node& word : list->List()) {
            words.push_back(ReadWordOrAddress(word, names));
        }
        needed = words.size();
    }
    size_t count = needed;
    if (const auto node = fields.Find("count")) {
        count = std::max<size_t>(needed, node->Number(1, 1u << 20));
    }
    const std::string name = names.Declare(NameKind::Memory, fields["name"]);
    if (count == 0) {
        fields.Object().Fail("expected 'words', 'count' or 'record'");
    }
    return {[=](Player& player, Outcome&) {
                std::vector<uint32_t> block(count, 0);
                for (size_t i = 0; i < words.size(); ++i) {
                    block[i] = words[i](player);
                }
                WriteRecord(block.data(), values, player);
                player.memory[name] = std::move(block);
            },
            Only({})};
}

// Bytes: "12" or "0xC".
std::optional<uint32_t> ParseOffset(const std::string& text) {
    uint32_t offset = 0;
    const bool hex = text.starts_with("0x");
    const char* const end = text.data() + text.size();
    const auto parsed = std::from_chars(text.data() + (hex ? 2 : 0), end, offset, hex ? 16 : 10);
    if (parsed.ec != std::errc() || parsed.ptr != end) {
        return {};
    }
    return offset;
}

// 32-bit words at byte offsets from an address: "expect": {"0x10": 5}, "save": {"name": "0x10"}.
StepPlan ReadPeek(Fields& fields, Names& names) {
    const Node at = fields["at"];
    const Bits address = ReadAddress(at, names);
    std::vector<std::pair<std::string, uint32_t>> offsets, saved;
    if (const auto expect = fields.Find("expect"); expect && expect->IsObject()) {
        for (const auto& [field, value] : Fields(*expect).All()) {
            if (const auto offset = ParseOffset(field)) {
                offsets.emplace_back(field, *offset);
            }
        }
    }
    if (const auto save = fields.Find("save")) {
        Fields list(*save);
        for (const auto& [name, place] : list.All()) {
            const auto offset = ParseOffset(place.Text());
            if (!offset) {
                place.Fail(fmt::format("'{}' is no offset in bytes", place.Text()));
            }
            names.Declare(NameKind::Value, name, place);
            saved.emplace_back(name, *offset);
        }
    }
    return {[=](Player& player, Outcome& outcome) {
                const auto word = [&](uint32_t offset) {
                    const uint32_t place = address(player) + offset;
                    if (!player.Holds(place, 4)) {
                        at.Fail(fmt::format("no memory that has a name here is at {} + 0x{:X}",
                                            player.DescribeAddress(address(player)), offset));
                    }
                    uint32_t bits;
                    std::memcpy(&bits, reinterpret_cast<const void*>(place), 4);
                    return bits;
                };
                for (const auto& [field, offset] : offsets) {
                    outcome.Set(field, word(offset));
                }
                for (const auto& [name, offset] : saved) {
                    player.values[name] = word(offset);
                }
            },
            [](const std::string& field) -> std::optional<FieldKind> {
                return ParseOffset(field) ? std::optional(FieldKind::Word) : std::nullopt;
            }};
}

// Whether the board met anything that no healthy driver does.
StepPlan ReadFaults(Fields& fields, Names& names) {
    const std::string display = names.DisplayOf(fields);
    return {[=](Player& player, Outcome& outcome) {
                outcome.Set("any",
                            host::UnexpectedFaults(player.Display(display).display->Board()).Any());
            },
            Only({{"any", FieldKind::Flag}})};
}

constexpr StepKind kCheckSteps[] = {
    {"check", ReadCheck},   {"set", ReadSet},   {"pixels", ReadPixels},
    {"memory", ReadMemory}, {"peek", ReadPeek}, {"faults", ReadFaults},
};

} // namespace

std::span<const StepKind> CheckSteps() {
    return kCheckSteps;
}

} // namespace korv
