// Where the beam is, and the time that moves it.
#include "tools/korv/replay/step.h"
#include "tools/korv/replay/steps/answers.h"

namespace korv {

namespace {

StepPlan ReadVerticalBlank(Fields& fields, Names& names) {
    const std::string display = names.DisplayOf(fields);
    const uint32_t flags = fields["flags"].Word();
    return {[=](Player& player, Outcome& outcome) {
                bool inBlank = false;
                Tell(player.DirectDraw(display).WaitForVerticalBlank(flags, &inBlank), outcome);
                outcome.Set("inBlank", inBlank);
            },
            Only({{"handled", FieldKind::Flag},
                  {"result", FieldKind::Result},
                  {"inBlank", FieldKind::Flag}}),
            true};
}

StepPlan ReadScanLine(Fields& fields, Names& names) {
    const std::string display = names.DisplayOf(fields);
    return {[=](Player& player, Outcome& outcome) {
                uint32_t line = 0;
                Tell(player.DirectDraw(display).GetScanLine(&line), outcome);
                outcome.Set("line", line);
            },
            Only({{"handled", FieldKind::Flag},
                  {"result", FieldKind::Result},
                  {"line", FieldKind::Word}}),
            true};
}

StepPlan ReadAdvance(Fields& fields, Names& names) {
    const std::string display = names.DisplayOf(fields);
    const uint32_t microseconds = fields["microseconds"].Number(0, ~0u);
    return {[=](Player& player, Outcome&) {
                player.Display(display).display->Board().Advance(microseconds);
            },
            Only({})};
}

constexpr StepKind kBeamSteps[] = {
    {"verticalBlank", ReadVerticalBlank}, {"scanLine", ReadScanLine}, {"advance", ReadAdvance}};

} // namespace

std::span<const StepKind> BeamSteps() {
    return kBeamSteps;
}

} // namespace korv
