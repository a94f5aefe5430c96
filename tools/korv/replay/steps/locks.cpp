// Locks of surfaces.
#include "tools/korv/replay/step.h"
#include "tools/korv/replay/steps/answers.h"

namespace korv {

namespace {

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

constexpr StepKind kLockSteps[] = {{"lock", ReadLock}};

} // namespace

std::span<const StepKind> LockSteps() {
    return kLockSteps;
}

} // namespace korv
