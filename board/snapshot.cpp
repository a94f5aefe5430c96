#include "board/snapshot.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace board {

namespace {

constexpr std::string_view kMagic = "KORVSTAT";
constexpr uint32_t kVersion = 1;
constexpr size_t kCountPlace = kMagic.size() + 4;

uint64_t Little(const uint8_t* bytes, uint32_t count) {
    uint64_t value = 0;
    for (uint32_t i = 0; i < count; ++i) {
        value |= uint64_t{bytes[i]} << (8 * i);
    }
    return value;
}

// Takes bytes from the front of a run, as long as there are enough.
class Cursor {
  public:
    explicit Cursor(std::span<const uint8_t> bytes) : left_(bytes) {}

    std::span<const uint8_t> Bytes(uint64_t count) {
        if (count > left_.size()) {
            cutOff_ = true;
            return {};
        }
        const std::span<const uint8_t> taken = left_.first(static_cast<size_t>(count));
        left_ = left_.subspan(taken.size());
        return taken;
    }
    uint64_t Number(uint32_t bytes) {
        const std::span<const uint8_t> taken = Bytes(bytes);
        return taken.size() == bytes ? Little(taken.data(), bytes) : 0;
    }
    std::string_view Name(uint64_t length) {
        const std::span<const uint8_t> taken = Bytes(length);
        return {reinterpret_cast<const char*>(taken.data()), taken.size()};
    }
    bool CutOff() const { return cutOff_; }

  private:
    std::span<const uint8_t> left_;
    bool cutOff_ = false;
};

} // namespace

uint64_t SnapshotEntry::operator[](size_t index) const {
    return Little(&bytes[index * bytesPerValue], bytesPerValue);
}

std::optional<Snapshot> Snapshot::Parse(std::span<const uint8_t> bytes, std::string& error) {
    Cursor cursor(bytes);
    if (cursor.Name(kMagic.size()) != kMagic) {
        error = "not a snapshot of a board";
        return std::nullopt;
    }
    const uint64_t version = cursor.Number(4);
    if (version != kVersion && !cursor.CutOff()) {
        error = fmt::format("a snapshot of version {}, where {} is known", version, kVersion);
        return std::nullopt;
    }
    Snapshot snapshot;
    const uint64_t count = cursor.Number(4);
    for (uint64_t i = 0; i < count && !cursor.CutOff(); ++i) {
        const std::string_view name = cursor.Name(cursor.Number(2));
        const auto width = static_cast<uint32_t>(cursor.Number(1));
        const uint64_t values = cursor.Number(8);
        if (cursor.CutOff()) {
            break;
        }
        if (width != 1 && width != 4 && width != 8) {
            error = fmt::format("the snapshot's entry {} has values of {} bytes", i, width);
            return std::nullopt;
        }
        if (values > bytes.size()) {
            cursor.Bytes(bytes.size() + uint64_t{1});
            break;
        }
        snapshot.entries_[name] = {width, cursor.Bytes(values * width)};
    }
    if (cursor.CutOff()) {
        error = "the snapshot is cut off";
        return std::nullopt;
    }
    return snapshot;
}

const SnapshotEntry* Snapshot::Find(std::string_view name) const {
    const auto found = entries_.find(name);
    return found == entries_.end() ? nullptr : &found->second;
}

StateSaver::StateSaver() {
    out_.assign(kMagic.begin(), kMagic.end());
    Number(kVersion, 4);
    Number(0, 4);
}

void StateSaver::Number(uint64_t number, uint32_t bytes) {
    for (uint32_t i = 0; i < bytes; ++i) {
        out_.push_back(static_cast<uint8_t>(number >> (8 * i)));
    }
}

void StateSaver::Begin(const char* name, uint32_t bytesPerValue, uint64_t count) {
    const std::string full = FullName(name);
    Number(full.size(), 2);
    out_.insert(out_.end(), full.begin(), full.end());
    Number(bytesPerValue, 1);
    Number(count, 8);
    ++entries_;
}

void StateSaver::Exchange(const char* name, uint32_t bytes, Words& words, bool) {
    Begin(name, bytes, words.size());
    for (const uint64_t word : words) {
        Number(word, bytes);
    }
}

void StateSaver::Text(const char* name, std::string& text) {
    Begin(name, 1, text.size());
    out_.insert(out_.end(), text.begin(), text.end());
}

void StateSaver::Bytes(const char* name, std::span<const uint8_t> bytes) {
    Begin(name, 1, bytes.size());
    out_.insert(out_.end(), bytes.begin(), bytes.end());
}

std::vector<uint8_t> StateSaver::Take() {
    for (uint32_t i = 0; i < 4; ++i) {
        out_[kCountPlace + i] = static_cast<uint8_t>(entries_ >> (8 * i));
    }
    return std::move(out_);
}

const SnapshotEntry* StateLoader::Need(const char* name, uint32_t bytesPerValue) {
    const SnapshotEntry* entry = snapshot_.Find(FullName(name));
    if (entry == nullptr) {
        Fail(fmt::format("the snapshot lacks {}", FullName(name)));
    } else if (entry->bytesPerValue != bytesPerValue) {
        Fail(fmt::format("values of {} have {} bytes in the snapshot, {} were expected",
                         FullName(name), entry->bytesPerValue, bytesPerValue));
        return nullptr;
    }
    return entry;
}

void StateLoader::Exchange(const char* name, uint32_t bytes, Words& words, bool fixed) {
    const SnapshotEntry* entry = Need(name, bytes);
    if (entry == nullptr) {
        return;
    }
    if (fixed && entry->Count() != words.size()) {
        Fail(fmt::format("the snapshot has {} values of {}, {} were expected", entry->Count(),
                         FullName(name), words.size()));
        return;
    }
    words.resize(entry->Count());
    for (size_t i = 0; i < words.size(); ++i) {
        words[i] = (*entry)[i];
    }
}

void StateLoader::Text(const char* name, std::string& text) {
    if (const SnapshotEntry* entry = Need(name, 1)) {
        Keep(text, std::string(entry->bytes.begin(), entry->bytes.end()));
    }
}

void StateLoader::Check(const char* name, bool good) {
    if (!good) {
        Fail(fmt::format("this board cannot have the snapshot's {}", FullName(name)));
    }
}

void StateLoader::Fail(std::string error) {
    if (error_.empty()) {
        error_ = std::move(error);
    }
}

} // namespace board
