#pragma once
#include <span>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace korv {

// What is wrong with the form of the command line `words`, behind the tool's name: an unknown
// command or option, a value or an option that is missing or too many. UsageError for the first
// such thing. Nothing is, where help or the version is asked for. What the values say is not looked
// at.
void CheckUsage(const CLI::App& tool, std::span<const std::string> words);

// The commands of the tool and their names, as help lists them.
std::vector<const CLI::App*> CommandsOf(const CLI::App& tool);
std::vector<std::string> CommandNames(const CLI::App& tool);

// The command that `words` name, or null.
const CLI::App* CommandIn(const CLI::App& tool, std::span<const std::string> words);

// The options of a command with their dashes, as a user writes them, "--help" among them.
std::vector<std::string> OptionNames(const CLI::App& command);

// The option's value is none of its own name.
bool TakesValue(const CLI::Option& option);

} // namespace korv
