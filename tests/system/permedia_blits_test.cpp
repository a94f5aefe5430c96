// Two-dimensional pictures of the Permedia family, from the blit callback to the board's memory,
// against plain loops over pixels.
#include "host/ddraw/ddraw.h"
#include "host/display/display.h"
#include "host/display/machine.h"
#include "host/inspect/unwaited.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <random>

namespace {

struct PermediaMode {
    const char* name;
    uint32_t deviceId;
    uint32_t bits;
};

void PrintTo(const PermediaMode& mode, std::ostream* out) {
    *out << mode.name;
}

constexpr PermediaMode kBlitModes[] = {
    {"Permedia8", DevicePermedia, 8},       {"Permedia16", DevicePermedia, 16},
    {"Permedia32", DevicePermedia, 32},     {"Permedia2At8", DevicePermedia2, 8},
    {"Permedia2At16", DevicePermedia2, 16}, {"Permedia2At24", DevicePermedia2, 24},
    {"Permedia2At32", DevicePermedia2, 32},
};

// What a surface should hold.
struct Canvas {
    explicit Canvas(const host::Surface& surface)
        : width(static_cast<int>(surface.Width())), height(static_cast<int>(surface.Height())),
          pixels(surface.Width() * surface.Height()) {}
    uint32_t& At(int x, int y) { return pixels.at(static_cast<size_t>(y * width + x)); }

    int width, height;
    std::vector<uint32_t> pixels;
};

class PermediaBlits : public testing::TestWithParam<PermediaMode> {
  protected:
    PermediaBlits()
        : display_(Config()), started_(display_.Start()), directDraw_(display_),
          back_(directDraw_.CreateOffscreen(160, 100)),
          sprite_(directDraw_.CreateOffscreen(75, 60)), backWanted_(back_), spriteWanted_(sprite_) {
        EXPECT_TRUE(started_);
        Scatter(back_, backWanted_);
        Scatter(sprite_, spriteWanted_);
    }

    static host::DisplayConfig Config() {
        host::PowerCycle();
        host::DisplayConfig config;
        config.deviceId = GetParam().deviceId;
        config.bits = GetParam().bits;
        config.width = 320;
        config.height = 240;
        return config;
    }

    int Random(int low, int high) { return std::uniform_int_distribution(low, high)(engine_); }

    // A few colours, so that a key matches some pixels. A 15-bit pixel has no bit to spare.
    uint32_t Colour() {
        constexpr uint32_t kColours[] = {0x2F1E63, 0x1C5A3A, 0x0077C4, 0x7F7F7F, 0x000000};
        const uint32_t bits = GetParam().bits == 16 ? 15 : std::min(GetParam().bits, 24u);
        return kColours[Random(0, 4)] & ((1u << bits) - 1);
    }
    void Scatter(host::Surface& surface, Canvas& wanted) {
        for (int y = 0; y != wanted.height; ++y) {
            for (int x = 0; x != wanted.width; ++x) {
                wanted.At(x, y) = Colour();
                surface.SetPixel(x, y, wanted.At(x, y));
            }
        }
    }

    RECT Area(const Canvas& canvas, int width, int height) {
        const LONG left = Random(0, canvas.width - width);
        const LONG top = Random(0, canvas.height - height);
        return {left, top, left + width, top + height};
    }

    void Blt(host::Surface& dest, const RECT& to, host::Surface& source, const RECT& from,
             const host::BltOptions& options = {}) {
        const host::HalAnswer answer =
            directDraw_.Patiently([&] { return directDraw_.Blt(dest, to, source, from, options); });
        EXPECT_TRUE(answer.Done());
    }

    void ExpectWanted(host::Surface& surface, Canvas& wanted) {
        directDraw_.Finish(surface);
        int wrong = 0;
        for (int y = 0; y != wanted.height; ++y) {
            for (int x = 0; x != wanted.width; ++x) {
                if (surface.Pixel(x, y) != wanted.At(x, y) && ++wrong == 1) {
                    ADD_FAILURE() << "first wrong pixel at " << x << "," << y << ": " << std::hex
                                  << surface.Pixel(x, y) << " for " << wanted.At(x, y);
                }
            }
        }
        EXPECT_EQ(wrong, 0);
    }
    void ExpectAll() {
        ExpectWanted(back_, backWanted_);
        ExpectWanted(sprite_, spriteWanted_);
        EXPECT_FALSE(host::UnexpectedFaults(display_.Board()).Any())
            << host::UnexpectedFaults(display_.Board()).Describe();
    }

