// Mode changes and the passing of time.
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

StepPlan ReadAdvance(Fields& fields, Names& names) {
    const std::string display = names.DisplayOf(fields);
    const uint32_t microseconds = fields["microseconds"].Number(0, ~0u);
    return {[=](Player& player, Outcome&) {
                player.Display(display).display->Board().Advance(microseconds);
            },
            Only({})};
}

constexpr StepKind kModeSteps[] = {{"mode", ReadMode}, {"advance", ReadAdvance}};

} // namespace

std::span<const StepKind> ModeSteps() {
    return kModeSteps;
}

} // namespace korv
