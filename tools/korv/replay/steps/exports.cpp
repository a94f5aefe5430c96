// Calls of the exported functions, and what their caller writes by hand.
#include "host/driver_module.h"
#include "tools/korv/replay/checks/record_checks.h"
#include "tools/korv/replay/step.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

namespace korv {

namespace {

struct Export {
    std::string_view name;              // by ordinal, from 1
    bool takesDriver;                   // as its first argument
    std::vector<const char*> arguments; // behind that
};

const Export kExports[] = {
    {"DriverInit", false, {"display"}},
    {"KORV_AllocateVideoMemory", true, {"request"}},
    {"KORV_CopyBlt", true, {"rect", "destOffset", "srcRelative"}},
    {"KORV_CreateContext", true, {"subBuffers"}},
    {"KORV_DebugHelp", false, {"request"}},
    {"KORV_DeleteContext", true, {"id"}},
    {"KORV_DriverIsLocked", true, {}},
    {"KORV_FreeDMABuffer", true, {"index"}},
    {"KORV_FreeDriverLock", true, {"surface"}},
    {"KORV_FreeVideoMemory", true, {"address"}},
    {"KORV_GetDMABuffer", true, {"out"}},
    {"KORV_GetDriverLock", true, {"surface", "useDCI", "rect"}},
    {"KORV_GetInfo", true, {"info"}},
    {"KORV_Initialize", true, {}},
    {"KORV_Service", false, {"code", "request", "buffer"}},
    {"KORV_StartDMA", true, {"context", "words", "physical", "linear", "reserved"}},
    {"KORV_StartSoftwareCursor", true, {}},
    {"KORV_StopSoftwareCursor", true, {}},
    {"KORV_SwitchContext", true, {"id"}},
    {"KORV_WaitForDMA", true, {}},
};
static_assert(std::size(kExports) == host::kExportOrdinals);

template <class, size_t>
using Argument = uint32_t;

template <size_t... I>
uint32_t CallWith(void* entry, const std::vector<uint32_t>& arguments, std::index_sequence<I...>) {
    using Entry = uint32_t(KORV_STDCALL*)(Argument<void, I>...);
    return reinterpret_cast<Entry>(entry)(arguments[I]...);
}

uint32_t Call(const char* name, void* entry, const std::vector<uint32_t>& arguments) {
    const host::DriverCall call(name);
    switch (arguments.size()) {
    case 1:
        return CallWith(entry, arguments, std::make_index_sequence<1>());
    case 2:
        return CallWith(entry, arguments, std::make_index_sequence<2>());
    case 3:
        return CallWith(entry, arguments, std::make_index_sequence<3>());
    case 4:
        return CallWith(entry, arguments, std::make_index_sequence<4>());
    default:
        return CallWith(entry, arguments, std::make_index_sequence<6>());
    }
}

StepPlan ReadExport(Fields& fields, Names& names) {
    const Node name = fields["name"];
    const auto found = std::ranges::find(kExports, name.Name(), &Export::name);
    if (found == std::end(kExports)) {
        name.Fail(fmt::format("unknown export '{}'", name.Text()));
    }
    const Export& entry = *found;
    const size_t ordinal = static_cast<size_t>(found - kExports) + 1;

    std::vector<Bits> arguments;
    if (entry.takesDriver) {
        const auto display = fields.Find("display");
        if (display && display->IsNull()) {
            arguments.push_back([](Player&) { return 0u; });
        } else {
            arguments.push_back([one = names.DisplayOf(fields)](Player& player) {
                return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(player.Driver(one)));
            });
        }
    }
    if (const auto given = fields.Find("arguments")) {
        Fields values(*given);
        for (const char* argument : entry.arguments) {
            arguments.push_back(ReadWordOrAddress(values[argument], names));
        }
        values.Done();
    } else if (!entry.arguments.empty()) {
        name.Fail(
            fmt::format("{} takes arguments: {}", entry.name, fmt::join(entry.arguments, ", ")));
    }
    std::string save;
    if (const auto node = fields.Find("save")) {
        save = names.Declare(NameKind::Value, *node);
    }
    return {[=, &entry](Player& player, Outcome& outcome) {
                void* const address = host::TheDriverModule().exports[ordinal];
                if (address == nullptr) {
                    throw NotThereError(fmt::format("the driver has no {} yet", entry.name));
                }
                std::vector<uint32_t> words;
                for (const Bits& argument : arguments) {
                    words.push_back(argument(player));
                }
                const size_t front = entry.takesDriver ? 1 : 0;
                CheckExport(player, entry.name,
                            front != 0 ? reinterpret_cast<DriverData*>(words[0]) : nullptr,
                            entry.arguments, std::span(words).subspan(front));
                const uint32_t result = Call(entry.name.data(), address, words);
                outcome.Set("result", result);
                outcome.Set("address", result);
                if (!save.empty()) {
                    player.values[save] = result;
                }
            },
            Only({{"result", FieldKind::Signed}, {"address", FieldKind::Address}})};
}

// Words that a client of the exports puts into memory by hand: a batch for the chip, or pixels.
StepPlan ReadPoke(Fields& fields, Names& names) {
    const Node at = fields["at"];
    const Bits address = ReadWordOrAddress(at, names);
    std::vector<Bits> words;
    for (const Node& word : fields["words"].List()) {
        words.push_back(ReadWordOrAddress(word, names));
    }
    return {[=](Player& player, Outcome&) {
                const uint32_t place = address(player);
                if (!player.Holds(place, words.size() * 4)) {
                    at.Fail(fmt::format("no memory that has a name here holds {} words from {} on",
                                        words.size(), player.DescribeAddress(place)));
                }
                for (size_t i = 0; i < words.size(); ++i) {
                    const uint32_t word = words[i](player);
                    std::memcpy(reinterpret_cast<uint8_t*>(place) + 4 * i, &word, 4);
                }
            },
            Only({})};
}

constexpr StepKind kExportSteps[] = {{"export", ReadExport}, {"poke", ReadPoke}};

} // namespace

std::span<const StepKind> ExportSteps() {
    return kExportSteps;
}

} // namespace korv
