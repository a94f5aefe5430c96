#pragma once
// A board's state as bytes. All numbers are little-endian:
//   8 bytes   "KORVSTAT"
//   4         version of the form, 1
//   4         number of entries
// and behind it the entries, one after the other:
//   2         length of the name
//   n         the name: unit.part.value, ASCII
//   1         bytes of a value: 1, 4 or 8
//   8         number of values
//   n         the values
// Names say what is meant, so entries may come in any order. A board skips names that it does not
// know, and refuses a snapshot that lacks one that it needs: a board that has got more state names
// it. The bytes have no checksum of their own.
#include "board/values/state_visitor.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace board {

struct SnapshotEntry {
    uint32_t bytesPerValue;
    std::span<const uint8_t> bytes;

    size_t Count() const { return bytes.size() / bytesPerValue; }
    // Value `index`, which must be less than Count().
    uint64_t operator[](size_t index) const;
};

// A snapshot taken apart: entries by name. It refers to the bytes that it was made of.
class Snapshot {
  public:
    // None for bytes that are no snapshot of a version that is known here, or are cut off; `error`
    // says which.
    static std::optional<Snapshot> Parse(std::span<const uint8_t> bytes, std::string& error);

    // Null where there is no such name.
    const SnapshotEntry* Find(std::string_view name) const;
    const std::map<std::string_view, SnapshotEntry>& Entries() const { return entries_; }

  private:
    std::map<std::string_view, SnapshotEntry> entries_;
};

// Writes down what it is shown.
class StateSaver final : public StateVisitor {
  public:
    StateSaver();
    void Text(const char* name, std::string& text) override;
    void Bytes(const char* name, std::span<const uint8_t> bytes);
    std::vector<uint8_t> Take();

  protected:
    void Exchange(const char* name, uint32_t bytes, Words& words, bool fixed) override;
    void Check(const char*, bool) override {}
    bool Keeps() const override { return false; }

  private:
    void Begin(const char* name, uint32_t bytesPerValue, uint64_t count);
    void Number(uint64_t number, uint32_t bytes);

    std::vector<uint8_t> out_;
    uint32_t entries_ = 0;
};

// Compares what it is shown with a snapshot, and with Pass::Keep puts that in its place. Whoever
// wants all of a snapshot or nothing of it lets the units be visited by both, one after the other.
class StateLoader final : public StateVisitor {
  public:
    enum class Pass { Look, Keep };
    StateLoader(const Snapshot& snapshot, Pass pass) : snapshot_(snapshot), pass_(pass) {}

    void Text(const char* name, std::string& text) override;
    // The first thing that was wrong. Empty if nothing was.
    const std::string& Error() const { return error_; }

  protected:
    void Exchange(const char* name, uint32_t bytes, Words& words, bool fixed) override;
    void Check(const char* name, bool good) override;
    bool Keeps() const override { return pass_ == Pass::Keep && error_.empty(); }

  private:
    // Null, and an error, where there is no entry of such values.
    const SnapshotEntry* Need(const char* name, uint32_t bytesPerValue);
    void Fail(std::string error);

    const Snapshot& snapshot_;
    const Pass pass_;
    std::string error_;
};

} // namespace board
