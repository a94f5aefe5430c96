// HAL scripts. An input: a script, whose expectations do not count; what cannot be played of it is
// passed over.
#include "tools/korv/replay/script.h"

#include "tests/fuzz/machine.h"
#include "tests/fuzz/target.h"
#include "tools/korv/base/errors.h"

#include <memory>

namespace fuzz {

namespace {

constexpr size_t kMostSteps = 300;

class Watch final : public korv::StepWatch {
  public:
    void Before(size_t, korv::Player& player) override {
        for (auto& [name, one] : player.Displays()) {
            one.display->Board().SetProbe(&drawing_);
        }
    }
    void After(size_t, korv::Player&, const korv::Outcome&) override {}
    void PassedOver(size_t, korv::Player&, const std::string&) override {}

  private:
    DrawingLimit drawing_{1u << 21};
};

// What the driver is in the middle of cannot be taken down: the records stay.
void Abandon(korv::Player& player) {
    for (auto& [name, context] : player.contexts) {
        (void)context.device.release();
    }
    for (auto& [name, one] : player.Displays()) {
        (void)one.directDraw.release();
    }
}

} // namespace

void RunScript(Bytes bytes) {
    std::unique_ptr<korv::HalScript> script;
    try {
        // A folder in which no other file is found.
        script = std::make_unique<korv::HalScript>("/nowhere/fuzzed.json",
                                                   std::string(bytes.begin(), bytes.end()));
    } catch (const korv::UserError& error) {
        Expect(std::string_view(error.what()).find('\n') == std::string_view::npos,
               "a complaint of several lines");
        return;
    }
    if (script->Steps() > kMostSteps) {
        return;
    }
    const WaitLimit waits;
    korv::PlayOptions options;
    options.displays = script->Displays();
    Watch watch;
    korv::Player player(std::move(options));
    try {
        script->Play(player, &watch);
    } catch (const korv::UnexpectedError&) {
        // It expected something else.
    } catch (const WaitedTooLong&) {
        Abandon(player);
    }
}

} // namespace fuzz
