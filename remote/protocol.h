#pragma once
// The messages of the board protocol (docs/board-protocol.md): their numbers, and payloads put
// together and taken apart.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace remote {

inline constexpr std::string_view kMagic = "KORVBORD";
inline constexpr uint32_t kVersion = 1;

inline constexpr size_t kHeaderBytes = 8;
inline constexpr uint32_t kMostPayload = 1u << 20;
// Bytes that a STORE or FETCH takes at once.
inline constexpr uint32_t kMostBlock = 1'048'000;
// Words of one WORDS or MOVED, which leave room for what stands before them.
inline constexpr uint32_t kMostWords = kMostBlock / 4;
// The longest that IDLE, ADVANCE and DRAIN may take at once, in microseconds of the board's clock.
inline constexpr uint32_t kLongestAdvance = 60'000'000;

enum class Kind : uint32_t {
    Hello = 1,
    Make,
    Read,
    Write,
    Words,
    Sync,
    Store,
    Fetch,
    Idle,
    Advance,
    Drain,
    Status,
    Guest,
    Video,
    Timing,
    State,
    Resume,
    Line,
    End,
    Error = 0xC0,
    Interrupt,
    Moved,
    Field,
};
inline constexpr Kind kLastRequest = Kind::End;
// Added to a request's kind: a SYNC stands behind it.
inline constexpr uint32_t kAndSync = 0x100;

constexpr Kind AnswerTo(Kind request) {
    return static_cast<Kind>(static_cast<uint32_t>(request) | 0x80);
}

// As the document names it; empty for a kind that it does not have.
std::string_view NameOf(Kind kind);

enum class ErrorCode : uint32_t {
    Nonsense = 1,
    Version,
    UnknownKind,
    BadArgument,
    BadConfig,
    NotAble,
    NotNow,
    NoMemory,
};

// What a board is able to.
enum Ability : uint32_t {
    MapsMemory = 1,
    HasTiming = 2,
    HasClock = 4,
    WaitsAtInterrupts = 8,
    DoesDma = 16,
    TakesVideo = 32,
    AnswersState = 64,
};
inline constexpr uint32_t kAllAbilities = 127;

// What a client asks of the board that it makes.
enum Wish : uint32_t {
    WaitAtInterrupts = 1,
    TellMoved = 2,
};

// Memories by number.
inline constexpr uint32_t kFrameBuffer = 0, kLocalBuffer = 1, kFirstGuest = 2, kMemories = 64;

// Bits of what STATUS says.
inline constexpr uint32_t kIsIdle = 1, kInterruptIsUp = 2;

// A payload that grows.
class Payload {
  public:
    Payload& Word(uint32_t word) { return Bytes(&word, sizeof word); }
    Payload& Long(uint64_t word) { return Bytes(&word, sizeof word); }
    Payload& Text(std::string_view text) { return Bytes(text.data(), text.size()); }
    // A text behind a word that tells its length.
    Payload& Name(std::string_view name) {
        return Word(static_cast<uint32_t>(name.size())).Text(name);
    }
    Payload& Bytes(const void* bytes, size_t count) {
        const auto* first = static_cast<const uint8_t*>(bytes);
        bytes_.insert(bytes_.end(), first, first + count);
        return *this;
    }

    std::span<const uint8_t> All() const { return bytes_; }

  private:
    std::vector<uint8_t> bytes_;
};

// A payload that is read from its beginning. What is not there reads as 0 and nothing.
class Parts {
  public:
    explicit Parts(std::span<const uint8_t> bytes) : rest_(bytes) {}

    uint32_t Word() { return Number<uint32_t>(); }
    uint64_t Long() { return Number<uint64_t>(); }
    std::string_view Text(size_t bytes) {
        const std::span<const uint8_t> text = Take(bytes);
        return {reinterpret_cast<const char*>(text.data()), text.size()};
    }
    std::string_view Name() {
        const uint32_t bytes = Word();
        return Text(bytes);
    }
    // All that has not been read.
    std::span<const uint8_t> Rest() { return Take(rest_.size()); }
    std::string_view RestAsText() { return Text(rest_.size()); }
    bool AtEnd() const { return rest_.empty(); }
    // More was asked for than there was.
    bool Short() const { return short_; }

  private:
    template <typename T>
    T Number() {
        T number = 0;
        const std::span<const uint8_t> bytes = Take(sizeof number);
        if (!bytes.empty()) {
            std::memcpy(&number, bytes.data(), bytes.size());
        }
        return number;
    }
    std::span<const uint8_t> Take(size_t bytes) {
        short_ = short_ || bytes > rest_.size();
        const std::span<const uint8_t> taken =
            rest_.first(bytes < rest_.size() ? bytes : rest_.size());
        rest_ = rest_.subspan(taken.size());
        return taken;
    }

    std::span<const uint8_t> rest_;
    bool short_ = false;
};

} // namespace remote
