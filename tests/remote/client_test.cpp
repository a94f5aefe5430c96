// The client against programs that are no good, and against the example.
#include "chip/registers.h"
#include "remote/client.h"
#include "tests/remote/session.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace remote {

namespace {

using std::chrono::milliseconds;
using testing::HasSubstr;
using Why = Error::Why;

// What goes wrong when `action` is done.
template <class Action>
Error ErrorOf(const Action& action) {
    try {
        action();
    } catch (const Error& error) {
        return error;
    }
    ADD_FAILURE() << "nothing went wrong";
    return {Why::Refused, ""};
}

Error StartError(const std::string& program, milliseconds timeout = milliseconds(20'000)) {
    return ErrorOf([&] { Client({.program = program, .timeout = timeout}); });
}

// A message as printf writes it.
std::string Printf(uint32_t bytes, uint32_t kind, const std::string& payload = "") {
    std::string text = "printf '";
    for (const uint32_t word : {bytes, kind}) {
        for (int i = 0; i < 4; ++i) {
            char octal[8];
            std::snprintf(octal, sizeof octal, "\\%03o", word >> 8 * i & 0xFF);
            text += octal;
        }
    }
    return text + payload + "'";
}

// A board that says hello, is able to do everything, and then does as `rest` says.
std::string AfterHello(const std::string& rest) {
    const std::string hello = Printf(
        8 + 16 + 1, 0x81, "KORVBORD\\001\\0\\0\\0\\177\\0\\0\\0\\037\\0\\0\\0\\0\\0\\0\\001x");
    return "sh -c \"" + hello + "; " + rest + "\"";
}

TEST(Client, SaysWhatIsNoBoard) {
    const std::pair<std::string, std::string> programs[] = {
        {"/no/such/program 2>/dev/null", "the shell cannot start it"},
        {"true", "it ended with exit code 0"},
        {"sh -c 'exit 3'", "it ended with exit code 3"},
        {"sh -c 'kill -SEGV $$'", "it was ended by signal 11 (Segmentation fault)"},
        {"echo Usage: something", "it does not speak the board protocol: 'Usage: something'"},
        {"cat", "it does not speak the board protocol"},
        {"sh -c \"" + Printf(4, 0x81, "KORV") + "\"", "its answer is no HELLO of version 1"},
    };
    for (const auto& [program, what] : programs) {
        const Error error = StartError(program);
        EXPECT_EQ(error.why, Why::NotStarted) << program;
        EXPECT_THAT(error.what(), HasSubstr("board program '" + program + "': " + what));
    }
}

TEST(Client, DoesNotWaitForEver) {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(StartError("sleep 1000", milliseconds(50)).why, Why::Late);
    // Slower than the time-out with each byte, and telling without end what nobody wants to know.
    EXPECT_EQ(StartError("sh -c 'while sleep 0.02; do printf 1; done'", milliseconds(50)).why,
              Why::Late);
    const std::string moved = "while :; do " + Printf(4, 0xC2, "\\0\\0\\0\\0") + "; done";
    Client client({.program = AfterHello(moved), .timeout = milliseconds(100)});
    const Error late = ErrorOf([&] { client.Sync(); });
    EXPECT_EQ(late.why, Why::Late);
    EXPECT_THAT(late.what(), HasSubstr("no answer within 0.1 s (at SYNC, message 1)"));
    // It is known from then on.
    EXPECT_EQ(ErrorOf([&] { client.Read(0); }).why, Why::Late);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

TEST(Client, SaysAtWhichRequestTheBoardWentWrong) {
    const auto at = [](const std::string& rest) {
        Client client({.program = AfterHello(rest)});
        return ErrorOf([&] { client.Read(reg::IntFlags); });
    };
    const Error ended = at("exit 7");
    EXPECT_EQ(ended.why, Why::Ended);
    EXPECT_THAT(ended.what(),
                HasSubstr("it ended with exit code 7 (at READ of IntFlags, message 1)"));
    const Error crashed = at("kill -ABRT \\$\\$");
    EXPECT_EQ(crashed.why, Why::Ended);
    EXPECT_THAT(crashed.what(), HasSubstr("signal 6 (Aborted) (at READ of IntFlags"));
    const Error text = at("echo text instead of messages");
    EXPECT_EQ(text.why, Why::Nonsense);
    EXPECT_THAT(text.what(), HasSubstr("it sends nonsense, a message of 1954047348 bytes"));
    EXPECT_EQ(at(Printf(0, 0x86)).why, Why::Nonsense) << "the answer to something else";
    EXPECT_EQ(at(Printf(2, 0x83, "ab")).why, Why::Nonsense) << "half a value";
    EXPECT_EQ(at(Printf(8, 0xC1, "\\001\\0\\0\\0\\0\\0\\0\\0")).why, Why::Nonsense)
        << "waits unasked";
    EXPECT_EQ(at(Printf(8, 0xC3, "\\0\\0\\0\\0\\0\\0\\0\\0")).why, Why::Nonsense) << "no video";
    EXPECT_EQ(at(Printf(100, 0x83, "ab") + "; exec 1>&-").why, Why::Nonsense) << "cut off";
    const Error refused = at(Printf(15, 0xC0, "\\004\\0\\0\\0\\001\\0\\0\\0\\003\\0\\0\\0bad"));
    EXPECT_EQ(refused.why, Why::Refused);
    EXPECT_THAT(refused.what(), HasSubstr("READ is refused: bad (at READ of IntFlags, message 1)"));
}

TEST(Client, MeetsAProgramThatReadsNothing) {
    Client client({.program = AfterHello("sleep 1000"), .timeout = milliseconds(50)});
    const std::vector<uint32_t> words(1u << 20);
    EXPECT_EQ(ErrorOf([&] { client.Words(words); }).why, Why::Late);
}

// A program that sends what a board once sent, with some of it wrong, to whatever is asked.
TEST(Client, SurvivesHundredsOfBoardsGoneWrong) {
    board::Config config;
    config.frameBufferBytes = 64 * 1024;
    config.localBufferBytes = 0;
    std::vector<uint8_t> back(4096);
    const auto use = [&](Client& client) {
        client.Make(config, WaitAtInterrupts | TellMoved);
        client.Guest(2, 0x40000000, 4096);
        client.Store(2, 0, std::vector<uint8_t>(64));
        client.Write(reg::DMAAddress, 0x40000000);
        client.Write(reg::DMACount, 8);
        client.Read(reg::IntFlags);
        client.Fetch(kFrameBuffer, 0, back);
        client.WaitIdle(10);
        client.GetStatus();
        client.State("register.Int");
    };
    Sent sent;
    sent.Hello().Make(WaitAtInterrupts | TellMoved);
    sent.Words(Kind::Guest, {2, 0x40000000, 4096});
    constexpr auto kWrite = static_cast<Kind>(static_cast<uint32_t>(Kind::Write) | kAndSync);
    sent.Words(kWrite, {reg::DMAAddress, 0x40000000}).Words(kWrite, {reg::DMACount, 8});
    sent.Words(static_cast<Kind>(static_cast<uint32_t>(Kind::Read) | kAndSync), {reg::IntFlags});
    sent.Words(Kind::Fetch, {0, 0, 4096}).Words(Kind::Drain, {10}).Add(Kind::Status);
    Payload begin;
    sent.Add(Kind::State, begin.Text("register.Int"));
    const int in = FileOf(sent.Bytes()), out = FileOf({});
    ASSERT_EQ(Serve(in, out), "");
    std::vector<uint8_t> whole(static_cast<size_t>(lseek(out, 0, SEEK_END)));
    ASSERT_EQ(pread(out, whole.data(), whole.size(), 0), static_cast<ssize_t>(whole.size()));

    std::mt19937 random(5);
    size_t wrong = 0;
    constexpr int kBoards = 300;
    for (int i = 0; i < kBoards; ++i) {
        std::vector<uint8_t> bytes = whole;
        for (uint32_t change = i == 0 ? 3 : 0; change < 3; ++change) {
            // Mostly not in the middle of the pixels.
            const size_t at = random() % 4 == 0 ? random() % bytes.size() : random() % 300;
            bytes[at] = static_cast<uint8_t>(random() % 2 == 0 ? random() : 0xC0 + random() % 4);
        }
        const int file = FileOf(bytes);
        const std::string path =
            "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(file);
        try {
            Client client({.program = "cat " + path, .timeout = milliseconds(5000)});
            use(client);
        } catch (const Error&) {
            EXPECT_NE(i, 0) << "nothing was wrong with the first";
            ++wrong;
        }
        close(file);
    }
    EXPECT_GT(wrong, kBoards / 3u);
    close(in);
    close(out);
}

TEST(Client, RunsTheExample) {
    Client client({.program = "python3 " KORV_PROJECT "/examples/stub_board.py"});
    EXPECT_EQ(client.Name(), "a stub");
    board::Config config;
    config.frameBufferBytes = 1u << 20;
    EXPECT_THROW(client.Read(0), Error) << "no board yet";
    client.Make(config);
    client.Write(MappedOffset(tag::FogColor), 0x123456);
    EXPECT_EQ(client.Read(MappedOffset(tag::FogColor)), 0x123456u);
    client.Words(std::vector<uint32_t>{tag::FogColor, 7, tag::Sync, 0});
    EXPECT_EQ(client.Read(MappedOffset(tag::FogColor)), 7u);
    EXPECT_EQ(client.Read(reg::OutFIFOWords), 1u);
    EXPECT_EQ(client.Read(reg::FIFOWindow), uint32_t{tag::Sync});
    EXPECT_TRUE(client.WaitIdle(100));

    const std::vector<uint8_t> bytes(3000, 0x5A);
    client.Store(kFrameBuffer, 12345, bytes);
    std::vector<uint8_t> back(3002);
    client.Fetch(kFrameBuffer, 12344, back);
    EXPECT_EQ(back.front(), 0);
    EXPECT_EQ(back.back(), 0);
    EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), back.begin() + 1));

    const Error outside = ErrorOf([&] { client.Fetch(kFrameBuffer, 0xFFFFF, back); });
    EXPECT_EQ(outside.why, Why::Refused);
    EXPECT_FALSE(outside.IsFinal());
    EXPECT_THROW(client.Guest(2, 0, 4096), Error) << "it does no DMA";
    config.timing.fifoDepth = 16;
    EXPECT_THROW(client.Make(config), Error) << "it keeps no timing";
    // A request without an answer fails with the next one.
    client.Write(3, 0);
    EXPECT_THROW(client.Sync(), Error);

    // The next board, from power-on.
    config.timing.fifoDepth = 256;
    client.Make(config);
    EXPECT_EQ(client.Read(MappedOffset(tag::FogColor)), 0u);
    client.Fetch(kFrameBuffer, 12344, back);
    EXPECT_EQ(back, std::vector<uint8_t>(3002));
    EXPECT_EQ(client.GetStatus().microseconds, 1u);
}

} // namespace

} // namespace remote
