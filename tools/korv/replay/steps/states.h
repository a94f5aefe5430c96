#pragma once
// Render states as scripts give them.
#include "tools/korv/replay/step.h"

namespace korv {

struct StateValue {
    D3DRENDERSTATETYPE type;
    Bits value;
};

// Reads a list of [state, value] pairs: states by name ("CULLMODE", "OVERRIDE CULLMODE") or number,
// values as numbers, names, true or false, {"float": 0.5} or {"texture": "name"}.
std::vector<StateValue> ReadStates(const Node& node, const Names& names);

} // namespace korv