    host::Display display_;
    bool started_;
    host::DirectDraw directDraw_;
    host::Surface &back_, &sprite_;
    Canvas backWanted_, spriteWanted_;
    std::mt19937 engine_{19};
};

TEST_P(PermediaBlits, FillAnyRectangle) {
    for (int i = 0; i != 40; ++i) {
        const RECT area = Area(backWanted_, Random(1, 60), Random(1, 40));
        const uint32_t colour = Colour();
        EXPECT_TRUE(
            directDraw_.Patiently([&] { return directDraw_.ColorFill(back_, area, colour); })
                .Done());
        for (LONG y = area.top; y != area.bottom; ++y) {
            for (LONG x = area.left; x != area.right; ++x) {
                backWanted_.At(x, y) = colour;
            }
        }
    }
    ExpectAll();
}

TEST_P(PermediaBlits, CopyBetweenSurfacesAtAnyAlignment) {
    for (int i = 0; i != 60; ++i) {
        const int width = Random(1, 40);
        const int height = Random(1, 20);
        const bool out = i % 2 != 0; // from the surface at the lower address, or to it
        host::Surface& dest = out ? sprite_ : back_;
        Canvas& wanted = out ? spriteWanted_ : backWanted_;
        Canvas& given = out ? backWanted_ : spriteWanted_;
        const RECT to = Area(wanted, width, height);
        const RECT from = Area(given, width, height);
        Blt(dest, to, out ? back_ : sprite_, from);
        for (int y = 0; y != height; ++y) {
            for (int x = 0; x != width; ++x) {
                wanted.At(to.left + x, to.top + y) = given.At(from.left + x, from.top + y);
            }
        }
    }
    ExpectAll();
}

TEST_P(PermediaBlits, CopyOverlappingLinesOfOneSurface) {
    for (int i = 0; i != 60; ++i) {
        const int width = Random(1, 60);
        const int height = Random(5, 40);
        const RECT from = Area(backWanted_, width, height);
        RECT to = Area(backWanted_, width, height);
        to.top = std::clamp<LONG>(from.top + (i % 2 != 0 ? 1 : -1) * Random(1, 4), 0, 100 - height);
        to.bottom = to.top + height;
        if (to.top == from.top) {
            continue;
        }
        Blt(back_, to, back_, from);
        Canvas old = backWanted_;
        for (int y = 0; y != height; ++y) {
            for (int x = 0; x != width; ++x) {
                backWanted_.At(to.left + x, to.top + y) = old.At(from.left + x, from.top + y);
            }
        }
    }
    ExpectAll();
}

TEST_P(PermediaBlits, StretchAndMirrorWithAKeyOrWithout) {
    for (int i = 0; i != 60; ++i) {
        const int width = Random(1, 40);
        const int height = Random(1, 30);
        // Of equal size every second time, which a keyed copy without a mirror takes up.
        const int destWidth = i % 4 < 2 ? width : Random(1, 90);
        const int destHeight = i % 4 < 2 ? height : Random(1, 60);
        host::BltOptions options;
        options.mirrorLeftRight = i % 3 == 1;
        options.mirrorUpDown = i % 5 == 1;
        const uint32_t key = Colour();
        if (i % 2 != 0) {
            options.sourceKey = DDCOLORKEY{key, key};
        }
        const RECT from = Area(spriteWanted_, width, height);
        const RECT to = Area(backWanted_, destWidth, destHeight);
        Blt(back_, to, sprite_, from, options);
        // A mirror counts within the whole surface: it takes the part that lies across.
        const auto texel = [](bool mirrored, int size, int first, int step, int n) {
            const int64_t start = mirrored ? size - first - 1 : first;
            return static_cast<int>((start * 0x100000 + (mirrored ? -n : n) * int64_t{step}) >> 20);
        };
        const int stepS = (width << 20) / destWidth;
        const int stepT = (height << 20) / destHeight;
        for (int y = 0; y != destHeight; ++y) {
            for (int x = 0; x != destWidth; ++x) {
                const uint32_t pixel =
                    spriteWanted_.At(texel(options.mirrorLeftRight, 75, from.left, stepS, x),
                                     texel(options.mirrorUpDown, 60, from.top, stepT, y));
                if (!options.sourceKey || pixel != key) {
                    backWanted_.At(to.left + x, to.top + y) = pixel;
                }
            }
        }
    }
    ExpectAll();
}

INSTANTIATE_TEST_SUITE_P(EachMode, PermediaBlits, testing::ValuesIn(kBlitModes),
                         [](const auto& info) { return std::string(info.param.name); });

} // namespace
