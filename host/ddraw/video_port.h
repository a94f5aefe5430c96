#pragma once
// A video port as the DirectDraw runtime makes one: it builds the port's records and calls the
// driver's entries. No table of the driver holds them, so this works with the linked driver alone.
#include "driver/video/video.h"
#include "host/ddraw/ddraw.h"

#include <vector>

namespace host {

// A port for fields of this size, 8 bits wide, both references high.
DDVIDEOPORTDESC DescribeVideoPort(uint32_t fieldWidth, uint32_t fieldHeight);

// One to three buffers in video memory, a chain with the first one in front. Throws ResultError.
std::vector<Surface*> CreateVideoBuffers(DirectDraw& directDraw, uint32_t width, uint32_t height,
                                         uint32_t count);

class VideoPort {
  public:
    // The driver's opinion of a description. Throws ResultError with a driver that is a DLL.
    static HRESULT CanCreate(DirectDraw& directDraw, const DDVIDEOPORTDESC& description);

    // Asks the driver and creates the port. Throws ResultError when it is refused.
    VideoPort(DirectDraw& directDraw, const DDVIDEOPORTDESC& description);
    ~VideoPort(); // destroys it, running or not
    VideoPort(const VideoPort&) = delete;
    VideoPort& operator=(const VideoPort&) = delete;

    DDRAWI_DDVIDEOPORT_LCL* Local() { return &local_; }

    // Lets the port fill `buffers`. With DDVP_AUTOFLIP in `info` the driver gets them as a list,
    // otherwise the first one, whose chain it walks. `info` may leave its size out.
    HalAnswer Start(const std::vector<Surface*>& buffers, const DDVIDEOPORTINFO& info = {});
    // The same on a port that runs.
    HalAnswer Update(const std::vector<Surface*>& buffers, const DDVIDEOPORTINFO& info = {});
    HalAnswer Stop();

    // The driver goes on to the next buffer.
    HalAnswer Flip();
    HalAnswer FlipStatus();
    // Lets the board's clock run until a field that begins from now on is whole, and flips: what
    // the runtime does at a field's interrupt. The buffer that holds the field; null if the port
    // stops or nothing comes.
    Surface* NextField();
    HalAnswer SignalStatus(uint32_t* status); // a DDVPSQ value
    HalAnswer Line(uint32_t* line);
    HalAnswer Field(bool* field);
    HalAnswer WaitForSync(uint32_t flags);
    HalAnswer Bandwidth();

    // What the driver can connect and convert, asked for as the runtime does: count, then list.
    static std::vector<DDVIDEOPORTCONNECT> Connections(DirectDraw& directDraw);
    std::vector<DDPIXELFORMAT> InputFormats();
    std::vector<DDPIXELFORMAT> OutputFormats(const DDPIXELFORMAT& input);

  private:
    HalAnswer CallUpdate(uint32_t flags, const std::vector<Surface*>& buffers,
                         const DDVIDEOPORTINFO& info);
    template <class Record>
    Record DataOf();

    DirectDraw& directDraw_;
    DDRAWI_DDVIDEOPORT_LCL local_{};
    std::vector<Surface*> buffers_;
    std::vector<DDRAWI_DDRAWSURFACE_INT*> flipInterfaces_;
};

} // namespace host
