#include "tools/korv/replay/steps/states.h"

#include "tools/korv/replay/constants.h"

#include <fmt/format.h>

#include <bit>

namespace korv {

namespace {

D3DRENDERSTATETYPE ReadType(const Node& node) {
    if (!node.IsText()) {
        return node.Number(0, 0xFFFF);
    }
    const std::string text = node.Text();
    std::string_view name = text;
    constexpr std::string_view kOverride = "OVERRIDE ";
    const bool override = name.starts_with(kOverride);
    if (override) {
        name.remove_prefix(kOverride.size());
    }
    const auto type = ConstantNamed(fmt::format("D3DRENDERSTATE_{}", name));
    if (!type) {
        node.Fail(fmt::format("unknown render state '{}'", name));
    }
    return override ? D3DRENDERSTATE_OVERRIDE(*type) : *type;
}

Bits ReadValue(const Node& node, const Names& names) {
    if (node.IsFlag()) {
        return [value = node.Flag()](Player&) { return uint32_t{value}; };
    }
    if (!node.IsObject()) {
        return [word = node.Word()](Player&) { return word; };
    }
    Fields fields(node);
    Bits bits;
    if (const auto number = fields.Find("float")) {
        bits = ReadBits(*number, FieldKind::Float, names);
    } else {
        bits = ReadBits(fields["texture"], FieldKind::Texture, names);
    }
    fields.Done();
    return bits;
}

StepPlan ReadStatesStep(Fields& fields, Names& names) {
    const std::string context = names.Refer(NameKind::Context, fields["context"]);
    const std::vector<StateValue> states = ReadStates(fields["states"], names);
    return {[=](Player& player, Outcome& outcome) {
                host::Device3D& device = player.Device(context);
                for (const StateValue& state : states) {
                    device.SetState(state.type, state.value(player));
                }
                outcome.Set("result", device.FlushStates());
            },
            Only({{"result", FieldKind::Result}}), true};
}

constexpr StepKind kStateSteps[] = {{"states", ReadStatesStep}};

} // namespace

std::vector<StateValue> ReadStates(const Node& node, const Names& names) {
    std::vector<StateValue> states;
    for (const Node& pair : node.List()) {
        const std::vector<Node> parts = pair.List();
        if (parts.size() != 2) {
            pair.Fail("expected [state, value]");
        }
        states.push_back({ReadType(parts[0]), ReadValue(parts[1], names)});
    }
    return states;
}

std::span<const StepKind> StateSteps() {
    return kStateSteps;
}

} // namespace korv
