#pragma once
// Scenes that draw a picture after the other.
#include "tools/korv/painting/canvas.h"
#include "tools/korv/scenes/scene.h"

namespace korv {

// What a canvas is set up with to draw the scene on it: `settings`, but for a film, which has small
// screens, so that all its frames together make a picture like others.
Settings SettingsFor(const Scene& scene, Settings settings);

} // namespace korv
