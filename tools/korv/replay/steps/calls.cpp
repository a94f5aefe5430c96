// Raw HAL records: any callback of the driver's tables.
#include "host/driver_module.h"
#include "tools/korv/replay/checks/record_checks.h"
#include "tools/korv/replay/step.h"

#include <fmt/format.h>

namespace korv {

namespace {

StepPlan ReadCall(Fields& fields, Names& names) {
    const std::string display = names.DisplayOf(fields);
    const Node name = fields["name"];
    const CallbackType* callback = FindCallback(name.Name());
    if (callback == nullptr) {
        name.Fail(fmt::format("unknown callback '{}'", name.Text()));
    }
    const RecordType& type = callback->record();
    RecordValues values;
    if (const auto given = fields.Find("fields")) {
        values = ReadRecord(*given, type, names);
    }
    // Fields that the driver fills with handles may be given names.
    std::string texture;
    if (const auto save = fields.Find("texture")) {
        texture = names.Declare(NameKind::Texture, *save);
    }
    if (!texture.empty() && !FindField(type, "dwHandle")) {
        name.Fail(fmt::format("{} makes no texture", callback->name));
    }
    return {[=, &type](Player& player, Outcome& outcome) {
                DriverData* driver = player.Driver(display);
                void* const entry = callback->entry(driver);
                if (entry == nullptr) {
                    throw NotThereError(fmt::format("the driver hands out no {}", callback->name));
                }
                void* const record = player.Scratch(type.size);
                // The runtime's own part of the record, unless the script says otherwise.
                for (const char* global : {"lpDD", "lpDDGbl"}) {
                    if (const auto place = FindField(type, global)) {
                        WriteField(record, *place,
                                   reinterpret_cast<uintptr_t>(
                                       place->kind == FieldKind::Local
                                           ? static_cast<void*>(player.DirectDraw(display).Local())
                                           : player.DirectDraw(display).Global()));
                    }
                }
                if (const auto place = FindField(type, callback->name)) {
                    WriteField(record, *place, reinterpret_cast<uintptr_t>(entry));
                }
                WriteRecord(record, values, player);
                CheckCall(player, *callback, driver, record);
                uint32_t handled;
                {
                    const host::DriverCall call(callback->name.data());
                    handled = reinterpret_cast<DWORD(KORV_STDCALL*)(void*)>(entry)(record);
                }
                outcome.Set("return", handled);
                outcome.SetRecord(type, record);
                if (!texture.empty()) {
                    player.textures[texture] = ReadField(record, *FindField(type, "dwHandle"));
                }
            },
            [&type](const std::string& field) -> std::optional<FieldKind> {
                if (field == "return") {
                    return FieldKind::Word;
                }
                if (const auto place = FindField(type, field)) {
                    return place->kind;
                }
                return {};
            }};
}

constexpr StepKind kCallSteps[] = {{"call", ReadCall}};

} // namespace

std::span<const StepKind> CallSteps() {
    return kCallSteps;
}

} // namespace korv
