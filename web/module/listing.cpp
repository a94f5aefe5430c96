#include "web/module/listing.h"

#include "stream/capture_text.h"
#include "stream/error.h"
#include "tools/korv/base/errors.h"
#include "tools/korv/base/text.h"
#include "web/module/json_lines.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>

namespace web {

namespace {

std::string Lower(std::string text) {
    for (char& c : text) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return text;
}

// Events one by one with what lies before each, as far as the stream is good: take(event, at)
// returns false to end it.
template <class Take>
void ForEach(const StreamBytes& stream, Take&& take) {
    OpenedStream opened(stream);
    stream::Event event;
    try {
        while (true) {
            const stream::Position at = opened.source->At();
            if (!opened.source->Next(event) || !take(event, at)) {
                return;
            }
        }
    } catch (const stream::StreamError&) {
        // About() tells of it.
    }
}

} // namespace

Listing::Listing(const StreamBytes& stream, const std::vector<std::string>& only, bool changes)
    : stream_(stream) {
    options_.json = true;
    options_.changes = changes;
    for (const std::string& name : only) {
        if (!options_.only.Add(name)) {
            throw korv::UserError(fmt::format(
                "nothing is called '{}': expected a register, a unit of the chip, or what a line "
                "of a dump begins with",
                name));
        }
    }
    stream::EventSieve sieve(options_.only, options_.changes);
    ForEach(stream_, [&](const stream::Event& event, const stream::Position& at) {
        while (at.event >= blocks_.size() * kBlockEvents) {
            blocks_.push_back(rows_);
        }
        rows_ += sieve.Wants(event) ? 1 : 0;
        return true;
    });
}

Json Listing::Fetch(uint64_t first, uint64_t most) {
    Json list = Json::array();
    if (first >= rows_ || most == 0) {
        return list;
    }
    const uint64_t end = first + std::min(most, rows_ - first);
    const auto block = static_cast<size_t>(std::upper_bound(blocks_.begin(), blocks_.end(), first) -
                                           blocks_.begin() - 1);
    const auto last = static_cast<size_t>(std::lower_bound(blocks_.begin(), blocks_.end(), end) -
                                          blocks_.begin());
    options_.from = {stream::Place::Kind::Event, block * kBlockEvents, {}};
    options_.to = last < blocks_.size()
                      ? stream::Place{stream::Place::Kind::Event, last * kBlockEvents, {}}
                      : stream::Place{stream::Place::Kind::End, 0, {}};
    OpenedStream opened(stream_);
    Json lines = DumpLines(*opened.source, options_);
    for (uint64_t row = first; row < end && row - blocks_[block] < lines.size(); ++row) {
        list.push_back(std::move(lines[static_cast<size_t>(row - blocks_[block])]));
    }
    return list;
}

uint64_t Listing::RowAt(const stream::Position& at) {
    stream::EventSieve sieve(options_.only, options_.changes);
    uint64_t row = 0;
    ForEach(stream_, [&](const stream::Event& event, const stream::Position& before) {
        if (before == at) {
            return false;
        }
        row += sieve.Wants(event) ? 1 : 0;
        return true;
    });
    return row;
}

std::optional<uint64_t> Listing::Find(const std::string& text, uint64_t first,
                                      bool backwards) const {
    const std::string wanted = Lower(text);
    stream::EventSieve sieve(options_.only, options_.changes);
    OpenedStream opened(stream_);
    stream::CaptureText lines(opened.source->Board().chip, true);
    std::optional<uint64_t> found;
    uint64_t row = 0;
    std::string line;
    ForEach(stream_, [&](const stream::Event& event, const stream::Position&) {
        const bool wants = sieve.Wants(event);
        const bool looks = wants && (backwards ? row < first : row >= first);
        if (looks) {
            line.clear();
            lines.Append(line, event);
            if (Lower(line).find(wanted) != std::string::npos) {
                found = row;
            }
        } else {
            lines.Skip(event);
        }
        row += wants ? 1 : 0;
        return backwards ? row < first : !found;
    });
    return found;
}

} // namespace web
