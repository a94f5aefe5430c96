#pragma once
// Somebody who looks at a scene from where he likes, with states that he chooses.
#include "tools/korv/painting/painter.h"

#include <map>
#include <optional>

namespace web {

// What he chose; everything else is as the scene has it.
struct View {
    korv::Orbit walk{0, 0, 1}; // from the scene's own place
    // None: as the scene has it.
    std::optional<bool> depthTest, fog;
    enum class Blend { Off, Mix, Add };
    std::optional<Blend> blend; // Mix: half of what is drawn, half of what is there
    std::optional<DWORD> filter, shade, fill, cull; // D3DFILTER, D3DSHADE, D3DFILL, D3DCULL
};

// Stands between a scene and the canvas.
class Viewer final : public korv::Painter {
  public:
    // Sets the chosen states. `canvas` outlives the viewer.
    Viewer(korv::Painter& canvas, const View& view);

    korv::Extent Size() const override { return canvas_.Size(); }
    korv::Camera Seen(const korv::Camera& camera) const override;
    bool HasAllBlendFactors() const override { return canvas_.HasAllBlendFactors(); }
    std::vector<std::string> TextureFormats() const override { return canvas_.TextureFormats(); }
    korv::TextureHandle MakeTexture(const korv::TextureRequest& request) override {
        return canvas_.MakeTexture(request);
    }
    void Clear(D3DCOLOR colour) override;
    void State(D3DRENDERSTATETYPE type, DWORD value) override;
    void Triangles(std::span<const D3DTLVERTEX> vertices,
                   std::span<const D3DTRIANGLE> triangles) override;
    bool WouldShow(std::span<const D3DTLVERTEX> vertices,
                   std::span<const D3DTRIANGLE> triangles) override {
        return canvas_.WouldShow(vertices, triangles);
    }
    korv::ImageHandle MakeImage(const host::Picture& picture) override {
        return canvas_.MakeImage(picture);
    }
    void Blit(const RECT& to, korv::ImageHandle image, const RECT& from,
              const korv::BlitEffects& effects) override {
        canvas_.Blit(to, image, from, effects);
    }
    void Fill(const RECT& area, D3DCOLOR colour) override { canvas_.Fill(area, colour); }
    host::ClientDrawing* Client() override { return canvas_.Client(); }
    void Flip() override { canvas_.Flip(); }
    bool ShowsVideo() const override { return canvas_.ShowsVideo(); }
    void PlayVideo(board::VideoSource& source, korv::Extent size,
                   const korv::VideoEffects& effects) override {
        canvas_.PlayVideo(source, size, effects);
    }
    void DrawField(const RECT& to) override { canvas_.DrawField(to); }
    void StopVideo() override { canvas_.StopVideo(); }

  private:
    bool ChangesVertices() const;

    korv::Painter& canvas_;
    const View view_;
    std::map<D3DRENDERSTATETYPE, DWORD> chosen_;
    mutable korv::Camera camera_; // the latest
};

} // namespace web
