#include "tools/korv/capture/trace_listing.h"

#include "tools/korv/base/text.h"

#include <fmt/format.h>
#include <fmt/ostream.h>

namespace korv::trace {

void Listing::WordsUpTo(uint32_t position) {
    for (uint32_t at = log_.read; at != position; ++at) {
        const uint32_t word = log_.words[at % WordLog::kCapacity];
        const uint8_t origin = log_.origins[at % WordLog::kCapacity];
        stream::EventText& text =
            streams_.try_emplace(origin >> WordLog::kStreamShift, out_).first->second;
        if ((origin & WordLog::kByDma) != 0) {
            text.OnDmaWord(word);
        } else {
            text.OnFifoWord(word);
        }
        ++words_;
    }
    log_.read = position;
}

void Listing::TellLost() {
    const uint32_t lost = log_.lost;
    if (lost != lost_) {
        fmt::print(out_, "; {} lost\n", Count(lost - lost_, "word"));
    }
    lost_ = lost;
}

void Listing::Batch() {
    ++batches_;
    const uint32_t before = log_.batchStart - log_.read;
    const uint32_t words = log_.batchEnd - log_.batchStart;
    if (before != 0) {
        fmt::print(out_, "; before batch {}: {}\n", batches_, Count(before, "word"));
    }
    WordsUpTo(log_.batchStart);
    TellLost();
    if (words == 0) {
        fmt::print(out_, "; batch {}: no words\n", batches_);
    } else {
        fmt::print(out_, "; batch {}: context {}, {}\n", batches_, log_.context,
                   Count(words, "word"));
    }
    WordsUpTo(log_.batchEnd);
    out_.flush();
}

void Listing::Rest() {
    const uint32_t words = log_.written - log_.read;
    if (words != 0) {
        fmt::print(out_, "; after the last batch: {}\n", Count(words, "word"));
    }
    WordsUpTo(log_.written);
    TellLost();
    out_.flush();
}

} // namespace korv::trace
