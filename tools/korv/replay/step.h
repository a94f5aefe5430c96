#pragma once
// Steps of a script: what all kinds have in common.
#include "tools/korv/replay/node.h"
#include "tools/korv/replay/player.h"
#include "tools/korv/replay/records/record.h"

#include <functional>
#include <initializer_list>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace korv {

enum class NameKind { Display, Surface, Context, Texture, Memory, Value };

// The names that the steps read so far have given.
class Names {
  public:
    // The field "name" of a step that makes something.
    std::string Declare(NameKind kind, const Node& name);
    // The same for a name that stands elsewhere; `place` is where complaints point to.
    void Declare(NameKind kind, const std::string& name, const Node& place);
    // A name that must have been given.
    std::string Refer(NameKind kind, const Node& name) const;
    // The field "display" of a step; it may be left out while there is but one.
    std::string DisplayOf(Fields& fields) const;
    const std::set<std::string>& Of(NameKind kind) const;

  private:
    std::map<NameKind, std::set<std::string>> names_;
};

// A value that a script gives, as the bits that go into a record.
using Bits = std::function<uint32_t(Player&)>;

// Reads what a field of that kind can hold; names must have been given. UserError.
Bits ReadBits(const Node& node, FieldKind kind, const Names& names);
// Reads an address: null, the name of a surface or of memory, or an object with one of "surface",
// "memory", "frameBuffer", "localBuffer", "dmaBuffer", "dmaBus" and an "offset" in bytes.
Bits ReadAddress(const Node& node, const Names& names);
// Reads null, an address as above, {"value": name}, or the name of a surface or of memory; anything
// else as a number.
Bits ReadWordOrAddress(const Node& node, const Names& names);
// Values for fields of a record.
using RecordValues = std::vector<std::pair<FieldPlace, Bits>>;
// Reads an object of fields, plain, nested or by path.
RecordValues ReadRecord(const Node& node, const RecordType& type, const Names& names);
void WriteRecord(void* record, const RecordValues& values, Player& player);

// How bits of that kind are shown to people.
std::string ShowBits(Player& player, FieldKind kind, uint32_t bits);

// What came of a step: fields that its expectations may name.
class Outcome {
  public:
    void Set(const std::string& field, uint32_t bits) { values_[field] = bits; }
    // All fields of a record, under `prefix`. The bytes are kept.
    void SetRecord(const RecordType& type, const void* record, const std::string& prefix = "");
    // None if the step had no such outcome.
    std::optional<uint32_t> Find(const std::string& field) const;

  private:
    struct Record {
        const RecordType* type;
        std::string prefix;
        std::vector<uint8_t> bytes;
    };
    std::map<std::string, uint32_t> values_;
    std::vector<Record> records_;
};

// A step that was read.
struct StepPlan {
    std::function<void(Player&, Outcome&)> play;
    // Kind of a field that "expect" may name; none for another name.
    std::function<std::optional<FieldKind>(const std::string&)> fieldKind;
    // "result" must be DD_OK unless the script expects something else.
    bool resultIsOk = false;
};

using FieldList = std::initializer_list<std::pair<const char*, FieldKind>>;
// fieldKind of a fixed list.
std::function<std::optional<FieldKind>(const std::string&)> Only(FieldList fields);

struct StepKind {
    std::string_view name; // the value of "do"
    StepPlan (*read)(Fields& fields, Names& names);
};

// The kinds by what they are about.
std::span<const StepKind> BringUpSteps();
std::span<const StepKind> SurfaceSteps();
std::span<const StepKind> ContentSteps();
std::span<const StepKind> BlitSteps();
std::span<const StepKind> ContextSteps();
std::span<const StepKind> StateSteps();
std::span<const StepKind> PrimitiveSteps();
std::span<const StepKind> ModeSteps();
std::span<const StepKind> FlipSteps();
std::span<const StepKind> LockSteps();
std::span<const StepKind> BeamSteps();
std::span<const StepKind> VideoSteps();
std::span<const StepKind> CheckSteps();
std::span<const StepKind> OutputSteps();
std::span<const StepKind> CallSteps();
std::span<const StepKind> ExportSteps();

} // namespace korv
