#pragma once
// Options whose values are numbers or one of some words. Other values are UsageErrors.
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace korv {

// An option for a number from `low` to `high`.
CLI::Option* AddNumber(CLI::App& command, const std::string& names, double& value, double low,
                       double high, const std::string& about);
CLI::Option* AddNumber(CLI::App& command, const std::string& names, int& value, int low, int high,
                       const std::string& about);

// An option for one of `choices`, which help shows as a|b|c.
CLI::Option* AddChoice(CLI::App& command, const std::string& names, std::string& value,
                       std::vector<std::string> choices, const std::string& about);

// The choices of such an option, and of any other whose type is named a|b|c; else none.
std::vector<std::string> ChoicesOf(const CLI::Option& option);

// "8, 16 or 32".
std::string Alternatives(const std::vector<std::string>& choices);

} // namespace korv
