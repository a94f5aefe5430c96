#include "tools/korv/commands/cli/stream_options.h"

#include "stream/error.h"
#include "tools/korv/base/claims.h"
#include "tools/korv/chips/chips.h"
#include "tools/korv/commands/cli/console.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <cerrno>
#include <cstring>

namespace korv {

void AddStreamArguments(CLI::App& command, StreamArguments& arguments) {
    command.add_option("FILE", arguments.file, "A capture, or raw words of --words")
        ->type_name("")
        ->required();
    command.add_option("--chip", arguments.chip, "The chip that raw words are for: " + ChipNames())
        ->type_name("CHIP");
}

CLI::Option* AddPlaceOption(CLI::App& command, const std::string& name, stream::Place& place,
                            const std::string& about) {
    return command
        .add_option_function<std::string>(
            name,
            [&place, name](const std::string& text) {
                try {
                    place = stream::ParsePlace(text);
                } catch (const stream::StreamError& error) {
                    throw UsageError(fmt::format("{} for '{}'", error.what(), name));
                }
            },
            about)
        ->type_name("PLACE");
}

StreamInput::StreamInput(const StreamArguments& arguments) : name_(arguments.file) {
    struct stat status {};
    const bool folder = stat(name_.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
    errno = 0;
    file_.open(name_, std::ios::binary);
    if (!file_ || folder) {
        throw UserError(fmt::format("cannot read '{}': {}", name_,
                                    folder ? "it is a folder" : std::strerror(errno)));
    }
    NoteInput(name_, status);
    std::optional<board::Config> raw;
    if (!arguments.chip.empty()) {
        raw = BoardFor(arguments.chip);
    }
    Run([&] { source_ = stream::OpenSource(file_, raw); });
    if (source_->HasEvents() && raw) {
        throw UsageError(fmt::format("'{}' is a capture, which knows its chip: '--chip' is for raw "
                                     "words",
                                     name_));
    }
}

void StreamInput::WarnOfCut(Console& console) const {
    if (!source_->CutOff().empty()) {
        Warn(console, fmt::format("'{}': {}", name_, source_->CutOff()));
    }
}

void StreamInput::Fail(const std::string& what) const {
    throw UserError(fmt::format("'{}': {}", name_, what));
}

} // namespace korv
