// The server by whole sessions: what it answers, in what order, and what it refuses.
#include "chip/registers.h"
#include "chip/words.h"
#include "tests/remote/session.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace remote {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Word = std::vector<uint32_t>;

constexpr uint32_t kBus = 0x40000000;

// The document's rows "| 0xC0 | `ERROR` | ...", and no other kinds than those have names.
TEST(Protocol, HasTheKindsThatTheDocumentTells) {
    std::ifstream file(KORV_PROJECT "/docs/board-protocol.md");
    std::map<uint32_t, std::string> told, named;
    for (std::string line; std::getline(file, line);) {
        const size_t name = line.find(" | `");
        if (line.starts_with("| ") && std::isdigit(line[2]) != 0 && name != line.npos) {
            told[std::stoul(line.substr(2), nullptr, 0)] =
                line.substr(name + 4, line.find('`', name + 4) - name - 4);
        }
    }
    for (uint32_t kind = 0; kind < 0x1000; ++kind) {
        if (const auto name = NameOf(static_cast<Kind>(kind)); !name.empty()) {
            named[kind] = name;
        }
    }
    EXPECT_EQ(named.size(), 19u + 4);
    EXPECT_EQ(told, named);
}

TEST(Server, SaysWhoItIs) {
    const Outcome got = Serve(Sent().Hello().Bytes(),
                              {.name = "some board", .abilities = kAllAbilities - MapsMemory});
    EXPECT_EQ(got.nonsense, "");
    ASSERT_EQ(got.messages.size(), 1u);
    Parts parts(got.messages[0].payload);
    EXPECT_EQ(static_cast<uint32_t>(got.messages[0].kind), 0x81u);
    EXPECT_EQ(parts.Text(8), "KORVBORD");
    EXPECT_EQ(parts.Word(), 1u);
    EXPECT_EQ(parts.Word(), 2u + 4 + 8 + 16 + 32 + 64);
    EXPECT_EQ(parts.Word(), 0x1Fu);
    EXPECT_EQ(parts.Word(), 256u << 20);
    EXPECT_EQ(parts.RestAsText(), "some board");
}

TEST(Server, TakesNoVersionThatItDoesNotSpeak) {
    Payload hello;
    const Outcome got =
        Serve(Sent().Add(Kind::Hello, hello.Text(kMagic).Word(2).Word(7).Text("x")).Bytes());
    EXPECT_THAT(got.nonsense, HasSubstr("versions 2 to 7"));
    EXPECT_THAT(got.Errors().at(0), HasSubstr("2 versions 2 to 7"));
}

TEST(Server, WordsDrawAndMemoryIsFetched) {
    // A block of 3 by 2 pixels of a byte, at (4, 1), in rows of 32.
    Sent sent;
    sent.Hello().Make();
    std::vector<uint32_t> words;
    const std::pair<uint32_t, uint32_t> writes[] = {{tag::FBReadPixel, 0},
                                                    {tag::FBReadMode, 1},
                                                    {tag::FBWriteMode, 1},
                                                    {tag::Color, 0x2A},
                                                    {tag::StartXDom, 4u << 16},
                                                    {tag::dXDom, 0},
                                                    {tag::StartXSub, 7u << 16},
                                                    {tag::dXSub, 0},
                                                    {tag::StartY, 1u << 16},
                                                    {tag::dY, 1u << 16},
                                                    {tag::Count, 2},
                                                    {tag::Render, 0x40}};
    for (const auto& [number, data] : writes) {
        words.push_back(HoldTag(number, 1));
        words.push_back(data);
    }
    sent.Words(Kind::Words, words).Words(Kind::Fetch, {0, 32, 64});
    const Outcome got = Serve(sent.Bytes());
    EXPECT_THAT(got.Errors(), IsEmpty());
    std::vector<uint8_t> rows(64);
    for (const int at : {4, 5, 6, 36, 37, 38}) {
        rows[at] = 0x2A;
    }
    ASSERT_EQ(got.messages.size(), 3u);
    EXPECT_EQ(got.messages[2].payload, rows);
}

