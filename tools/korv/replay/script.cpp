#include "tools/korv/replay/script.h"

#include "host/ddraw/results.h"
#include "host/inspect/contexts.h"
#include "host/observe/observer.h"
#include "stream/explain.h"
#include "tools/korv/base/crash_note.h"
#include "tools/korv/base/errors.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>

namespace korv {

namespace {

// --- reading ---

const StepKind* FindStep(std::string_view name) {
    for (const std::span<const StepKind> kinds :
         {BringUpSteps(), SurfaceSteps(), ContentSteps(), BlitSteps(), ContextSteps(), StateSteps(),
          PrimitiveSteps(), ModeSteps(), FlipSteps(), LockSteps(), BeamSteps(), VideoSteps(),
          CheckSteps(), OutputSteps(), CallSteps(), ExportSteps()}) {
        for (const StepKind& kind : kinds) {
            if (kind.name == name) {
                return &kind;
            }
        }
    }
    return nullptr;
}

// A hexadecimal number with at most eight digits at the front of `text`, which moves behind it.
std::optional<uint32_t> TakeHex(std::string_view& text) {
    const size_t start = text.find_first_not_of(' ');
    text.remove_prefix(std::min(start, text.size()));
    const std::string_view digits = text.substr(0, text.find_first_of(" ;"));
    uint32_t word = 0;
    const auto parsed = std::from_chars(digits.data(), digits.data() + digits.size(), word, 16);
    if (parsed.ec != std::errc() || parsed.ptr != digits.data() + digits.size()) {
        return {};
    }
    text.remove_prefix(digits.size());
    return word;
}

// "00010040" or a line of event text: "d 00010040 ; Render = ...".
uint32_t ReadStreamWord(const Node& node) {
    const std::string line = node.Text();
    std::string_view text = line;
    if (text.starts_with("d ") || text.starts_with("f ")) {
        text.remove_prefix(2);
    }
    const auto word = TakeHex(text);
    const size_t rest = text.find_first_not_of(' ');
    if (!word || (rest != std::string_view::npos && text[rest] != ';')) {
        node.Fail(fmt::format("'{}' is no word: expected eight hexadecimal digits", line));
    }
    return *word;
}

// "OFFSET VALUE" or a line of event text: "w 8C40 00000000 Sync".
RegisterWrite ReadRegisterWrite(const Node& node) {
    const std::string line = node.Text();
    std::string_view text = line;
    if (text.starts_with("w ")) {
        text.remove_prefix(2);
    }
    const auto offset = TakeHex(text);
    const auto value = offset ? TakeHex(text) : std::nullopt;
    if (!value) {
        node.Fail(
            fmt::format("'{}' is no register write: expected hexadecimal offset and value", line));
    }
    return {*offset, *value};
}

// A list for the only display, or an object with a list for each that is named.
template <class Read>
void ReadByDisplay(const Node& node, const Names& names, const Read& read) {
    if (node.IsObject()) {
        Fields fields(node);
        for (const auto& [name, list] : fields.All()) {
            if (!names.Of(NameKind::Display).contains(name)) {
                list.Fail(fmt::format("no step before this one makes a display '{}'", name));
            }
            read(name, list);
        }
    } else if (names.Of(NameKind::Display).size() == 1) {
        read(*names.Of(NameKind::Display).begin(), node);
    } else {
        node.Fail("there is not one display: expected an object of lists by display");
    }
}

// A field for people alone.
void CheckText(Fields& fields, const std::string& name) {
    if (const auto text = fields.Find(name)) {
        text->Text();
    }
}

ScriptStep ReadStep(const Node& node, Names& names) {
    Fields fields(node);
    const Node kind = fields["do"];
    const StepKind* found = FindStep(kind.Name());
    if (found == nullptr) {
        kind.Fail(fmt::format("unknown step '{}'", kind.Text()));
    }
    ScriptStep step{node, kind.Text(), found->read(fields, names), {}, {}, {}};
    CheckText(fields, "note");
    if (const auto expect = fields.Find("expect")) {
        Fields expected(*expect);
        for (const auto& [field, value] : expected.All()) {
            const auto fieldKind = step.plan.fieldKind(field);
            if (!fieldKind) {
                value.Fail(fmt::format("a step '{}' has no outcome '{}'", step.kind, field));
            }
            step.fields.push_back({value, field, *fieldKind, ReadBits(value, *fieldKind, names)});
        }
    }
    if (const auto words = fields.Find("expectWords")) {
        ReadByDisplay(*words, names, [&](const std::string& display, const Node& list) {
            WordExpectation expectation{list, display, {}};
            for (const Node& word : list.List()) {
                expectation.words.push_back(ReadStreamWord(word));
            }
            step.words.push_back(std::move(expectation));
        });
    }
    if (const auto registers = fields.Find("expectRegister")) {
        ReadByDisplay(*registers, names, [&](const std::string& display, const Node& list) {
            RegisterExpectation expectation{list, display, {}};
            for (const Node& write : list.List()) {
                expectation.writes.push_back(ReadRegisterWrite(write));
            }
            step.registers.push_back(std::move(expectation));
        });
    }
    fields.Done();
    return step;
}

// --- playing ---

// What was written between two moments: the words sent in between and those pending at the end,
// without those that were pending at the start.
std::vector<uint32_t> AddedWords(std::vector<uint32_t> sent, const host::UnsentByContext& before,
                                 host::UnsentByContext after) {
    for (const auto& [handle, words] : before) {
        const auto found = std::search(sent.begin(), sent.end(), words.begin(), words.end());
        if (found != sent.end()) {
            sent.erase(found, found + static_cast<ptrdiff_t>(words.size()));
            continue;
        }
        const auto still = after.find(handle);
        if (still != after.end() && still->second.size() >= words.size()) {
            still->second.erase(still->second.begin(),
                                still->second.begin() + static_cast<ptrdiff_t>(words.size()));
        }
    }
    for (const auto& [handle, words] : after) {
        sent.insert(sent.end(), words.begin(), words.end());
    }
    return sent;
}

// The first difference of two lists of words, in a line for people.
std::optional<std::string> WordDifference(const std::vector<uint32_t>& expected,
                                          const std::vector<uint32_t>& got) {
    if (expected == got) {
        return {};
    }
    const size_t at = std::ranges::mismatch(expected, got).in1 - expected.begin();
    stream::Explainer explainer;
    const auto show = [&](const std::vector<uint32_t>& words) -> std::string {
        return at < words.size() ? fmt::format("{:08X}", words[at]) : "nothing";
    };
    std::string meaning;
    for (size_t i = 0; i <= at && i < got.size(); ++i) {
        meaning = explainer.Explain(got[i]);
    }
    return fmt::format("word {} of {}: expected {}, got {}{}", at, expected.size(), show(expected),
                       show(got),
                       at < got.size() ? fmt::format(" ({}; {} words in all)", meaning, got.size())
                                       : std::string());
}

std::optional<std::string> WriteDifference(const std::vector<RegisterWrite>& expected,
                                           const std::vector<RegisterWrite>& all) {
    std::vector<RegisterWrite> got;
    for (const RegisterWrite& write : all) {
        if (std::ranges::find(expected, write.offset, &RegisterWrite::offset) != expected.end()) {
            got.push_back(write);
        }
    }
    const auto show = [](const std::vector<RegisterWrite>& writes, size_t at) -> std::string {
        return at < writes.size()
                   ? fmt::format("{:04X} {:08X}", writes[at].offset, writes[at].value)
                   : "nothing";
    };
    for (size_t i = 0; i < std::max(expected.size(), got.size()); ++i) {
        if (show(expected, i) != show(got, i)) {
            return fmt::format("write {}: expected {}, got {}", i, show(expected, i), show(got, i));
        }
    }
    return {};
}

void PlayStep(const ScriptStep& step, Player& player, Outcome& outcome, const std::string& place) {
    try {
        step.plan.play(player, outcome);
    } catch (const NotThereError& error) {
        step.node.Fail(error.what());
    } catch (const std::invalid_argument& error) {
        step.node.Fail(error.what());
    } catch (const host::ResultError& error) {
        throw UnexpectedError(fmt::format("{}: {}", place, error.what()));
    } catch (const std::bad_alloc&) {
        step.node.Fail("out of memory");
    }
}

} // namespace

HalScript::HalScript(const std::filesystem::path& path)
    : HalScript(std::make_unique<const ScriptFile>(path)) {}

HalScript::HalScript(const std::filesystem::path& path, const std::string& text)
    : HalScript(std::make_unique<const ScriptFile>(path, text)) {}

HalScript::HalScript(std::unique_ptr<const ScriptFile> file) {
    Names names;
    std::vector<const ScriptFile*> open;
    Read(std::move(file), names, open);
    displays_ = names.Of(NameKind::Display).size();
}

void HalScript::Read(std::unique_ptr<const ScriptFile> file, Names& names,
                     std::vector<const ScriptFile*>& open) {
    open.push_back(file.get());
    Fields fields(Node::RootOf(*files_.emplace_back(std::move(file))));
    const Node version = fields["version"];
    if (version.Number(0, ~0u >> 1) != kScriptVersion) {
        version.Fail(fmt::format("unknown version {}: this is a player of version {}",
                                 version.Number(0, ~0u >> 1), kScriptVersion));
    }
    CheckText(fields, "title");
    CheckText(fields, "note");
    for (const Node& step : fields["steps"].List()) {
        if (step.Contains("include")) {
            Include(step, names, open);
        } else {
            steps_.push_back(ReadStep(step, names));
        }
    }
    fields.Done();
    open.pop_back();
}

void HalScript::Include(const Node& step, Names& names, std::vector<const ScriptFile*>& open) {
    Fields fields(step);
    const Node include = fields["include"];
    const auto path = step.File().Path().parent_path() / include.Name();
    CheckText(fields, "note");
    fields.Done();
    for (const ScriptFile* one : open) {
        std::error_code missing;
        if (std::filesystem::equivalent(one->Path(), path, missing)) {
            include.Fail(fmt::format("'{}' would include itself", path.string()));
        }
    }
    std::unique_ptr<const ScriptFile> file;
    try {
        file = std::make_unique<const ScriptFile>(path);
    } catch (const UserError& error) {
        include.Fail(error.what());
    }
    Read(std::move(file), names, open);
}

void HalScript::Play(Player& player, StepWatch* watch) const {
    for (size_t number = 0; number < steps_.size(); ++number) {
        const ScriptStep& step = steps_[number];
        Tell(&host::Observer::OnStep, static_cast<uint32_t>(number), step.kind);
        std::map<std::string, host::UnsentByContext> before;
        for (auto& [name, one] : player.Displays()) {
            one.tap->words.clear();
            one.tap->writes.clear();
            if (!step.words.empty()) {
                before[name] = host::UnsentWords(one.display->Chip());
            }
        }
        const auto place =
            fmt::format("{}step {} '{}'", step.node.File().Place(step.node.Pointer()),
                        step.node.Pointer(), step.kind);
        CrashNote::Set(place);
        Outcome outcome;
        if (watch != nullptr) {
            watch->Before(number, player);
        }
        try {
            PlayStep(step, player, outcome, place);
        } catch (const std::runtime_error& error) { // UserError, UnexpectedError
            if (watch == nullptr) {
                throw;
            }
            watch->PassedOver(number, player, error.what());
            continue;
        }
        if (watch != nullptr) {
            watch->After(number, player, outcome);
        }

        std::string lines;
        const auto complain = [&](const Node& node, const std::string& what) {
            lines += fmt::format("{}step {} '{}': {}\n", node.File().Place(node.Pointer()),
                                 step.node.Pointer(), step.kind, what);
        };
        bool resultTold = false;
        for (const FieldExpectation& expectation : step.fields) {
            resultTold |= expectation.field == "result";
            const uint32_t expected = expectation.bits(player);
            const auto got = outcome.Find(expectation.field);
            if (got != expected) {
                complain(expectation.node,
                         fmt::format("{}: expected {}, got {}", expectation.field,
                                     ShowBits(player, expectation.kind, expected),
                                     got ? ShowBits(player, expectation.kind, *got) : "nothing"));
            }
        }
        if (step.plan.resultIsOk && !resultTold && watch == nullptr) {
            if (const auto got = outcome.Find("result"); got != uint32_t{DD_OK}) {
                complain(step.node, fmt::format("result: expected DD_OK, got {}",
                                                got ? host::ResultName(*got) : "nothing"));
            }
        }
        for (const WordExpectation& expectation : step.words) {
            const PlayedDisplay& one = player.Display(expectation.display);
            const auto difference = WordDifference(
                expectation.words, AddedWords(one.tap->words, before[expectation.display],
                                              host::UnsentWords(one.display->Chip())));
            if (difference) {
                complain(expectation.node, "expectWords: " + *difference);
            }
        }
        for (const RegisterExpectation& expectation : step.registers) {
            const PlayedDisplay& one = player.Display(expectation.display);
            if (const auto difference = WriteDifference(expectation.writes, one.tap->writes)) {
                complain(expectation.node, "expectRegister: " + *difference);
            }
        }
        if (!lines.empty()) {
            throw UnexpectedError(lines);
        }
    }
}

} // namespace korv
