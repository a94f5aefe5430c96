#include "tools/korv/commands/cli/pages.h"

#include "tools/korv/base/files.h"
#include "tools/korv/commands/cli/usage.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <span>
#include <sstream>

namespace korv {

namespace {

// Text that roff sets as it is.
std::string Roff(const std::string& text) {
    std::string roff;
    for (const char c : text) {
        roff += c == '\\' ? "\\e" : c == '-' ? "\\-" : c == '\'' ? "\\(aq" : std::string(1, c);
    }
    return roff.starts_with('.') ? "\\&" + roff : roff;
}

std::string Head(const std::string& page, const std::string& about) {
    std::string title = page;
    std::ranges::transform(title, title.begin(), [](unsigned char c) { return std::toupper(c); });
    return fmt::format(".TH {} 1 \"\" \"korv {}\" \"KORV32\"\n.SH NAME\n{} \\- {}\n", Roff(title),
                       KORV_VERSION, Roff(page), Roff(about));
}

// A section for each heading of a help's last part: "Examples:" on a line of its own. What comes
// before the first goes into NOTES.
std::string Sections(const std::string& footer) {
    std::string roff, heading = "NOTES", body;
    const auto close = [&] {
        if (body.find_first_not_of('\n') != body.npos) {
            body.erase(body.find_last_not_of('\n') + 1);
            roff += fmt::format(".SH {}\n.nf\n{}\n.fi\n", heading, body);
        }
        body.clear();
    };
    std::istringstream lines(footer);
    for (std::string line; std::getline(lines, line);) {
        if (line.ends_with(':') && std::isupper(static_cast<unsigned char>(line[0])) != 0 &&
            line.find(' ') == line.npos) {
            close();
            line.pop_back();
            std::ranges::transform(line, line.begin(),
                                   [](unsigned char c) { return std::toupper(c); });
            heading = line;
        } else if (!body.empty() || !line.empty()) {
            body += (body.empty() ? "" : "\n") + Roff(line);
        }
    }
    close();
    return roff;
}

std::string Options(const CLI::App& command) {
    std::string roff;
    for (const CLI::Option* option : command.get_options()) {
        std::string names;
        for (const std::string& name : option->get_snames()) {
            names += (names.empty() ? "" : ", ") + Roff("-" + name);
        }
        for (const std::string& name : option->get_lnames()) {
            names += (names.empty() ? "" : ", ") + Roff("--" + name);
        }
        if (names.empty()) {
            names = Roff(option->get_name(true));
        }
        const std::string type = option->get_type_name();
        roff += fmt::format(
            ".TP\n\\fB{}\\fR{}\n{}{}\n", names, type.empty() ? "" : " \\fI" + Roff(type) + "\\fR",
            Roff(option->get_description()), option->get_required() ? "; required" : "");
    }
    return roff;
}

std::string Synopsis(const CLI::App& command) {
    std::string words = fmt::format("\\fBkorv {}\\fR", Roff(command.get_name()));
    for (const CLI::Option* option : command.get_options()) {
        if (!option->nonpositional()) {
            const bool many = option->get_items_expected_max() > 1;
            words += fmt::format(" {}\\fI{}\\fR{}", many ? "\\-\\- " : "",
                                 Roff(option->get_name(true)), many ? " ..." : "");
        } else if (option->get_required()) {
            words += fmt::format(" \\fB{}\\fR \\fI{}\\fR",
                                 Roff(option->get_snames().empty() ? "--" + option->get_lnames()[0]
                                                                   : "-" + option->get_snames()[0]),
                                 Roff(option->get_type_name()));
        }
    }
    return words + " [\\fIoptions\\fR]";
}

} // namespace

std::string ToolPage(const CLI::App& tool) {
    std::string roff = Head("korv", "draws with the KORV32 display driver on modelled boards");
    roff += ".SH SYNOPSIS\n\\fBkorv\\fR \\fIcommand\\fR [\\fIoptions\\fR]\n.SH DESCRIPTION\n" +
            Roff(tool.get_description()) + "\n.SH COMMANDS\n";
    for (const CLI::App* command : CommandsOf(tool)) {
        roff +=
            fmt::format(".TP\n\\fB{}\\fR\n{}; see\n.BR korv\\-{} (1)\n", Roff(command->get_name()),
                        Roff(command->get_description()), Roff(command->get_name()));
    }
    roff += ".SH OPTIONS\n" + Options(tool) + Sections(tool.get_footer());
    return roff + ".SH EXIT STATUS\n0 if all went well, 1 if an expectation of a script does not "
                  "hold, 2 for bad input or output that cannot be written.\n";
}

std::string CommandPage(const CLI::App& command) {
    return Head("korv-" + command.get_name(), command.get_description()) + ".SH SYNOPSIS\n" +
           Synopsis(command) + "\n.SH OPTIONS\n" + Options(command) +
           Sections(command.get_footer()) + ".SH SEE ALSO\n.BR korv (1)\n";
}

void WritePages(const CLI::App& tool, const std::filesystem::path& folder) {
    const auto write = [&](const std::string& name, const std::string& text) {
        WriteFile(folder / name, std::as_bytes(std::span(text)));
    };
    MakeFolder(folder);
    write("korv.1", ToolPage(tool));
    for (const CLI::App* command : CommandsOf(tool)) {
        write(fmt::format("korv-{}.1", command->get_name()), CommandPage(*command));
    }
    write("korv.bash", BashCompletion(tool));
    write("_korv", ZshCompletion(tool));
}

} // namespace korv
