#pragma once
// HAL scripts: what the system does with the driver, as JSON. docs/hal-scripts.md describes them.
#include "tools/korv/replay/step.h"

#include <filesystem>
#include <memory>

namespace korv {

inline constexpr uint32_t kScriptVersion = 1;

// Words that a step must add to the stream of a display, and writes of registers that it must do.
struct WordExpectation {
    Node node;
    std::string display;
    std::vector<uint32_t> words;
};
struct RegisterExpectation {
    Node node;
    std::string display;
    std::vector<RegisterWrite> writes;
};
struct FieldExpectation {
    Node node;
    std::string field;
    FieldKind kind;
    Bits bits;
};

struct ScriptStep {
    Node node;
    std::string kind;
    StepPlan plan;
    std::vector<FieldExpectation> fields;
    std::vector<WordExpectation> words;
    std::vector<RegisterExpectation> registers;
};

class HalScript {
  public:
    // Reads and checks the whole script. UserError, with line and path, for what is wrong with it.
    explicit HalScript(const std::filesystem::path& path);

    size_t Displays() const { return displays_; }
    size_t Steps() const { return steps_.size(); }

    // Plays all steps. UnexpectedError at the first step whose expectations do not hold, with a
    // line for each of them; UserError for a step that cannot be played.
    void Play(Player& player) const;

  private:
    ScriptFile file_;
    std::vector<ScriptStep> steps_;
    size_t displays_ = 0;
};

} // namespace korv