TEST(Server, StoresAndWritesCanBeReadBack) {
    Sent sent;
    sent.Hello().Make();
    sent.Words(Kind::Store, {0, 4096, 0x11223344, 0x55667788});
    sent.Words(Kind::Write, {MappedOffset(tag::FogColor), 0xABCDEF, reg::IntEnable, 1});
    sent.Words(Kind::Read, {MappedOffset(tag::FogColor)}).Words(Kind::Read, {reg::IntEnable});
    sent.Words(Kind::Fetch, {0, 4098, 4});
    sent.Add(Kind::Sync).Add(Kind::End).Add(Kind::Sync);
    const Outcome got = Serve(sent.Bytes());
    EXPECT_EQ(got.nonsense, "");
    EXPECT_THAT(got.Of(AnswerTo(Kind::Read)), ElementsAre(Word{0xABCDEF}, Word{1}));
    EXPECT_THAT(got.Of(AnswerTo(Kind::Fetch)), ElementsAre(Word{0x77881122}));
    EXPECT_EQ(got.Of(AnswerTo(Kind::Sync)).size(), 1u) << "nothing follows the end";
    EXPECT_EQ(got.messages.back().kind, AnswerTo(Kind::End));
}

TEST(Server, TimePassesAsItIsTold) {
    Sent sent;
    sent.Hello()
        .Make()
        .Words(Kind::Idle, {70})
        .Words(Kind::Advance, {30})
        .Words(Kind::Read, {reg::IntEnable});
    sent.Add(Kind::Status).Words(Kind::Drain, {5}).Add(Kind::Status);
    const Outcome got = Serve(sent.Bytes());
    EXPECT_THAT(got.Of(AnswerTo(Kind::Status)),
                ElementsAre(Word{101, 0, 0, 1}, Word{101, 0, 0, 1}));
    EXPECT_THAT(got.Of(AnswerTo(Kind::Drain)), ElementsAre(Word{1}));
}

// By DMA: FogColor, and a copy of it in the guest's memory at another place.
Sent DmaSession(uint32_t wishes) {
    Sent sent;
    sent.Hello().Make(wishes);
    sent.Words(Kind::Guest, {2, kBus, 4096});
    sent.Words(Kind::Store, {2, 16, HoldTag(tag::FogColor, 1), 0x123456});
    sent.Words(Kind::Write, {reg::IntEnable, field::IntEnable_DMA.Mask()});
    sent.Words(Kind::Write, {reg::DMAAddress, kBus + 16});
    sent.Add(static_cast<uint32_t>(Kind::Write) | kAndSync, [] {
        Payload payload;
        return payload.Word(reg::DMACount).Word(2);
    }());
    return sent;
}

TEST(Server, DmaIsToldAndSoIsItsInterrupt) {
    Sent sent = DmaSession(TellMoved);
    sent.Words(Kind::Read, {MappedOffset(tag::FogColor)});
    const Outcome got = Serve(sent.Bytes());
    EXPECT_THAT(got.Errors(), IsEmpty());
    std::vector<Kind> kinds;
    for (const Message& message : got.messages) {
        kinds.push_back(message.kind);
    }
    EXPECT_THAT(kinds, ElementsAre(AnswerTo(Kind::Hello), AnswerTo(Kind::Make),
                                   AnswerTo(Kind::Guest), Kind::Moved, Kind::Interrupt,
                                   AnswerTo(Kind::Sync), AnswerTo(Kind::Read)));
    EXPECT_THAT(got.Of(Kind::Moved), ElementsAre(Word{1, HoldTag(tag::FogColor, 1), 0x123456}));
    EXPECT_THAT(got.Of(Kind::Interrupt), ElementsAre(Word{0, 1}));
    EXPECT_THAT(got.Of(AnswerTo(Kind::Read)), ElementsAre(Word{0x123456}));
}

TEST(Server, WaitsAtInterruptsAndServesTheHandler) {
    Sent sent = DmaSession(WaitAtInterrupts);
    sent.Words(Kind::Read, {reg::IntFlags}).Make().Add(Kind::Resume).Add(Kind::Resume);
    const Outcome got = Serve(sent.Bytes());
    std::vector<Kind> kinds;
    for (const Message& message : got.messages) {
        kinds.push_back(message.kind);
    }
    EXPECT_THAT(kinds, ElementsAre(AnswerTo(Kind::Hello), AnswerTo(Kind::Make),
                                   AnswerTo(Kind::Guest), Kind::Interrupt, AnswerTo(Kind::Read),
                                   Kind::Error, AnswerTo(Kind::Sync), Kind::Error));
    EXPECT_THAT(got.Of(AnswerTo(Kind::Read)), ElementsAre(Word{1}));
    EXPECT_THAT(got.Errors(),
                ElementsAre("7 the board waits for RESUME", "7 no RESUME was expected"));
}

