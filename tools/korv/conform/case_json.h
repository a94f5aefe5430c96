#pragma once
// What programs are told of a case.
#include "tools/korv/conform/case.h"

#include <nlohmann/json_fwd.hpp>

namespace korv::conform {

// {"case", "unit", "name", "chip"}
nlohmann::ordered_json BriefJson(const Case& one);
// The same with "board", "pictures", "known" and "deduced".
nlohmann::ordered_json CaseJson(const Case& one);

} // namespace korv::conform
