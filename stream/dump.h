#pragma once
// A stream as text for people and for programs: all of it, parts, or a line for each thing done.
#include "board/bus/decoder.h"
#include "stream/changes.h"
#include "stream/place.h"
#include "stream/source.h"

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace stream {

// What of the events is told: registers, units of the chip and kinds of events, by their names.
class EventFilter {
  public:
    // Adds a name. False if nothing has it.
    bool Add(std::string_view name);
    // All that there are.
    static std::vector<std::string> Names();

    bool Empty() const { return empty_; }
    // The event itself, whatever register it is for.
    bool HasKind(const Event& event) const;
    bool HasRegister(uint32_t offset) const;

  private:
    bool empty_ = true;
    uint64_t kinds_ = 0; // bit EventKind each
    uint64_t marks_ = 0; // bit MarkKind each
    uint64_t units_ = 0; // bit ChipUnit each
    std::vector<uint32_t> offsets_;
};

// Lets through the events of a stream that a filter wants.
class EventSieve {
  public:
    // `changes`: only writes that give a register another value, and commands. `only` outlives
    // this.
    EventSieve(const EventFilter& only, bool changes) : only_(only), changes_(changes) {}

    // True if nothing is left out.
    bool WantsAll() const { return only_.Empty() && !changes_; }
    // Every event comes by in its order, by one of the two.
    bool Wants(const Event& event);
    void Pass(const Event& event);

  private:
    const EventFilter& only_;
    const bool changes_;
    board::StreamDecoder decoder_;
    Changes held_;
};

struct DumpOptions {
    Place from{Place::Kind::Start, 0, {}}, to{Place::Kind::End, 0, {}};
    EventFilter only;
    bool changes = false; // only writes that give a register another value, and commands
    bool summary = false; // a line for each step, call, batch, primitive and frame
    bool json = false;    // JSON lines
    // What stands around comments and marks, and behind both: escapes of a terminal.
    std::string comment, mark, plain;
};

// Writes what `options` ask for; ends early once `out` fails. `source` stands at its start.
// StreamError for a place that is not there, and for what is wrong with the stream.
void Dump(Source& source, const DumpOptions& options, std::ostream& out);

} // namespace stream
