// A capture is its text: what assembles it makes the same file, byte by byte, of whatever there
// was.
#include "stream/capture_assembler.h"
#include "stream/capture_text.h"
#include "stream/capture_writer.h"
#include "stream/error.h"
#include "tests/stream/session.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace stream {
namespace {

using testing::HasSubstr;

std::string CaptureAsText(const std::string& capture) {
    std::istringstream in(capture);
    const auto source = OpenSource(in);
    std::string text;
    CaptureText::AppendBoard(text, source->Board(), source->Maker());
    CaptureText lines(source->Board().chip);
    Event event;
    while (source->Next(event)) {
        lines.Append(text, event);
    }
    return text;
}

class Written final : public EventSink {
  public:
    void OnBoard(const board::Config& board, const std::string& maker) override {
        writer_.emplace(out_, board, maker);
    }
    void OnEvent(const Event& event) override {
        if (writer_) {
            writer_->Put(event);
        }
    }
    std::string Finish() {
        writer_->Finish();
        return out_.str();
    }

  private:
    std::ostringstream out_;
    std::optional<CaptureWriter> writer_;
};

std::string AssembledCapture(const std::string& text) {
    Written written;
    CaptureAssembler assembler(written);
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        assembler.Line(line);
    }
    assembler.End();
    return written.Finish();
}

struct Setting {
    const char* name;
    board::Chip chip;
    board::Timing timing;
    bool video;
};

class AnySession : public testing::TestWithParam<int> {
  protected:
    static Setting Of(int number) {
        board::Timing slow;
        slow.fifoDepth = 16;
        slow.fifoDrainPerTick = 1;
        slow.dmaWordsPerTick = 2;
        slow.interruptLatency = 3;
        const Setting paces[] = {{"ready", board::Chip::Permedia, {}, true},
                                 {"slow", board::Chip::TX, slow, false},
                                 {"slow video", board::Chip::Permedia2, slow, true},
                                 {"SX", board::Chip::SX, {}, false}};
        return paces[number % 4];
    }
};
INSTANTIATE_TEST_SUITE_P(Seeds, AnySession, testing::Range(0, 16));

TEST_P(AnySession, ComesBackFromItsText) {
    const Setting setting = Of(GetParam());
    board::Config config = SmallBoard(setting.chip);
    config.timing = setting.timing;
    Session session(config, static_cast<uint32_t>(GetParam()));
    if (setting.video) {
        session.PlugVideo();
    }
    session.Run(300);
    Mark mark(MarkKind::SurfaceName, "quotes \" and \\, a tab\t, \xC3\xBC; and = more");
    mark.Add("odd name=", "text; with \n").Add("least", std::numeric_limits<int64_t>::min());
    session.Recorder().Put(mark);
    session.Recorder().Put(Mark(static_cast<MarkKind>(77)));
    const std::string capture = session.Finish();
    const std::string text = CaptureAsText(capture);
    EXPECT_TRUE(AssembledCapture(text) == capture) << text.substr(0, 2000);
}

constexpr const char* kBoardLine =
    "board chip=Permedia setupUnit=0 frameBufferBytes=65536 localBufferBytes=0 refreshRate=60 "
    "linesTotal=525 linesBlank=45 fifoDepth=256 fifoDrainPerTick=0 fifoTicksPerEntry=0 "
    "pixelsPerTick=0 fifoReportLag=0 fifoReportCap=0 dmaWordsPerTick=0 interruptLatency=0 "
    "strayOutputWords=0 microsecondsPerTick=1 maker=\"me\"\n";

