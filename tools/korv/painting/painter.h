#pragma once
// What scenes and models are drawn on.
#include "board/video/video_source.h"
#include "driver/platform/d3dhal.h"
#include "host/picture.h"
#include "tools/korv/model/camera.h"

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace host {
class ClientDrawing;
}

namespace korv {

// What a texture is made of.
struct TextureRequest {
    host::Picture image;               // its sides are powers of two
    std::string format;                // one of TextureFormats(); empty for one that suits
    bool mipMapped = false;            // with smaller levels below
    std::optional<D3DCOLOR> colourKey; // texels of this colour are not drawn
};

// A value of D3DRENDERSTATE_TEXTUREHANDLE.
using TextureHandle = DWORD;
constexpr TextureHandle kNoTexture = 0;

// A picture in video memory, for Blit.
using ImageHandle = size_t;

struct BlitEffects {
    bool mirrorLeftRight = false, mirrorUpDown = false;
    std::optional<D3DCOLOR> colourKey = {}; // pixels of this colour are left out
};

// What the video port does to a picture on its way into memory.
struct VideoEffects {
    bool mirrorLeftRight = false, mirrorUpDown = false;
    bool halved = false; // in width and height
};

// A colour target with a depth buffer of the same size and the device that draws into them. Calls
// between the start and the end of a scene reach the device in order.
class Painter {
  public:
    virtual ~Painter() = default;

    virtual Extent Size() const = 0;
    // The camera that stands for a scene's: a painter may let somebody walk around what is drawn.
    virtual Camera Seen(const Camera& camera) const { return camera; }
    // All factors of Direct3D's blending exist; otherwise only those of a chip without them.
    virtual bool HasAllBlendFactors() const = 0;
    // Names of the formats that the device announces (see TexelFormatName); none on a device
    // without textures.
    virtual std::vector<std::string> TextureFormats() const = 0;

    // Loads a texture, which lasts as long as the painter. UserError for what the device cannot
    // have.
    virtual TextureHandle MakeTexture(const TextureRequest& request) = 0;

    // Fills the target with `colour` and the depth buffer with the farthest depth.
    virtual void Clear(D3DCOLOR colour) = 0;
    virtual void State(D3DRENDERSTATETYPE type, DWORD value) = 0;
    // `triangles` index into `vertices`.
    virtual void Triangles(std::span<const D3DTLVERTEX> vertices,
                           std::span<const D3DTRIANGLE> triangles) = 0;
    // Whether any pixel of these triangles would pass the depth test. Draws nothing.
    virtual bool WouldShow(std::span<const D3DTLVERTEX> vertices,
                           std::span<const D3DTRIANGLE> triangles) = 0;

    // Loads a picture of an even width, which lasts as long as the painter. UserError for what the
    // board cannot hold.
    virtual ImageHandle MakeImage(const host::Picture& picture) = 0;
    // Draws the part `from` of an image, in its pixels, to `to` in the target, stretched to its
    // size. Both lie inside. Stretches and effects are for chips that have them alone.
    virtual void Blit(const RECT& to, ImageHandle image, const RECT& from,
                      const BlitEffects& effects = {}) = 0;
    // Fills a part of the target.
    virtual void Fill(const RECT& area, D3DCOLOR colour) = 0;
    // Another client of the board, by the driver's exported services, that draws on the same target
    // under a hardware context of its own. Null where it can't run, as in modes of 8 bits.
    virtual host::ClientDrawing* Client() = 0;
    // Shows what was drawn on the monitor, and goes on with an undefined picture. Only where the
    // target can be shown.
    virtual void Flip() = 0;

    // Whether the board and its mode can show video.
    virtual bool ShowsVideo() const = 0;
    // Plugs `source` into the board's video port until StopVideo(), or changes what is done to its
    // pictures of `size` pixels. Only where ShowsVideo().
    virtual void PlayVideo(board::VideoSource& source, Extent size,
                           const VideoEffects& effects) = 0;
    // Draws the next whole field to `to` in the target, stretched to its size.
    virtual void DrawField(const RECT& to) = 0;
    // Does nothing without video.
    virtual void StopVideo() = 0;
};

} // namespace korv
