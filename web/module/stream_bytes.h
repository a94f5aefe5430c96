#pragma once
// A stream that the page has handed in: a capture, or raw words with what these do not say.
#include "stream/player.h"
#include "stream/source.h"
#include "stream/surfaces.h"

#include <nlohmann/json.hpp>

#include <memory>
#include <optional>
#include <sstream>
#include <string>

namespace web {

using Json = nlohmann::ordered_json;

// What raw words are for.
struct RawScreen {
    std::string chip;
    uint32_t width = 640, height = 480; // pixels
    uint32_t bits = 16;                 // a pixel: 8, 16 or 32
    uint32_t base = 0;                  // bytes, in the frame buffer
};

struct StreamBytes {
    std::string bytes;
    std::optional<RawScreen> raw; // none: a capture
};

// That stream, from its start.
struct OpenedStream {
    // StreamError for what is none; UserError for raw words of a chip that is none. `stream`
    // outlives it.
    explicit OpenedStream(const StreamBytes& stream);
    std::istringstream in;
    std::unique_ptr<stream::Source> source;
};

// Sets the player's board up for raw words; their screen. None for a capture, and nothing is done.
std::optional<stream::SurfaceLayout> SetUpRaw(const StreamBytes& stream, stream::Player& player);

} // namespace web
