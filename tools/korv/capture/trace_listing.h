#pragma once
// The listing of a trace: event text of the words, with a comment line in front of each batch.
#include "stream/events.h"
#include "tools/korv/capture/word_log.h"

#include <map>
#include <ostream>

namespace korv::trace {

class Listing {
  public:
    // Both must outlive the listing.
    Listing(WordLog& log, std::ostream& out) : log_(log), out_(out) {}

    // Lists the batch that was just reported, and what came before it.
    void Batch();
    // Lists what is left once the traced program has ended.
    void Rest();

    uint32_t Batches() const { return batches_; }
    uint64_t Words() const { return words_; }

  private:
    void WordsUpTo(uint32_t position);
    void TellLost();

    WordLog& log_;
    std::ostream& out_;
    std::map<uint32_t, stream::EventText> streams_; // by board; each has its own place in a group
    uint32_t batches_ = 0, lost_ = 0;
    uint64_t words_ = 0;
};

} // namespace korv::trace
