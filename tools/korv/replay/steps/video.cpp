// What is plugged into the video port.
#include "tools/korv/images/test_card.h"
#include "tools/korv/replay/step.h"

namespace korv {

namespace {

StepPlan ReadVideoSource(Fields& fields, Names& names) {
    const std::string display = names.DisplayOf(fields);
    if (const auto unplug = fields.Find("unplug")) {
        if (!unplug->Flag()) {
            unplug->Fail("expected true: a source is plugged in by its width and height");
        }
        return {[=](Player& player, Outcome&) {
                    player.Display(display).display->Board().SetVideoSource(nullptr);
                },
                Only({})};
    }
    const uint32_t width = fields["width"].Number(2, 2048),
                   height = fields["height"].Number(1, 2048);
    const bool marksPixels = fields.Has("marksPixels") && fields["marksPixels"].Flag();
    board::VideoSignal signal = TestCard(width, height).Signal();
    if (const auto node = fields.Find("portWidth")) {
        signal.portWidth = node->Number(8, 16);
        if (signal.portWidth != 8 && signal.portWidth != 16) {
            node->Fail("expected 8 or 16");
        }
    }
    if (const auto node = fields.Find("fieldsPerSecond")) {
        signal.fieldsPerSecond = node->Number(1, 1000);
    }
    if (const auto node = fields.Find("linesPerField")) {
        signal.linesPerField = node->Number(1, 4096);
    }
    if (const auto node = fields.Find("lineReferenceHigh")) {
        signal.lineReferenceHigh = node->Flag();
    }
    if (const auto node = fields.Find("fieldReferenceHigh")) {
        signal.fieldReferenceHigh = node->Flag();
    }
    return {[=](Player& player, Outcome&) {
                PlayedDisplay& one = player.Display(display);
                auto card =
                    std::make_unique<TestCard>(width, height, signal.portWidth, marksPixels);
                card->SetSignal(signal);
                one.display->Board().SetVideoSource(card.get());
                one.videoSource = std::move(card);
            },
            Only({})};
}

constexpr StepKind kVideoSteps[] = {{"videoSource", ReadVideoSource}};

} // namespace

std::span<const StepKind> VideoSteps() {
    return kVideoSteps;
}

} // namespace korv
