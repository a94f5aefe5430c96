// Calls of the exported functions.
#include <algorithm>
#include <iterator>
#include <utility>

#include <fmt/format.h>

#include "host/driver_module.h"
#include "tools/korv/script_step.h"

namespace korv {

namespace {

struct Export {
    std::string_view name; // by ordinal, from 1
    bool takesDriver;      // as its first argument
    uint32_t arguments;    // behind that
};

constexpr Export kExports[] = {
    {"DriverInit", false, 1},
    {"KORV_AllocateVideoMemory", true, 1},
    {"KORV_CopyBlt", true, 3},
    {"KORV_CreateContext", true, 1},
    {"KORV_DebugHelp", false, 1},
    {"KORV_DeleteContext", true, 1},
    {"KORV_DriverIsLocked", true, 0},
    {"KORV_FreeDMABuffer", true, 1},
    {"KORV_FreeDriverLock", true, 1},
    {"KORV_FreeVideoMemory", true, 1},
    {"KORV_GetDMABuffer", true, 1},
    {"KORV_GetDriverLock", true, 3},
    {"KORV_GetInfo", true, 1},
    {"KORV_Initialize", true, 0},
    {"KORV_Service", false, 3},
    {"KORV_StartDMA", true, 5},
    {"KORV_StartSoftwareCursor", true, 0},
    {"KORV_StopSoftwareCursor", true, 0},
    {"KORV_SwitchContext", true, 1},
    {"KORV_WaitForDMA", true, 0},
};
static_assert(std::size(kExports) == host::kExportOrdinals);

template <class, size_t>
using Argument = uint32_t;

template <size_t... I>
uint32_t CallWith(void* entry, const std::vector<uint32_t>& arguments, std::index_sequence<I...>) {
    using Entry = uint32_t(KORV_STDCALL*)(Argument<void, I>...);
    return reinterpret_cast<Entry>(entry)(arguments[I]...);
}

uint32_t Call(void* entry, const std::vector<uint32_t>& arguments) {
    const host::DriverCall call;
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

// A number, or {"value": name}, or an address: null, a name, or an object that names one.
Bits ReadArgument(const Node& node, const Names& names) {
    if (node.IsNull() || (node.IsObject() && !node.Json().contains("value")) ||
        (node.IsText() && (names.Of(NameKind::Memory).contains(node.Text()) ||
                           names.Of(NameKind::Surface).contains(node.Text()))))
        return ReadAddress(node, names);
    return ReadBits(node, FieldKind::Word, names);
}

StepPlan ReadExport(Fields& fields, Names& names) {
    const Node name = fields["name"];
    const auto found = std::ranges::find(kExports, name.Name(), &Export::name);
    if (found == std::end(kExports))
        name.Fail(fmt::format("unknown export '{}'", name.Text()));
    const Export& entry = *found;
    const size_t ordinal = static_cast<size_t>(found - kExports) + 1;

    std::vector<Bits> arguments;
    if (entry.takesDriver) {
        const auto display = fields.Find("display");
        if (display && display->IsNull())
            arguments.push_back([](Player&) { return 0u; });
        else
            arguments.push_back([one = names.DisplayOf(fields)](Player& player) {
                return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(player.Driver(one)));
            });
    }
    uint32_t given = 0;
    if (const auto list = fields.Find("arguments"))
        for (const Node& argument : list->List()) {
            arguments.push_back(ReadArgument(argument, names));
            ++given;
        }
    if (given != entry.arguments)
        name.Fail(fmt::format("{} takes {} arguments behind the display, got {}", entry.name,
                              entry.arguments, given));
    std::string save;
    if (const auto node = fields.Find("save"))
        save = names.Declare(NameKind::Value, *node);
    return {[=, &entry](Player& player, Outcome& outcome) {
                void* const address = host::TheDriverModule().exports[ordinal];
                if (address == nullptr)
                    throw NotThereError(fmt::format("the driver has no {} yet", entry.name));
                std::vector<uint32_t> words;
                for (const Bits& argument : arguments)
                    words.push_back(argument(player));
                const uint32_t result = Call(address, words);
                outcome.Set("result", result);
                outcome.Set("address", result);
                if (!save.empty())
                    player.values[save] = result;
            },
            Only({{"result", FieldKind::Signed}, {"address", FieldKind::Address}})};
}

constexpr StepKind kSteps[] = {{"export", ReadExport}};

} // namespace

std::span<const StepKind> ExportSteps() {
    return kSteps;
}

} // namespace korv
