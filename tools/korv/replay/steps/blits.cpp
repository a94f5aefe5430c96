// Blits and fills.
#include "host/driver_module.h"
#include "tools/korv/replay/checks/record_checks.h"
#include "tools/korv/replay/step.h"
#include "tools/korv/replay/steps/answers.h"

#include <fmt/format.h>

namespace korv {

namespace {

struct ScriptRect {
    Node node;
    RECT rect;
};

// [left, top, right, bottom] in pixels, right and bottom exclusive; left out: the whole surface.
std::optional<ScriptRect> ReadRect(Fields& fields, const char* name) {
    const auto node = fields.Find(name);
    if (!node) {
        return {};
    }
    const std::vector<Node> sides = node->List();
    if (sides.size() != 4) {
        node->Fail("expected [left, top, right, bottom]");
    }
    const auto side = [&](size_t i) { return static_cast<LONG>(sides[i].Word()); };
    return ScriptRect{*node, {side(0), side(1), side(2), side(3)}};
}

// The runtime hands no rectangle to the driver that leads out of its surface.
RECT RectOf(const std::optional<ScriptRect>& rect, const host::Surface& surface) {
    const RECT whole = surface.Whole();
    if (!rect) {
        return whole;
    }
    const RECT& r = rect->rect;
    if (r.left < 0 || r.top < 0 || r.left >= r.right || r.top >= r.bottom ||
        r.right > whole.right || r.bottom > whole.bottom) {
        rect->node.Fail(fmt::format("[{}, {}, {}, {}] is no rectangle of a surface of {} by {}",
                                    r.left, r.top, r.right, r.bottom, whole.right, whole.bottom));
    }
    return r;
}

// A colour key: [low, high] goes into the record, true leaves it to the surface's own.
void ReadKey(Fields& fields, const char* name, DWORD own, DWORD given, DDCOLORKEY DDBLTFX::*key,
             DWORD& flags, DDBLTFX& fx) {
    const auto node = fields.Find(name);
    if (!node) {
        return;
    }
    if (!node->IsArray()) {
        flags |= node->Flag() ? own : 0;
        return;
    }
    const std::vector<Node> ends = node->List();
    if (ends.size() != 2) {
        node->Fail("expected [low, high], or true for the surface's own key");
    }
    flags |= given;
    fx.*key = {ends[0].Word(), ends[1].Word()};
}

// The operation: dwFlags and bltFX as the fields for people say, then as `flags` and `bltFX` do.
struct Operation {
    DWORD flags = 0;
    DDBLTFX fx{};
    RecordValues values; // of bltFX
};

Operation ReadOperation(Fields& fields, bool hasSource, const Names& names) {
    Operation op;
    op.fx.dwSize = sizeof(op.fx);
    const auto word = [&](const char* name, DWORD flag, DWORD& out) {
        if (const auto node = fields.Find(name)) {
            out = node->Word();
            op.flags |= flag;
        }
    };
    const auto flag = [&](const char* name, DWORD flag, DWORD fx) {
        const auto node = fields.Find(name);
        if (node && node->Flag()) {
            op.flags |= flag;
            op.fx.dwDDFX |= fx;
        }
    };
    if (hasSource) {
        op.flags |= DDBLT_ROP;
        op.fx.dwROP = SRCCOPY;
    }
    word("rop", DDBLT_ROP, op.fx.dwROP);
    word("color", DDBLT_COLORFILL, op.fx.dwFillColor);
    word("depth", DDBLT_DEPTHFILL, op.fx.dwFillDepth);
    flag("mirrorLeftRight", DDBLT_DDFX, DDBLTFX_MIRRORLEFTRIGHT);
    flag("mirrorUpDown", DDBLT_DDFX, DDBLTFX_MIRRORUPDOWN);
    flag("async", DDBLT_ASYNC, 0);
    flag("wait", DDBLT_WAIT, 0);
    ReadKey(fields, "sourceKey", DDBLT_KEYSRC, DDBLT_KEYSRCOVERRIDE, &DDBLTFX::ddckSrcColorkey,
            op.flags, op.fx);
    ReadKey(fields, "destKey", DDBLT_KEYDEST, DDBLT_KEYDESTOVERRIDE, &DDBLTFX::ddckDestColorkey,
            op.flags, op.fx);
    if (const auto node = fields.Find("flags")) {
        op.flags = node->Word();
    }
    if (const auto node = fields.Find("bltFX")) {
        op.values = ReadRecord(*node, RecordOf<DDBLTFX>(), names);
    }
    return op;
}

StepPlan ReadBlt(Fields& fields, Names& names) {
    const std::string dest = names.Refer(NameKind::Surface, fields["surface"]);
    std::string source;
    if (const auto node = fields.Find("from")) {
        source = names.Refer(NameKind::Surface, *node);
    }
    const auto destRect = ReadRect(fields, "rect");
    const auto sourceRect = ReadRect(fields, "fromRect");
    if (source.empty() && sourceRect) {
        sourceRect->node.Fail("there is no 'from'");
    }
    const Operation op = ReadOperation(fields, !source.empty(), names);
    const RecordType& type = RecordOf<DDHAL_BLTDATA>();
    RecordValues values;
    if (const auto node = fields.Find("fields")) {
        values = ReadRecord(*node, type, names);
    }
    return {[=, &type](Player& player, Outcome& outcome) {
                host::DirectDraw& directDraw = *player.DisplayOf(dest).directDraw;
                const auto blt = player.Driver(player.DisplayOf(dest).name)->SurfaceCallbacks.Blt;
                if (blt == nullptr) {
                    throw NotThereError("the driver hands out no Blt");
                }
                DDHAL_BLTDATA data{};
                data.lpDD = directDraw.Global();
                host::Surface& to = player.SurfaceWithMemory(dest);
                data.lpDDDestSurface = to.Local();
                data.rDest = data.rOrigDest = RectOf(destRect, to);
                if (!source.empty()) {
                    player.SurfaceOn(player.DisplayOf(dest).name, source);
                    host::Surface& from = player.SurfaceWithMemory(source);
                    data.lpDDSrcSurface = from.Local();
                    data.rSrc = data.rOrigSrc = RectOf(sourceRect, from);
                }
                data.dwFlags = op.flags;
                data.bltFX = op.fx;
                WriteRecord(&data.bltFX, op.values, player);
                data.Blt = blt;
                WriteRecord(&data, values, player);
                CheckCall(player, *FindCallback("Blt"), player.Driver(player.DisplayOf(dest).name),
                          &data);
                const bool handled = host::CallDriver(blt, &data) == DDHAL_DRIVER_HANDLED;
                Tell({handled, data.ddRVal}, outcome);
                outcome.SetRecord(type, &data);
            },
            [&type](const std::string& field) -> std::optional<FieldKind> {
                if (const auto kind = AnswerFields()(field)) {
                    return kind;
                }
                const auto place = FindField(type, field);
                return place ? std::optional(place->kind) : std::nullopt;
            },
            true};
}

using FillCall = host::HalAnswer (host::DirectDraw::*)(host::Surface&, const RECT&, uint32_t);

template <FillCall fill>
StepPlan ReadFill(Fields& fields, Names& names) {
    const std::string name = names.Refer(NameKind::Surface, fields["surface"]);
    const auto rect = ReadRect(fields, "rect");
    const uint32_t value = fields["value"].Word();
    return {[=](Player& player, Outcome& outcome) {
                host::Surface& surface = player.SurfaceWithMemory(name);
                host::DirectDraw& directDraw = *player.DisplayOf(name).directDraw;
                Tell((directDraw.*fill)(surface, RectOf(rect, surface), value), outcome);
            },
            AnswerFields(), true};
}

constexpr StepKind kBlitSteps[] = {
    {"blt", ReadBlt},
    {"colorFill", ReadFill<&host::DirectDraw::ColorFill>},
    {"depthFill", ReadFill<&host::DirectDraw::DepthFill>},
    {"ropFill", ReadFill<&host::DirectDraw::RopFill>},
};

} // namespace

std::span<const StepKind> BlitSteps() {
    return kBlitSteps;
}

} // namespace korv
