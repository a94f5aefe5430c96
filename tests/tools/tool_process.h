#pragma once
// The tool as a shell runs it.
#include <cstdio>
#include <string>
#include <sys/wait.h>

namespace korv {

struct ShellResult {
    int code; // 128 and the number of a signal, if one ended it
    std::string out;
};

// Runs `line`, in which "korv" is the tool, with bash. What it writes on standard output comes
// back.
inline ShellResult Shell(const std::string& line) {
    const std::string script = "korv() { '" KORV_TOOL "' \"$@\"; }\n" + line;
    std::string quoted;
    for (const char c : script) {
        quoted += c == '\'' ? "'\\''" : std::string(1, c);
    }
    FILE* pipe = popen(("bash -c '" + quoted + "'").c_str(), "r");
    ShellResult result{-1, ""};
    char bytes[4096];
    for (size_t got; (got = std::fread(bytes, 1, sizeof bytes, pipe)) != 0;) {
        result.out.append(bytes, got);
    }
    const int status = pclose(pipe);
    result.code = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
    return result;
}

} // namespace korv
