#include "tools/korv/base/progress.h"

#include <fmt/format.h>
#include <fmt/ostream.h>

#include <iostream>
#include <string>
#include <unistd.h>

namespace korv {

namespace {

constexpr std::chrono::seconds kPatience{1};
constexpr size_t kBarWidth = 30;
constexpr const char* kWipeLine = "\r\033[K";

} // namespace

Progress::Progress(std::ostream& err, size_t steps)
    : err_(err), steps_(steps), terminal_(&err == &std::cerr && isatty(STDERR_FILENO)) {}

Progress::~Progress() {
    Wipe();
}

void Progress::Begin(std::string_view what) {
    const size_t done = begun_++;
    if (!terminal_ || std::chrono::steady_clock::now() - start_ < kPatience) {
        return;
    }
    const size_t filled = steps_ != 0 ? done * kBarWidth / steps_ : kBarWidth;
    fmt::print(err_, "{}[{}{}] {}/{} {}", kWipeLine, std::string(filled, '#'),
               std::string(kBarWidth - filled, '.'), done, steps_, what);
    err_.flush();
    shown_ = true;
}

void Progress::Wipe() {
    if (!shown_) {
        return;
    }
    err_ << kWipeLine << std::flush;
    shown_ = false;
}

} // namespace korv
