#include "tools/korv/commands/cli/usage.h"

#include "tools/korv/base/errors.h"
#include "tools/korv/base/text.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <map>

namespace korv {

namespace {

std::vector<std::string> NamesOf(const CLI::Option& option) {
    std::vector<std::string> names;
    for (const std::string& name : option.get_snames()) {
        names.push_back("-" + name);
    }
    for (const std::string& name : option.get_lnames()) {
        names.push_back("--" + name);
    }
    return names;
}

// A word on the command line that is an option.
struct Given {
    const CLI::Option* option = nullptr;
    std::string name;
    bool hasValue = false; // in the same word
};

class Check {
  public:
    Check(const CLI::App& command, const std::string& name) : command_(command), name_(name) {}

    void Run(std::span<const std::string> words) {
        size_t at = 0;
        while (at < words.size() && words[at] != "--") {
            const std::string& word = words[at++];
            if (word.size() < 2 || word[0] != '-') {
                Positional(word);
                continue;
            }
            const Given given = Look(word);
            if (given.option == command_.get_help_ptr()) {
                return;
            }
            if (given.option == nullptr) {
                Fault(Unknown(given.name));
                continue;
            }
            const bool again = count_[given.option]++ > 0;
            if (!TakesValue(*given.option)) {
                if (given.hasValue) {
                    Fault(fmt::format("'{}' takes no value", given.name));
                }
                continue;
            }
            const bool many = given.option->get_items_expected_max() > 1;
            if (again && !many) {
                Fault(fmt::format("'{}' is given twice", given.name));
            }
            if (given.hasValue ? word.ends_with('=') && given.name.starts_with("--")
                               : at == words.size()) {
                Fault(fmt::format("'{}' needs a value", given.name));
            }
            at += !given.hasValue;
            while (many && at < words.size() && !words[at].starts_with('-')) {
                ++at;
            }
        }
        for (++at; at < words.size(); ++at) {
            Positional(words[at]);
        }
        Missing();
        Excluded();
        if (!fault_.empty()) {
            throw UsageError(fault_);
        }
    }

  private:
    void Fault(const std::string& text) {
        if (fault_.empty()) {
            fault_ = text;
        }
    }

    Given Look(const std::string& word) const {
        const bool isLong = word.starts_with("--");
        const size_t end = isLong ? std::min(word.find('='), word.size()) : 2;
        Given given{nullptr, word.substr(0, end), end != word.size()};
        for (const CLI::Option* option : command_.get_options()) {
            if (std::ranges::count(NamesOf(*option), given.name) != 0) {
                given.option = option;
            }
        }
        if (given.option == nullptr && !isLong) {
            given.name = word;
        }
        return given;
    }

    std::string Unknown(const std::string& name) const {
        return fmt::format("unknown option '{}' for '{}': the nearest is '{}'", name, name_,
                           Nearest(name, OptionNames(command_)));
    }

    void Positional(const std::string& word) {
        for (const CLI::Option* option : command_.get_options()) {
            if (option->nonpositional()) {
                continue;
            }
            if (count_[option] == 0 || option->get_items_expected_max() > 1) {
                ++count_[option];
                return;
            }
        }
        Fault(fmt::format("unexpected '{}' for '{}'", word, name_));
    }

    void Missing() {
        for (const CLI::Option* option : command_.get_options()) {
            if (option->get_required() && count_[option] == 0) {
                const auto names = NamesOf(*option);
                Fault(fmt::format("'{}' needs {}{}", name_,
                                  names.empty() ? option->get_name(true) : names.back(),
                                  names.empty() ? "" : " " + option->get_type_name()));
            }
        }
    }

    void Excluded() {
        for (const CLI::Option* option : command_.get_options()) {
            for (const CLI::Option* other : option->get_excludes()) {
                if (count_[option] != 0 && count_[other] != 0) {
                    Fault(fmt::format("'{}' and '{}' exclude each other", NamesOf(*option).back(),
                                      NamesOf(*other).back()));
                }
            }
        }
    }

    const CLI::App& command_;
    const std::string name_;
    std::map<const CLI::Option*, int> count_;
    std::string fault_;
};

} // namespace

std::vector<const CLI::App*> CommandsOf(const CLI::App& tool) {
    return tool.get_subcommands([](const CLI::App*) { return true; });
}

std::vector<std::string> CommandNames(const CLI::App& tool) {
    std::vector<std::string> names;
    for (const CLI::App* command : CommandsOf(tool)) {
        names.push_back(command->get_name());
    }
    return names;
}

void CheckUsage(const CLI::App& tool, std::span<const std::string> words) {
    if (words.empty()) {
        throw UsageError("no command given: expected one of " +
                         CLI::detail::join(CommandNames(tool), ", "));
    }
    const std::string& first = words[0];
    const auto options = OptionNames(tool);
    if (std::ranges::count(options, first) != 0) {
        return;
    }
    const CLI::App* command = CommandIn(tool, words);
    if (command == nullptr) {
        const bool option = first.starts_with('-');
        throw UsageError(fmt::format("unknown {} '{}': the nearest is '{}'",
                                     option ? "option" : "command", first,
                                     Nearest(first, option ? options : CommandNames(tool))));
    }
    Check(*command, first).Run(words.subspan(1));
}

const CLI::App* CommandIn(const CLI::App& tool, std::span<const std::string> words) {
    for (const CLI::App* command : CommandsOf(tool)) {
        if (!words.empty() && command->get_name() == words[0]) {
            return command;
        }
    }
    return nullptr;
}

std::vector<std::string> OptionNames(const CLI::App& command) {
    std::vector<std::string> all;
    for (const CLI::Option* option : command.get_options()) {
        for (const std::string& name : NamesOf(*option)) {
            all.push_back(name);
        }
    }
    return all;
}

bool TakesValue(const CLI::Option& option) {
    return option.get_type_size_max() != 0 && option.get_items_expected_max() != 0;
}

} // namespace korv
