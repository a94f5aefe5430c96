#include "board/values/register_names.h"
#include "stream/events.h"
#include "tests/board/rig.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

void Play(board::Board& board) {
    static const uint32_t dma[] = {HoldTag(tag::Color, 2), 5, 6};
    board.MapMemory(0x1000, dma, sizeof dma);
    board.Write(reg::DMAAddress, 0x1000);
    board.Write(reg::DMACount, 3);
    board.Read(reg::DMACount);
    const uint32_t words[] = {tag::DepthMode, 0x33, IndexedTag(0x000, 0x000C), 1, 0x20000};
    board.WriteFifo(words, 5);
    board.Write(reg::FIFOWindow + 8, tag::V1Float + 9);
    board.Write(reg::FIFOWindow + 12, 0x3F800000);
    board.Write(MappedOffset(tag::Sync), 0);
    board.Write(0x5700, 1);
    board.Read(reg::OutFIFOSecondWord);
    const uint32_t bad = 0x00000400;
    board.WriteFifo(&bad, 1);
}

TEST(Events, TextHasOneLineAnEvent) {
    rig::Rig r;
    std::ostringstream out;
    stream::EventText text(out);
    r.board.SetRecorder(&text);
    Play(r.board);
    r.board.SetRecorder(nullptr);
    r.board.Read(reg::InFIFOSpace);
    EXPECT_EQ(out.str(), "w 0028 00001000 DMAAddress ; 0x1000 bytes\n"
                         "w 0030 00000003 DMACount ; 3 words\n"
                         "d 000100FE ; Color x2\n"
                         "d 00000005 ; Color = #05000000\n"
                         "d 00000006 ; Color = #06000000\n"
                         "r 0030 00000000 DMACount\n"
                         "f 00000134 ; DepthMode\n"
                         "f 00000033 ; DepthMode Enable=1 WriteEnable=1 Compare=LessEqual\n"
                         "f 000C8000 ; {StartXSub, dXSub}\n"
                         "f 00000001 ; StartXSub = 0.00002\n"
                         "f 00020000 ; dXSub = 2\n"
                         "f 00000249 ; V1Float+9\n"
                         "f 3F800000 ; V1Float+9 = 1\n"
                         "w 8C40 00000000 Sync\n"
                         "w 5700 00000001 offset 5700\n"
                         "r 2004 00000000 FIFOWindow+4\n"
                         "f 00000400 ; malformed\n");
}

TEST(Events, AccessesTellWhatTheirNumberDoesNot) {
    rig::Rig r;
    std::ostringstream out;
    stream::EventText text(out);
    r.board.SetRecorder(&text);
    r.board.Write(reg::IntEnable, 0x11);
    r.board.Read(reg::IntEnable);
    r.board.Write(reg::IntEnable, 0);
    r.board.Write(MappedOffset(tag::DepthMode), 0x33);
    r.board.Write(reg::VSStreamControl, 0x8A9);
    EXPECT_EQ(out.str(), "w 0008 00000011 IntEnable ; DMA=1 Retrace=1\n"
                         "r 0008 00000011 IntEnable ; DMA=1 Retrace=1\n"
                         "w 0008 00000000 IntEnable\n"
                         "w 89A0 00000033 DepthMode ; Enable=1 WriteEnable=1 Compare=LessEqual\n"
                         "w 5900 000008A9 VSStreamControl ; Enable=1 ScaleX=2 ScaleY=2 MirrorX=1 "
                         "Interleave=1\n");
}

TEST(Events, RawFormIsTheStreamWordsLittleEndian) {
    rig::Rig r;
    std::ostringstream out;
    stream::RawWords raw(out);
    r.board.SetRecorder(&raw);
    Play(r.board);
    r.board.SetRecorder(nullptr);
    const uint32_t expected[] = {0x000100FE, 5,       6,     0x134,      0x33, 0x000C8000,
                                 1,          0x20000, 0x249, 0x3F800000, 0x400};
    std::string bytes;
    for (const uint32_t word : expected) {
        for (int shift = 0; shift < 32; shift += 8) {
            bytes += static_cast<char>(word >> shift & 0xFF);
        }
    }
    EXPECT_EQ(out.str(), bytes);
}

TEST(Events, ExplainerNamesWhatIsOutsideTheVocabulary) {
    stream::Explainer explainer;
    EXPECT_EQ(explainer.Explain(0x3AB), "tag 3AB");
    EXPECT_TRUE(explainer.ExpectsData());
    EXPECT_EQ(explainer.Explain(0xFF), "tag 3AB = 0xFF");
    EXPECT_EQ(explainer.Explain(tag::Render), "Render");
    EXPECT_EQ(explainer.Explain(0x16049), "Render AreaStipple=1 FastFill=1 Primitive=Trapezoid "
                                          "Texture=1 Fog=1 SubPixelCorrection=1");
    EXPECT_EQ(board::OffsetName(0x2000), "FIFOWindow");
    EXPECT_EQ(board::OffsetName(0x8C00), "FilterMode");
}

} // namespace
