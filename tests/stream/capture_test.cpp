#include "stream/capture_reader.h"
#include "stream/format.h"
#include "stream/player.h"
#include "tests/stream/session.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

namespace stream {
namespace {

using testing::HasSubstr;

std::string SessionBytes(uint32_t seed, int rounds) {
    Session session(SmallBoard(), seed);
    session.PlugVideo();
    session.Run(rounds);
    return session.Finish();
}

std::vector<std::string> AllOf(const std::string& bytes, std::string* cutOff = nullptr) {
    std::istringstream in(bytes);
    const auto source = OpenSource(in);
    auto texts = EventTexts(*source);
    if (cutOff != nullptr) {
        *cutOff = source->CutOff();
    }
    return texts;
}

// A chunk as the document defines it, made without the writer.
std::string ChunkOf(const char* type, const std::string& payload) {
    std::string head = type;
    const auto add = [&](uint32_t value, int bytes) {
        for (int i = 0; i < bytes; ++i) {
            head += static_cast<char>(value >> (8 * i));
        }
    };
    const auto crc = [](const std::string& text) {
        uint32_t sum = ~0u;
        for (const char c : text) {
            sum ^= static_cast<uint8_t>(c);
            for (int bit = 0; bit < 8; ++bit) {
                sum = (sum >> 1) ^ ((sum & 1) != 0 ? 0xEDB88320u : 0);
            }
        }
        return ~sum;
    };
    add(1, 2);
    add(0, 2);
    add(static_cast<uint32_t>(payload.size()), 4);
    add(static_cast<uint32_t>(payload.size()), 4);
    add(crc(payload), 4);
    add(crc(head), 4);
    return head + payload;
}

// Magic, version 1, and a Permedia with 64 KB.
std::string Beginning() {
    std::string file = "KORVCAP\x1A";
    file += std::string("\1\0\0\0\0\0\0\0", 8);
    const std::string numbers("\7\3\0\x80\x80\4\0\74\x8D\4\55", 11);
    const std::string timing("\12\x80\2\0\0\0\0\0\0\0\0\1", 12);
    return file + ChunkOf("BORD", numbers + timing + "\4me:)");
}

const std::string kNowhere("\6\0\0\0\0\0\0", 7); // the position at the start

TEST(CaptureFile, IsReadAsTheDocumentSays) {
    // A read of InFIFOSpace, a run of two FIFO words, a transfer's word, 300 ticks, a mark.
    const std::string events = kNowhere + std::string("\1\x18\0\0\1\0\0", 7) +
                               std::string("\5\2\0\x07\0\0\0\x40\0\0\0", 11) +
                               std::string("\7\0\0\0\x40\1\0\x78\x56\x34\x12", 11) + "\x09\xAC\2" +
                               std::string("\x20\x0E\x10\2hi\2\1a\0\3\1b\1\1c", 16);
    std::istringstream in(Beginning() + ChunkOf("EVNT", events));
    const auto source = OpenSource(in);
    EXPECT_EQ(source->Board().chip, board::Chip::Permedia);
    EXPECT_EQ(source->Board().frameBufferBytes, 0x10000u);
    EXPECT_EQ(source->Board().refreshRate, 60u);
    EXPECT_EQ(source->Board().linesTotal, 525u);
    EXPECT_EQ(source->Board().timing.fifoDepth, 256u);
    EXPECT_EQ(source->Board().timing.microsecondsPerTick, 1u);
    EXPECT_EQ(source->Maker(), "me:)");

    Event event;
    ASSERT_TRUE(source->Next(event));
    EXPECT_EQ(event.kind, EventKind::Read);
    EXPECT_FALSE(event.ticked);
    EXPECT_EQ(event.offset, 0x18u);
    EXPECT_EQ(event.value, 0x100u);
    ASSERT_TRUE(source->Next(event));
    EXPECT_EQ(event.kind, EventKind::FifoWord);
    EXPECT_EQ(event.value, 7u);
    ASSERT_TRUE(source->Next(event));
    EXPECT_EQ(event.value, 0x40u);
    ASSERT_TRUE(source->Next(event));
    EXPECT_EQ(event.kind, EventKind::DmaWord);
    EXPECT_EQ(event.offset, 0x40000000u);
    EXPECT_EQ(event.value, 0x12345678u);
    ASSERT_TRUE(source->Next(event));
    EXPECT_EQ(event.kind, EventKind::Ticks);
    EXPECT_EQ(event.value, 300u);
    ASSERT_TRUE(source->Next(event));
    ASSERT_EQ(event.kind, EventKind::Mark);
    EXPECT_EQ(event.mark->kind, MarkKind::Step);
    EXPECT_EQ(event.mark->name, "hi");
    EXPECT_EQ(event.mark->Number("a"), -2);
    EXPECT_EQ(*event.mark->Text("b"), "c");
    EXPECT_EQ(source->At(), (Position{5, 3, 0, 0, 0, 1}));
    EXPECT_FALSE(source->Next(event));
    EXPECT_THAT(source->CutOff(), HasSubstr("ends behind word:3 (step:0)"));
}

TEST(CaptureFile, PassesOverWhatItDoesNotKnow) {
    const std::string later("\x40\3xyz", 5); // an event of a later version
    std::istringstream in(Beginning() + ChunkOf("WHAT", "ever") +
                          ChunkOf("EVNT", kNowhere + later + "\x0B" + later));
    const auto source = OpenSource(in);
    Event event;
    ASSERT_TRUE(source->Next(event));
    EXPECT_EQ(event.kind, EventKind::Units);
    EXPECT_FALSE(source->Next(event));
}

TEST(CaptureFile, GivesBackWhatWasPut) {
    const std::string bytes = SessionBytes(3, 300);
    const auto texts = AllOf(bytes);
    EXPECT_GT(texts.size(), 500u);
    // Read and written again it is the same file.
    std::istringstream in(bytes);
    const auto source = OpenSource(in);
    std::ostringstream out;
    CaptureWriter writer(out, source->Board(), source->Maker());
    Event event;
    while (source->Next(event)) {
        writer.Put(event);
    }
    writer.Finish();
    EXPECT_EQ(out.str(), bytes);
}

TEST(CaptureFile, CutOffAnywhereIsReadAsFarAsItGoes) {
    const std::string bytes = SessionBytes(4, 60);
    const auto whole = AllOf(bytes);
    const size_t header = Beginning().size();
    for (size_t length = 0; length < bytes.size(); ++length) {
        SCOPED_TRACE(length);
        if (length < sizeof format::kMagic) {
            EXPECT_THROW(AllOf(bytes.substr(0, length)), StreamError);
            continue;
        }
        std::string cutOff;
        try {
            const auto some = AllOf(bytes.substr(0, length), &cutOff);
            ASSERT_LE(some.size(), whole.size());
            EXPECT_TRUE(std::equal(some.begin(), some.end(), whole.begin()));
            EXPECT_THAT(cutOff, HasSubstr("cut off at byte " + std::to_string(length)));
        } catch (const StreamError& error) {
            EXPECT_THAT(error.what(), HasSubstr("cut off before it began"));
            EXPECT_LE(length, header + 8);
        }
    }
}

TEST(CaptureFile, LaterVersionsAreToldApart) {
    std::string bytes = SessionBytes(5, 5);
    bytes[8] = 2;
    try {
        AllOf(bytes);
        FAIL();
    } catch (const StreamError& error) {
        EXPECT_STREQ(error.what(), "a capture of version 2: expected version 1");
    }
}

// Made by the first program that wrote captures; never to be made anew.
TEST(CaptureFile, OfVersion1IsReadAndPlayed) {
    std::ifstream in(KORV_PROJECT "/tests/stream/data/version-1.korv", std::ios::binary);
    const auto source = OpenSource(in);
    EXPECT_EQ(source->Board().chip, board::Chip::Permedia2);
    Player player(*source);
    Event event;
    int checks = 0;
    while (player.Step(event)) {
        if (event.kind == EventKind::Mark && event.mark->Number("registers")) {
            ++checks;
            const Checksums here = ChecksumsOf(player.Board());
            EXPECT_EQ(event.mark->Number("frameBuffer"), here.frameBuffer);
            EXPECT_EQ(event.mark->Number("registers"), here.registers);
        }
        if (event.kind == EventKind::Mark && event.mark->kind == MarkKind::Call) {
            EXPECT_EQ(event.mark->name, "Blt");
            EXPECT_EQ(event.mark->Number("value"), -5);
            EXPECT_EQ(*event.mark->Text("dest"), "screen");
        }
    }
    EXPECT_EQ(checks, 12);
    EXPECT_EQ(source->CutOff(), "");
    EXPECT_EQ(source->At(), (Position{701, 344, 1, 27, 1, 10}));
    EXPECT_EQ(ChecksumsOf(player.Board()), (Checksums{0xFCF000E9, 0, 0xFFA8F16A}));
    EXPECT_EQ(player.Board().Microseconds(), 23112u);
    EXPECT_EQ(player.DifferenceCount(), 0u);
}

TEST(CaptureFile, StartsAnywhereByItsIndex) {
    // Enough words for several chunks.
    std::ostringstream out;
    CaptureWriter writer(out, SmallBoard(), "a test");
    std::mt19937 dice(1);
    Event event;
    for (uint32_t i = 0; i < 300000; ++i) {
        if (i % 1000 == 0) {
            writer.Put(Mark(MarkKind::Batch));
        }
        if (i % 50000 == 0) {
            writer.Put(Mark(MarkKind::Step, "step " + std::to_string(i / 50000)));
        }
        event.kind = EventKind::FifoWord;
        event.value = i * 3;
        writer.Put(event);
    }
    writer.Finish();
    std::istringstream in(out.str());
    const auto source = OpenSource(in);
    EXPECT_EQ(source->Total()->word, 300000u);
    for (int i = 0; i < 200; ++i) {
        const uint32_t word = dice() % 300000;
        ASSERT_TRUE(source->Seek(ParsePlace(std::to_string(word))));
        ASSERT_EQ(source->At().word, word);
        while (source->Next(event) && event.kind == EventKind::Mark) {
        }
        ASSERT_EQ(event.value, word * 3);
    }
    ASSERT_TRUE(source->Seek(ParsePlace("batch:123")));
    ASSERT_TRUE(source->Next(event));
    EXPECT_EQ(event.value, 123000u * 3);
    ASSERT_TRUE(source->Seek(ParsePlace("mark:step 2")));
    EXPECT_EQ(source->At().word, 100000u);
    ASSERT_TRUE(source->Seek(ParsePlace("start")));
    EXPECT_EQ(source->At(), Position{});
    EXPECT_FALSE(source->Seek(ParsePlace("300001")));
    ASSERT_TRUE(source->Seek(ParsePlace("step:5")));
    EXPECT_EQ(source->At().word, 250000u);
}

TEST(CaptureFile, RawWordsComeByTheSameDoor) {
    std::istringstream in(std::string("\1\0\0\0\2\0\0\0\3\0", 10));
    EXPECT_THROW(OpenSource(in), StreamError);
    in.clear();
    in.seekg(0);
    const auto source = OpenSource(in, SmallBoard());
    Event event;
    ASSERT_TRUE(source->Next(event));
    EXPECT_EQ(event.kind, EventKind::FifoWord);
    EXPECT_EQ(event.value, 1u);
    ASSERT_TRUE(source->Next(event));
    EXPECT_EQ(event.value, 2u);
    EXPECT_FALSE(source->Next(event));
    EXPECT_EQ(source->CutOff(), "the file ends in the middle of word:2");
    ASSERT_TRUE(source->Seek(ParsePlace("1")));
    ASSERT_TRUE(source->Next(event));
    EXPECT_EQ(event.value, 2u);
}

} // namespace
} // namespace stream
