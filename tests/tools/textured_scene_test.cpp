// What the textured scenes must look like on every chip that draws textures.
#include "tools/korv/images/patterns.h"
#include "tools/korv/images/texels.h"
#include "tools/korv/painting/canvas.h"
#include "tools/korv/scenes/scene.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <set>

namespace korv {
namespace {

std::vector<std::string> TexturingChips() {
    std::vector<std::string> names;
    for (const ChipChoice& chip : Chips()) {
        if (chip.drawsTextures) {
            names.emplace_back(chip.name);
        }
    }
    return names;
}

class TexturedScene : public testing::TestWithParam<std::string> {
  protected:
    host::Picture Draw(void (*scene)(Painter&), const Settings& settings = {}) {
        Canvas canvas(ChipByName(GetParam()), settings);
        scene(canvas);
        host::Picture picture = canvas.Finish();
        EXPECT_EQ(canvas.Faults(), "");
        return picture;
    }
};

// As a texel of 5, 6 and 5 bits comes out: rounded to them, and widened by repeating its top bits.
int ThroughBits(int value, int bits) {
    const int most = (1 << bits) - 1, kept = (value * most + 127) / 255;
    return kept << (8 - bits) | kept >> (2 * bits - 8);
}

// Where a pixel of a tile falls in the image: `at` counts from one image's width before it.
int TilePlace(int column, int at) {
    switch (column) {
    case 0:
        return at % 64;
    case 1:
        return at < 64 ? 63 - at : at < 128 ? at - 64 : std::max(191 - at, 0);
    default:
        return std::clamp(at - 64, 0, 63);
    }
}

// Whether `seen` lies between what rows y and y + 1 of the tile should show. Where the driver sets
// triangles up, a row takes its texels at its lower edge.
bool FitsTile(const host::Picture& image, int column, int x, int y, const Rgba& seen, int within) {
    const Rgba here = image.At(TilePlace(column, x), TilePlace(column, y));
    const Rgba below = image.At(TilePlace(column, x), TilePlace(column, y + 1));
    for (int channel = 0; channel < 3; ++channel) {
        const int bits = channel == 1 ? 6 : 5;
        const int a = ThroughBits(here[channel], bits), b = ThroughBits(below[channel], bits);
        if (seen[channel] < std::min(a, b) - within || seen[channel] > std::max(a, b) + within) {
            return false;
        }
    }
    return true;
}

TEST_P(TexturedScene, TilesShowEachTexelWhereItsAddressFalls) {
    const host::Picture picture = Draw(DrawTiles, {.size = {600, 400}, .depth = 32});
    const host::Picture image = LetterTile(64);
    for (int column = 0; column < 3; ++column) {
        for (int y = 0; y < 192; ++y) {
            for (int x = 0; x < 192; ++x) {
                // At this size a texel is a pixel, and mixing finds one texel in each column.
                const uint32_t left = 200 * column + 4 + x;
                ASSERT_TRUE(FitsTile(image, column, x, y, picture.At(left, 4 + y), 1))
                    << column << " " << x << "," << y;
                ASSERT_TRUE(FitsTile(image, column, x, y, picture.At(left, 204 + y), 3))
                    << column << " " << x << "," << y << ", mixed";
            }
        }
    }
}

TEST_P(TexturedScene, SpritesLetTheWallThroughAndNothingOfTheirKey) {
    const host::Picture picture = Draw(DrawSprites, {.depth = 32});
    if (GetParam() == "tx-delta") {
        GTEST_SKIP() << "this chip has no colour key";
    }
    int faces = 0;
    for (uint32_t y = 0; y < picture.height; ++y) {
        for (uint32_t x = 0; x < picture.width; ++x) {
            const auto pixel = picture.At(x, y);
            // Neither brick nor face has much more blue than green, but the key has.
            ASSERT_LT(pixel[2], pixel[1] + 60) << x << "," << y;
            faces += pixel[1] > 150 && pixel[2] < 90;
        }
    }
    EXPECT_GT(faces, 5000);
}

TEST_P(TexturedScene, FloorWithoutPerspectiveHasFieldsOfUnequalWidth) {
    const host::Picture picture = Draw(DrawTextureFloor, {.depth = 32});
    // A line of the screen is one distance, so in perspective all fields along it have one width.
    const auto widths = [&](uint32_t y, uint32_t from, uint32_t to) {
        std::set<uint32_t> found;
        uint32_t start = 0;
        for (uint32_t x = from + 1; x < to; ++x) {
            const auto bright = [&](uint32_t at) {
                const auto p = picture.At(at, y);
                return p[0] + p[1] + p[2] > 3 * 145;
            };
            if (bright(x) == bright(x - 1)) {
                continue;
            }
            if (start != 0) {
                found.insert(x - start);
            }
            start = x;
        }
        return found;
    };
    size_t uneven = 0, lines = 0;
    for (uint32_t y = 300; y < 460; y += 8) {
        const auto right = widths(y, 330, 640);
        uneven += !right.empty() && *right.rbegin() > *right.begin() + 4;
        ++lines;
    }
    EXPECT_GT(uneven, lines / 2);
}

INSTANTIATE_TEST_SUITE_P(Chips, TexturedScene, testing::ValuesIn(TexturingChips()),
                         [](const auto& info) {
                             std::string name = info.param;
                             std::erase(name, '-');
                             return name;
                         });

} // namespace
} // namespace korv
