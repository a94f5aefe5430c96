// What was changed in a stream is found, all of it and nothing else, whatever carries its words.
#include "chip/registers.h"
#include "stream/diff.h"
#include "stream/source.h"
#include "tests/stream/session.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace stream {
namespace {

struct Pair {
    uint32_t tag, value;
    bool operator==(const Pair&) const = default;
};

std::string Words(const std::vector<Pair>& pairs) {
    std::string bytes;
    for (const Pair& pair : pairs) {
        for (const uint32_t word : {pair.tag, pair.value}) {
            for (int i = 0; i < 4; ++i) {
                bytes += static_cast<char>(word >> (8 * i));
            }
        }
    }
    return bytes;
}

struct Outcome {
    DiffTotals totals;
    std::vector<Hunk> hunks;
    std::vector<Pair> Removed() const { return Of(&Changed::a); }
    std::vector<Pair> Added() const { return Of(&Changed::b); }

  private:
    std::vector<Pair> Of(std::optional<Sent> Changed::*side) const {
        std::vector<Pair> pairs;
        for (const Hunk& hunk : hunks) {
            for (const Changed& one : hunk.changes) {
                if (const auto& sent = one.*side) {
                    pairs.push_back({(sent->offset - kMappedRegisters) / 8, sent->value});
                }
            }
        }
        return pairs;
    }
};

Outcome Compare(const std::string& a, const std::string& b, const DiffOptions& options = {}) {
    std::istringstream inA(a), inB(b);
    const auto left = OpenSource(inA, SmallBoard()), right = OpenSource(inB, SmallBoard());
    Outcome outcome;
    outcome.totals =
        Diff(*left, *right, options, [&](const Hunk& hunk) { outcome.hunks.push_back(hunk); });
    return outcome;
}

Outcome Compare(const std::vector<Pair>& a, const std::vector<Pair>& b,
                const DiffOptions& options = {}) {
    return Compare(Words(a), Words(b), options);
}

constexpr uint32_t kTags[] = {tag::StartXDom, tag::dXDom,   tag::StartY,        tag::Count,
                              tag::RStart,    tag::FogMode, tag::ConstantColor, tag::Render};

std::vector<Pair> Random(std::mt19937& dice, size_t count) {
    std::vector<Pair> pairs;
    for (size_t i = 0; i < count; ++i) {
        pairs.push_back({kTags[dice() % std::size(kTags)], uint32_t(dice())});
    }
    return pairs;
}

TEST(Diff, FindsAllEditsAndNothingElse) {
    std::mt19937 dice(5);
    for (int round = 0; round < 30; ++round) {
        const std::vector<Pair> a = Random(dice, 12000);
        std::vector<Pair> b, removed, added;
        size_t changed = 0;
        // Edits stand far enough apart not to be one.
        for (size_t i = 0; i < a.size(); ++i) {
            if (i % 40 != 20 || dice() % 4 == 0) {
                b.push_back(a[i]);
                continue;
            }
            switch (dice() % 3) {
            case 0:
                removed.push_back(a[i]);
                break;
            case 1:
                added.push_back({tag::FogColor, uint32_t(dice())});
                b.push_back(added.back());
                b.push_back(a[i]);
                break;
            default:
                removed.push_back(a[i]);
                added.push_back({a[i].tag, a[i].value + 1});
                b.push_back(added.back());
                ++changed;
                break;
            }
        }
        const Outcome outcome = Compare(a, b);
        EXPECT_EQ(outcome.Removed(), removed);
        EXPECT_EQ(outcome.Added(), added);
        EXPECT_EQ(outcome.totals.changed, changed);
        EXPECT_EQ(outcome.totals.onlyA, removed.size() - changed);
        EXPECT_EQ(outcome.totals.onlyB, added.size() - changed);
        EXPECT_EQ(outcome.totals.same, a.size() - removed.size());
        EXPECT_TRUE(Compare(a, a).totals.Equal());
    }
}

TEST(Diff, FindsTheEndOfAShorterOne) {
    std::mt19937 dice(6);
    std::vector<Pair> a = Random(dice, 5000);
    std::vector<Pair> b(a.begin(), a.begin() + 1000);
    const Outcome outcome = Compare(a, b);
    EXPECT_EQ(outcome.Removed(), std::vector<Pair>(a.begin() + 1000, a.end()));
    EXPECT_TRUE(outcome.Added().empty());
    EXPECT_EQ(outcome.hunks[0].a.word, 2001u); // of the data
    EXPECT_EQ(Compare(b, a).Added(), outcome.Removed());
    EXPECT_EQ(Compare(std::vector<Pair>{}, a).totals.onlyB, a.size());
}

TEST(Diff, OfStreamsThatHaveNothingInCommonTellsAll) {
    std::mt19937 dice(7);
    std::vector<Pair> a = Random(dice, 6000), b = Random(dice, 7000);
    const Outcome outcome = Compare(a, b);
    EXPECT_EQ(outcome.Removed(), a);
    EXPECT_EQ(outcome.Added(), b);
    EXPECT_EQ(outcome.totals.same, 0u);
}

TEST(Diff, StopsAtTheFirst) {
    std::mt19937 dice(8);
    std::vector<Pair> a = Random(dice, 3000), b = a;
    b[1000].value ^= 1;
    b[2000].value ^= 1;
    DiffOptions options;
    options.first = true;
    EXPECT_EQ(Compare(a, b, options).totals.hunks, 1u);
    EXPECT_EQ(Compare(a, b).totals.hunks, 2u);
}

TEST(Diff, LeavesOutWhatIsIgnored) {
    std::mt19937 dice(9);
    std::vector<Pair> a = Random(dice, 500), b;
    for (const Pair& pair : a) {
        if (pair.tag != tag::FogMode) {
            b.push_back(pair);
        }
    }
    EXPECT_FALSE(Compare(a, b).totals.Equal());
    DiffOptions options;
    options.ignored = {MappedOffset(tag::FogMode)};
    EXPECT_TRUE(Compare(a, b, options).totals.Equal());
}

TEST(Diff, TakesNoNoticeOfBursts) {
    // FogMode and FogColor, by two pairs and by an indexed burst.
    const std::string pairs = Words({{tag::FogMode, 1}, {tag::FogColor, 2}, {tag::Render, 3}});
    static_assert(tag::FogMode == 0xD2 && tag::FogColor == 0xD3);
    const std::string burst = Words({{0x000C80D0, 1}, {2, tag::Render}}) + std::string("\3\0\0", 4);
    EXPECT_TRUE(Compare(pairs, burst).totals.Equal());
}

DiffOptions ByState() {
    DiffOptions options;
    options.state = true;
    return options;
}

TEST(DiffOfState, ComparesWhatIsDrawnUnder) {
    const std::vector<Pair> a = {{tag::FogMode, 1}, {tag::FogColor, 5}, {tag::Render, 0}};
    const std::vector<Pair> reordered = {
        {tag::FogColor, 9}, {tag::FogColor, 5}, {tag::FogMode, 1}, {tag::Render, 0}};
    EXPECT_FALSE(Compare(a, reordered).totals.Equal());
    EXPECT_TRUE(Compare(a, reordered, ByState()).totals.Equal());
    // What nothing is drawn under makes no difference.
    std::vector<Pair> behind = a;
    behind.push_back({tag::FogMode, 0});
    EXPECT_TRUE(Compare(a, behind, ByState()).totals.Equal());
}

TEST(DiffOfState, TellsARegisterThatGoesOnToDifferOnce) {
    std::vector<Pair> a, b;
    for (uint32_t i = 0; i < 1000; ++i) {
        for (auto* pairs : {&a, &b}) {
            pairs->push_back({tag::StartXDom, i});
            pairs->push_back({tag::Render, 0});
        }
        if (i == 300) {
            a.push_back({tag::FogColor, 1});
            b.push_back({tag::FogColor, 2});
        }
        if (i == 600) {
            b.push_back({tag::FogMode, 1});
        }
    }
    const Outcome outcome = Compare(a, b, ByState());
    ASSERT_EQ(outcome.hunks.size(), 2u);
    EXPECT_EQ(outcome.hunks[0].changes[0].a->offset, MappedOffset(tag::FogColor));
    EXPECT_EQ(outcome.hunks[0].changes[0].a->value, 1u);
    EXPECT_EQ(outcome.hunks[0].changes[0].b->value, 2u);
    EXPECT_EQ(outcome.hunks[1].changes[0].b->offset, MappedOffset(tag::FogMode));
    EXPECT_EQ(outcome.totals.same, 998u);
}

TEST(DiffOfState, FindsPrimitivesThatOnlyOneHas) {
    std::vector<Pair> a, b;
    for (uint32_t i = 0; i < 600; ++i) {
        for (auto* pairs : {&a, &b}) {
            if (i == 100 && pairs == &b) {
                continue;
            }
            pairs->push_back({tag::StartXDom, i * 7});
            pairs->push_back({tag::Render, 0});
        }
    }
    const Outcome outcome = Compare(a, b, ByState());
    EXPECT_EQ(outcome.totals.onlyA, 1u);
    EXPECT_EQ(outcome.totals.changed, 0u);
    EXPECT_EQ(outcome.totals.same, 599u);
    EXPECT_EQ(outcome.hunks.at(0).a.word, 403u);
}

TEST(DiffOfState, ComparesPixelsOfTheHost) {
    const std::vector<Pair> a = {{tag::Color, 1}, {tag::Color, 2}, {tag::Render, 0}};
    std::vector<Pair> b = a;
    b[1].value = 3;
    const Outcome outcome = Compare(a, b, ByState());
    ASSERT_EQ(outcome.hunks.size(), 1u);
    EXPECT_TRUE(outcome.hunks[0].changes[0].data);
}

TEST(DiffOfCaptures, IsNoneOfOneWithItself) {
    Session session(SmallBoard(), 4);
    session.Run(50);
    const std::string capture = session.Finish();
    std::istringstream inA(capture), inB(capture);
    const auto left = OpenSource(inA), right = OpenSource(inB);
    const auto none = [](const Hunk&) { ADD_FAILURE(); };
    EXPECT_TRUE(Diff(*left, *right, {}, none).Equal());
}

} // namespace
} // namespace stream
