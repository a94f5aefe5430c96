#include "tools/korv/commands/cli/values.h"

#include "tools/korv/base/errors.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <charconv>

namespace korv {

namespace {

[[noreturn]] void Refuse(const std::string& names, const std::string& text,
                         const std::string& expected) {
    throw UsageError(fmt::format("bad value '{}' for '{}': expected {}", text, names, expected));
}

template <typename Number>
CLI::Option* AddNumberOf(CLI::App& command, const std::string& names, Number& value, Number low,
                         Number high, const std::string& about, const char* kind) {
    const auto take = [=, &value](const std::string& text) {
        Number number{};
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
        // Also false for what is no number at all.
        const bool inside = number >= low && number <= high;
        if (error != std::errc() || end != text.data() + text.size() || !inside) {
            Refuse(names, text, fmt::format("{} from {} to {}", kind, low, high));
        }
        value = number;
    };
    return command.add_option_function<std::string>(names, take, about);
}

} // namespace

CLI::Option* AddNumber(CLI::App& command, const std::string& names, double& value, double low,
                       double high, const std::string& about) {
    return AddNumberOf(command, names, value, low, high, about, "a number");
}

CLI::Option* AddNumber(CLI::App& command, const std::string& names, int& value, int low, int high,
                       const std::string& about) {
    return AddNumberOf(command, names, value, low, high, about, "a whole number");
}

CLI::Option* AddChoice(CLI::App& command, const std::string& names, std::string& value,
                       std::vector<std::string> choices, const std::string& about) {
    const auto take = [=, &value](const std::string& text) {
        if (std::ranges::find(choices, text) == choices.end()) {
            Refuse(names, text, Alternatives(choices));
        }
        value = text;
    };
    return command.add_option_function<std::string>(names, take, about)
        ->type_name(CLI::detail::join(choices, "|"));
}

std::vector<std::string> ChoicesOf(const CLI::Option& option) {
    const std::string type = option.get_type_name();
    return type.find('|') == type.npos ? std::vector<std::string>() : CLI::detail::split(type, '|');
}

std::string Alternatives(const std::vector<std::string>& choices) {
    std::string text;
    for (size_t i = 0; i < choices.size(); ++i) {
        text += (i == 0 ? "" : i + 1 == choices.size() ? " or " : ", ") + choices[i];
    }
    return text;
}

} // namespace korv
