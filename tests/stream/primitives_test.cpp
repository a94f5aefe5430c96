#include "chip/registers.h"
#include "chip/words.h"
#include "stream/primitives.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace stream {
namespace {

using testing::ElementsAre;

// "first+count" of each primitive of a stream of pairs, the rest cut at its end.
std::vector<std::string> Walk(const std::vector<uint32_t>& words) {
    PrimitiveWalker walker;
    std::vector<std::string> found;
    const auto add = [&](const std::optional<PrimitiveWords>& one) {
        if (one) {
            found.push_back(std::to_string(one->first) + "+" + std::to_string(one->count));
        }
    };
    for (size_t i = 0; i < words.size(); ++i) {
        add(walker.Take(i, words[i]));
    }
    add(walker.Cut(words.size()));
    return found;
}

TEST(Primitives, HaveTheirSetUpCommandAndContinuations) {
    EXPECT_THAT(Walk({tag::StartXDom, 1, tag::Render, 0x40, tag::StartXSub, 5, tag::ContinueNewSub,
                      3, tag::StartXDom, 2, tag::Render, 0x40, tag::FogMode, 0}),
                ElementsAre("0+8", "8+4"));
}

TEST(Primitives, HavePixelsFromTheHost) {
    const uint32_t download = 0x40 | field::Render_SyncOnHostData.Mask();
    EXPECT_THAT(Walk({tag::Render, download, tag::Color, 1, tag::Color, 2, tag::FogMode, 0}),
                ElementsAre("0+6"));
    // Another one's colour is set up for the next.
    EXPECT_THAT(Walk({tag::Render, 0x40, tag::Color, 1, tag::Render, 0x40}),
                ElementsAre("0+2", "2+4"));
}

TEST(Primitives, AreNoneWithoutACommand) {
    EXPECT_THAT(Walk({tag::StartXDom, 1, tag::Continue, 3}), ElementsAre());
}

} // namespace
} // namespace stream
