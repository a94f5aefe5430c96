#include "stream/decoder_state.h"

#include "board/snapshot.h"

namespace stream {

namespace {

template <class Part>
Part PartIn(std::span<const uint8_t> state, const char* name) {
    Part part;
    std::string error;
    if (const auto snapshot = board::Snapshot::Parse(state, error)) {
        board::StateLoader look(*snapshot, board::StateLoader::Pass::Look);
        look.Within(name, part);
        if (look.Error().empty()) {
            board::StateLoader keep(*snapshot, board::StateLoader::Pass::Keep);
            keep.Within(name, part);
        }
    }
    return part;
}

} // namespace

board::StreamDecoder DecoderIn(std::span<const uint8_t> state) {
    return PartIn<board::StreamDecoder>(state, "decoder");
}

board::RegisterFile RegistersIn(std::span<const uint8_t> state) {
    return PartIn<board::RegisterFile>(state, "registers");
}

} // namespace stream
