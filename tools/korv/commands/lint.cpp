#include "stream/lint.h"

#include "tools/korv/base/errors.h"
#include "tools/korv/base/listing.h"
#include "tools/korv/base/text.h"
#include "tools/korv/commands/cli/command.h"
#include "tools/korv/commands/cli/stream_options.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <fmt/ostream.h>
#include <nlohmann/json.hpp>

#include <memory>
#include <vector>

namespace korv {

namespace {

struct LintArguments {
    StreamArguments stream;
    std::vector<std::string> without, only;
    bool json = false;
};

const stream::RuleRow& RuleNamed(const std::string& name) {
    if (const stream::RuleRow* row = stream::FindRule(name)) {
        return *row;
    }
    std::vector<std::string> names;
    for (const stream::RuleRow& row : stream::Rules()) {
        names.push_back(row.name);
    }
    throw UsageError(
        fmt::format("unknown rule '{}': the nearest is '{}'", name, Nearest(name, names)));
}

std::set<stream::Rule> Chosen(const LintArguments& arguments) {
    std::set<stream::Rule> rules;
    for (const std::string& name : arguments.only) {
        rules.insert(RuleNamed(name).rule);
    }
    if (arguments.only.empty()) {
        for (const stream::RuleRow& row : stream::Rules()) {
            rules.insert(row.rule);
        }
    }
    for (const std::string& name : arguments.without) {
        rules.erase(RuleNamed(name).rule);
    }
    return rules;
}

const stream::RuleRow& RowOf(stream::Rule rule) {
    return stream::Rules()[static_cast<size_t>(rule)];
}

void Report(const std::vector<stream::Finding>& findings, const LintArguments& arguments,
            Console& console) {
    if (arguments.json) {
        nlohmann::ordered_json list = nlohmann::ordered_json::array();
        for (const stream::Finding& one : findings) {
            const stream::RuleRow& row = RowOf(one.rule);
            list.push_back({{"rule", row.name},
                            {"kind", row.wrong ? "wrong" : "wasteful"},
                            {"subject", one.subject},
                            {"text", one.text},
                            {"times", one.times}});
            list.back().update(stream::ToJson(one.at, one.word));
        }
        const nlohmann::ordered_json report{{"file", arguments.stream.file}, {"findings", list}};
        fmt::print(console.out, "{}\n", report.dump(2));
        return;
    }
    using Colour = Listing::Colour;
    Listing listing(console.out);
    std::ostream& out = listing.Out();
    const char* const plain = listing.Escape(Colour::Plain);
    uint64_t wrong = 0;
    for (const stream::Finding& one : findings) {
        const stream::RuleRow& row = RowOf(one.rule);
        wrong += row.wrong ? 1 : 0;
        fmt::print(out, "{}{}{}: {}{}{}: {} {}[{}]{}{}\n", listing.Escape(Colour::Heading),
                   stream::TextOf(one.at, one.word), plain,
                   listing.Escape(row.wrong ? Colour::Bad : Colour::Number),
                   row.wrong ? "wrong" : "wasteful", plain, one.text, listing.Escape(Colour::Dim),
                   row.name, plain,
                   one.times > 1 ? fmt::format(", {} times in all", one.times) : "");
    }
    fmt::print(out, "{}: {}\n", Printable(arguments.stream.file),
               findings.empty()
                   ? "nothing found"
                   : fmt::format("{} wrong, {} wasteful", wrong, findings.size() - wrong));
}

void Lint(const LintArguments& arguments, Console& console) {
    const std::set<stream::Rule> rules = Chosen(arguments);
    StreamInput input(arguments.stream);
    const std::vector<stream::Finding> findings = input.Run([&] {
        stream::Player player(input.Source());
        return stream::Lint(player, rules);
    });
    input.WarnOfCut(console);
    Report(findings, arguments, console);
    if (!findings.empty()) {
        throw ExitStatus{kExitUnexpected};
    }
}

std::string Footer() {
    std::string text = "Rules:\n";
    for (const stream::RuleRow& row : stream::Rules()) {
        text += fmt::format("  {:19}{}{}\n", row.name, row.about, row.wrong ? "" : " (wasteful)");
    }
    return text + R"(
A line tells where something was found first, what, and how often; of a register once. The exit
code is 0 if nothing was found, 1 if something was. Raw words have neither batches nor surfaces,
and nobody waits for room for them: the rules about these find nothing there.

Examples:
  korv lint session.korv
  korv lint session.korv --without redundant-state --without unwaited-entry
  korv lint words.bin --chip permedia --only malformed-tag --json
)";
}

void SetUpLint(CLI::App& command, Console& console) {
    auto arguments = std::make_shared<LintArguments>();
    AddStreamArguments(command, arguments->stream);
    command.add_option("--without", arguments->without, "Leave out this rule; may be repeated")
        ->type_name("RULE")
        ->allow_extra_args(false);
    command.add_option("--only", arguments->only, "Take this rule alone; may be repeated")
        ->type_name("RULE")
        ->allow_extra_args(false);
    command.add_flag("--json", arguments->json, "Tell the findings as JSON");
    command.footer(Footer());
    command.callback([arguments, &console] { Lint(*arguments, console); });
}

} // namespace

extern const Command kLintCommand{"lint", CommandGroup::Check,
                                  "Name what is wrong or wasteful in a stream", SetUpLint};

} // namespace korv
