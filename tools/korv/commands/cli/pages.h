#pragma once
// Man pages and shell completions, made of what the commands say of themselves.
#include <filesystem>
#include <string>

namespace CLI {
class App;
}

namespace korv {

// korv(1), in roff.
std::string ToolPage(const CLI::App& tool);
// korv-COMMAND(1).
std::string CommandPage(const CLI::App& command);

std::string BashCompletion(const CLI::App& tool);
std::string ZshCompletion(const CLI::App& tool);

// Writes all of them into `folder`: korv.1, korv-COMMAND.1, korv.bash and _korv. UserError if that
// fails.
void WritePages(const CLI::App& tool, const std::filesystem::path& folder);

} // namespace korv
