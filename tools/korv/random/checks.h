#pragma once
// What must hold all along a session, whatever its steps are.
#include "tools/korv/random/blit_check.h"
#include "tools/korv/random/port_model.h"
#include "tools/korv/random/session.h"
#include "tools/korv/random/triangle_check.h"
#include "tools/korv/random/untouched.h"
#include "tools/korv/replay/script.h"

#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace korv::random {

// Something that no healthy driver does. `kind` is one word, or a few joined by '-'.
struct Violation : std::runtime_error {
    Violation(std::string what, size_t at, const std::string& text)
        : std::runtime_error(text), kind(std::move(what)), step(at) {}

    std::string kind;
    size_t step;
};

// What a play of a session left: to be compared with another play of it.
struct Trace {
    std::vector<std::optional<uint32_t>> results; // of the steps that have one
    std::vector<bool> passedOver;
    std::vector<uint64_t> words; // all words and register writes of a step, hashed
    // Of a session in which rules are broken, the words of a step as they are.
    std::vector<std::vector<uint32_t>> broken;
    // Words of the stream by hardware context, "DISPLAY/ID", hashed: the road decides when they
    // come and not which. Without those of the first Permedia, whose sub-buffers have heads.
    std::map<std::string, uint64_t> contextWords;
    std::map<std::string, uint64_t> contents; // of surfaces and memories, at the end, hashed
};

class Checks : public StepWatch {
  public:
    // `thorough`: memory outside all surfaces is watched, and triangles are compared with the
    // reference rasteriser's, which takes the most time.
    Checks(const Steps& steps, bool illegal, bool thorough);
    ~Checks();

    // Each throws Violation.
    void Before(size_t step, Player& player) override;
    void After(size_t step, Player& player, const Outcome& outcome) override;
    void PassedOver(size_t step, Player& player, const std::string& why) override;
    // Behind the last step: what is left is taken down, and nothing may remain.
    void End(Player& player);

    const Trace& Result() const { return trace_; }

  private:
    class ContextTap;

    std::string Field(const char* name) const;
    void CheckResult(const Outcome& outcome);
    void CheckFaults(Player& player);
    void CheckHeaps(Player& player);
    // Begins anew behind a step that moves surfaces.
    void WatchUntouched(Player& player);
    void CheckUntouched();
    void CheckLeft(const char* where, size_t blocks, size_t atStart) const;
    // Ends the scenes of all live contexts, and waits until their words have been executed.
    void FinishContexts(Player& player);
    // Gives the chip to the context of two-dimensional work, which all roads leave alike.
    void TakeChip(Player& player);
    void TapWords(PlayedDisplay& display);
    void HashWords(Player& player);
    void HashSurface(Player& player, const std::string& name);

    const Steps& steps_;
    const bool illegal_, thorough_;
    size_t at_ = 0; // the present step
    Trace trace_;
    std::optional<Untouched> watched_;
    std::optional<BlitCheck> blit_;
    std::optional<TriangleCheck> triangles_; // of triangles that the reference rasteriser knows
    TextureSurfaces textures_;
    PortModel port_;
    size_t heapBlocks_ = 0, vddBlocks_ = 0; // before and behind the start of displays
    size_t heapAtStart_ = 0, vddAtStart_ = 0;
    std::map<std::string, int> clientBlocks_;                 // by display
    std::map<std::string, std::unique_ptr<ContextTap>> taps_; // by display
    bool lossExplained_ = false;
};

} // namespace korv::random
