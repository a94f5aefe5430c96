#include "tools/korv/base/listing.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>

namespace korv {

namespace {

std::string_view Environment(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

// The process's standard output itself, and a terminal.
bool IsTerminal(std::ostream& out) {
    const auto* buffer = dynamic_cast<FdBuffer*>(out.rdbuf());
    return buffer != nullptr && buffer->Descriptor() == STDOUT_FILENO && isatty(STDOUT_FILENO);
}

std::string PagerCommand() {
    for (const char* name : {"KORV_PAGER", "PAGER"}) {
        if (const char* value = std::getenv(name)) {
            return std::string_view(value) == "cat" ? "" : value;
        }
    }
    return "less";
}

} // namespace

Listing::Listing(std::ostream& out, bool paged)
    : out_(out), paged_(paged && IsTerminal(out)),
      colours_(IsTerminal(out) && Environment("NO_COLOR").empty() && !Environment("TERM").empty() &&
               Environment("TERM") != "dumb") {}

Listing::~Listing() {
    if (pager_ == 0) {
        return;
    }
    paging_->flush();
    close(pipe_);
    int status = 0;
    while (waitpid(pager_, &status, 0) == -1 && errno == EINTR) {
    }
}

std::ostream& Listing::Out() {
    if (paged_ && pager_ == 0) {
        StartPager();
    }
    return paging_ ? *paging_ : out_;
}

void Listing::StartPager() {
    const std::string command = PagerCommand();
    int ends[2];
    paged_ = false;
    if (command.empty() || pipe2(ends, O_CLOEXEC) != 0) {
        return;
    }
    out_.flush();
    pager_ = fork();
    if (pager_ == 0) {
        dup2(ends[0], STDIN_FILENO);
        std::signal(SIGPIPE, SIG_DFL);
        // It ends at once if all fits the screen, shows colours, and leaves the text there.
        setenv("LESS", "FRX", 0);
        execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
        _exit(127);
    }
    close(ends[0]);
    if (pager_ < 0) {
        close(ends[1]);
        pager_ = 0;
        return;
    }
    pipe_ = ends[1];
    buffer_.emplace(pipe_);
    paging_.emplace(&*buffer_);
}

const char* Listing::Escape(Colour colour) const {
    if (!colours_) {
        return "";
    }
    switch (colour) {
    case Colour::Plain:
        return "\033[m";
    case Colour::Dim:
        return "\033[36m";
    case Colour::Heading:
        return "\033[1;33m";
    case Colour::Good:
        return "\033[32m";
    case Colour::Bad:
        return "\033[31m";
    case Colour::Number:
        return "\033[35m";
    }
    return "";
}

} // namespace korv
