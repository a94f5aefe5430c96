#pragma once
// A machine with one board, set up for drawing: display mode, target, depth buffer, device.
#include "board/recorder.h"
#include "host/client/client_drawing.h"
#include "host/d3d/direct3d.h"
#include "host/ddraw/video_port.h"
#include "host/picture.h"
#include "tools/korv/chips/chips.h"
#include "tools/korv/painting/painter.h"

#include <memory>

namespace korv {

struct Settings {
    Extent size{640, 480};
    int depth = 16;     // bits per pixel: 8, 16 or 32
    bool fifo = false;  // write the stream to the FIFO instead of DMA
    int subBuffers = 0; // of the DMA ring; 0 leaves the number to the driver
    bool flips = false; // draw on the back buffer of a screen of this size
    // Or draw on the visible screen itself, and keep what is to be seen at each flip.
    bool onScreen = false;
    host::BoardProgram program; // whose board it is
};

class Canvas : public Painter {
  public:
    // Switches the machine off and on with that board in it and brings the driver up. One canvas
    // at a time. `recorder`, if there is one, is told what reaches the board, and must outlive the
    // canvas. UserError for what the board cannot hold.
    Canvas(const ChipChoice& chip, const Settings& settings,
           board::BusRecorder* recorder = nullptr);
    ~Canvas() override;

    Extent Size() const override { return settings_.size; }
    bool HasAllBlendFactors() const override { return chip_.allBlendFactors; }
    std::vector<std::string> TextureFormats() const override;
    TextureHandle MakeTexture(const TextureRequest& request) override;
    void Clear(D3DCOLOR colour) override;
    void State(D3DRENDERSTATETYPE type, DWORD value) override;
    void Triangles(std::span<const D3DTLVERTEX> vertices,
                   std::span<const D3DTRIANGLE> triangles) override;
    bool WouldShow(std::span<const D3DTLVERTEX> vertices,
                   std::span<const D3DTRIANGLE> triangles) override;
    ImageHandle MakeImage(const host::Picture& picture) override;
    void Blit(const RECT& to, ImageHandle image, const RECT& from,
              const BlitEffects& effects) override;
    void Fill(const RECT& area, D3DCOLOR colour) override;
    // By DMA, unless the canvas goes without it.
    host::ClientDrawing* Client() override;
    // Keeps a picture of what the monitor shows.
    void Flip() override;
    bool ShowsVideo() const override;
    void PlayVideo(board::VideoSource& source, Extent size, const VideoEffects& effects) override;
    void DrawField(const RECT& to) override;
    void StopVideo() override;

    // Waits for the board and reads the target.
    host::Picture Finish();
    // What the monitor showed after each flip.
    const std::vector<host::Picture>& Frames() const { return frames_; }
    // What went wrong on the board, one line a fault; empty if nothing did.
    std::string Faults();

  private:
    // The formats that the driver announces for textures that can be drawn.
    std::span<const DDSURFACEDESC> Formats() const;
    const DDPIXELFORMAT& FormatFor(const TextureRequest& request) const;
    void FlipScreen();
    // Fills the area unless the driver has done it, as `answer` tells.
    void FinishFill(const host::HalAnswer& answer, host::Surface& surface, const RECT& area,
                    uint32_t value);

    const ChipChoice& chip_;
    Settings settings_;
    std::unique_ptr<host::Display> display_;
    std::unique_ptr<host::DirectDraw> directDraw_;
    host::Surface* primary_ = nullptr;
    host::Surface* target_ = nullptr; // the back buffer where there are flips
    host::Surface* zBuffer_ = nullptr;
    std::unique_ptr<host::Device3D> device_;
    std::unique_ptr<host::ServiceClient> client_;
    std::unique_ptr<host::ClientDrawing> clientDrawing_;
    std::vector<host::Surface*> images_; // by handle
    std::vector<host::Picture> frames_;
    std::unique_ptr<host::VideoPort> videoPort_;
    std::vector<host::Surface*> videoBuffers_;
    Extent videoSize_{}; // of what lies in them
};

// Configuration of a display for `chip`.
host::DisplayConfig DisplayFor(const ChipChoice& chip, const Settings& settings);

// The raw pixel of `colour` in a display format; indexed formats are taken as 3:3:2.
uint32_t RawPixel(D3DCOLOR colour, const DDPIXELFORMAT& format);

// UserError unless a display can have this size at all.
void CheckSize(Extent size);

} // namespace korv
