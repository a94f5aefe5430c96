#pragma once
// Our board under the kit.
#include "board/breaks.h"
#include "tools/korv/conform/subject.h"

#include <ostream>

namespace korv::conform {

class OwnBoard final : public Subject {
  public:
    using Subject::Run;
    // `wrong`: in one way, on purpose.
    explicit OwnBoard(board::Break wrong = board::Break::None) : wrong_(wrong) {}
    Outcome Run(const Case& one, size_t steps) override;
    // The same of a whole case, with a capture of it.
    Outcome Record(const Case& one, std::ostream& capture);

  private:
    board::Break wrong_;
};

} // namespace korv::conform
