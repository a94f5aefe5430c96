#pragma once
// What DirectDraw's callbacks answer, as outcomes of steps.
#include "tools/korv/replay/step.h"

namespace korv {

// Sets "handled" and "result".
void Tell(const host::HalAnswer& answer, Outcome& outcome);

// fieldKind of those two.
std::function<std::optional<FieldKind>(const std::string&)> AnswerFields();

} // namespace korv
