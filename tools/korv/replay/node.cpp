#include "tools/korv/replay/node.h"

#include "tools/korv/base/errors.h"
#include "tools/korv/base/files.h"
#include "tools/korv/replay/constants.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <bit>
#include <cmath>
#include <limits>

namespace korv {

namespace {

std::string ReadText(const std::filesystem::path& path) {
    std::error_code error;
    if (std::filesystem::is_directory(path, error)) {
        throw UserError(fmt::format("cannot read '{}': it is a folder", path.string()));
    }
    if (!std::filesystem::exists(path, error)) {
        throw UserError(fmt::format("cannot read '{}': no such file", path.string()));
    }
    return ReadFile(path);
}

// What the JSON reader stumbled upon: the character that is the `place`-th, from 1.
std::string Unexpected(std::string_view text, size_t place) {
    if (text.find_first_not_of(" \t\r\n") == text.npos) {
        return "the file is empty, expected an object";
    }
    if (place == 0 || place > text.size()) {
        return "the text ends too early, expected brackets and quotes that are closed";
    }
    const size_t lineStart = text.rfind('\n', place - 1);
    const size_t column = lineStart == text.npos ? place : place - lineStart - 1;
    return fmt::format("unexpected '{}' in column {}, expected a value, ',', ':' or a bracket",
                       text[place - 1], column);
}

// Place of the first bracket that is nested deeper than any script needs; none for healthy texts.
std::optional<size_t> TooDeep(std::string_view text) {
    constexpr int kMaxDepth = 64;
    int depth = 0;
    bool inText = false;
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (inText) {
            if (c == '\\') {
                ++i;
            } else {
                inText = c != '"';
            }
        } else if (c == '"') {
            inText = true;
        } else if (c == '[' || c == '{') {
            if (++depth > kMaxDepth) {
                return i;
            }
        } else if (c == ']' || c == '}') {
            --depth;
        }
    }
    return {};
}

const char* TypeName(const nlohmann::json& value) {
    return value.is_null()      ? "nothing"
           : value.is_boolean() ? "true or false"
           : value.is_number()  ? "a number"
           : value.is_string()  ? "a text"
           : value.is_array()   ? "a list"
                                : "an object";
}

} // namespace

ScriptFile::ScriptFile(const std::filesystem::path& path) : ScriptFile(path, ReadText(path)) {}

ScriptFile::ScriptFile(const std::filesystem::path& path, const std::string& text) : path_(path) {
    if (const auto place = TooDeep(text)) {
        throw UserError(
            fmt::format("{}:{}: nested too deeply", path.string(), LineAt(text, *place)));
    }
    try {
        root_ = std::make_unique<nlohmann::json>(nlohmann::json::parse(text));
    } catch (const nlohmann::json::parse_error& error) {
        throw UserError(fmt::format("{}:{}: no JSON: {}", path.string(), LineAt(text, error.byte),
                                    Unexpected(text, error.byte)));
    } catch (const nlohmann::json::out_of_range& error) {
        // A number beyond all types, in quotes at the end of the text.
        const std::string what = error.what();
        const size_t quote = what.find('\'');
        const std::string number =
            quote == std::string::npos ? "" : what.substr(quote + 1, what.size() - quote - 2);
        throw UserError(fmt::format("{}:{}: no JSON: the number {} is out of range", path.string(),
                                    LineAt(text, text.find(number)), number));
    }
    lines_.emplace(text);
    if (!lines_->Duplicate().empty()) {
        throw UserError(
            fmt::format("{}{}: given twice", Place(lines_->Duplicate()), lines_->Duplicate()));
    }
}

ScriptFile::~ScriptFile() = default;

std::string ScriptFile::Place(const std::string& pointer) const {
    return fmt::format("{}:{}: ", path_.string(), lines_->Of(pointer));
}

void Node::Fail(const std::string& what) const {
    throw UserError(
        fmt::format("{}{}: {}", file_->Place(pointer_), pointer_.empty() ? "/" : pointer_, what));
}

bool Node::IsNull() const {
    return value_->is_null();
}

bool Node::IsText() const {
    return value_->is_string();
}

bool Node::IsFlag() const {
    return value_->is_boolean();
}

bool Node::IsObject() const {
    return value_->is_object();
}

bool Node::IsArray() const {
    return value_->is_array();
}

