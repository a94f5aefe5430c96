// A player that comes back to a place goes on as it did the first time.
#include "stream/checkpoint.h"
#include "stream/player.h"
#include "stream/wires.h"
#include "tests/stream/session.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace stream {
namespace {

using testing::ElementsAre;

// What can be told apart of a board.
struct Seen {
    Position at;
    Checksums sums;
    uint64_t microseconds, differences;
    bool operator==(const Seen&) const = default;
};

Seen SeenOf(Player& player) {
    return {player.From().At(), ChecksumsOf(player.Board()), player.Board().Microseconds(),
            player.DifferenceCount()};
}

class Checkpoints : public testing::TestWithParam<uint32_t> {};
INSTANTIATE_TEST_SUITE_P(Seeds, Checkpoints, testing::Range(0u, 6u));

TEST_P(Checkpoints, LeadBackToTheSameStates) {
    board::Config config =
        SmallBoard(GetParam() % 2 != 0 ? board::Chip::TX : board::Chip::Permedia2);
    if (GetParam() % 3 != 0) {
        config.timing.fifoDrainPerTick = 1;
        config.timing.dmaWordsPerTick = 3;
    }
    Session session(config, GetParam());
    if (config.chip == board::Chip::Permedia2) {
        session.PlugVideo();
    }
    session.Run(120);
    const std::string capture = session.Finish();

    std::istringstream in(capture);
    const auto source = OpenSource(in);
    Player player(*source);
    std::vector<Checkpoint> kept{player.Keep(nullptr)};
    std::vector<Seen> seen{SeenOf(player)};
    Event event;
    for (uint64_t events = 0; player.Step(event);) {
        if (event.kind != EventKind::Mark && ++events % 97 == 0) {
            kept.push_back(player.Keep(&kept.back()));
            seen.push_back(SeenOf(player));
        }
    }
    const Seen end = SeenOf(player);
    EXPECT_EQ(end.sums, session.Sums());
    ASSERT_GT(kept.size(), 4u);
    // Back from the end, each of them, and on to the next.
    for (size_t i = kept.size(); i-- != 0;) {
        player.Return(kept[i]);
        EXPECT_EQ(SeenOf(player), seen[i]) << i;
        const Seen& next = i + 1 < seen.size() ? seen[i + 1] : end;
        while (player.From().At() != next.at && player.Step(event)) {
        }
        EXPECT_EQ(SeenOf(player), next) << i;
    }
    // Pages that are alike are shared.
    std::set<const void*> pages;
    size_t own = 0;
    for (size_t i = 0; i < kept.size(); ++i) {
        kept[i].AddPages(pages);
        own += kept[i].BytesBeyond(i != 0 ? &kept[i - 1] : nullptr);
    }
    EXPECT_LE(pages.size() * PagedMemory::kPageBytes, own);
    EXPECT_EQ(kept[1].BytesBeyond(&kept[1]), 0u);
}

TEST(PagedMemory, SharesWhatIsAlikeAndHasNoPagesOfZeroes) {
    constexpr size_t kPage = PagedMemory::kPageBytes;
    std::vector<uint8_t> bytes(3 * kPage + 5);
    const PagedMemory empty(bytes, nullptr);
    EXPECT_EQ(empty.BytesBeyond(nullptr), 0u);
    bytes[kPage] = 1;
    bytes.back() = 2;
    const PagedMemory first(bytes, &empty);
    EXPECT_EQ(first.BytesBeyond(&empty), 2 * kPage);
    bytes.back() = 0;
    bytes[0] = 3;
    const PagedMemory second(bytes, &first);
    EXPECT_EQ(second.BytesBeyond(&first), kPage);
    std::vector<uint8_t> copied(bytes.size(), 0xEE);
    second.CopyTo(copied);
    EXPECT_EQ(copied, bytes);
    bytes[0] = 0;
    bytes.back() = 2;
    first.CopyTo(copied);
    EXPECT_EQ(copied, bytes);
}

TEST(Wires, AreTheFirstAndLastRowsAndTheEndsBetween) {
    std::vector<uint8_t> memory(16 * 8);
    const board::Plane plane{memory.data(), 128, 0, 16, 1, false};
    const auto row = [&](int64_t y, int64_t left, int64_t right) {
        return board::PixelRow{y, left, right, &plane, nullptr, nullptr, false, false};
    };
    Wires wires(memory.size());
    wires.OnPrimitive(board::PrimitiveKind::Trapezoid);
    for (int64_t y = 1; y < 5; ++y) {
        EXPECT_FALSE(wires.Wants(row(y, 2, 6)));
    }
    wires.OnPrimitive(board::PrimitiveKind::Trapezoid);
    wires.Wants(row(6, -3, 2)); // what lies beside the rows is in no other row
    wires.Wants(row(7, 14, 19));
    SurfaceLayout surface = ScreenLayout(16, 8, 8, 16);
    std::string drawn;
    const auto lines = wires.Of(surface);
    for (size_t i = 0; i < lines.size(); ++i) {
        drawn += ".+#"[static_cast<size_t>(lines[i])];
        drawn += i % 16 == 15 ? "\n" : "";
    }
    EXPECT_EQ(drawn, "................\n"
                     "..++++..........\n"
                     "..+..+..........\n"
                     "..+..+..........\n"
                     "..++++..........\n"
                     "................\n"
                     "##..............\n"
                     "..............##\n");
    surface.offset = 1;
    EXPECT_ANY_THROW(wires.Of(surface));
}

} // namespace
} // namespace stream
