#pragma once
// The driver's linear heap as its records say, walked without the driver's help.
#include <cstddef>
#include <optional>
#include <string>

struct DriverData;

namespace korv::random {

// What is wrong with the rings: a link that does not come back, a node in the wrong ring, stretches
// that overlap or leave something out. None for a sound heap.
std::optional<std::string> HeapProblem(DriverData& driver);

// Nodes in the ring of allocated stretches.
size_t AllocatedNodes(DriverData& driver);

} // namespace korv::random
