#pragma once
// Instructions, counted by callgrind over this very program.
#include "bench/session.h"

#include <vector>

namespace bench {

// Runs the program again under callgrind with the same choice of work. Throws std::runtime_error
// with callgrind's last words if that fails.
std::vector<Figure> CountInstructions(const Options& options);

} // namespace bench
