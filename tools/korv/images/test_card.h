#pragma once
// A source of video: a test card with a ball that bounces across it.
#include "board/video/video_source.h"

#include <cstdint>
#include <vector>

namespace korv {

class TestCard : public board::VideoSource {
  public:
    // Fields a ball takes from left to right.
    static constexpr uint32_t kRound = 12;
    // Lines and pixels of a line before the picture begins.
    static constexpr uint32_t kBlankLines = 17, kBlankPixels = 155;

    // Pictures of that size, in pixels, at 50 fields a second: bars of white, yellow, cyan, green,
    // magenta, red, blue and black, and below them, in the lowest quarter, the way from black to
    // white. `marksPixels`: the blank pixels are not sent.
    TestCard(uint32_t width, uint32_t height, uint32_t portWidth = 8, bool marksPixels = false);

    board::VideoSignal Signal() const override { return signal_; }
    void SetSignal(const board::VideoSignal& signal) { signal_ = signal; }
    void Line(uint64_t field, uint32_t line, std::vector<uint16_t>& pixels) override;

    // What a pair of pixels has in common is taken from its left one. Y in the low byte, then U,
    // then V.
    uint32_t At(uint64_t field, uint32_t x, uint32_t y) const;

  private:
    uint32_t width_, height_;
    bool marksPixels_;
    board::VideoSignal signal_;
};

} // namespace korv
