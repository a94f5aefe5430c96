#pragma once
// The step of a case that makes a fault.
#include "tools/korv/conform/verdict.h"

namespace korv::conform {

// The number of steps behind which the fault is there first, found by running parts of the case on
// both boards; all of them if the parts do not show it. SubjectError.
size_t StepOf(const Fault& fault, const Case& one, Subject& right, Subject& wrong);

// Of the step that comes last of so many: "word 42: Render Primitive=Trapezoid", "write of
// DMACount".
std::string TextOfStep(const Case& one, size_t steps);

} // namespace korv::conform
