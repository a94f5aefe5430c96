#pragma once
// What is wrong or wasteful in a stream.
#include "stream/player.h"

#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace stream {

enum class Rule : uint8_t {
    UnknownRegister,
    MalformedTag,
    LostEntry,
    UnwaitedEntry,
    UnitNotSetUp,
    OutsideSurfaces,
    OverlapDirection,
    RedundantState,
    EmptyBatch,
};

struct RuleRow {
    Rule rule;
    const char* name;
    bool wrong; // else it is wasteful
    const char* about;
};

std::span<const RuleRow> Rules();
const RuleRow* FindRule(std::string_view name);

// What a rule found about one thing, over the whole stream.
struct Finding {
    Rule rule;
    Position at;      // the first time
    bool word = true; // a word of the stream, or a point in it; else an event that is none
    uint64_t times = 1;
    std::string subject; // a register; empty for what is about none
    std::string text;    // one line that says what and why, for the first time
};

// Plays what is left of the player's stream. Findings by place. What cannot be told of a stream is
// left out: raw words have neither surfaces nor batches, and nobody waits for room.
std::vector<Finding> Lint(Player& player, const std::set<Rule>& rules);

} // namespace stream
