#pragma once
// Render states that leave nothing open: what the reference rasteriser knows, and a `states` step.
#include "tools/korv/random/session.h"
#include "tools/korv/reference/reference.h"

#include <optional>
#include <string>

namespace korv::random {

// A state for triangles. Its texture is told by the name of its handle; none: empty.
struct KnownState {
    reference::DrawState state;
    std::string texture;
};

// Render states, as a `states` step takes them, that leave nothing else to what was set before.
// With depth any depth passes: what lies in the buffer does not matter.
Step StatesOf(const KnownState& known);

// The same from such a list. None for a list of others.
std::optional<KnownState> KnownStateOf(const Step& states);

} // namespace korv::random
