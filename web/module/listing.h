#pragma once
// The events of a stream as rows of a list, of which a few are looked at at a time.
#include "stream/dump.h"
#include "web/module/stream_bytes.h"

#include <optional>
#include <string>
#include <vector>

namespace web {

class Listing {
  public:
    // The events that a filter wants: names as of `korv dump --only`, none for all, and `changes`
    // as of --changes. UserError for a name of nothing. `stream` outlives it.
    Listing(const StreamBytes& stream, const std::vector<std::string>& only, bool changes);

    uint64_t Rows() const { return rows_; }
    // Rows from `first` on, at most `most`: the objects of `korv dump --json`.
    Json Fetch(uint64_t first, uint64_t most);
    // The first row at or behind a place; the number of rows if there is none.
    uint64_t RowAt(const stream::Position& at);
    // The nearest row from `first` on, or before it, whose line of event text has `text`, letters
    // of either size. None if there is none.
    std::optional<uint64_t> Find(const std::string& text, uint64_t first, bool backwards) const;

    const stream::EventFilter& Only() const { return options_.only; }
    bool Changes() const { return options_.changes; }

  private:
    static constexpr uint64_t kBlockEvents = 1024;

    const StreamBytes& stream_;
    stream::DumpOptions options_;
    std::vector<uint64_t> blocks_; // rows before each block of events
    uint64_t rows_ = 0;
};

} // namespace web
