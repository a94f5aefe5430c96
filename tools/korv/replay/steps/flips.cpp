// Flips, locks, and questions about the chip and the beam.
#include "tools/korv/replay/step.h"
#include "tools/korv/replay/steps/answers.h"

namespace korv {

namespace {

StepPlan ReadFlip(Fields& fields, Names& names) {
    const std::string from = names.Refer(NameKind::Surface, fields["surface"]);
    const std::string to = names.Refer(NameKind::Surface, fields["to"]);
    return {
        [=](Player& player, Outcome& outcome) {
            Tell(player.DisplayOf(from).directDraw->Flip(player.Surface(from), player.Surface(to)),
                 outcome);
        },
        AnswerFields(), true};
}

StepPlan ReadLock(Fields& fields, Names& names) {
    const std::string name = names.Refer(NameKind::Surface, fields["surface"]);
    const uint32_t flags = fields.Has("flags") ? fields["flags"].Word() : DDLOCK_WAIT;
    std::optional<RECT> rect;
    if (const auto node = fields.Find("rect")) {
        const std::vector<Node> sides = node->List();
        if (sides.size() != 4) {
            node->Fail("expected [left, top, right, bottom]");
        }
        const auto side = [&](size_t i) { return static_cast<LONG>(sides[i].Word()); };
        rect = RECT{side(0), side(1), side(2), side(3)};
    }
    return {[=](Player& player, Outcome& outcome) {
                void* bytes = nullptr;
                Tell(player.DisplayOf(name).directDraw->Lock(player.Surface(name), &bytes,
                                                             rect ? &*rect : nullptr, flags),
                     outcome);
                outcome.Set("address", reinterpret_cast<uintptr_t>(bytes));
            },
            Only({{"handled", FieldKind::Flag},
                  {"result", FieldKind::Result},
                  {"address", FieldKind::Address}}),
            true};
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

constexpr StepKind kFlipSteps[] = {
    {"flip", ReadFlip},
    {"lock", ReadLock},
    {"bltStatus", ReadStatus<&host::DirectDraw::GetBltStatus>},
    {"flipStatus", ReadStatus<&host::DirectDraw::GetFlipStatus>},
    {"verticalBlank", ReadVerticalBlank},
    {"scanLine", ReadScanLine},
};

} // namespace

std::span<const StepKind> FlipSteps() {
    return kFlipSteps;
}

} // namespace korv
