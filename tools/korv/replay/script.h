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

// Looks on while a script is played, and takes over what becomes of its steps: those that cannot be
// played are told and passed over, and results are the watcher's to judge. Other expectations hold.
class StepWatch {
  public:
    virtual void Before(size_t step, Player& player) = 0;
    virtual void After(size_t step, Player& player, const Outcome& outcome) = 0;
    virtual void PassedOver(size_t step, Player& player, const std::string& why) = 0;

  protected:
    ~StepWatch() = default;
};

class HalScript {
  public:
    // Reads and checks the whole script with all that it includes. UserError, with file, line and
    // path, for what is wrong with it.
    explicit HalScript(const std::filesystem::path& path);
    // The same for a text that is not in a file yet.
    HalScript(const std::filesystem::path& path, const std::string& text);

    size_t Displays() const { return displays_; }
    size_t Steps() const { return steps_.size(); }

    // Plays all steps. UnexpectedError at the first step whose expectations do not hold, with a
    // line for each of them; UserError for a step that cannot be played.
    void Play(Player& player, StepWatch* watch = nullptr) const;

  private:
    explicit HalScript(std::unique_ptr<const ScriptFile> file);
    // Adds the steps of `file`; `open` are the files whose steps are being read.
    void Read(std::unique_ptr<const ScriptFile> file, Names& names,
              std::vector<const ScriptFile*>& open);
    // The same for the file that a step names instead of doing something.
    void Include(const Node& step, Names& names, std::vector<const ScriptFile*>& open);

    std::vector<std::unique_ptr<const ScriptFile>> files_; // the script first
    std::vector<ScriptStep> steps_;
    size_t displays_ = 0;
};

} // namespace korv
