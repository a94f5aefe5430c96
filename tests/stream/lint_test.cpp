// Each rule, with a stream that it must name and a neighbour that it must not.
#include "chip/registers.h"
#include "stream/capture_writer.h"
#include "stream/lint.h"
#include "tests/stream/session.h"

#include <gtest/gtest.h>

namespace stream {
namespace {

// A capture by hand.
class Writing {
  public:
    explicit Writing(board::Chip chip = board::Chip::TX)
        : writer_(out_, SmallBoard(chip), "a test") {}

    Writing& Word(uint32_t word) {
        Event event;
        event.kind = EventKind::FifoWord;
        event.value = word;
        writer_.Put(event);
        return *this;
    }
    Writing& Pair(uint32_t tagNumber, uint32_t value) { return Word(tagNumber).Word(value); }
    Writing& Access(EventKind kind, uint32_t offset, uint32_t value) {
        Event event;
        event.kind = kind;
        event.offset = offset;
        event.value = value;
        writer_.Put(event);
        return *this;
    }
    Writing& Put(const Mark& mark) {
        writer_.Put(mark);
        return *this;
    }
    Writing& Surface(uint32_t offset, uint32_t bytes) {
        return Put(Mark(MarkKind::Surface, "s")
                       .Add("id", offset)
                       .Add("memory", "frame")
                       .Add("offset", offset)
                       .Add("pitch", bytes)
                       .Add("width", bytes / 2)
                       .Add("height", 1)
                       .Add("bits", 16));
    }
    std::string Finish() {
        writer_.Finish();
        return out_.str();
    }

