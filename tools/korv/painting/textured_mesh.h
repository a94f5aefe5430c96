#pragma once
// Meshes with several images.
#include "tools/korv/painting/pipeline.h"
#include "tools/korv/painting/texture_state.h"

#include <span>

namespace korv {

// Draws what shows no image, then what shows each one, with that texture and the other states of
// `state`. `textures` are those of mesh.images; kNoTexture: drawn without.
void DrawTextured(Painter& painter, const Mesh& mesh, const Camera& camera,
                  const DrawOptions& options, std::span<const TextureHandle> textures,
                  TextureState state);

} // namespace korv
