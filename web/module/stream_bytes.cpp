#include "web/module/stream_bytes.h"

#include "tools/korv/commands/cli/raw_board.h"

namespace web {

OpenedStream::OpenedStream(const StreamBytes& stream)
    : in(stream.bytes, std::ios::binary | std::ios::in),
      source(stream::OpenSource(in, stream.raw ? std::optional(korv::BoardFor(stream.raw->chip))
                                               : std::nullopt)) {}

std::optional<stream::SurfaceLayout> SetUpRaw(const StreamBytes& stream, stream::Player& player) {
    if (!stream.raw) {
        return std::nullopt;
    }
    const RawScreen& raw = *stream.raw;
    return korv::SetUpScreen(player, raw.chip, raw.width, raw.height, raw.bits, raw.base);
}

} // namespace web
