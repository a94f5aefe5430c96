// TX and MX: copies that leave out key-coloured pixels, and stretches whose texels lie in the frame
// buffer. SX has neither.
#include "board/pixel/source_key.h"
#include "tests/board/rig.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>

namespace {

using rig::kReadSource;

constexpr uint32_t kReadTexels = 0x20000000;
constexpr uint32_t kRejectInside = 9;
constexpr uint32_t kSource = 16384, kDest = 4096; // pixels

template <typename T>
class KeyRig : public rig::Rig {
  public:
    explicit KeyRig(board::Chip chip = board::Chip::MX) : Rig(rig::SmallConfig(chip)) {
        if (chip == board::Chip::SX) {
            board.Write(reg::FBModeSel, sizeof(T) == 1 ? 4 : sizeof(T) == 2 ? 2 : 0);
        }
        Send({{tag::PixelSize, sizeof(T) == 1   ? 2
                               : sizeof(T) == 2 ? 1
                                                : 0},
              {tag::FBWriteMode, 1}});
        std::mt19937 random(2);
        for (uint8_t& byte : board.FrameBuffer().first(1u << 17)) {
            byte = static_cast<uint8_t>(random());
        }
        Remember();
    }
    void Remember() {
        before.resize(board.FrameBuffer().size() / sizeof(T));
        std::memcpy(before.data(), board.FrameBuffer().data(), board.FrameBuffer().size());
    }
    void SetKey(uint32_t low, uint32_t high) {
        Send({{tag::ChromaTestMode, kRejectInside},
              {tag::ChromaLowerBound, low},
              {tag::ChromaUpperBound, high}});
    }
    void ExpectMemory(const std::vector<T>& expected) {
        EXPECT_EQ(
            std::memcmp(expected.data(), board.FrameBuffer().data(), board.FrameBuffer().size()),
            0);
        EXPECT_FALSE(board.FaultReport().Any()) << board.FaultReport().Describe();
    }

