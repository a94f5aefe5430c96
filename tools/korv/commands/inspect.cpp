#include "stream/error.h"
#include "stream/source.h"
#include "tools/korv/base/errors.h"
#include "tools/korv/base/files.h"
#include "tools/korv/base/text.h"
#include "tools/korv/commands/cli/command.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <fmt/ostream.h>

#include <memory>
#include <sstream>

namespace korv {

namespace {

// Where the page has room for a capture.
constexpr std::string_view kRoom = "<!--capture-->";

struct InspectArguments {
    std::string capture, output, page;
};

std::string Base64(std::string_view bytes) {
    constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (size_t i = 0; i < bytes.size(); i += 3) {
        uint32_t group = 0;
        for (size_t j = i; j < i + 3; ++j) {
            group = group << 8 | (j < bytes.size() ? static_cast<uint8_t>(bytes[j]) : 0u);
        }
        for (size_t digit = 0; digit < 4; ++digit) {
            text += i + digit <= bytes.size() ? kDigits[group >> (18 - 6 * digit) & 63] : '=';
        }
    }
    return text;
}

// As an attribute's value.
std::string Escaped(const std::string& text) {
    std::string escaped;
    for (const char c : Printable(text)) {
        switch (c) {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '"':
            escaped += "&quot;";
            break;
        default:
            escaped += c;
        }
    }
    return escaped;
}

// The page that was named, that is installed with this tool, or that ./page.sh has built beside it.
std::filesystem::path PageFor(const InspectArguments& arguments) {
    if (!arguments.page.empty()) {
        return arguments.page;
    }
    std::error_code none;
    const std::filesystem::path folder =
        std::filesystem::read_symlink("/proc/self/exe", none).parent_path();
    for (const std::filesystem::path& page :
         {folder / "../share/korv32/korv.html", folder / "../../../web/korv.html"}) {
        if (FileExists(page)) {
            return page.lexically_normal();
        }
    }
    throw UserError("there is no page beside the tool: './page.sh' builds one, '--page' names it");
}

// UserError for what is no capture.
void CheckCapture(const std::string& name, const std::string& bytes) {
    std::istringstream in(bytes);
    try {
        stream::OpenSource(in);
    } catch (const stream::StreamError& error) {
        throw UserError(fmt::format("'{}': {}", name, error.what()));
    }
}

void Inspect(const InspectArguments& arguments, Console& console) {
    OutputFile output(arguments.output);
    const std::string capture = ReadFile(arguments.capture);
    CheckCapture(arguments.capture, capture);
    const std::filesystem::path path = PageFor(arguments);
    const std::string page = ReadFile(path);
    const size_t room = page.find(kRoom);
    if (room == std::string::npos) {
        throw UserError(fmt::format("'{}' is no page that takes a capture: expected the korv.html "
                                    "of './page.sh'",
                                    path.string()));
    }
    fmt::print(output.Stream(),
               "{}<script type=\"text/plain\" id=\"capture\" data-name=\"{}\">{}</script>{}",
               std::string_view(page).substr(0, room),
               Escaped(std::filesystem::path(arguments.capture).filename().string()),
               Base64(capture), std::string_view(page).substr(room + kRoom.size()));
    output.Close();
    output.Commit();
    fmt::print(console.Report(), "{}: the page with {} in it\n", Printable(arguments.output),
               Printable(arguments.capture));
}

void SetUpInspect(CLI::App& command, Console& console) {
    auto arguments = std::make_shared<InspectArguments>();
    command.add_option("FILE", arguments->capture, "The capture")->type_name("")->required();
    command.add_option("-o,--output", arguments->output, "The report; - for standard output")
        ->type_name("OUT.html")
        ->required();
    command
        .add_option("--page", arguments->page,
                    "The korv.html to put it into (default: the one beside the tool)")
        ->type_name("FILE");
    command.footer(R"(The report is one file that any browser opens from disk, without a network.

Example:
  korv render scenes/torus-knot.obj --chip tx --zbuffer --capture knot.korv -o knot.png
  korv inspect knot.korv -o knot.html
)");
    command.callback([arguments, &console] { Inspect(*arguments, console); });
}

} // namespace

extern const Command kInspectCommand{"inspect", CommandGroup::Look,
                                     "Put a capture into a page to look through it in a browser",
                                     SetUpInspect};

} // namespace korv
