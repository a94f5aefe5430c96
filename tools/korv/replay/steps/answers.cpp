#include "tools/korv/replay/steps/answers.h"

namespace korv {

void Tell(const host::HalAnswer& answer, Outcome& outcome) {
    outcome.Set("handled", answer.handled);
    outcome.Set("result", answer.result);
}

std::function<std::optional<FieldKind>(const std::string&)> AnswerFields() {
    return Only({{"handled", FieldKind::Flag}, {"result", FieldKind::Result}});
}

} // namespace korv
