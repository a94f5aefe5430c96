#include "tools/korv/painting/textured_mesh.h"

namespace korv {

namespace {

// The triangles that show image `image`, -1 for none.
Mesh PartOf(const Mesh& mesh, int image) {
    Mesh part;
    part.vertices = mesh.vertices;
    for (size_t i = 0; i < mesh.triangles.size(); ++i) {
        if (mesh.imageOf[i] == image) {
            part.triangles.push_back(mesh.triangles[i]);
        }
    }
    return part;
}

} // namespace

void DrawTextured(Painter& painter, const Mesh& mesh, const Camera& camera,
                  const DrawOptions& options, std::span<const TextureHandle> textures,
                  TextureState state) {
    for (int image = -1; image < static_cast<int>(textures.size()); ++image) {
        const Mesh part = PartOf(mesh, image);
        if (part.triangles.empty()) {
            continue;
        }
        state.texture = image < 0 ? kNoTexture : textures[static_cast<size_t>(image)];
        if (state.texture == kNoTexture) {
            ClearTexture(painter);
        } else {
            SetTexture(painter, state);
        }
        DrawMesh(painter, part, camera, options);
    }
}

} // namespace korv
