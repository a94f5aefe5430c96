#include "chip/words.h"
#include "stream/capture_writer.h"
#include "stream/statistics.h"

#include <gtest/gtest.h>

#include <sstream>

namespace stream {
namespace {

class Made {
  public:
    Made() : writer_(out_, board::Config(), "a test") {}
    void Word(EventKind kind, uint32_t word) {
        Event event;
        event.kind = kind;
        event.value = word;
        writer_.Put(event);
    }
    void Access(EventKind kind, uint32_t offset, uint32_t value) {
        Event event;
        event.kind = kind;
        event.offset = offset;
        event.value = value;
        writer_.Put(event);
    }
    void Store(Memory memory, size_t bytes) {
        const std::vector<uint8_t> stored(bytes);
        Event event;
        event.kind = EventKind::Store;
        event.memory = memory;
        event.bytes = stored;
        writer_.Put(event);
    }
    void Put(const Mark& mark) { writer_.Put(mark); }
    Statistics Count() {
        writer_.Finish();
        std::istringstream in(out_.str());
        return CountStream(*OpenSource(in));
    }

  private:
    std::ostringstream out_;
    CaptureWriter writer_;
};

// All numbers by hand.
TEST(Statistics, CountsWhatThereIs) {
    Made made;
    made.Put(Mark(MarkKind::Call, "Blt32"));
    made.Access(EventKind::Read, reg::InFIFOSpace, 7);
    made.Put(Mark(MarkKind::Batch));
    made.Word(EventKind::FifoWord, tag::DepthMode);
    made.Word(EventKind::FifoWord, 0); // the first is a change whatever it is
    made.Word(EventKind::FifoWord, tag::DepthMode);
    made.Word(EventKind::FifoWord, 0);                              // changes nothing
    made.Access(EventKind::Write, MappedOffset(tag::DepthMode), 0); // nor this
    made.Word(EventKind::FifoWord, HoldTag(tag::Render, 2));
    made.Word(EventKind::FifoWord, 0x40);
    made.Word(EventKind::FifoWord, 0x40); // a command acts again
    made.Store(Memory::LocalBuffer, 100);
    made.Put(Mark(MarkKind::Frame));
    made.Put(Mark(MarkKind::Batch).Add("address", 0x1000).Add("words", 5));
    made.Word(EventKind::DmaWord, IndexedTag(tag::StartXDom & ~0xFu, 3));
    made.Word(EventKind::DmaWord, 1);
    made.Word(EventKind::DmaWord, 2);
    made.Word(EventKind::DmaWord, tag::Render);
    made.Word(EventKind::DmaWord, 0x40);
    made.Word(EventKind::DmaWord, 0x0400); // no tag
    made.Store(Memory::FrameBuffer, 7);
    made.Store(Memory::Host, 9);
    made.Put(Mark(MarkKind::Frame));

    const Statistics statistics = made.Count();
    const StreamCounts& all = statistics.all;
    EXPECT_EQ(all.words, 13u);
    EXPECT_EQ(all.fifoWords, 7u);
    EXPECT_EQ(all.dmaWords, 6u);
    EXPECT_EQ(all.pairTags, 3u);
    EXPECT_EQ(all.holdTags, 1u);
    EXPECT_EQ(all.indexedTags, 1u);
    EXPECT_EQ(all.malformed, 1u);
    EXPECT_EQ(all.data, 7u);
    EXPECT_EQ(all.reads, 1u);
    EXPECT_EQ(all.writes, 1u);
    EXPECT_EQ(all.unchanged, 2u);
    EXPECT_EQ(all.calls, 1u);
    EXPECT_EQ(all.batches, 2u);
    EXPECT_EQ(all.fifoBatches, 1u);
    EXPECT_EQ(all.primitives, 3u);
    EXPECT_EQ(all.stored, (std::array<uint64_t, 3>{7, 100, 9}));

    ASSERT_EQ(statistics.frames.size(), 2u);
    EXPECT_EQ(statistics.frames[0].words, 7u);
    EXPECT_EQ(statistics.frames[0].primitives, 2u);
    EXPECT_EQ(statistics.frames[0].unchanged, 2u);
    EXPECT_EQ(statistics.frames[1].words, 6u);
    EXPECT_EQ(statistics.frames[1].primitives, 1u);
    EXPECT_EQ(statistics.frames[1].stored, (std::array<uint64_t, 3>{7, 0, 9}));

    const auto of = [&](uint32_t tagNumber) {
        return statistics.registers[MappedOffset(tagNumber) / 4];
    };
    EXPECT_EQ(of(tag::DepthMode).writes, 3u);
    EXPECT_EQ(of(tag::DepthMode).unchanged, 2u);
    EXPECT_EQ(of(tag::Render).writes, 3u);
    EXPECT_EQ(of(tag::Render).unchanged, 0u);
}

} // namespace
} // namespace stream