  private:
    std::ostringstream out_;
    CaptureWriter writer_;
};

std::vector<Finding> Found(const std::string& capture, std::set<Rule> rules) {
    std::istringstream in(capture);
    const auto source = OpenSource(in, SmallBoard(board::Chip::TX));
    Player player(*source);
    return Lint(player, rules);
}

std::vector<Finding> Found(Writing& writing, Rule rule) {
    return Found(writing.Finish(), {rule});
}

// A rectangle of 64 by `rows` pixels of 16 bits from 0, 0 on, 64 pixels a line.
Writing& Rectangle(Writing& writing, uint32_t rows = 4, uint32_t readMode = 0) {
    return writing.Access(EventKind::Write, reg::FBModeSel, field::FBModeSel_Depth.Put(0, 1))
        .Pair(tag::PixelSize, 1)
        .Pair(tag::FBWindowBase, 0)
        .Pair(tag::FBReadMode, field::FBReadMode_PartialProduct0.Put(readMode, 2))
        .Pair(tag::FBWriteMode, 1)
        .Pair(tag::ColorDDAMode, 1)
        .Pair(tag::ConstantColor, 0xFFFFFFFF)
        .Pair(tag::DitherMode, 1)
        .Pair(tag::StartXDom, 0)
        .Pair(tag::StartXSub, 64u << 16)
        .Pair(tag::StartY, 0)
        .Pair(tag::dY, 1u << 16)
        .Pair(tag::Count, rows)
        .Pair(tag::Render, field::Render_Primitive.Put(0, 1));
}

TEST(LintRules, HaveNames) {
    for (const RuleRow& row : Rules()) {
        EXPECT_EQ(FindRule(row.name), &row);
        EXPECT_EQ(&Rules()[static_cast<size_t>(row.rule)], &row);
    }
    EXPECT_EQ(FindRule("no-such-rule"), nullptr);
}

TEST(LintRules, FindNothingInAPlainRectangle) {
    Writing writing;
    writing.Access(EventKind::Read, reg::InFIFOSpace, 256);
    writing.Put(Mark(MarkKind::Batch)).Surface(0, 512);
    std::set<Rule> all;
    for (const RuleRow& row : Rules()) {
        all.insert(row.rule);
    }
    for (const Finding& one : Found(Rectangle(writing).Finish(), all)) {
        ADD_FAILURE() << one.text;
    }
}

TEST(LintUnknownRegister, NamesThoseOfOtherChipsAndOfNone) {
    Writing bad;
    bad.Pair(tag::YUVMode, 0).Pair(0x3F0, 1).Pair(tag::YUVMode, 1);
    const auto found = Found(bad, Rule::UnknownRegister);
    ASSERT_EQ(found.size(), 2u);
    EXPECT_EQ(found[0].text, "YUVMode is no register of the GLINT 500TX");
    EXPECT_EQ(found[0].times, 2u);
    EXPECT_EQ(found[0].at.word, 1u);
    EXPECT_EQ(found[1].text, "tag 3F0 is no register that is known");
    Writing good(board::Chip::Permedia);
    good.Pair(tag::YUVMode, 0).Pair(tag::V0Fixed + 3, 1);
    EXPECT_TRUE(Found(good, Rule::UnknownRegister).empty());
}

// What a driver sends to chips that have no use for it, or compare with it all the same.
TEST(LintUnknownRegister, IsSilentOfWhatIsWrittenThereToo) {
    Writing bounds; // for a TX
    bounds.Pair(tag::ChromaLowerBound, 0).Pair(tag::ChromaUpperBound, 0);
    EXPECT_TRUE(Found(bounds, Rule::UnknownRegister).empty());
    Writing table(board::Chip::Permedia);
    table.Pair(tag::TexelLUTTransfer, 0);
    EXPECT_TRUE(Found(table, Rule::UnknownRegister).empty());
    Writing textures(board::Chip::SX);
    textures.Pair(tag::GlintTextureReadMode, 0).Pair(tag::TextureFilterMode, 0);
    EXPECT_TRUE(Found(textures, Rule::UnknownRegister).empty());
    // Of their kind others are still named.
    Writing others(board::Chip::SX);
    others.Pair(tag::TextureBaseAddr0, 0).Pair(tag::ChromaLowerBound, 0);
    EXPECT_EQ(Found(others, Rule::UnknownRegister).size(), 2u);
}

TEST(LintMalformedTag, NamesWordsThatAreNone) {
    Writing bad;
    bad.Pair(tag::Sync, 0).Word(0x0000'0400);
    const auto found = Found(bad, Rule::MalformedTag);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].at.word, 2u);
    EXPECT_EQ(found[0].text, "word 00000400 stands where a tag word is due, and is none");
    Writing good; // the same word as data
    good.Pair(tag::Sync, 0x0000'0400);
    EXPECT_TRUE(Found(good, Rule::MalformedTag).empty());
}

TEST(LintUnwaitedEntry, NamesWordsThatNobodyAskedRoomFor) {
    Writing bad;
    bad.Pair(tag::FogColor, 0);
    EXPECT_EQ(Found(bad, Rule::UnwaitedEntry).size(), 1u);
    Writing good;
    good.Access(EventKind::Read, reg::InFIFOSpace, 256).Pair(tag::FogColor, 0);
    EXPECT_TRUE(Found(good, Rule::UnwaitedEntry).empty());
}

TEST(LintLostEntry, NamesWordsThatAFullFifoDrops) {
    const auto capture = [](uint32_t entries) {
        board::Config config = SmallBoard(board::Chip::TX);
        config.timing.fifoDepth = 4;
        config.timing.fifoTicksPerEntry = 1000;
        std::ostringstream out;
        CaptureWriter writer(out, config, "a test");
        for (uint32_t i = 0; i < entries; ++i) {
            Event event;
            event.kind = EventKind::FifoWord;
            event.value = tag::FogColor;
            writer.Put(event);
            writer.Put(event);
        }
        writer.Finish();
        return out.str();
    };
    EXPECT_EQ(Found(capture(12), {Rule::LostEntry}).size(), 1u);
    EXPECT_TRUE(Found(capture(4), {Rule::LostEntry}).empty());
}

TEST(LintUnitNotSetUp, NamesWhatNobodyHasWritten) {
    Writing good;
    EXPECT_TRUE(Found(Rectangle(good), Rule::UnitNotSetUp).empty());
    Writing fog;
    Rectangle(fog)
        .Pair(tag::FogMode, 1)
        .Pair(tag::Render, field::Render_Primitive.Put(0, 1) | field::Render_Fog.Mask());
    const auto found = Found(fog, Rule::UnitNotSetUp);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].subject, "FogColor");
    EXPECT_EQ(found[0].text, "the fog unit draws, and nobody has written FogColor");
    Writing nothing;
    nothing.Pair(tag::Render, 0);
    EXPECT_EQ(Found(nothing, Rule::UnitNotSetUp).size(), 6u);
}

