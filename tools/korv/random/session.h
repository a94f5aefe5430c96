#pragma once
// Random sessions: HAL scripts made from a seed.
#include <nlohmann/json.hpp>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace korv::random {

using Step = nlohmann::ordered_json;
using Steps = std::vector<Step>;

// `count` steps that follow one another as the rules of DirectDraw and Direct3D want it, on a
// random board and mode; the last ones bring the rest to an end. With `illegal` some of them break
// the rules: what applications do and the runtimes let through.
Steps MakeSession(uint64_t seed, size_t count, bool illegal);

// The steps as a HAL script, a step a line.
std::string ScriptText(const std::string& title, const Steps& steps);

} // namespace korv::random
