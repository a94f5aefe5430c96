// Flips, and whether flips and blits are done.
#include "tools/korv/replay/step.h"
#include "tools/korv/replay/steps/answers.h"

#include <fmt/format.h>

namespace korv {

namespace {

StepPlan ReadFlip(Fields& fields, Names& names) {
    const std::string from = names.Refer(NameKind::Surface, fields["surface"]);
    const std::string to = names.Refer(NameKind::Surface, fields["to"]);
    return {[=](Player& player, Outcome& outcome) {
                host::Surface &shown = player.SurfaceWithMemory(from),
                              &next = player.SurfaceWithMemory(to);
                if (!shown.FlipsWith(next)) {
                    throw NotThereError(fmt::format(
                        "surfaces '{}' and '{}' are not of one chain that flips", from, to));
                }
                Tell(player.DisplayOf(from).directDraw->Flip(shown, next), outcome);
            },
            AnswerFields(), true};
}

using StatusCall = host::HalAnswer (host::DirectDraw::*)(host::Surface&, uint32_t);

template <StatusCall ask>
StepPlan ReadStatus(Fields& fields, Names& names) {
    const std::string name = names.Refer(NameKind::Surface, fields["surface"]);
    const uint32_t flags = fields["flags"].Word();
    return {[=](Player& player, Outcome& outcome) {
                host::DirectDraw& directDraw = *player.DisplayOf(name).directDraw;
                Tell((directDraw.*ask)(player.Surface(name), flags), outcome);
            },
            AnswerFields(), true};
}

constexpr StepKind kFlipSteps[] = {
    {"flip", ReadFlip},
    {"bltStatus", ReadStatus<&host::DirectDraw::GetBltStatus>},
    {"flipStatus", ReadStatus<&host::DirectDraw::GetFlipStatus>},
};

} // namespace

std::span<const StepKind> FlipSteps() {
    return kFlipSteps;
}

} // namespace korv
