#pragma once
// Raw words as a stream: each enters by the FIFO window, and nothing else happens.
#include "stream/source.h"

#include <array>
#include <string_view>

namespace stream {

class RawWordSource final : public Source {
  public:
    // `head` has been read of `in` already.
    RawWordSource(std::istream& in, const board::Config& board, std::string_view head);
    bool Next(Event& event) override;

  private:
    bool Approach(const Place& place) override;
    bool Fill();

    std::istream& in_;
    std::array<char, 1 << 16> buffer_;
    size_t next_ = 0, end_ = 0;
};

} // namespace stream
