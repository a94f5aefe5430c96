#pragma once

namespace board {

// The version of this library, "major.minor.patch".
const char* Version();

} // namespace board
