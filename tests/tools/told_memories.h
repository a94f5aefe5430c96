#pragma once
// A board's memories by what a probe and the stream's own stores tell alone.
#include "board/values/probe.h"
#include "stream/player.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace korv {

class ToldMemories final : public board::PixelProbe {
  public:
    explicit ToldMemories(stream::Player& player)
        : board_(player.Board()), frame_(board_.FrameBuffer().size()),
          local_(board_.LocalBuffer().size()) {
        board_.SetProbe(this);
    }
    ~ToldMemories() override { board_.SetProbe(nullptr); }

    void OnPixel(const board::PixelReport& pixel) override {
        for (const board::PixelElement* element : {&pixel.depth, &pixel.colour}) {
            if (element->bytes != 0) {
                std::memcpy((element->local ? local_ : frame_).data() + element->place,
                            &element->after, element->bytes);
            }
        }
    }
    void Follow(const stream::Event& event) {
        if (event.kind == stream::EventKind::Store && event.memory != stream::Memory::Host) {
            auto& memory = event.memory == stream::Memory::LocalBuffer ? local_ : frame_;
            std::ranges::copy(event.bytes, memory.begin() + event.offset);
        }
    }
    bool AreTheBoards() const {
        return std::ranges::equal(frame_, board_.FrameBuffer()) &&
               std::ranges::equal(local_, board_.LocalBuffer());
    }

  private:
    board::Board& board_;
    std::vector<uint8_t> frame_, local_;
};

} // namespace korv
