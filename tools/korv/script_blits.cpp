// Blits and fills.
#include <fmt/format.h>

#include "tools/korv/script_step.h"

namespace korv {

namespace {

// [left, top, right, bottom] in pixels, right and bottom exclusive; left out: the whole surface.
std::optional<RECT> ReadRect(Fields& fields, const char* name) {
    const auto node = fields.Find(name);
    if (!node)
        return {};
    const std::vector<Node> sides = node->List();
    if (sides.size() != 4)
        node->Fail("expected [left, top, right, bottom]");
    const auto side = [&](size_t i) { return static_cast<LONG>(sides[i].Word()); };
    return RECT{side(0), side(1), side(2), side(3)};
}

RECT RectOf(const std::optional<RECT>& rect, const host::Surface& surface) {
    return rect.value_or(
        RECT{0, 0, static_cast<LONG>(surface.Width()), static_cast<LONG>(surface.Height())});
}

void Tell(const host::HalAnswer& answer, Outcome& outcome) {
    outcome.Set("handled", answer.handled);
    outcome.Set("result", answer.result);
}

const FieldList kAnswer = {{"handled", FieldKind::Flag}, {"result", FieldKind::Result}};

StepPlan ReadBlt(Fields& fields, Names& names) {
    const std::string dest = names.Refer(NameKind::Surface, fields["surface"]);
    const std::string source = names.Refer(NameKind::Surface, fields["from"]);
    const auto destRect = ReadRect(fields, "rect");
    const auto sourceRect = ReadRect(fields, "fromRect");
    host::BltOptions options;
    if (const auto key = fields.Find("sourceKey")) {
        const std::vector<Node> ends = key->List();
        if (ends.size() != 2)
            key->Fail("expected [low, high]");
        options.sourceKey = DDCOLORKEY{ends[0].Word(), ends[1].Word()};
    }
    const auto flag = [&](const char* name, bool& out) {
        if (const auto found = fields.Find(name))
            out = found->Flag();
    };
    flag("mirrorLeftRight", options.mirrorLeftRight);
    flag("mirrorUpDown", options.mirrorUpDown);
    flag("async", options.async);
    return {[=](Player& player, Outcome& outcome) {
                host::Surface &to = player.Surface(dest), &from = player.Surface(source);
                Tell(player.DisplayOf(dest).directDraw->Blt(to, RectOf(destRect, to), from,
                                                            RectOf(sourceRect, from), options),
                     outcome);
            },
            Only(kAnswer), true};
}

using FillCall = host::HalAnswer (host::DirectDraw::*)(host::Surface&, const RECT&, uint32_t);

template <FillCall fill>
StepPlan ReadFill(Fields& fields, Names& names) {
    const std::string name = names.Refer(NameKind::Surface, fields["surface"]);
    const auto rect = ReadRect(fields, "rect");
    const uint32_t value = fields["value"].Word();
    return {[=](Player& player, Outcome& outcome) {
                host::Surface& surface = player.Surface(name);
                host::DirectDraw& directDraw = *player.DisplayOf(name).directDraw;
                Tell((directDraw.*fill)(surface, RectOf(rect, surface), value), outcome);
            },
            Only(kAnswer), true};
}

constexpr StepKind kSteps[] = {
    {"blt", ReadBlt},
    {"colorFill", ReadFill<&host::DirectDraw::ColorFill>},
    {"depthFill", ReadFill<&host::DirectDraw::DepthFill>},
    {"ropFill", ReadFill<&host::DirectDraw::RopFill>},
};

} // namespace

std::span<const StepKind> BlitSteps() {
    return kSteps;
}

} // namespace korv
