#include "tools/korv/capture/patience.h"

#include "host/patience.h"
#include "host/remote/board_program.h"
#include "tools/korv/base/crash_note.h"
#include "tools/korv/base/errors.h"
#include "tools/korv/capture/recording.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <charconv>
#include <exception>
#include <string>
#include <unistd.h>

namespace korv {

namespace {

constexpr double kMostSeconds = 1e6;

double seconds = 10; // of the board's clock; 0: for ever

[[noreturn]] void GiveUp(const std::string& wait) {
    try {
        // What led there is what the user wants to look at.
        Recording::CommitAll();
    } catch (const std::exception&) {
        // The line below matters more.
    }
    const std::string line = fmt::format("korv: {}{}{}\n", CrashNote::Text(),
                                         CrashNote::Text().empty() ? "" : ": ", wait);
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, line.data(), line.size());
    _exit(kExitUnexpected);
}

void Arm() {
    host::SetPatience(static_cast<uint64_t>(seconds * 1e6), GiveUp);
    host::SetLostBoardHook(GiveUp);
}

} // namespace

PatienceScope::PatienceScope() : before_(seconds) {
    Arm();
}

PatienceScope::~PatienceScope() {
    seconds = before_;
    host::SetPatience(0, nullptr);
    host::SetLostBoardHook(nullptr);
}

void AddPatienceOption(CLI::App& command) {
    command
        .add_option_function<std::string>(
            "--patience",
            [](const std::string& text) {
                double given = -1;
                const char* const end = text.data() + text.size();
                const auto [behind, error] = std::from_chars(text.data(), end, given);
                if (error != std::errc() || behind != end ||
                    !(given >= 0 && given <= kMostSeconds)) { // no number neither
                    throw UsageError(fmt::format("bad value '{}' for '--patience': expected a "
                                                 "number from 0 to {}",
                                                 text, kMostSeconds));
                }
                seconds = given;
                Arm();
            },
            "How long the driver may wait for the board before the command gives up, in seconds "
            "of the board's clock (default 10, 0: for ever)")
        ->type_name("SECONDS");
}

} // namespace korv