TEST(Server, AGuestsMemoryThatIsTakenAwayIsNobodys) {
    Sent sent = DmaSession(0);
    sent.Words(Kind::Guest, {2, kBus, 0}).Words(Kind::Write, {reg::DMACount, 2});
    Payload begin;
    sent.Add(Kind::State, begin.Text("fault.badDma"));
    const Outcome got = Serve(sent.Bytes());
    ASSERT_EQ(got.messages.back().kind, AnswerTo(Kind::State));
    Parts parts(got.messages.back().payload);
    EXPECT_EQ(parts.Long(), 1u);
    EXPECT_EQ(parts.Name(), "fault.badDmaAddresses");
    EXPECT_TRUE(parts.AtEnd());
}

TEST(Server, AsksForFieldsOfVideo) {
    Sent sent;
    sent.Hello().Make();
    sent.Words(Kind::Video, {50, 4, 8, 1, 1});
    // 8 pixels of every line of the first field's two buffers, from 4096 on.
    sent.Words(Kind::Write,
               {reg::VSControl, 0x603, reg::VSBufferBase0, 4096 / 8, reg::VSBufferStride, 16 / 8,
                reg::VSStartLine, 0, reg::VSEndLine, 4, reg::VSStartPixel, 0, reg::VSEndPixel, 16,
                reg::VSNextBuffer, 0, reg::VSStreamControl, 1});
    sent.Words(Kind::Advance, {39000}); // nearly two fields of 20 ms
    const auto line = [&](uint64_t field, uint32_t number, uint16_t pixel) {
        Payload payload;
        payload.Long(field).Word(number);
        for (int i = 0; i < 8; ++i) {
            payload.Bytes(&pixel, sizeof pixel);
        }
        sent.Add(Kind::Line, payload);
    };
    line(1, 2, 0x5A5A);
    line(7, 0, 1);
    sent.Add(Kind::Resume);
    sent.Words(Kind::Fetch, {0, 4096 + 32, 16});
    const Outcome got = Serve(sent.Bytes());
    EXPECT_THAT(got.Of(Kind::Field), ElementsAre(Word{1, 0}));
    ASSERT_FALSE(got.messages.empty());
    EXPECT_THAT(got.Errors(), ElementsAre(HasSubstr("7 lines 0 to 3 of field 1")));
    EXPECT_EQ(got.messages.back().payload, std::vector<uint8_t>(16, 0x5A));
}

TEST(Server, RefusesWhatItCannotDo) {
    Sent sent;
    sent.Hello().Words(Kind::Read, {0}).Make(0, 4095).Make();
    sent.Words(Kind::Read, {3}).Words(Kind::Read, {0xA000}).Words(Kind::Write, {0, 1, 2});
    sent.Words(Kind::Fetch, {0, 65532, 8}).Words(Kind::Fetch, {1, 0, 4}).Words(Kind::Fetch, {9});
    sent.Words(Kind::Store, {0, 65536, 1}).Words(Kind::Guest, {1, 0, 4096});
    sent.Words(Kind::Guest, {2, 0, 0xFFFFFFFF}).Words(Kind::Advance, {60'000'001});
    sent.Words(Kind::Timing, {0}).Words(Kind::Video, {1000, 1, 8, 1, 1}).Add(0x77);
    sent.Hello().Add(Kind::Sync);
    const Outcome got = Serve(sent.Bytes());
    EXPECT_EQ(got.nonsense, "");
    std::string codes;
    for (const std::string& error : got.Errors()) {
        codes += error[0];
    }
    EXPECT_EQ(codes, "7544144144841437");
    EXPECT_EQ(got.messages.back().kind, AnswerTo(Kind::Sync)) << "it goes on";
    // Each tells which message it is about.
    EXPECT_EQ(got.Of(Kind::Error).at(0).at(1), 1u);
    EXPECT_EQ(got.Of(Kind::Error).at(1).at(1), 2u);
    EXPECT_EQ(got.Of(Kind::Error).at(2).at(2), static_cast<uint32_t>(Kind::Read));
}

