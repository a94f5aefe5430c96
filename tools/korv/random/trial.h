#pragma once
// A session played under all checks, by several roads, in a process of its own.
#include "tools/korv/random/session.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace korv::random {

struct TrialOptions {
    bool illegal = false; // what may go wrong on the board by wild numbers does not count
    bool allRoads = true; // else as the session says alone
    std::string dll;      // a KORV32.dll that must do the same; empty: none
};

// What a session came upon first.
struct Finding {
    std::string kind; // a word, or some joined by '-'; tells findings apart
    size_t step = 0;
    std::string text; // for people, one line or more
};

struct TrialResult {
    std::optional<Finding> finding;
    // Of the play as the session says, as far as it came.
    std::vector<std::optional<uint32_t>> results;
    std::vector<bool> passedOver;
    size_t plays = 0;
};

// Whether two drivers' words are the same, but, where `notNumbers` went in, for a NaN's sign. Which
// operand's sign a NaN has is left to the compiler by the language: a slope of NaN saturates at
// either end, and a word that is sent as a float differs in the sign. Nothing else may.
bool AlikeButForNaNs(const std::vector<uint32_t>& first, const std::vector<uint32_t>& other,
                     bool notNumbers);

// Plays it. A crash, an abort or a wait without end of the driver is a finding too.
// UserError if the steps are no script.
TrialResult Try(const Steps& steps, const TrialOptions& options);

// Cuts a session down to the fewest steps that still come to a finding of that kind: steps are left
// out together with those that name what they make. `tries` is how many trials it may take.
Steps Shrink(Steps steps, const Finding& finding, const TrialOptions& options, size_t tries);

// Steps without those that could not be played, with the results that came of them expected, for
// the player of scripts.
Steps Kept(const Steps& steps, const TrialResult& result);

} // namespace korv::random