// Written by hand, read by the reader of captures.
TEST(CaptureAssembler, TakesWhatSomebodyWrote) {
    const std::string capture = AssembledCapture(std::string("; mine\n") + kBoardLine +
                                                 "mark step \"draw\" number=-3 of=\"x\"\n"
                                                 "store frame offset=0x10 bytes=70\n"
                                                 ". 0102\n"
                                                 "* 32 ; 66 bytes\n"
                                                 ". FF00FF00\n"
                                                 "w DMAAddress = 0x1000\n"
                                                 "d 00000156\n"
                                                 "dma 00002000\n"
                                                 "d 00096000\n"
                                                 "Render Primitive=Trapezoid\n"
                                                 "W 0008 00000001\n"
                                                 "ticks 5\n");
    std::istringstream in(capture);
    const auto source = OpenSource(in);
    EXPECT_EQ(source->Maker(), "me");
    EXPECT_EQ(source->Board().frameBufferBytes, 65536u);
    Event event;
    ASSERT_TRUE(source->Next(event));
    EXPECT_EQ(*event.mark,
              Mark(MarkKind::Step, "draw").Add("number", -3).Add("of", std::string("x")));
    ASSERT_TRUE(source->Next(event));
    EXPECT_EQ(event.kind, EventKind::Store);
    EXPECT_EQ(event.offset, 16u);
    ASSERT_EQ(event.bytes.size(), 70u);
    EXPECT_EQ(event.bytes[65], 2);
    EXPECT_EQ(event.bytes[66], 0xFF);
    ASSERT_TRUE(source->Next(event));
    ASSERT_TRUE(source->Next(event));
    EXPECT_EQ(event.kind, EventKind::DmaWord);
    EXPECT_EQ(event.offset, 0x1000u);
    ASSERT_TRUE(source->Next(event));
    EXPECT_EQ(event.offset, 0x2000u);
    EXPECT_EQ(event.value, 0x96000u);
    ASSERT_TRUE(source->Next(event));
    EXPECT_EQ(event.kind, EventKind::FifoWord);
    ASSERT_TRUE(source->Next(event));
    EXPECT_EQ(event.value, 0x40u);
    ASSERT_TRUE(source->Next(event));
    EXPECT_EQ(event.kind, EventKind::Write);
    EXPECT_TRUE(event.ticked);
    EXPECT_EQ(event.offset, 8u);
    ASSERT_TRUE(source->Next(event));
    EXPECT_EQ(event.kind, EventKind::Ticks);
    EXPECT_EQ(event.value, 5u);
    EXPECT_FALSE(source->Next(event));
}

struct Wrong {
    const char* text;
    size_t line, column;
    const char* what;
};

class WrongText : public testing::TestWithParam<Wrong> {};
INSTANTIATE_TEST_SUITE_P(
    Lines, WrongText,
    testing::Values(
        Wrong{"ticks 5\nboard chip=TX\n", 2, 1, "before everything else"},
        Wrong{"ticks five\n", 1, 7, "from 0 to 1048576"},
        Wrong{"ticks 5 6\n", 1, 9, "end of the line"},
        Wrong{"mark steep\n", 1, 6, "a kind of mark"},
        Wrong{"mark step \"a\n", 1, 11, "second quotation mark"},
        Wrong{"mark step \"a\\q\"\n", 1, 13, "two hex digits"},
        Wrong{"mark step \"a\" \"b\"\n", 1, 15, "FIELD=VALUE"},
        Wrong{"mark step a=b\n", 1, 13, "a whole number"},
        Wrong{"store both offset=0 bytes=1\n", 1, 7, "frame, local, host"},
        Wrong{"store frame offset=0 bytes=2\nticks 5\n", 2, 1, "2 more bytes"},
        Wrong{"store frame offset=0 bytes=2\n. 00\n", 3, 1, "1 more bytes"},
        Wrong{"store frame offset=0 bytes=2\n. 000000\n", 2, 3, "expected 2 more"},
        Wrong{"store frame offset=0 bytes=2\n. 0\n", 2, 3, "two hex digits"},
        Wrong{"store frame offset=0 bytes=2\n* 2\n", 2, 3, "a line of bytes before"},
        Wrong{"store frame offset=0 bytes=70000\n", 1, 28, "to 65536"},
        Wrong{". 00\n", 1, 1, "no event that has some"},
        Wrong{"timing fifoDepth=1\n", 1, 19, "expected fifoDrainPerTick="},
        Wrong{"videosource fieldsPerSecond=0 linesPerField=1 portWidth=8 lineReferenceHigh=1 "
              "fieldReferenceHigh=1\n",
              1, 1, "fields a second"},
        Wrong{"r 2 00000000\n", 1, 1, "outside the aperture"},
        Wrong{"board chip=QX\n", 1, 12, "SX, TX, MX"}));

TEST_P(WrongText, IsToldWithItsPlace) {
    const Wrong& wrong = GetParam();
    const bool ownBoard = std::string(wrong.text).find("board") != std::string::npos;
    try {
        AssembledCapture((ownBoard ? "" : kBoardLine) + std::string(wrong.text));
        FAIL() << "taken";
    } catch (const AssembleError& error) {
        EXPECT_EQ(error.line, wrong.line + (ownBoard ? 0 : 1));
        EXPECT_EQ(error.column, wrong.column);
        EXPECT_THAT(error.what(), HasSubstr(wrong.what));
    }
}

} // namespace
} // namespace stream
