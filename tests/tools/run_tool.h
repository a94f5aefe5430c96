#pragma once
#include "tools/korv/commands/cli/run.h"

#include <sstream>
#include <string>
#include <vector>

namespace korv {

struct ToolResult {
    int code;
    std::string out, err;
};

inline ToolResult RunTool(const std::vector<std::string>& arguments) {
    std::vector<const char*> argv{"korv"};
    for (const std::string& argument : arguments) {
        argv.push_back(argument.c_str());
    }
    std::ostringstream out, err;
    const int code = Run(static_cast<int>(argv.size()), argv.data(), out, err);
    return {code, out.str(), err.str()};
}

} // namespace korv
