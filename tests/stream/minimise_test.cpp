#include "stream/error.h"
#include "stream/minimise.h"
#include "stream/player.h"
#include "tests/stream/session.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace stream {
namespace {

TEST(NeededPieces, AreFound) {
    for (const std::vector<size_t>& needed :
         {std::vector<size_t>{}, {0}, {63}, {3, 17, 40}, {0, 1, 2, 61, 62, 63}}) {
        int asked = 0;
        const auto found = NeededPieces(64, [&](const std::vector<size_t>& kept) {
            ++asked;
            EXPECT_TRUE(std::ranges::is_sorted(kept));
            return std::ranges::includes(kept, needed);
        });
        EXPECT_EQ(found, needed);
        EXPECT_LT(asked, 200);
    }
}

TEST(NeededPieces, AreEachNeededIfNotAllAlone) {
    // Any two of a kind will do.
    const auto holds = [](const std::vector<size_t>& kept) {
        return std::ranges::count_if(kept, [](size_t piece) { return piece % 5 == 0; }) >= 2;
    };
    const auto found = NeededPieces(50, holds);
    EXPECT_EQ(found.size(), 2u);
    EXPECT_TRUE(holds(found));
}

uint32_t AtEnd(const std::string& capture, uint32_t tagNumber) {
    std::istringstream in(capture);
    const auto source = OpenSource(in);
    Player player(*source);
    player.PlayTo(ParsePlace("end"));
    return player.Board().RegisterAt(MappedOffset(tagNumber));
}

// Ends with one register as the fault wants it, among much else.
std::string Haystack(uint32_t seed) {
    Session session(SmallBoard(), seed);
    session.Run(60);
    // FogMode and FogColor in an indexed burst.
    static_assert(tag::FogMode == 0xD2 && tag::FogColor == 0xD3);
    const uint32_t words[] = {0x000C80D0, 1, 0x777};
    session.Board().WriteFifo(words, 3);
    session.Run(60);
    return session.Finish();
}

TEST(Minimising, LeavesTheOneRegister) {
    for (uint32_t seed = 0; seed < 4; ++seed) {
        std::istringstream in(Haystack(seed));
        const auto source = OpenSource(in);
        const Minimised found = Minimise(*source, "a test", [](const std::string& capture) {
            return AtEnd(capture, tag::FogColor) == 0x777;
        });
        EXPECT_GT(found.wordsBefore, 100u);
        EXPECT_EQ(found.words, 2u);
        EXPECT_FALSE(found.asCarried);
        EXPECT_EQ(AtEnd(found.capture, tag::FogColor), 0x777u);
        EXPECT_EQ(AtEnd(found.capture, tag::FogMode), 0u);
        // What is left plays as its checksums say.
        std::istringstream again(found.capture);
        const auto left = OpenSource(again);
        Player player(*left);
        Event event;
        while (player.Step(event)) {
            if (event.kind == EventKind::Mark && event.mark->Number("registers")) {
                EXPECT_EQ(event.mark->Number("registers"), ChecksumsOf(player.Board()).registers);
            }
        }
        EXPECT_EQ(player.DifferenceCount(), 0u);
    }
}

TEST(Minimising, KeepsCarriersThatAreNeeded) {
    std::istringstream in(Haystack(1));
    const auto source = OpenSource(in);
    const Minimised found = Minimise(*source, "a test", [](const std::string& capture) {
        std::istringstream bytes(capture);
        const auto part = OpenSource(bytes);
        Event event;
        while (part->Next(event)) {
            if (event.kind == EventKind::DmaWord) {
                return true;
            }
        }
        return false;
    });
    EXPECT_TRUE(found.asCarried);
    EXPECT_LT(found.words, found.wordsBefore);
    EXPECT_GT(found.words, 0u);
}

TEST(Minimising, NeedsSomethingThatHappens) {
    std::istringstream in(Haystack(1));
    const auto source = OpenSource(in);
    EXPECT_THROW(Minimise(*source, "a test", [](const std::string&) { return false; }),
                 StreamError);
}

} // namespace
} // namespace stream
