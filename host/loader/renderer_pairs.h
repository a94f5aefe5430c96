#pragma once
// The renderers of a KORV32.dll beside those of the linked driver, for those who call them without
// the rest of the driver around.
#include "driver/core/records/d3d_context.h"

#include <string>
#include <vector>

namespace host::loader {

struct RendererPair {
    Renderer linked;
    Renderer dll;
};

// One pair for each renderer that a context of any chip picks: each driver in turn is given the
// same states, so that what it picks draws the same. The DLL is in force afterwards, and its
// renderers stay valid until the next power cycle. They expect the control word that DriverCall
// sets, and call back with a stack that is aligned to 4 bytes only. Throws std::runtime_error as
// DllModule does, or if one renderer has two counterparts.
std::vector<RendererPair> PairRenderers(const std::string& dllPath);

} // namespace host::loader
