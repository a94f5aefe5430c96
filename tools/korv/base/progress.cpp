#include "tools/korv/base/progress.h"

#include <fmt/format.h>
#include <fmt/ostream.h>

#include <algorithm>
#include <iostream>
#include <string>
#include <unistd.h>

namespace korv {

namespace {

constexpr std::chrono::seconds kPatience{1};
constexpr std::chrono::milliseconds kPause{50}; // between two pictures of the bar
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
    if (terminal_ && std::chrono::steady_clock::now() - start_ >= kPatience) {
        Show(steps_ != 0 ? static_cast<double>(done) / static_cast<double>(steps_) : 1,
             fmt::format("{}/{} {}", done, steps_, what));
    }
}

void Progress::At(double part, std::string_view what) {
    if (!terminal_) {
        return;
    }
    const auto now = std::chrono::steady_clock::now();
    if (now - start_ >= kPatience && now - latest_ >= kPause) {
        latest_ = now;
        Show(part, fmt::format("{:.0f} % {}", part * 100, what));
    }
}

void Progress::Show(double part, std::string_view beside) {
    const auto filled = static_cast<size_t>(std::clamp(part, 0.0, 1.0) * kBarWidth);
    fmt::print(err_, "{}[{}{}] {}", kWipeLine, std::string(filled, '#'),
               std::string(kBarWidth - filled, '.'), beside);
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
