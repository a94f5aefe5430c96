#include "tools/korv/base/errors.h"
#include "tools/korv/base/listing.h"
#include "tools/korv/base/progress.h"
#include "tools/korv/base/text.h"
#include "tools/korv/commands/cli/breaks.h"
#include "tools/korv/commands/cli/command.h"
#include "tools/korv/commands/cli/values.h"
#include "tools/korv/conform/case_json.h"
#include "tools/korv/conform/export.h"
#include "tools/korv/conform/kit.h"
#include "tools/korv/conform/program_board.h"
#include "tools/korv/conform/report.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <fmt/ostream.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <map>
#include <memory>
#include <optional>

namespace korv {

namespace {

constexpr const char* kListAction = "list";
constexpr const char* kRunAction = "run";
constexpr const char* kExportAction = "export";

// Failures that a run tells without a report.
constexpr size_t kToldFailures = 25;

struct ConformArguments {
    std::string action, folder;
    conform::Filter filter;
    std::string program, report, wrong;
    double timeout = 10;
    bool timeoutGiven = false, json = false, golden = false;
};

// Unit by unit, a line for each case and the chips that it is made for.
void ListByUnit(std::span<const conform::Case> cases, Console& console) {
    std::map<std::string, std::string> abouts;
    for (const conform::Description& one : conform::AllDescriptions()) {
        abouts[one.unit] = one.about;
    }
    std::vector<std::string> order;
    std::map<std::string, std::string> chips; // by unit and case
    size_t width = 0;
    for (const conform::Case& one : cases) {
        const std::string name = one.unit + "/" + one.name;
        if (chips[name].empty()) {
            order.push_back(name);
        }
        chips[name] += " " + one.chip;
        width = std::max(width, name.size());
    }
    Listing listing(console.out);
    std::string unit;
    for (const std::string& name : order) {
        if (const std::string here = name.substr(0, name.find('/')); here != unit) {
            fmt::print(listing.Out(), "{}{}: {}\n", unit.empty() ? "" : "\n", here, abouts[here]);
            unit = here;
        }
        fmt::print(listing.Out(), "  {:{}}  @{}\n", name, width, chips[name]);
    }
    fmt::print(listing.Out(), "{}{}\n", unit.empty() ? "" : "\n", Count(cases.size(), "case"));
}

void ListCases(const ConformArguments& arguments, Console& console) {
    const std::vector<conform::Case> cases = conform::Chosen(arguments.filter);
    if (arguments.golden) {
        fmt::print(console.out, "; What our board makes of the cases: 'korv conform list --golden' "
                                "writes this.\n");
        for (const conform::Case& one : cases) {
            fmt::print(console.out, "{}\n", conform::GoldenLine(one.id, conform::GoldenOf(one)));
        }
        return;
    }
    if (arguments.json) {
        nlohmann::ordered_json list{{"kit", conform::kKitVersion},
                                    {"cases", nlohmann::ordered_json::array()}};
        for (const conform::Case& one : cases) {
            list["cases"].push_back(conform::CaseJson(one));
        }
        fmt::print(console.out, "{}\n", list.dump(2));
        return;
    }
    ListByUnit(cases, console);
}

class ConformRun {
  public:
    ConformRun(const ConformArguments& arguments, Console& console)
        : arguments_(arguments), console_(console), wrong_(BreakByName(arguments.wrong)),
          cases_(conform::Chosen(arguments.filter)) {}

    void Run() {
        if (!arguments_.report.empty()) {
            report_.emplace(arguments_.report);
        }
        if (arguments_.program.empty()) {
            board_ = wrong_ == board::Break::None ? "korv's own board"
                                                  : "korv's own board, broken: " + arguments_.wrong;
            results_ = conform::RunOwn(cases_, wrong_);
        } else {
            AskProgram();
        }
        Tell();
    }

  private:
    void AskProgram() {
        conform::ProgramBoard program(
            arguments_.program,
            std::chrono::milliseconds(static_cast<int64_t>(arguments_.timeout * 1000)));
        try {
            board_ = program.Name();
        } catch (const conform::SubjectError& error) {
            throw UserError(error.what());
        }
        Progress progress(console_.err, cases_.size());
        results_ =
            conform::RunProgram(cases_, program,
                                [&](const conform::Result& result, const conform::Outcome& expected,
                                    const conform::Outcome& found) {
                                    progress.Begin(result.one->id);
                                    if (report_ && result.kind == conform::Result::Kind::Failed) {
                                        report_->Draw(result, expected, found);
                                    }
                                });
    }

    void Tell() {
        if (report_) {
            report_->Finish(results_, board_);
        }
        const conform::Counts counts = conform::CountsOf(results_);
        if (arguments_.json) {
            fmt::print(console_.out, "{}\n", conform::ReportJson(results_, board_).dump(2));
        } else {
            TellFailures();
            fmt::print(console_.out, "{}", conform::Table(results_));
        }
        if (counts.failed + counts.lost != 0) {
            throw ExitStatus{kExitUnexpected};
        }
    }