bool Node::Contains(const std::string& name) const {
    return value_->contains(name);
}

uint32_t Node::Word() const {
    if (value_->is_number_unsigned()) {
        const auto number = value_->get<uint64_t>();
        if (number <= std::numeric_limits<uint32_t>::max()) {
            return static_cast<uint32_t>(number);
        }
    } else if (value_->is_number_integer()) {
        const auto number = value_->get<int64_t>();
        if (number >= std::numeric_limits<int32_t>::min()) {
            return static_cast<uint32_t>(number);
        }
    } else if (value_->is_string()) {
        const std::string text = value_->get<std::string>();
        if (const auto word = ParseWord(text)) {
            return *word;
        }
        Fail(fmt::format("'{}' is neither a hexadecimal number as in 0x1F nor a known name", text));
    } else {
        Fail(fmt::format("expected a number or a name, got {}", TypeName(*value_)));
    }
    Fail(fmt::format("{} does not fit 32 bits", value_->dump()));
}

uint32_t Node::Number(uint32_t low, uint32_t high) const {
    if (!value_->is_number_integer()) {
        Fail(fmt::format("expected a whole number, got {}", TypeName(*value_)));
    }
    const auto number = value_->get<int64_t>();
    if (number < low || number > high) {
        Fail(fmt::format("{} is out of range: expected {} to {}", value_->dump(), low, high));
    }
    return static_cast<uint32_t>(number);
}

double Node::Real() const {
    if (!value_->is_number()) {
        Fail(fmt::format("expected a number, got {}", TypeName(*value_)));
    }
    return value_->get<double>();
}

float Node::Single() const {
    if (IsText()) {
        return std::bit_cast<float>(Word());
    }
    const auto single = static_cast<float>(Real());
    if (!std::isfinite(single)) {
        Fail(fmt::format("{} does not fit a single: give its bits as a text", value_->dump()));
    }
    return single;
}

bool Node::Flag() const {
    if (!value_->is_boolean()) {
        Fail(fmt::format("expected true or false, got {}", TypeName(*value_)));
    }
    return value_->get<bool>();
}

std::string Node::Text() const {
    if (!value_->is_string()) {
        Fail(fmt::format("expected a text, got {}", TypeName(*value_)));
    }
    return value_->get<std::string>();
}

std::string Node::Name() const {
    const std::string text = Text();
    if (text.empty()) {
        Fail("expected a name, got an empty text");
    }
    return text;
}

std::vector<Node> Node::List() const {
    if (!value_->is_array()) {
        Fail(fmt::format("expected a list, got {}", TypeName(*value_)));
    }
    std::vector<Node> nodes;
    for (size_t i = 0; i < value_->size(); ++i) {
        nodes.emplace_back(*file_, (*value_)[i], fmt::format("{}/{}", pointer_, i));
    }
    return nodes;
}

namespace {

std::string ChildPointer(const std::string& pointer, const std::string& key) {
    return (nlohmann::json::json_pointer(pointer) / key).to_string();
}

} // namespace

Fields::Fields(const Node& node) : node_(node) {
    if (!node.IsObject()) {
        node.Fail(fmt::format("expected an object, got {}", TypeName(node.Json())));
    }
}

Node Fields::operator[](const std::string& name) {
    if (auto found = Find(name)) {
        return *found;
    }
    node_.Fail(fmt::format("'{}' is missing", name));
}

std::optional<Node> Fields::Find(const std::string& name) {
    asked_.insert(name);
    const auto found = node_.Json().find(name);
    if (found == node_.Json().end()) {
        return {};
    }
    return Node(node_.File(), *found, ChildPointer(node_.Pointer(), name));
}

std::vector<std::pair<std::string, Node>> Fields::All() {
    std::vector<std::pair<std::string, Node>> all;
    for (const auto& [name, value] : node_.Json().items()) {
        asked_.insert(name);
        all.emplace_back(name, Node(node_.File(), value, ChildPointer(node_.Pointer(), name)));
    }
    return all;
}

void Fields::Done() const {
    for (const auto& [name, value] : node_.Json().items()) {
        if (!asked_.contains(name)) {
            Node(node_.File(), value, ChildPointer(node_.Pointer(), name))
                .Fail(fmt::format("unknown field '{}'", name));
        }
    }
}

} // namespace korv