TEST(Server, IsNotAbleToDoMoreThanItSays) {
    Sent sent;
    sent.Hello().Make(WaitAtInterrupts).Make().Words(Kind::Guest, {2, kBus, 4096});
    sent.Words(Kind::Timing, {256, 0, 0, 0, 0, 0, 0, 0, 0, 1}).Add(Kind::Video).Add(Kind::State);
    const Outcome got = Serve(sent.Bytes(), {.abilities = HasClock});
    EXPECT_THAT(got.Errors(),
                ElementsAre("6 this board does not wait at interrupts", "6 this board does no DMA",
                            "6 this board keeps no timing", "6 this board takes no video",
                            "6 this board does not tell its state"));
}

TEST(Server, WhatIsNoMessageEndsTheSession) {
    const std::string text = "GET / HTTP/1.0\r\n\r\n";
    EXPECT_THAT(Serve({text.begin(), text.end()}).nonsense, HasSubstr("a message of"));
    EXPECT_THAT(Serve(Sent().Make().Bytes()).nonsense, HasSubstr("no HELLO"));
    Sent cut;
    cut.Hello().Make().Bytes().pop_back();
    EXPECT_THAT(Serve(cut.Bytes()).nonsense, HasSubstr("the end in the middle of a message"));
    Sent large;
    const uint32_t header[] = {kMostPayload + 1, 5};
    const Outcome got = Serve(large.Hello().Raw(header, sizeof header).Bytes());
    EXPECT_THAT(got.nonsense, HasSubstr("1048577 bytes"));
    EXPECT_THAT(got.Errors(), ElementsAre(HasSubstr("1 a message of 1048577 bytes")));
    EXPECT_EQ(Serve({}).nonsense, "");
}

// All that follows is sent by somebody who does not know what he does: no crash, no hang, and what
// comes back is messages (Serve reads them).
TEST(Server, SurvivesThousandsOfSessionsGoneWrong) {
    std::vector<std::vector<uint8_t>> whole;
    for (const uint32_t wishes : {0u, 1u, 2u, 3u}) {
        Sent sent = DmaSession(wishes);
        sent.Words(Kind::Read, {reg::IntFlags}).Add(Kind::Resume);
        sent.Words(Kind::Video, {50, 4, 8, 1, 1}).Words(Kind::Advance, {50000}).Add(Kind::Resume);
        sent.Words(Kind::Fetch, {0, 100, 64}).Words(Kind::Idle, {100}).Words(Kind::Drain, {100});
        sent.Words(Kind::Words, {HoldTag(tag::Color, 2), 1, 2, HoldTag(tag::FBWriteMode, 1), 1});
        sent.Words(Kind::Timing, {16, 1, 0, 4, 1, 8, 2, 3, 1, 1}).Add(Kind::Status);
        Payload begin;
        sent.Add(Kind::State, begin.Text("register.F")).Add(Kind::End);
        whole.push_back(sent.Bytes());
    }
    std::mt19937 random(17);
    size_t ended = 0, errors = 0;
    constexpr int kSessions = 6000;
    for (int i = 0; i < kSessions; ++i) {
        std::vector<uint8_t> bytes = whole[random() % whole.size()];
        for (uint32_t change = 0; change < 1 + random() % 4; ++change) {
            const size_t at = random() % bytes.size();
            const size_t count = std::min<size_t>(1 + random() % 24, bytes.size() - at);
            const auto first = bytes.begin() + static_cast<ptrdiff_t>(at);
            switch (random() % 6) {
            case 0:
                bytes[at] = static_cast<uint8_t>(random());
                break;
            case 1:
                bytes[at] ^= 1u << random() % 8;
                break;
            case 2:
                bytes.erase(first, first + static_cast<ptrdiff_t>(count));
                break;
            case 3: {
                const std::vector<uint8_t> again(first, first + static_cast<ptrdiff_t>(count));
                bytes.insert(first, again.begin(), again.end());
                break;
            }
            case 4:
                std::fill_n(first, count, random() % 2 == 0 ? 0xFF : 0);
                break;
            default:
                if (random() % 8 == 0) {
                    bytes.resize(at + 1);
                }
            }
            if (bytes.empty()) {
                bytes.push_back(0);
            }
        }
        const Outcome got = Serve(bytes);
        ended += got.nonsense.empty() ? 0 : 1;
        errors += got.Errors().size();
    }
    // They have been sessions gone wrong, of either sort.
    EXPECT_GT(ended, kSessions / 10u);
    EXPECT_LT(ended, kSessions * 9u / 10);
    EXPECT_GT(errors, kSessions / 2u);
}

} // namespace

} // namespace remote
