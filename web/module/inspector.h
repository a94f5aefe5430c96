#pragma once
// A capture, or raw words, on a bare board: where one may go in it, and what is there.
#include "stream/board_state.h"
#include "stream/source.h"
#include "tools/korv/commands/cli/stream_pictures.h"

#include <nlohmann/json.hpp>

#include <memory>
#include <sstream>
#include <string>

namespace web {

using Json = nlohmann::ordered_json;

class Inspector {
  public:
    // Opens a capture and goes to its start. StreamError if it is none, or damaged at its head.
    explicit Inspector(std::string bytes);

    // "chip", "maker", "total" (a position, as of Here()), "cutOff", and "damage": what is wrong
    // with a stream that cannot be played to its end, empty for nothing.
    Json About();
    // What there is to step by, in order: the objects of `korv dump --summary --json`.
    Json Timeline();
    // Goes to a place, back or forth. StreamError for text that names no place, or one that is not
    // there.
    void Go(const std::string& place);
    // "event", "word", "call", "batch", "frame", "step": what lies before; and "surfaces" by name,
    // "reads" that differ from the recorded ones, "microseconds".
    Json Here();
    // The surface of that name; what was drawn to, for no name; `depth`: the Z buffer. UserError if
    // there is none.
    host::Picture Picture(const std::string& surface, bool depth);
    // A part of a memory ("frame", "local") as a picture: `offset` and `pitch` in bytes, `bits` a
    // pixel. UserError for one that is not in the memory.
    host::Picture Memory(const std::string& memory, uint32_t offset, int32_t pitch, uint32_t width,
                         uint32_t height, uint32_t bits);
    // Checksums of the memories and registers, as `korv play --check` compares them.
    Json Checksums();
    // The objects of `korv state --json`, with "meaning" besides.
    Json State();
    // The objects of `korv dump --json` between two places.
    Json Events(const std::string& from, const std::string& to);

  private:
    struct Stage {
        explicit Stage(const std::string& bytes);
        std::istringstream in;
        std::unique_ptr<stream::Source> source;
        stream::Player player;
        korv::StreamPictures pictures;
        // Who wrote which register last.
        void Run(const stream::Place& place);
    };
    std::unique_ptr<stream::Source> Open(std::istringstream& in) const;

    const std::string bytes_;
    std::unique_ptr<Stage> stage_;
    stream::Place here_;
};

} // namespace web
