#include "tools/korv/conform/run.h"

#include "stream/checksum.h"
#include "tools/korv/conform/locate.h"
#include "tools/korv/conform/own_board.h"
#include "tools/korv/conform/program_board.h"

#include <fmt/format.h>

#include <sstream>

namespace korv::conform {

namespace {

using Kind = Result::Kind;

// Cases of a unit on a chip that may be lost one behind the other before the rest is left: a
// program that hangs takes its whole time for each.
constexpr int kMostLost = 3;

std::string Difference(const Golden& expected, const Golden& found) {
    std::string text;
    const auto compare = [&text](const char* what, uint32_t right, uint32_t here) {
        if (right != here) {
            text += fmt::format("{}{} is {:08X}, expected {:08X}", text.empty() ? "" : "; ", what,
                                here, right);
        }
    };
    compare("the frame buffer's checksum", expected.frameBuffer, found.frameBuffer);
    compare("the local buffer's checksum", expected.localBuffer, found.localBuffer);
    compare("the count of interrupts", expected.interrupts, found.interrupts);
    for (size_t i = 0; i < expected.reads.size() && i < found.reads.size(); ++i) {
        compare(fmt::format("read {}", i).c_str(), expected.reads[i], found.reads[i]);
    }
    compare("the checksum of its capture", expected.capture, found.capture);
    return text;
}

Result HeldToList(const Case& one, const std::map<std::string, Golden>& list) {
    Result result{&one, Kind::Passed, {}, {}, {}};
    const auto found = list.find(one.id);
    if (found == list.end()) {
        result.kind = Kind::Failed;
        result.what = "the list of results does not have it";
        return result;
    }
    result.what = Difference(found->second, GoldenOf(one));
    result.kind = result.what.empty() ? Kind::Passed : Kind::Failed;
    return result;
}

void Judge(Result& result, const Outcome& expected, const Outcome& found, Subject& right,
           Subject& wrong) {
    result.verdict = Judge(*result.one, expected, found);
    if (!result.verdict.first) {
        return;
    }
    result.kind = Kind::Failed;
    result.what = result.verdict.first->Text();
    if (result.verdict.pixels > 1) {
        result.what += fmt::format(", the first of {} wrong pixels", result.verdict.pixels);
    }
    try {
        const size_t steps = StepOf(*result.verdict.first, *result.one, right, wrong);
        result.cause = TextOfStep(*result.one, steps);
    } catch (const SubjectError& error) {
        result.cause = fmt::format("not found: {}", error.what());
    }
}

} // namespace

Golden GoldenOf(const Case& one) {
    std::ostringstream capture;
    const Outcome outcome = OwnBoard().Record(one, capture);
    const std::string bytes = capture.str();
    return {stream::MemoryChecksum(outcome.frameBuffer),
            stream::MemoryChecksum(outcome.localBuffer), outcome.reads, outcome.interrupts,
            stream::Crc32({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()})};
}

std::vector<Result> RunOwn(std::span<const Case> cases, board::Break wrong) {
    std::vector<Result> results;
    const auto list = GoldenList();
    OwnBoard right, broken(wrong);
    for (const Case& one : cases) {
        if (wrong == board::Break::None) {
            results.push_back(HeldToList(one, list));
        } else {
            Result& result = results.emplace_back(Result{&one, Kind::Passed, {}, {}, {}});
            Judge(result, right.Subject::Run(one), broken.Subject::Run(one), right, broken);
        }
    }
    return results;
}

std::vector<Result> RunProgram(std::span<const Case> cases, ProgramBoard& program,
                               const Told& told) {
    std::vector<Result> results;
    OwnBoard right;
    int lost = 0;
    for (const Case& one : cases) {
        const bool another = results.empty() || results.back().one->unit != one.unit ||
                             results.back().one->chip != one.chip;
        lost = another ? 0 : lost;
        Result result{&one, Kind::Passed, {}, {}, {}};
        Outcome expected, found;
        try {
            if (lost == kMostLost) {
                result.kind = Kind::Left;
                result.what = fmt::format("not asked: {} cases before it were lost", lost);
            } else if (result.what = program.LackFor(one); !result.what.empty()) {
                result.kind = Kind::Left;
            } else {
                expected = right.Subject::Run(one);
                found = program.Subject::Run(one);
                lost = 0;
                Judge(result, expected, found, right, program);
            }
        } catch (const SubjectError& error) {
            result.kind = Kind::Lost;
            result.what = error.what();
            ++lost;
        }
        results.push_back(result);
        told(results.back(), expected, found);
    }
    return results;
}

} // namespace korv::conform
