#pragma once
// What STATE tells of a board of ours, and what can be read from that again.
#include "board/board.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace remote {

using NamedValue = std::pair<std::string, uint64_t>;

// All names of docs/board-protocol.md that begin with `begin`; faults and entries that there are
// none of are left out.
std::vector<NamedValue> StateOf(const board::Board& board, std::string_view begin);

// The faults and entries among them. Names that are none are passed over.
board::Faults FaultsIn(std::span<const NamedValue> state);
board::EntryCounts EntriesIn(std::span<const NamedValue> state);

} // namespace remote
