#pragma once
// What the video port must do, worked out from the steps: which line of which field comes to lie
// where, and what the port answers. It moves with the board's clock and knows the source's lines,
// and neither the driver's records nor the board's port.
#include "tools/korv/random/pixels.h"
#include "tools/korv/random/session.h"
#include "tools/korv/replay/player.h"
#include "tools/korv/replay/step.h"

#include <array>
#include <optional>
#include <string>
#include <vector>

namespace korv::random {

class PortModel {
  public:
    void Before(const Step& step, Player& player);
    // What is wrong behind the step, if anything.
    std::optional<std::string> Problem(const Step& step, Player& player, const Outcome& outcome);

  private:
    struct Buffer {
        std::string name;
        Pixels pixels; // as they are before a step, and must be behind it
    };

    void Follow(const Step& step, Player& player);
    void Start(const Step& fields, Player& player);
    std::optional<std::string> Answer(const Step& step, Player& player,
                                      const Outcome& outcome) const;
    // Lets the clock go on.
    void Run(Player& player, uint64_t until);
    void Store(board::VideoSource& source, uint64_t field, uint32_t line, uint32_t width);
    bool Inverted() const;
    bool Understands(const board::VideoSignal& signal) const;

    std::string display_;                    // of the port; empty: none was created
    std::array<uint32_t, 18> description_{}; // DDVIDEOPORTDESC
    uint32_t flags_ = 0;                     // DDVP_
    uint32_t scaleX_ = 0, scaleY_ = 0, lines_ = 0;
    bool on_ = false;
    bool plugged_ = false;
    std::vector<Buffer> buffers_;
    uint32_t next_ = 0;              // buffer of the next field
    std::optional<uint32_t> filled_; // now
    uint32_t last_ = 0;              // that was or is filled
    uint32_t line_ = 0;
    uint64_t now_ = 0; // microseconds
};

// Whether a session asks something of the port, whose entries only the linked driver hands out.
bool UsesVideoPort(const Steps& steps);

} // namespace korv::random
