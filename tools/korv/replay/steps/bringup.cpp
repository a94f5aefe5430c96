// Steps that bring displays up: boards, the driver's start, further callback tables, refusals.
#include "host/display/config_check.h"
#include "host/driver_module.h"
#include "host/vdd/minivdd.h"
#include "tools/korv/base/errors.h"
#include "tools/korv/chips/chips.h"
#include "tools/korv/replay/step.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cstring>

namespace korv {

namespace {

constexpr uint32_t kMegabytes = 1u << 20;

constexpr uint32_t kMaxTicksPerEntry = 1000;

void ReadTiming(const Node& node, board::Timing& timing) {
    Fields fields(node);
    const auto number = [&](const char* name, uint32_t& out, uint32_t high = ~0u) {
        if (const auto found = fields.Find(name)) {
            out = found->Number(0, high);
        }
    };
    number("fifoDepth", timing.fifoDepth);
    number("fifoDrainPerTick", timing.fifoDrainPerTick);
    number("fifoTicksPerEntry", timing.fifoTicksPerEntry, kMaxTicksPerEntry);
    number("pixelsPerTick", timing.pixelsPerTick);
    number("fifoReportLag", timing.fifoReportLag);
    number("fifoReportCap", timing.fifoReportCap);
    number("dmaWordsPerTick", timing.dmaWordsPerTick);
    number("interruptLatency", timing.interruptLatency);
    number("strayOutputWords", timing.strayOutputWords);
    number("microsecondsPerTick", timing.microsecondsPerTick);
    fields.Done();
}

void ReadChip(Fields& fields, host::DisplayConfig& config) {
    if (const auto chip = fields.Find("chip")) {
        const auto name = chip->Name();
        const auto found = std::ranges::find(Chips(), name, &ChipChoice::name);
        if (found == Chips().end()) {
            chip->Fail(fmt::format("unknown chip '{}': expected one of {}", name, ChipNames()));
        }
        config.deviceId = found->deviceId;
        config.delta = found->setupUnit && found->deviceId != DevicePermedia2;
    }
    if (const auto device = fields.Find("device")) {
        config.deviceId = device->Word();
    }
    if (const auto delta = fields.Find("delta")) {
        config.delta = delta->Flag();
    }
}

// The field of a display at "NAME" or "timing/NAME"; the step where the script leaves it out.
Node FieldAt(const Node& step, const std::string& path) {
    Node node = step;
    for (size_t start = 0; start < path.size();) {
        const size_t end = std::min(path.find('/', start), path.size());
        const auto child = Fields(node).Find(path.substr(start, end - start));
        if (!child) {
            return node;
        }
        node = *child;
        start = end + 1;
    }
    return node;
}

StepPlan ReadDisplay(Fields& fields, Names& names) {
    host::DisplayConfig config;
    const std::string name = names.Declare(NameKind::Display, fields["name"]);
    const auto number = [&](const char* field, uint32_t& out, uint32_t low = 0,
                            uint32_t high = ~0u) {
        if (const auto found = fields.Find(field)) {
            out = found->Number(low, high);
        }
    };
    const auto flag = [&](const char* field, bool& out) {
        if (const auto found = fields.Find(field)) {
            out = found->Flag();
        }
    };
    ReadChip(fields, config);
    number("width", config.width, 1, 8191);
    number("height", config.height, 1, 2048);
    number("bits", config.bits, 1, 32);
    number("number", config.number, 0, ~0u);
    flag("primary", config.primary);
    flag("agp", config.agp);
    if (const auto revision = fields.Find("revision")) {
        config.revision = revision->Word();
    }
    number("dmaBuffers", config.dmaBufferCount);
    number("dmaBufferBytes", config.dmaBufferBytes);
    if (const auto flags = fields.Find("chipFlags")) {
        config.chipFlags = flags->Word();
    }
    flag("noDCI", config.noDCI);
    number("refreshRate", config.refreshRate);
    if (const auto registryName = fields.Find("registryName")) {
        config.registryName = registryName->Name();
    }
    if (const auto registry = fields.Find("registry")) {
        Fields values(*registry);
        for (const auto& [value, text] : values.All()) {
            config.registry[value] = text.Text();
        }
    }
    number("frameBufferBytes", config.frameBufferBytes);
    number("localBufferBytes", config.localBufferBytes);
    if (const auto timing = fields.Find("timing")) {
        ReadTiming(*timing, config.timing);
    }
    const auto checked = [step = fields.Object()](const auto& action) {
        try {
            action();
        } catch (const host::ConfigError& error) {
            FieldAt(step, error.field).Fail(error.what());
        } catch (const std::invalid_argument& error) {
            step.Fail(error.what());
        }
    };
    checked([&] { host::CheckConfig(config); });
    return {[=](Player& player, Outcome&) {
                // The options of the replay may ask for more.
                checked([&] { player.AddDisplay(name, config); });
            },
            Only({})};
}

StepPlan ReadStart(Fields& fields, Names& names) {
    const std::string name = names.DisplayOf(fields);
    return {[name](Player& player, Outcome& outcome) {
                PlayedDisplay& one = player.Display(name);
                const bool started = one.display->Start();
                if (started && !one.directDraw) { // each process that uses the display starts it
                    one.directDraw = std::make_unique<host::DirectDraw>(*one.display);
                }
                outcome.Set("result", started ? DD_OK : DDERR_GENERIC);
            },
            Only({{"result", FieldKind::Result}}), true};
}

struct InfoKind {
    std::string_view name;
    GUID guid;
    const RecordType& (*table)(); // null: nobody answers
};

constexpr InfoKind kInfos[] = {
    {"GUID_MiscellaneousCallbacks", GUID_MiscellaneousCallbacks,
     RecordOf<DDHAL_DDMISCELLANEOUSCALLBACKS>},
    {"GUID_D3DCallbacks2", GUID_D3DCallbacks2, RecordOf<D3DHAL_CALLBACKS2>},
    {"GUID_KernelCallbacks", GUID_KernelCallbacks, RecordOf<DDHAL_DDKERNELCALLBACKS>},
    {"GUID_VideoPortCallbacks", GUID_VideoPortCallbacks, nullptr},
    {"GUID_VideoPortCaps", GUID_VideoPortCaps, nullptr},
};

StepPlan ReadDriverInfo(Fields& fields, Names& names) {
    const std::string display = names.DisplayOf(fields);
    const Node guid = fields["guid"];
    const auto info = std::ranges::find(kInfos, guid.Name(), &InfoKind::name);
    if (info == std::end(kInfos)) {
        guid.Fail(fmt::format("unknown GUID '{}'", guid.Text()));
    }
    constexpr uint32_t kRoom = 256;
    const RecordType* table = info->table != nullptr ? &info->table() : nullptr;
    uint32_t expected = table != nullptr ? table->size : kRoom;
    if (const auto bytes = fields.Find("expectedSize")) {
        expected = bytes->Number(0, kRoom);
    }
    return {[display, guid = info->guid, table, expected](Player& player, Outcome& outcome) {
                host::DirectDraw& directDraw = player.DirectDraw(display);
                uint8_t room[kRoom] = {};
                uint32_t actual = 0;
                const host::HalAnswer answer =
                    directDraw.GetDriverInfo(guid, room, expected, &actual);
                outcome.Set("handled", answer.handled);
                outcome.Set("ddRVal", answer.result);
                outcome.Set("dwActualSize", actual);
                if (table != nullptr) {
                    outcome.SetRecord(*table, room, "table.");
                }
            },
            [table](const std::string& field) -> std::optional<FieldKind> {
                if (table != nullptr && field.starts_with("table.")) {
                    if (const auto place = FindField(*table, field.substr(6))) {
                        return place->kind;
                    }
                }
                return Only({{"handled", FieldKind::Flag},
                             {"ddRVal", FieldKind::Result},
                             {"dwActualSize", FieldKind::Word}})(field);
            }};
}

StepPlan ReadRefuse(Fields& fields, Names&) {
    uint32_t memory = 0, skip = 0, contextBlocks = 0;
    if (const auto found = fields.Find("memory")) {
        memory = found->Number(0, ~0u);
    }
    if (const auto found = fields.Find("skip")) {
        skip = found->Number(0, ~0u);
    }
    if (const auto found = fields.Find("contextBlocks")) {
        contextBlocks = found->Number(0, ~0u);
    }
    return {[=](Player&, Outcome&) {
                host::TheMiniVdd().RefuseMemory(memory, skip);
                host::TheMiniVdd().RefuseContextBlocks(contextBlocks);
            },
            Only({})};
}

StepPlan ReadAgp(Fields& fields, Names& names) {
    const std::string display = names.DisplayOf(fields);
    const uint32_t bytes = fields["bytes"].Number(4096, 64 * kMegabytes);
    return {[=](Player& player, Outcome& outcome) {
                host::DirectDraw& directDraw = player.DirectDraw(display);
                if (!directDraw.AgpMemory().empty()) {
                    throw NotThereError(
                        fmt::format("display '{}' has its AGP memory already", display));
                }
                outcome.Set("taken", directDraw.EnableAgp(bytes));
            },
            Only({{"taken", FieldKind::Flag}})};
}

constexpr StepKind kBringUpSteps[] = {
    {"display", ReadDisplay}, {"start", ReadStart}, {"driverInfo", ReadDriverInfo},
    {"refuse", ReadRefuse},   {"agp", ReadAgp},
};

} // namespace

std::span<const StepKind> BringUpSteps() {
    return kBringUpSteps;
}

} // namespace korv
