#pragma once
// What a service client draws: flat rectangles and Gouraud triangles, set up by itself into the
// chip's own words, on every chip alike.
#include "host/client/service_client.h"
#include "host/ddraw/surface.h"

#include <cstdint>
#include <span>

namespace host {

// The piece of video memory that the application gave the client to draw on.
struct ClientTarget {
    uint32_t offset = 0;            // bytes from the start of the frame buffer
    uint32_t pitch = 0;             // pixels; a sum of up to three powers of two from 32 up
    uint32_t width = 0, height = 0; // pixels
    uint32_t bits = 16;             // a pixel: the display's 16 (5:5:5), 24 or 32
};

// A surface in the frame buffer, of the display's depth, that an application hands to the client.
ClientTarget TargetOf(const ServiceClient& client, Surface& surface);

// Colours are 0xRRGGBB.
struct ClientVertex {
    float x = 0, y = 0; // pixels; pixel centres lie at .5
    uint32_t colour = 0;
};

class ClientDrawing {
  public:
    // Draws by `client`, which must outlive it. Throws std::invalid_argument for a pitch that the
    // chip cannot have.
    ClientDrawing(ServiceClient& client, const ClientTarget& target);

    // Sends the state that all drawing here relies on. A hardware context starts with whatever the
    // chip was set to, so this goes first.
    void State();
    // Fills `area`, cut to the target.
    void Rectangle(const RECT& area, uint32_t colour);
    // Corners may lie anywhere within 1024 pixels of the target; drawing is cut to it. Triangles
    // that share an edge share no pixel and leave none.
    void Triangle(const ClientVertex& a, const ClientVertex& b, const ClientVertex& c);
    // Every three are a triangle.
    void Triangles(std::span<const ClientVertex> corners);

    ServiceClient& Client() { return client_; }
    const ClientTarget& Target() const { return target_; }

  private:
    ServiceClient& client_;
    ClientTarget target_;
    uint32_t products_; // FBReadMode
};

// Writes the pixel of `colour` at (`x`, `y`) by hand. The caller holds the lock, and the chip draws
// nothing there meanwhile.
void WritePixel(ServiceClient& client, const ClientTarget& target, uint32_t x, uint32_t y,
                uint32_t colour);

} // namespace host
