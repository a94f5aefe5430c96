// Mode changes.
#include "tools/korv/replay/step.h"

namespace korv {

namespace {

StepPlan ReadMode(Fields& fields, Names& names) {
    const std::string display = names.DisplayOf(fields);
    const uint32_t width = fields["width"].Number(1, 8191);
    const uint32_t height = fields["height"].Number(1, 2048);
    const uint32_t bits = fields["bits"].Number(1, 32);
    return {[=](Player& player, Outcome&) {
                player.DirectDraw(display).ChangeMode(width, height, bits);
            },
            Only({})};
}

constexpr StepKind kModeSteps[] = {{"mode", ReadMode}};

} // namespace

std::span<const StepKind> ModeSteps() {
    return kModeSteps;
}

} // namespace korv
