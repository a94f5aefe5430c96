#include "tools/korv/replay/lines.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace korv {

// One pass over a text that is known to be valid.
class LineScan {
  public:
    LineScan(ScriptLines& result, std::string_view text) : result_(result), text_(text) {}

    void Value(const std::string& pointer) {
        Skip();
        result_.lines_.try_emplace(pointer, line_);
        if (text_[at_] == '{') {
            Object(pointer);
        } else if (text_[at_] == '[') {
            Array(pointer);
        } else if (text_[at_] == '"') {
            String();
        } else {
            while (at_ < text_.size() &&
                   std::string_view(",]} \t\r\n").find(text_[at_]) == std::string_view::npos) {
                ++at_;
            }
        }
    }

  private:
    void Skip() {
        for (; at_ < text_.size() &&
               std::string_view(" \t\r\n").find(text_[at_]) != std::string_view::npos;
             ++at_) {
            line_ += text_[at_] == '\n';
        }
    }
    // Steps over the character if it is next.
    bool Take(char c) {
        Skip();
        const bool there = text_[at_] == c;
        at_ += there;
        return there;
    }
    std::string String() {
        const size_t start = at_++;
        for (; text_[at_] != '"'; ++at_) {
            at_ += text_[at_] == '\\';
        }
        ++at_;
        return nlohmann::json::parse(text_.substr(start, at_ - start)).get<std::string>();
    }
    void Object(const std::string& pointer) {
        Take('{');
        if (Take('}')) {
            return;
        }
        do {
            Skip();
            const int line = line_;
            const std::string path = pointer + "/" + Escaped(String());
            if (!result_.lines_.emplace(path, line).second && result_.duplicate_.empty()) {
                result_.duplicate_ = path;
                result_.lines_[path] = line;
            }
            Take(':');
            Value(path);
        } while (Take(','));
        Take('}');
    }
    void Array(const std::string& pointer) {
        Take('[');
        if (Take(']')) {
            return;
        }
        size_t index = 0;
        do {
            Value(pointer + "/" + std::to_string(index++));
        } while (Take(','));
        Take(']');
    }
    static std::string Escaped(const std::string& key) {
        std::string escaped;
        for (const char c : key) {
            escaped += c == '~' ? std::string("~0") : c == '/' ? std::string("~1") : std::string{c};
        }
        return escaped;
    }

    ScriptLines& result_;
    std::string_view text_;
    size_t at_ = 0;
    int line_ = 1;
};

ScriptLines::ScriptLines(std::string_view text) {
    LineScan(*this, text).Value("");
}

int ScriptLines::Of(std::string_view pointer) const {
    for (;;) {
        const auto found = lines_.find(pointer);
        if (found != lines_.end()) {
            return found->second;
        }
        pointer = pointer.substr(0, pointer.rfind('/'));
    }
}

int LineAt(std::string_view text, size_t offset) {
    return 1 + static_cast<int>(
                   std::ranges::count(text.substr(0, std::min(offset, text.size())), '\n'));
}

} // namespace korv