    void TellFailures() {
        size_t told = 0, more = 0;
        for (const conform::Result& result : results_) {
            if (result.kind != conform::Result::Kind::Failed &&
                result.kind != conform::Result::Kind::Lost) {
                continue;
            }
            if (told == kToldFailures) {
                ++more;
                continue;
            }
            ++told;
            fmt::print(console_.out, "{}\n", conform::LineOf(result));
        }
        if (more != 0) {
            fmt::print(console_.out, "... and {} more: --json tells all\n", more);
        }
        if (told != 0) {
            fmt::print(console_.out, "\n");
        }
    }

    const ConformArguments& arguments_;
    Console& console_;
    const board::Break wrong_;
    const std::vector<conform::Case> cases_;
    std::optional<conform::ReportFolder> report_;
    std::string board_;
    std::vector<conform::Result> results_;
};

void CheckArguments(const ConformArguments& arguments) {
    const auto refuse = [&](bool given, const char* option, const char* action) {
        if (given && arguments.action != action) {
            throw UsageError(fmt::format("'{}' is for 'korv conform {}'", option, action));
        }
    };
    refuse(!arguments.program.empty(), "--exec", kRunAction);
    refuse(!arguments.report.empty(), "--report", kRunAction);
    refuse(!arguments.wrong.empty(), "--break", kRunAction);
    refuse(arguments.timeoutGiven, "--timeout", kRunAction);
    refuse(arguments.golden, "--golden", kListAction);
    refuse(!arguments.folder.empty(), arguments.folder.c_str(), kExportAction);
    if (arguments.action == kExportAction && arguments.folder.empty()) {
        throw UsageError("'korv conform export' needs DIR");
    }
    if (arguments.program.empty() && (arguments.timeoutGiven || !arguments.report.empty())) {
        throw UsageError("'--timeout' and '--report' are about a program: they need '--exec'");
    }
    if (!arguments.program.empty() && !arguments.wrong.empty()) {
        throw UsageError("'--break' is for our own board: a program is told by its own options");
    }
}

void Conform(const ConformArguments& arguments, Console& console) {
    CheckArguments(arguments);
    if (arguments.wrong == kListBreaks) {
        ListBreaks(console);
    } else if (arguments.action == kListAction) {
        ListCases(arguments, console);
    } else if (arguments.action == kRunAction) {
        ConformRun(arguments, console).Run();
    } else {
        const std::vector<conform::Case> cases = conform::Chosen(arguments.filter);
        conform::Export(cases, arguments.folder);
        fmt::print(console.Report(), "{}: {}\n", Printable(arguments.folder),
                   Count(cases.size(), "case"));
    }
}

constexpr const char* kConformFooter =
    R"(Cases are small programs for a graphics board, by unit and chip, with what must come of them.
'list' names them, 'run' runs them, 'export' writes them as files that need none of our code. Without
--exec they run on our board and are held to the list of results. With it PROGRAM is asked, a
command line of the shell that speaks the board protocol (docs/board-protocol.md); what it does is
compared with our board's, as exactly as each case says, and the run goes on behind failures, crashes and
programs that hang. docs/conformance.md tells more. The exit code is 1 if a case failed.

A unit or a chip has its exact name, a case is a pattern with *, of names like
fog/before-blend-0.5@tx. Options may be repeated.

Examples:
  korv conform list --unit fog
  korv conform run
  korv conform run --exec 'korv board' --chip tx
  korv conform run --exec './my-board --verbose' --report report
  korv conform run --break fog-after-blend
  korv conform export cases --unit dma
)";

void AddNames(CLI::App& command, const char* name, std::vector<std::string>& names,
              const char* type, const char* about) {
    command.add_option(name, names, about)->type_name(type)->allow_extra_args(false);
}

void SetUpConform(CLI::App& command, Console& console) {
    auto arguments = std::make_shared<ConformArguments>();
    AddChoice(command, "ACTION", arguments->action, {kListAction, kRunAction, kExportAction},
              "What to do")
        ->required();
    command.add_option("DIR", arguments->folder, "export: the folder to write")->type_name("DIR");
    AddNames(command, "--unit", arguments->filter.units, "UNIT", "Cases of this unit");
    AddNames(command, "--chip", arguments->filter.chips, "CHIP", "Cases for this chip");
    AddNames(command, "--case", arguments->filter.cases, "PATTERN", "Cases of such names");
    command.add_option("--exec", arguments->program, "run: the program that is the board")
        ->type_name("PROGRAM");
    AddNumber(command, "--timeout", arguments->timeout, 0.05, 3600,
              "run: seconds that PROGRAM may take for an answer (default 10)")
        ->each(
            [arguments = arguments.get()](const std::string&) { arguments->timeoutGiven = true; })
        ->type_name("SECONDS");
    command
        .add_option("--report", arguments->report,
                    "run: write a page with pictures of what differs into this folder")
        ->type_name("DIR");
    AddBreakOption(command, arguments->wrong, "run: our board is wrong in one way");
    command.add_flag("--json", arguments->json, "list, run: tell programs");
    command.add_flag("--golden", arguments->golden, "list: the list of results, made anew");
    command.footer(kConformFooter);
    command.callback([arguments, &console] { Conform(*arguments, console); });
}

} // namespace

extern const Command kConformCommand{"conform", CommandGroup::Check,
                                     "Check a graphics board, ours or another program's",
                                     SetUpConform};

} // namespace korv
