// Captures damaged in ten thousand ways are read as far as they go, or told to be damaged; nothing
// worse, and without much memory.
#include "stream/format.h"
#include "stream/pixel_history.h"
#include "stream/statistics.h"
#include "stream/zlib.h"
#include "tests/stream/session.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

// Bytes that this program has from its heap, and the most that it had.
std::atomic<size_t> live = 0, most = 0;

void* Take(size_t bytes) {
    constexpr size_t kHead = 16;
    auto* block = static_cast<size_t*>(std::malloc(bytes + kHead));
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    *block = bytes;
    live += bytes;
    most = std::max<size_t>(most, live);
    return reinterpret_cast<char*>(block) + kHead;
}

void GiveBack(void* memory) {
    if (memory != nullptr) {
        auto* block = reinterpret_cast<size_t*>(static_cast<char*>(memory) - 16);
        live -= *block;
        std::free(block);
    }
}

} // namespace

void* operator new(size_t bytes) {
    return Take(bytes);
}
void* operator new[](size_t bytes) {
    return Take(bytes);
}
// A sanitizer's own would not come to those above.
void* operator new(size_t bytes, const std::nothrow_t&) noexcept {
    try {
        return Take(bytes);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
void operator delete(void* memory) noexcept {
    GiveBack(memory);
}
void operator delete[](void* memory) noexcept {
    GiveBack(memory);
}
void operator delete(void* memory, size_t) noexcept {
    GiveBack(memory);
}
void operator delete[](void* memory, size_t) noexcept {
    GiveBack(memory);
}

namespace stream {
namespace {

// Chunks in hand: one as it is stored, one as it was, one that the index is.
constexpr size_t kChunksInHand = 4u << 20;

uint32_t Word(const std::string& bytes, size_t at) {
    return static_cast<uint8_t>(bytes[at]) | static_cast<uint8_t>(bytes[at + 1]) << 8 |
           static_cast<uint8_t>(bytes[at + 2]) << 16 |
           static_cast<uint32_t>(static_cast<uint8_t>(bytes[at + 3])) << 24;
}

void PutWord(std::string& bytes, size_t at, uint32_t value) {
    for (int i = 0; i < 4; ++i) {
        bytes[at + i] = static_cast<char>(value >> (8 * i));
    }
}

// Makes the checksums fit what the chunks hold now, so that the damage gets past them.
void Sign(std::string& bytes) {
    size_t at = format::kFileHeaderBytes;
    while (at + format::kChunkHeaderBytes <= bytes.size()) {
        const uint32_t stored = Word(bytes, at + 8);
        const auto* raw = reinterpret_cast<const uint8_t*>(bytes.data());
        if (stored <= bytes.size() - at - format::kChunkHeaderBytes) {
            PutWord(bytes, at + 16, Crc32({raw + at + format::kChunkHeaderBytes, stored}));
        }
        PutWord(bytes, at + 20, Crc32({raw + at, 20}));
        if (stored > bytes.size() - at - format::kChunkHeaderBytes) {
            return;
        }
        at += format::kChunkHeaderBytes + stored;
    }
}

// The same events in chunks that are not compressed: damage then falls on events.
std::string Plain(const std::string& capture) {
    std::string plain = capture.substr(0, format::kFileHeaderBytes);
    size_t at = format::kFileHeaderBytes;
    while (at < capture.size()) {
        std::string head = capture.substr(at, format::kChunkHeaderBytes);
        const uint32_t stored = Word(head, 8), raw = Word(head, 12);
        std::string payload = capture.substr(at + head.size(), stored);
        at += head.size() + stored;
        if (head[6] != 0) {
            std::string inflated(raw, '\0');
            EXPECT_TRUE(Inflate({reinterpret_cast<const uint8_t*>(payload.data()), stored},
                                {reinterpret_cast<uint8_t*>(inflated.data()), raw}));
            payload = inflated;
            head[6] = 0;
            PutWord(head, 8, raw);
        }
        plain += head + payload;
    }
    Sign(plain);
    return plain;
}

void Damage(std::string& bytes, std::mt19937& dice) {
    const auto place = [&] { return dice() % bytes.size(); };
    for (uint32_t i = 1 + dice() % 4; i != 0; --i) {
        switch (dice() % 6) {
        case 0:
            bytes[place()] ^= static_cast<char>(1u << dice() % 8);
            break;
        case 1:
            bytes[place()] = static_cast<char>(dice());
            break;
        case 2:
            bytes[place()] = static_cast<char>(0xFF);
            break;
        case 3:
            bytes.resize(1 + place());
            break;
        case 4:
            bytes.erase(place(), 1 + dice() % 8);
            break;
        default:
            bytes.insert(place(), bytes.substr(place(), 1 + dice() % 64));
            break;
        }
        if (bytes.empty()) {
            bytes = "K";
        }
    }
}

// What became of a capture: 0 read, 1 read and cut off, 2 damaged.
int Read(const std::string& bytes, bool play, std::mt19937& dice) {
    std::istringstream in(bytes);
    try {
        const auto source = OpenSource(in);
        Event event;
        if (play && source->Board().frameBufferBytes <= 64u << 10 &&
            source->Board().localBufferBytes <= 64u << 10) {
            Player player(*source);
            switch (dice() % 3) {
            case 0:
                while (player.Step(event)) {
                }
                break;
            case 1:
                CountStream(player);
                break;
            default:
                PixelHistory(player, "front", 3, 20).Run({}, {Place::Kind::End, 0, {}});
                break;
            }
        } else {
            source->Seek(ParsePlace("event:" + std::to_string(dice() % 2000)));
            while (source->Next(event)) {
            }
        }
        return source->CutOff().empty() ? 0 : 1;
    } catch (const StreamError& error) {
        EXPECT_EQ(std::string(error.what()).find('\n'), std::string::npos);
        EXPECT_NE(std::string(error.what()), "");
        return 2;
    }
}

TEST(DamagedCaptures, EndInALine) {
    Session session(SmallBoard(), 9);
    session.Recorder().Put(Mark(MarkKind::Surface, "front")
                               .Add("id", 1)
                               .Add("memory", "frame")
                               .Add("offset", 0)
                               .Add("pitch", 32)
                               .Add("width", 32)
                               .Add("height", 40)
                               .Add("bits", 8)
                               .Add("format", "indexed"));
    session.PlugVideo();
    session.Run(100);
    const std::string compressed = session.Finish();
    const std::string plain = Plain(compressed);
    std::mt19937 dice(42);
    int outcomes[3] = {};
    ASSERT_EQ(Read(plain, true, dice), 0);
    ASSERT_EQ(Read(compressed, true, dice), 0);
    for (int i = 0; i < 10000; ++i) {
        SCOPED_TRACE(i);
        std::string bytes = i % 2 == 0 ? compressed : plain;
        Damage(bytes, dice);
        if (i % 3 != 0) {
            Sign(bytes);
        }
        const bool play = i % 4 == 1;
        const size_t before = live;
        most = before;
        ++outcomes[Read(bytes, play, dice)];
        // A board has memories of its own.
        ASSERT_LE(most - before, 2 * bytes.size() + kChunksInHand + (play ? 2u << 20 : 0));
    }
    // The damage was of all kinds.
    EXPECT_GT(outcomes[0], 100);
    EXPECT_GT(outcomes[1], 1000);
    EXPECT_GT(outcomes[2], 3000);
}

} // namespace
} // namespace stream
