#pragma once
// Pictures of what a stream has drawn, as far as it has been played.
#include "host/picture.h"
#include "stream/surfaces.h"

#include <optional>
#include <string>

namespace stream {
class Player;
}

namespace korv {

class StreamPictures {
  public:
    // `file` is the stream's, for messages. `player` must outlive this.
    StreamPictures(stream::Player& player, std::string file)
        : player_(player), file_(std::move(file)) {}

    // The screen of raw words.
    void SetScreen(const stream::SurfaceLayout& screen) { raw_ = screen; }
    // A mark has been played.
    void Follow(const stream::Mark& mark) { surfaces_.Follow(mark); }
    // The player stands elsewhere, and these are there.
    void SetSurfaces(const stream::Surfaces& surfaces) { surfaces_ = surfaces; }

    // The surface of that name. What was drawn to, for no name: that of the latest picture, else
    // the target of the latest context, else the screen; with `depth` the latest context's Z
    // buffer. Of raw words "target" and "depth", as the registers say, and the screen for no name.
    // UserError if there is none.
    stream::SurfaceLayout Drawn(const std::string& name, bool depth = false);
    // What a frame ends with: as above, but the screen's surface before others.
    stream::SurfaceLayout OfFrame(const std::string& name, bool depth);
    host::Picture Picture(const stream::SurfaceLayout& surface);
    // All that there are by now.
    const stream::Surfaces& Surfaces() const { return surfaces_; }

  private:
    stream::SurfaceLayout Screen();
    stream::SurfaceLayout Named(const std::string& name);
    std::string Here() const;

    stream::Player& player_;
    const std::string file_;
    stream::Surfaces surfaces_;
    std::optional<stream::SurfaceLayout> raw_;
};

} // namespace korv
