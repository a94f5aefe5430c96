#include "remote/board_state.h"

#include "board/values/register_names.h"
#include "chip/register_table.h"
#include "chip/words.h"

#include <fmt/format.h>

#include <charconv>
#include <optional>

namespace remote {

namespace {

constexpr std::string_view kRegister = "register.", kEntered = "entered.", kFault = "fault.";
constexpr std::string_view kUnknown = "fault.unknownRegister.", kUnwaited = "fault.unwaited.",
                           kFirst = "fault.unwaitedFirst.", kUnmodelled = "fault.unmodelled.";

struct Counter {
    std::string_view name;
    uint64_t board::FaultCounts::*count;
};
constexpr Counter kCounters[] = {
    {"fault.fifoOverflows", &board::FaultCounts::fifoOverflows},
    {"fault.badDmaAddresses", &board::FaultCounts::badDmaAddresses},
    {"fault.dmaRestarts", &board::FaultCounts::dmaRestarts},
    {"fault.badMemoryAccesses", &board::FaultCounts::badMemoryAccesses},
    {"fault.malformedWords", &board::FaultCounts::malformedWords},
};

// Some name that begins with `group` can begin with `begin`.
bool MayBegin(std::string_view group, std::string_view begin) {
    const size_t both = std::min(group.size(), begin.size());
    return group.substr(0, both) == begin.substr(0, both);
}

// The hexadecimal number behind `group`.
std::optional<uint32_t> NumberIn(std::string_view name, std::string_view group) {
    if (!name.starts_with(group)) {
        return std::nullopt;
    }
    uint32_t number = 0;
    const char* const end = name.data() + name.size();
    const auto [behind, error] = std::from_chars(name.data() + group.size(), end, number, 16);
    return error == std::errc() && behind == end ? std::optional(number) : std::nullopt;
}

// The second register of the same offset, where two devices name one differently, is left out.
std::vector<NamedValue> Registers(const board::Board& board) {
    std::vector<NamedValue> all;
    for (const Register& one : kRegisters) {
        if (!one.HasTag()) {
            all.emplace_back(fmt::format("{}{}", kRegister, one.name), board.Peek(one.offset));
        }
    }
    for (uint32_t tagNumber = 0; tagNumber <= kTagMask; ++tagNumber) {
        if (NameOfTag(tagNumber) != nullptr || IsInVertexStore(tagNumber)) {
            all.emplace_back(fmt::format("{}{}", kRegister, board::TagName(tagNumber)),
                             board.Peek(MappedOffset(tagNumber)));
        }
    }
    return all;
}

void AddFaults(const board::Faults& faults, std::vector<NamedValue>& all) {
    for (const Counter& counter : kCounters) {
        if (faults.*counter.count != 0) {
            all.emplace_back(counter.name, faults.*counter.count);
        }
    }
    for (const auto& [number, times] : faults.unknownRegisters) {
        all.emplace_back(fmt::format("{}{:X}", kUnknown, number), times);
    }
    for (const auto& [number, of] : faults.unwaited) {
        all.emplace_back(fmt::format("{}{:X}", kUnwaited, number), of.entries);
        all.emplace_back(fmt::format("{}{:X}", kFirst, number), of.firstPlace);
    }
    for (const auto& [unit, times] : faults.unmodelled) {
        all.emplace_back(fmt::format("{}{}", kUnmodelled, unit), times);
    }
}

} // namespace

std::vector<NamedValue> StateOf(const board::Board& board, std::string_view begin) {
    std::vector<NamedValue> all;
    if (MayBegin(kRegister, begin)) {
        all = Registers(board);
    }
    if (MayBegin(kEntered, begin)) {
        const board::EntryCounts entered = board.Entered();
        for (size_t tagNumber = 0; tagNumber < entered.size(); ++tagNumber) {
            if (entered[tagNumber] != 0) {
                all.emplace_back(fmt::format("{}{:X}", kEntered, tagNumber), entered[tagNumber]);
            }
        }
    }
    if (MayBegin(kFault, begin)) {
        AddFaults(board.FaultReport(), all);
    }
    std::erase_if(all, [&](const NamedValue& one) { return !one.first.starts_with(begin); });
    return all;
}

board::Faults FaultsIn(std::span<const NamedValue> state) {
    board::Faults faults;
    for (const auto& [name, value] : state) {
        for (const Counter& counter : kCounters) {
            if (name == counter.name) {
                faults.*counter.count = value;
            }
        }
        if (const auto number = NumberIn(name, kUnknown)) {
            faults.unknownRegisters[*number] = value;
        } else if (const auto unwaited = NumberIn(name, kUnwaited)) {
            faults.unwaited[*unwaited].entries = value;
        } else if (const auto first = NumberIn(name, kFirst)) {
            faults.unwaited[*first].firstPlace = value;
        } else if (name.starts_with(kUnmodelled)) {
            faults.unmodelled[name.substr(kUnmodelled.size())] = value;
        }
    }
    return faults;
}

board::EntryCounts EntriesIn(std::span<const NamedValue> state) {
    board::EntryCounts entries{};
    for (const auto& [name, value] : state) {
        if (const auto number = NumberIn(name, kEntered); number && *number < entries.size()) {
            entries[*number] = value;
        }
    }
    return entries;
}

} // namespace remote
