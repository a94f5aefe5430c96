#include "tools/korv/conform/locate.h"

#include "board/values/register_names.h"
#include "stream/explain.h"

#include <fmt/format.h>

namespace korv::conform {

namespace {

using stream::EventKind;

// Whether the fault's pixel, byte or count is wrong when both boards have done a part of the case.
bool IsThere(const Fault& fault, const Outcome& right, const Outcome& wrong) {
    switch (fault.kind) {
    case Fault::Kind::Pixel: {
        Case pixel;
        pixel.pictures.push_back(*fault.picture);
        PictureArea& area = pixel.pictures.front();
        area.offset = fault.offset;
        area.width = area.height = 1;
        area.pixels = 0;
        return Judge(pixel, right, wrong).pixels != 0;
    }
    case Fault::Kind::Memory:
        return right.Of(fault.memory)[fault.offset] != wrong.Of(fault.memory)[fault.offset];
    default:
        return right.interrupts != wrong.interrupts;
    }
}

size_t ReadStep(const Case& one, size_t number) {
    for (size_t i = 0; i < one.steps.size(); ++i) {
        if (one.steps[i].kind == EventKind::Read && number-- == 0) {
            return i + 1;
        }
    }
    return one.steps.size();
}

} // namespace

size_t StepOf(const Fault& fault, const Case& one, Subject& right, Subject& wrong) {
    if (fault.kind == Fault::Kind::Read) {
        return ReadStep(one, fault.read);
    }
    // It is not there behind `low` steps, and it is behind `high`.
    size_t low = 0, high = one.steps.size();
    while (high - low > 1) {
        const size_t middle = low + (high - low) / 2;
        const bool there = IsThere(fault, right.Run(one, middle), wrong.Run(one, middle));
        (there ? high : low) = middle;
    }
    return high;
}

std::string TextOfStep(const Case& one, size_t steps) {
    stream::Explainer explainer(one.config.chip);
    size_t word = 0;
    std::string text;
    for (size_t i = 0; i < steps; ++i) {
        const Step& step = one.steps[i];
        switch (step.kind) {
        case EventKind::FifoWord:
            text = fmt::format("word:{}: {}", word++, explainer.Explain(step.value));
            break;
        case EventKind::Write:
            explainer.OnWrite(step.offset, step.value);
            text = "write of " + board::OffsetName(step.offset);
            explainer.AppendAccess(text, step.offset, step.value);
            break;
        case EventKind::Read:
            text = "read of " + board::OffsetName(step.offset);
            break;
        case EventKind::Ticks:
            text = fmt::format("{} ticks", step.value);
            break;
        case EventKind::Clock:
            text = fmt::format("{} microseconds", step.value);
            break;
        default:
            text = "memory is filled";
            break;
        }
    }
    return text;
}

} // namespace korv::conform
