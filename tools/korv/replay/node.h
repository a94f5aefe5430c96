#pragma once
// Reading a script's JSON by type: whatever is wrong is a UserError with file, line and path.
#include "tools/korv/replay/lines.h"

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace korv {

// A JSON file in memory.
class ScriptFile {
  public:
    // UserError for a file that cannot be read or is no JSON.
    explicit ScriptFile(const std::filesystem::path& path);
    // The same for a text that is not in a file yet; `path` is what complaints name, and where
    // other files are looked for.
    ScriptFile(const std::filesystem::path& path, const std::string& text);
    ~ScriptFile();

    const std::filesystem::path& Path() const { return path_; }
    const nlohmann::json& Root() const { return *root_; }
    // "FILE:LINE: " of an element.
    std::string Place(const std::string& pointer) const;

  private:
    std::filesystem::path path_;
    std::unique_ptr<const nlohmann::json> root_;
    std::optional<ScriptLines> lines_;
};

// One element of the file.
class Node {
  public:
    Node(const ScriptFile& file, const nlohmann::json& value, std::string pointer)
        : file_(&file), value_(&value), pointer_(std::move(pointer)) {}
    static Node RootOf(const ScriptFile& file) { return {file, file.Root(), ""}; }

    // UserError: "FILE:LINE: POINTER: WHAT".
    [[noreturn]] void Fail(const std::string& what) const;

    const nlohmann::json& Json() const { return *value_; }
    const std::string& Pointer() const { return pointer_; }
    const ScriptFile& File() const { return *file_; }
    bool IsNull() const;
    bool IsText() const;
    bool IsFlag() const;
    bool IsObject() const;
    bool IsArray() const;
    // True for an object that has this field; not a way of asking for it.
    bool Contains(const std::string& name) const;

    // A 32-bit number: a JSON integer (negative ones in two's complement), "0x1F", or published
    // names joined by "|".
    uint32_t Word() const;
    // A JSON integer from `low` to `high`.
    uint32_t Number(uint32_t low, uint32_t high) const;
    double Real() const;
    // A number, rounded to a single, or the exact bits as a text.
    float Single() const;
    bool Flag() const;
    std::string Text() const;
    // A text that is not empty.
    std::string Name() const;
    std::vector<Node> List() const;

  private:
    const ScriptFile* file_;
    const nlohmann::json* value_;
    std::string pointer_;
};

// The fields of an object; each is asked for, and what nobody asked for is an error.
class Fields {
  public:
    explicit Fields(const Node& node);

    const Node& Object() const { return node_; }
    // The field, which must be there.
    Node operator[](const std::string& name);
    std::optional<Node> Find(const std::string& name);
    bool Has(const std::string& name) { return Find(name).has_value(); }
    // All fields, in the order of their names.
    std::vector<std::pair<std::string, Node>> All();
    // Fails if a field was not asked for.
    void Done() const;

  private:
    Node node_;
    std::set<std::string> asked_;
};

} // namespace korv
