// What shells offer behind a word of the command line.
#include "tools/korv/chips/chips.h"
#include "tools/korv/commands/cli/pages.h"
#include "tools/korv/commands/cli/usage.h"
#include "tools/korv/commands/cli/values.h"
#include "tools/korv/scenes/scene.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <string>
#include <vector>

namespace korv {

namespace {

enum class Offer { Nothing, Words, Files, Folders, Commands };

struct Values {
    Offer offer = Offer::Nothing;
    std::string words; // for Offer::Words, with blanks between
};

// By what help calls the value.
Values ValuesOf(const CLI::Option& option) {
    const std::vector<std::string> choices = ChoicesOf(option);
    if (!choices.empty()) {
        return {Offer::Words, CLI::detail::join(choices, " ")};
    }
    const std::string kind =
        option.nonpositional() ? option.get_type_name() : option.get_name(true);
    std::vector<std::string> names;
    if (kind == "CHIP") {
        for (const ChipChoice& chip : Chips()) {
            names.emplace_back(chip.name);
        }
    } else if (kind == "SCENE") {
        for (const Scene& scene : Scenes()) {
            names.emplace_back(scene.name);
        }
    }
    if (!names.empty()) {
        return {Offer::Words, CLI::detail::join(names, " ")};
    }
    if (kind == "DIR") {
        return {Offer::Folders};
    }
    if (kind == "COMMAND") {
        return {Offer::Commands};
    }
    const bool file = kind.starts_with("FILE") || kind.starts_with("OUT") || kind == "PATH" ||
                      kind == "MODEL" || kind == "SCRIPT";
    return {file ? Offer::Files : Offer::Nothing};
}

std::string DashedNames(const CLI::Option& option, const char* between) {
    std::string names;
    for (const std::string& name : option.get_snames()) {
        names += (names.empty() ? "-" : between + std::string("-")) + name;
    }
    for (const std::string& name : option.get_lnames()) {
        names += (names.empty() ? "--" : between + std::string("--")) + name;
    }
    return names;
}

std::string BashAction(const Values& values, const CLI::App& tool) {
    switch (values.offer) {
    case Offer::Words:
        return fmt::format("_korv_words '{}'", values.words);
    case Offer::Commands:
        return fmt::format("_korv_words '{}'", CLI::detail::join(CommandNames(tool), " "));
    case Offer::Files:
        return "_korv_files -f";
    case Offer::Folders:
        return "_korv_files -d";
    default:
        return ":";
    }
}

// Between single quotes, inside [...] or : : of _arguments.
std::string Zsh(const std::string& text) {
    std::string quoted;
    for (const char c : text) {
        if (c == '\'') {
            quoted += "'\\''";
        } else {
            quoted += (c == '[' || c == ']' || c == ':' || c == '\\') ? std::string{'\\', c}
                                                                      : std::string(1, c);
        }
    }
    return quoted;
}

std::string ZshAction(const Values& values, const CLI::App& tool) {
    switch (values.offer) {
    case Offer::Words:
        return "(" + values.words + ")";
    case Offer::Commands:
        return "(" + CLI::detail::join(CommandNames(tool), " ") + ")";
    case Offer::Files:
        return "_files";
    case Offer::Folders:
        return "_files -/";
    default:
        return " ";
    }
}

std::string ZshArgument(const CLI::Option& option, const CLI::App& tool) {
    const std::string action = ZshAction(ValuesOf(option), tool);
    if (!option.nonpositional()) {
        const bool many = option.get_items_expected_max() > 1;
        return fmt::format("'{}:{}:{}'", many ? "*" : "", Zsh(option.get_name(true)), action);
    }
    std::string specs;
    const std::string value =
        TakesValue(option) ? fmt::format(":{}:{}", Zsh(option.get_type_name()), action) : "";
    std::istringstream names(DashedNames(option, " "));
    for (std::string name; names >> name;) {
        specs += fmt::format("{}'{}{}[{}]{}'", specs.empty() ? "" : " ",
                             option.get_items_expected_max() > 1 ? "*" : "", name,
                             Zsh(option.get_description()), value);
    }
    return specs;
}

} // namespace

std::string BashCompletion(const CLI::App& tool) {
    std::string text = R"(# Completion of korv for bash.
_korv_words() { mapfile -t COMPREPLY < <(compgen -W "$1" -- "$current"); }
_korv_files() { compopt -o filenames 2>/dev/null; mapfile -t COMPREPLY < <(compgen "$1" -- "$current"); }
_korv() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]} at=1 i
  COMPREPLY=()
  # Behind 'trace --' begins another command.
  if [ "${COMP_WORDS[1]}" = trace ]; then
    for ((i = 2; i < COMP_CWORD; ++i)); do
      [ "${COMP_WORDS[i]}" = -- ] && at=$((i + 1)) && break
    done
  fi
)";
    text += fmt::format(R"(  if [ "$COMP_CWORD" -le "$at" ]; then
    _korv_words '{} {}'
    return
  fi
  case "${{COMP_WORDS[at]}} $previous" in
)",
                        CLI::detail::join(CommandNames(tool), " "),
                        CLI::detail::join(OptionNames(tool), " "));
    std::string options;
    for (const CLI::App* command : CommandsOf(tool)) {
        std::string positional = ":";
        for (const CLI::Option* option : command->get_options()) {
            const std::string action = BashAction(ValuesOf(*option), tool);
            if (!option->nonpositional()) {
                positional = action;
            } else if (TakesValue(*option)) {
                std::istringstream names(DashedNames(*option, " "));
                for (std::string name; names >> name;) {
                    text += fmt::format("    '{} {}') {}; return ;;\n", command->get_name(), name,
                                        action);
                }
            }
        }
        options += fmt::format("    '{0} -'*) _korv_words '{1}' ;;\n    '{0} '*) {2} ;;\n",
                               command->get_name(), CLI::detail::join(OptionNames(*command), " "),
                               positional);
    }
    return text + "  esac\n  case \"${COMP_WORDS[at]} $current\" in\n" + options +
           "  esac\n}\ncomplete -F _korv korv\n";
}

std::string ZshCompletion(const CLI::App& tool) {
    std::string text = fmt::format(R"(#compdef korv
# Completion of korv for zsh.
local state line
_arguments -C '(- *)'{{-h,--help}}'[Print help and exit]' \
  '(- *)--version[Print the version and exit]' '1:command:({})' '*::argument:->arguments'
[[ $state == arguments ]] || return
case $line[1] in
)",
                                   CLI::detail::join(CommandNames(tool), " "));
    for (const CLI::App* command : CommandsOf(tool)) {
        text += fmt::format("  {})\n    _arguments", command->get_name());
        for (const CLI::Option* option : command->get_options()) {
            text += " \\\n      " + ZshArgument(*option, tool);
        }
        text += "\n    ;;\n";
    }
    return text + "esac\n";
}

} // namespace korv
