#pragma once
// What a run came to, for people and programs.
#include "tools/korv/conform/run.h"

#include <nlohmann/json_fwd.hpp>

#include <filesystem>
#include <span>
#include <string>

namespace korv::conform {

struct Counts {
    size_t passed = 0, failed = 0, lost = 0, left = 0;
    size_t All() const { return passed + failed + lost + left; }
    bool Good() const { return passed == All(); }
};
Counts CountsOf(std::span<const Result> results);

// Units down, chips across: "12" passed of as many, "7/12" less.
std::string Table(std::span<const Result> results);
// "FAILED unit/case@chip: what; by the step"
std::string LineOf(const Result& result);

// `board`: who was asked.
nlohmann::ordered_json ReportJson(std::span<const Result> results, const std::string& board);

// A folder with index.html and a picture of each failed case.
class ReportFolder {
  public:
    // Makes it. UserError if that fails.
    explicit ReportFolder(std::filesystem::path folder);
    // Draws what differs in a failed case.
    void Draw(const Result& result, const Outcome& expected, const Outcome& found);
    // Writes index.html and results.json.
    void Finish(std::span<const Result> results, const std::string& board);

  private:
    const std::filesystem::path folder_;
};

} // namespace korv::conform
