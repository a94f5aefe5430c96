#pragma once
// Our board under the kit.
#include "tools/korv/conform/subject.h"

#include <ostream>

namespace korv::conform {

class OwnBoard final : public Subject {
  public:
    using Subject::Run;
    Outcome Run(const Case& one, size_t steps) override;
    // The same of a whole case, with a capture of it.
    Outcome Record(const Case& one, std::ostream& capture);
};

} // namespace korv::conform