    std::vector<T> before;
};

constexpr board::Chip kChips[] = {board::Chip::TX, board::Chip::MX};

// Copies 64 by 32 pixels of which every third is `key`.
template <typename T, typename IsKey>
void KeyedCopyOn(board::Chip chip, T key, uint32_t low, uint32_t high, IsKey isKey) {
    KeyRig<T> r(chip);
    for (size_t i = 0; i < 64 * 32; i += 3) {
        r.template SetElement<T>(kSource + i, key);
    }
    r.Remember();
    r.SetKey(low, high);
    r.Send({{tag::FBReadMode, rig::kPitch64 | kReadSource},
            {tag::FBSourceOffset, kSource - kDest},
            {tag::FBWindowBase, kDest}});
    r.Rectangle(0, 0, 64, 32);
    auto expected = r.before;
    int dropped = 0;
    for (size_t i = 0; i < 64 * 32; ++i) {
        if (isKey(r.before[kSource + i])) {
            ++dropped;
        } else {
            expected[kDest + i] = r.before[kSource + i];
        }
    }
    EXPECT_GE(dropped, 64 * 32 / 3);
    r.ExpectMemory(expected);
}

template <typename T, typename IsKey>
void KeyedCopy(T key, uint32_t low, uint32_t high, IsKey isKey) {
    for (const board::Chip chip : kChips) {
        KeyedCopyOn<T>(chip, key, low, high, isKey);
    }
}

TEST(SourceKey, PixelsInsideTheBoundsAreNotCopied) {
    // 1:5:5:5, red 21, green 9, blue 30, any alpha; fields at the bottom of their bytes.
    KeyedCopy<uint16_t>(21 << 10 | 9 << 5 | 30, 21 | 9 << 8 | 30 << 16,
                        21 | 9 << 8 | 30 << 16 | 0xFF000000,
                        [](uint16_t p) { return (p & 0x7FFF) == (21 << 10 | 9 << 5 | 30); });
    // A range in every channel of 8:8:8:8.
    KeyedCopy<uint32_t>(0x55804020, 0x104070, 0xFF305090, [](uint32_t p) {
        const uint32_t red = p >> 16 & 0xFF, green = p >> 8 & 0xFF, blue = p & 0xFF;
        return red >= 0x70 && red <= 0x90 && green >= 0x40 && green <= 0x50 && blue >= 0x10 &&
               blue <= 0x30;
    });
    // Indices: both bounds have nothing but the byte.
    KeyedCopy<uint8_t>(0xC7, 0xC6, 0xC9, [](uint8_t p) { return p >= 0xC6 && p <= 0xC9; });
    // 3:3:2, of which red 5, green 3, blue 0 to 2.
    KeyedCopy<uint8_t>(5 << 5 | 3 << 2 | 1, 5 | 3 << 8, 5 | 3 << 8 | 2 << 16 | 0xFF000000,
                       [](uint8_t p) { return p >> 2 == (5 << 3 | 3) && (p & 3) <= 2; });
}

TEST(SourceKey, NoKeyWithoutTheMode) {
    KeyRig<uint16_t> r;
    r.SetKey(0, 0xFFFFFFFF);
    r.Send({{tag::ChromaTestMode, 0},
            {tag::FBReadMode, rig::kPitch64 | kReadSource},
            {tag::FBSourceOffset, kSource}});
    r.Rectangle(0, 0, 1, 1);
    EXPECT_EQ(r.Element<uint16_t>(0), r.before[kSource]);
    r.Send(tag::ChromaTestMode, 1);
    r.Rectangle(1, 0, 2, 1);
    EXPECT_EQ(r.board.FaultReport().unmodelled.at("chroma test mode of copies other than 9"), 1u);
}

// A stretch with the words that a driver sends: S and T in 11.21, the frame buffer as a map.
template <typename T>
void SendStretch(KeyRig<T>& r, uint32_t s, uint32_t dS, uint32_t t, uint32_t dT, int left, int top,
                 int right, int bottom, bool backward) {
    const uint32_t logBits = sizeof(T) == 1 ? 3 : sizeof(T) == 2 ? 4 : 5;
    r.Send({{tag::FBReadMode, rig::kPitch64 | kReadTexels | kReadSource},
            {tag::LogicalOpMode, 0},
            {tag::FBSourceOffset, kSource},
            {tag::FBWindowBase, kDest},
            {tag::TextureFormat, 0},
            {tag::GlintTextureReadMode, 0x4400001 | logBits << 9 | 11 << 5 | 11 << 1},
            {tag::TextureAddressMode, 1},
            {tag::TextureColorMode, 0},
            {tag::SStart, s},
            {tag::TStart, t},
            {tag::dSdx, dS},
            {tag::dSdyDom, 0},
            {tag::dTdx, 0},
            {tag::dTdyDom, dT},
            {tag::StartXDom, static_cast<uint32_t>(backward ? right : left) << 16},
            {tag::StartXSub, static_cast<uint32_t>(backward ? left : right) << 16},
            {tag::StartY, static_cast<uint32_t>(backward ? bottom - 1 : top) << 16},
            {tag::dY, backward ? 0xFFFF0000 : 0x10000},
            {tag::Count, static_cast<uint32_t>(bottom - top)},
            {tag::Render, 0x2040},
            {tag::TextureAddressMode, 0},
            {tag::GlintTextureReadMode, 0}});
}

template <typename T>
void StretchBothWays(board::Chip chip) {
    for (const bool backward : {false, true}) {
        for (const auto& [from, to] : {std::pair{10, 37}, {60, 13}, {20, 20}}) {
            KeyRig<T> r(chip);
            const auto step = static_cast<uint32_t>((int64_t{from} << 21) / (to + 1));
            const uint32_t start = static_cast<uint32_t>(backward ? 2 + from : 2) << 21;
            const uint32_t startT = static_cast<uint32_t>(backward ? 1 + from : 2) << 21;
            SendStretch(r, start, backward ? 0u - step : step, startT, backward ? 0u - step : step,
                        5, 3, 5 + to, 3 + to, backward);
            auto expected = r.before;
            const auto texel = [&](uint32_t first, int i) {
                const int64_t moved = int64_t{step} * i;
                return static_cast<size_t>((backward ? first - moved : first + moved) >> 21);
            };
            for (int i = 0; i < to; ++i) {
                for (int j = 0; j < to; ++j) {
                    const int y = backward ? 2 + to - i : 3 + i;
                    const int x = backward ? 4 + to - j : 5 + j;
                    expected[static_cast<size_t>(static_cast<int>(kDest) + y * 64 + x)] =
                        r.before[kSource + texel(startT, i) * 64 + texel(start, j)];
                }
            }
            r.ExpectMemory(expected);
        }
    }
}

TEST(SourceKey, FragmentsPassUntested) {
    KeyRig<uint32_t> r;
    r.SetKey(0, 0xFFFFFFFF);
    r.Send({{tag::FBReadMode, rig::kPitch64}, {tag::Color, 0x123456}});
    r.Rectangle(0, 0, 1, 1);
    EXPECT_EQ(r.Element<uint32_t>(0), 0x123456u);
    EXPECT_FALSE(r.board.FaultReport().Any()) << r.board.FaultReport().Describe();
}

TEST(SourceKey, StretchReadsTheFrameBufferByCoordinates) {
    for (const board::Chip chip : kChips) {
        StretchBothWays<uint8_t>(chip);
        StretchBothWays<uint16_t>(chip);
        StretchBothWays<uint32_t>(chip);
    }
}

TEST(SourceKey, TheSXCopiesKeyColouredPixelsTooAndCountsTheTest) {
    KeyRig<uint32_t> r(board::Chip::SX);
    r.SetKey(0, 0xFFFFFFFF);
    r.Send({{tag::FBReadMode, rig::kPitch64 | kReadSource}, {tag::FBSourceOffset, kSource}});
    r.Rectangle(0, 0, 4, 2);
    for (const size_t pixel : {0, 3, 64, 67}) {
        EXPECT_EQ(r.Element<uint32_t>(pixel), r.before[kSource + pixel]);
    }
    EXPECT_EQ(r.board.FaultReport().unmodelled.at("chroma test"), 1u);
}

TEST(SourceKey, TheSXDrawsNoStretchAndCountsTheTextureUnit) {
    KeyRig<uint16_t> r(board::Chip::SX);
    r.Send(tag::Color, 0x1234);
    SendStretch(r, 0, 1u << 20, 0, 1u << 20, 0, 0, 64, 32, false);
    EXPECT_EQ(std::memcmp(r.before.data(), r.board.FrameBuffer().data(), r.before.size() * 2), 0);
    EXPECT_EQ(r.board.FaultReport().unmodelled,
              (std::map<std::string, uint64_t>{{"texture unit", 1}}));
}

TEST(SourceKey, TheSXDrawsTexturedFragmentsPlainAndCountsTheTextureUnit) {
    KeyRig<uint32_t> r(board::Chip::SX);
    r.Send({{tag::Color, 0x123456},
            {tag::FBReadMode, rig::kPitch64},
            {tag::GlintTextureReadMode, 0x4400001 | 5 << 9 | 11 << 5 | 11 << 1},
            {tag::TextureAddressMode, 1}});
    r.Rectangle(0, 0, 1, 1, 0x2000);
    EXPECT_EQ(r.Element<uint32_t>(0), 0x123456u);
    EXPECT_EQ(r.board.FaultReport().unmodelled,
              (std::map<std::string, uint64_t>{{"texture unit", 1}}));
}

TEST(SourceKey, StretchLeavesOutTheKey) {
    KeyRig<uint16_t> r;
    for (size_t i = 0; i < 64 * 32; i += 2) {
        r.SetElement<uint16_t>(kSource + i, 0x0421);
    }
    r.Remember();
    r.SetKey(0x010101, 0xFF010101);
    SendStretch(r, 0, 1u << 20, 0, 1u << 20, 0, 0, 64, 32, false);
    auto expected = r.before;
    for (size_t y = 0; y < 32; ++y) {
        for (size_t x = 0; x < 64; ++x) {
            const uint16_t source = r.before[kSource + y / 2 * 64 + x / 2];
            if ((source & 0x7FFF) != 0x0421) {
                expected[kDest + y * 64 + x] = source;
            }
        }
    }
    r.ExpectMemory(expected);
}

TEST(SourceKey, TexelsOfTheFrameBufferWantTheDisplaysDepth) {
    KeyRig<uint16_t> r;
    r.Send({{tag::FBReadMode, rig::kPitch64 | kReadTexels | kReadSource},
            {tag::GlintTextureReadMode, 0x4400001 | 5 << 9 | 11 << 5 | 11 << 1},
            {tag::TextureAddressMode, 1}});
    r.Rectangle(0, 0, 1, 1, 0x2000);
    EXPECT_EQ(r.board.FaultReport().unmodelled.at("texels of the frame buffer in this mode"), 1u);
    EXPECT_EQ(r.Element<uint16_t>(0), r.before[0]) << "and draw nothing else";
}

} // namespace
