#pragma once
// How often a board writes each byte of its memories.
#include "board/values/probe.h"
#include "stream/surfaces.h"

#include <cstdint>
#include <vector>

namespace stream {

class Overdraw final : public board::PixelProbe {
  public:
    // Sizes of the memories in bytes.
    Overdraw(size_t frameBytes, size_t localBytes) : frame_(frameBytes), local_(localBytes) {}

    // Whether writes count from now on.
    void SetCounting(bool counting) { counting_ = counting; }
    // From nothing again.
    void Clear();
    // Writes of each pixel of a surface, row by row, 65535 for more; of its most written byte.
    // StreamError if it does not lie in one of the memories.
    std::vector<uint16_t> Of(const SurfaceLayout& surface) const;

    void OnPixel(const board::PixelReport& pixel) override;

  private:
    std::vector<uint16_t> frame_, local_; // by byte
    bool counting_ = true;
};

} // namespace stream
