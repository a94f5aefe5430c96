#pragma once
// Cases run on a board, and what came of it.
#include "board/breaks.h"
#include "tools/korv/conform/kit.h"
#include "tools/korv/conform/verdict.h"

#include <functional>
#include <string>
#include <vector>

namespace korv::conform {

struct Result {
    enum class Kind {
        Passed,
        Failed, // it did something else
        Lost,   // it did not come to the end of the case
        Left,   // it was not asked: it is no such chip, or too many before were lost
    };
    const Case* one = nullptr;
    Kind kind{};
    std::string what;  // of others than passed: in a line
    std::string cause; // Failed: the step that made it, if that was looked for
    Verdict verdict;
};

class ProgramBoard;

// Runs the cases on our board, and holds the results to the list. `wrong`: with a break, the
// results are held to those of a right one.
std::vector<Result> RunOwn(std::span<const Case> cases, board::Break wrong);

// Runs the cases on a board in another program, beside ours. `told` hears of each result as it
// comes, with what the two boards had at the end of a failed case.
using Told = std::function<void(const Result&, const Outcome& expected, const Outcome& found)>;
std::vector<Result> RunProgram(std::span<const Case> cases, ProgramBoard& program,
                               const Told& told);

} // namespace korv::conform