TEST(LintOutsideSurfaces, NamesBytesThatBelongToNone) {
    Writing good;
    good.Surface(0, 512);
    EXPECT_TRUE(Found(Rectangle(good), Rule::OutsideSurfaces).empty());
    Writing bad; // the last of four lines of 128 bytes is not in it
    bad.Surface(0, 384);
    const auto found = Found(Rectangle(bad), Rule::OutsideSurfaces);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].text,
              "before here the frame buffer has changed from byte 384 to 511, where no surface is");
    // What the processor stores there is its own affair.
    Session session(SmallBoard(), 1);
    std::vector<uint8_t> bytes(4, 7);
    std::ranges::copy(bytes, session.Board().FrameBuffer().begin());
    session.Recorder().Store(Memory::FrameBuffer, 0, bytes);
    EXPECT_TRUE(Found(session.Finish(), {Rule::OutsideSurfaces}).empty());
}

TEST(LintOverlapDirection, NamesCopiesThatReadWhatTheyWrote) {
    const auto copy = [](int32_t distance, int32_t step, uint32_t left, uint32_t right,
                         uint32_t rows = 4) {
        Writing writing;
        Rectangle(writing, rows, field::FBReadMode_ReadSource.Mask())
            .Pair(tag::FBSourceOffset, static_cast<uint32_t>(distance))
            .Pair(tag::StartXDom, left << 16)
            .Pair(tag::StartXSub, right << 16)
            .Pair(tag::dY, static_cast<uint32_t>(step * 65536))
            .Pair(tag::Render, field::Render_Primitive.Put(0, 1));
        return Found(writing, Rule::OverlapDirection).size();
    };
    EXPECT_EQ(copy(-2 * 64, 1, 0, 32), 1u); // down, from above
    EXPECT_EQ(copy(-2 * 64, -1, 0, 32), 0u);
    EXPECT_EQ(copy(2 * 64, 1, 0, 32), 0u);
    EXPECT_EQ(copy(2 * 64, -1, 0, 32), 1u); // up, from below
    EXPECT_EQ(copy(-4 * 64, 1, 0, 32), 0u); // they do not overlap
    EXPECT_EQ(copy(-3, 1, 4, 32), 1u);      // to the right, from the left
    EXPECT_EQ(copy(-3, 1, 32, 4), 0u);      // to the left, from the left
    EXPECT_EQ(copy(3, 1, 32, 4), 1u);
    EXPECT_EQ(copy(3, 1, 4, 32), 0u);
    EXPECT_EQ(copy(-30, 1, 4, 32), 0u); // 28 pixels wide: nothing in common
    EXPECT_EQ(copy(-40, 1, 4, 32), 1u); // 24 pixels to the right, in the row above
}

TEST(LintRedundantState, NamesWritesThatChangeNothing) {
    Writing writing;
    writing.Pair(tag::FogColor, 5).Pair(tag::FogColor, 5).Pair(tag::FogMode, 0);
    writing.Pair(tag::FogColor, 6).Pair(tag::FogColor, 6).Pair(tag::Sync, 0).Pair(tag::Sync, 0);
    const auto found = Found(writing, Rule::RedundantState);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].subject, "FogColor");
    EXPECT_EQ(found[0].times, 2u);
    EXPECT_EQ(found[0].at.word, 3u);
}

TEST(LintEmptyBatch, NamesBatchesWithoutWords) {
    Writing writing;
    writing.Put(Mark(MarkKind::Batch)).Pair(tag::Sync, 0).Put(Mark(MarkKind::Batch));
    writing.Put(Mark(MarkKind::Batch)).Pair(tag::Sync, 0);
    const auto found = Found(writing, Rule::EmptyBatch);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].at.batch, 2u);
}

} // namespace
} // namespace stream
