#pragma once
// A capture, or raw words, on a bare board: where one may go in it, and what is there.
#include "host/picture.h"
#include "web/module/listing.h"
#include "web/module/walk.h"

#include <string>

namespace web {

class Inspector {
  public:
    // Opens a stream and goes to its start. StreamError if it is none, or damaged at its head.
    explicit Inspector(StreamBytes stream);

    // "chip", "maker", "total" (a position, as of Here()), "cutOff", and "damage": what is wrong
    // with a stream that cannot be played to its end, empty for nothing.
    Json About() const { return about_; }
    // What there is to step by, in order: the objects of `korv dump --summary --json`.
    Json Timeline();
    // Goes to a place, back or forth. StreamError for text that names no place, or one that is not
    // there. The end of a damaged stream is where it is good up to.
    void Go(const std::string& place);
    // "event", "word", "call", "batch", "frame", "step": what lies before; "begins": which of these
    // begin here; "surfaces" by name, and "drawn", the one that was drawn to, and "depth", the name
    // of its Z buffer, or null; "differences": reads that were not the recorded ones;
    // "microseconds".
    Json Here();
    // {"count", "bytes", "ceiling"}: of the places that this can come back to at once.
    Json Checkpoints() const {
        return {{"count", walk_->Checkpoints()},
                {"bytes", walk_->CheckpointBytes()},
                {"ceiling", Walk::kMostBytes}};
    }
    // The surface of that name; what was drawn to, for no name; `depth`: the Z buffer. UserError if
    // there is none.
    host::Picture Picture(const std::string& surface, bool depth);
    // How often each pixel of that surface was written since a place, as of `korv play --overdraw`.
    host::Picture Overdraw(const std::string& surface, const std::string& from);
    // Outlines of what was drawn on it since then over a dim picture of it, those of the latest
    // primitive brightest.
    host::Picture Wires(const std::string& surface, const std::string& from);
    // A part of a memory ("frame", "local") as a picture: `offset` and `pitch` in bytes; `format`
    // is one of kMemoryFormats. UserError for one that is not in the memory.
    host::Picture Memory(const std::string& memory, uint32_t offset, int32_t pitch, uint32_t width,
                         uint32_t height, const std::string& format);
    // Their names.
    static Json MemoryFormats();
    // Checksums of the memories and registers, as `korv play --check` compares them.
    Json Checksums();
    // The object of `korv state --json`.
    Json State() { return ToJson(walk_->State()); }
    // {"text"}: event text of what the list has, between two places.
    Json Text(const std::string& from, const std::string& to);
    // The object of `korv why --json`, of the whole stream.
    Json Why(const std::string& surface, uint32_t x, uint32_t y);

    // A list of events to look through (listing.h): {"rows"}. `only` has names between commas.
    Json List(const std::string& only, bool changes);
    Json Rows(uint64_t first, uint64_t most);
    // {"row"}: of the place where this stands; of the next one with a text, null for none.
    Json RowHere();
    Json FindRow(const std::string& text, uint64_t first, bool backwards);

  private:
    Listing& TheListing();
    stream::SurfaceLayout Drawn(const std::string& surface);

    const StreamBytes stream_;
    Json about_;
    std::unique_ptr<Walk> walk_;
    std::unique_ptr<Listing> listing_;
};

} // namespace web
