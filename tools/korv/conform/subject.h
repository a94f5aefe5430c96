#pragma once
// A board that cases are run on.
#include "tools/korv/conform/case.h"

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace korv::conform {

// What of a board is looked at when a case is over.
struct Outcome {
    std::vector<uint8_t> frameBuffer, localBuffer;
    std::vector<uint32_t> reads; // what each Read of the case gave, in their order
    uint32_t interrupts = 0;     // calls of the handler
    std::string faults;          // what went wrong, of boards that tell; one line each

    std::vector<uint8_t>& Of(stream::Memory memory) {
        return memory == stream::Memory::FrameBuffer ? frameBuffer : localBuffer;
    }
    const std::vector<uint8_t>& Of(stream::Memory memory) const {
        return memory == stream::Memory::FrameBuffer ? frameBuffer : localBuffer;
    }
};

// A board did not get to the end of a case; `what()` is a line that says why.
struct SubjectError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

class Subject {
  public:
    virtual ~Subject() = default;
    // Does the first `steps` steps of a case on a board as power leaves it, lets what is under way
    // come to its end, and tells what there is then. SubjectError.
    virtual Outcome Run(const Case& one, size_t steps) = 0;
    Outcome Run(const Case& one) { return Run(one, one.steps.size()); }
};

} // namespace korv::conform
