#include "board/bus/decoder.h"
#include "tests/board/rig.h"
#include "tests/support/tag_names.h"

#include <gtest/gtest.h>

using board::RegisterWrite;
using board::StreamDecoder;
using Kind = board::StreamDecoder::Kind;

namespace {

std::vector<std::pair<uint32_t, uint32_t>> Writes(std::vector<uint32_t> words) {
    StreamDecoder decoder;
    std::vector<std::pair<uint32_t, uint32_t>> writes;
    for (const uint32_t word : words) {
        RegisterWrite write{};
        if (decoder.Feed(word, write) == Kind::Data) {
            writes.emplace_back(write.tag, write.data);
        }
    }
    EXPECT_FALSE(decoder.ExpectsData());
    return writes;
}

using List = std::vector<std::pair<uint32_t, uint32_t>>;

TEST(Decoder, PlainPairWritesOneRegister) {
    EXPECT_EQ(Writes({t::FogMode, 1, t::Sync, 7}), (List{{t::FogMode, 1}, {t::Sync, 7}}));
}

TEST(Decoder, HoldBurstWritesOneRegisterRepeatedly) {
    EXPECT_EQ(Writes({0x00020000 | t::Color, 5, 6, 7, t::FogMode, 8}),
              (List{{t::Color, 5}, {t::Color, 6}, {t::Color, 7}, {t::FogMode, 8}}));
}

TEST(Decoder, LongestHoldBurstHas65536Words) {
    std::vector<uint32_t> words(1 + 65536, 3);
    words[0] = 0xFFFF0000 | t::TextureData;
    EXPECT_EQ(Writes(words).size(), 65536u);
}

TEST(Decoder, IndexedBurstWritesOneRegisterPerMaskBitLowestFirst) {
    EXPECT_EQ(Writes({0x040C8000, 10, 20, 30}),
              (List{{t::StartXSub, 10}, {t::dXSub, 20}, {t::ContinueNewSub, 30}}));
    EXPECT_EQ(Writes({0x0FC08130, 1, 2, 3, 4, 5, 6}), (List{{t::ZStartU, 1},
                                                            {t::ZStartL, 2},
                                                            {t::dZdxU, 3},
                                                            {t::dZdxL, 4},
                                                            {t::dZdyDomU, 5},
                                                            {t::dZdyDomL, 6}}));
}

TEST(Decoder, DataThatLooksLikeATagWordIsData) {
    EXPECT_EQ(Writes({t::Color, 0x00FF8000}), (List{{t::Color, 0x00FF8000}}));
}

TEST(Decoder, WordsThatAreNoTagWordAreMalformedAndSkipped) {
    StreamDecoder decoder;
    RegisterWrite write{};
    EXPECT_EQ(decoder.Feed(0x00000400, write), Kind::Malformed); // tag beyond 10 bits
    EXPECT_EQ(decoder.Feed(0x00008000, write), Kind::Malformed); // indexed, empty mask
    EXPECT_EQ(decoder.Feed(0x00018001, write), Kind::Malformed); // group no multiple of 16
    EXPECT_FALSE(decoder.ExpectsData());
    EXPECT_EQ(decoder.Feed(t::FogMode, write), Kind::Tag);
    EXPECT_EQ(decoder.Feed(0x400, write), Kind::Data);
}

TEST(Decoder, BoardCountsMalformedWords) {
    rig::Rig r;
    r.Words({0x00000400, 0x00008000, t::FogMode, 1});
    EXPECT_EQ(r.board.FaultReport().malformedWords, 2u);
    EXPECT_EQ(r.Register(t::FogMode), 1u);
}

} // namespace
