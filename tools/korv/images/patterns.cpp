#include "tools/korv/images/patterns.h"

#include "tools/korv/images/text.h"
#include "tools/korv/model/vec.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>

namespace korv {

namespace {

// `at(u, v)` gives the colour, 0 to 1, and the alpha at a pixel's middle; u and v from 0 to 1.
struct Paint {
    Vec3 colour;
    double alpha = 1;
};
host::Picture Painted(uint32_t width, uint32_t height,
                      const std::function<Paint(double u, double v)>& at) {
    host::Picture picture{width, height, {}};
    picture.rgba.reserve(size_t{width} * height * 4);
    const auto byte = [](double value) {
        return static_cast<uint8_t>(std::lround(std::clamp(value, 0.0, 1.0) * 255));
    };
    for (uint32_t y = 0; y < height; ++y) {
        for (uint32_t x = 0; x < width; ++x) {
            const Paint paint = at((x + 0.5) / width, (y + 0.5) / height);
            picture.rgba.insert(picture.rgba.end(), {byte(paint.colour.x), byte(paint.colour.y),
                                                     byte(paint.colour.z), byte(paint.alpha)});
        }
    }
    return picture;
}

// Full colour of a hue, in turns from red.
Vec3 Hue(double turns) {
    const auto channel = [&](double at) {
        const double distance = std::abs(turns - at - std::round(turns - at));
        return std::clamp(2 - 6 * distance, 0.0, 1.0);
    };
    return {channel(0), channel(1.0 / 3), channel(2.0 / 3)};
}

// A value from 0 to 1 for each point of a grid, the same every time.
double Noise(int x, int y) {
    uint32_t h = static_cast<uint32_t>(x) * 0x9E3779B1u ^ static_cast<uint32_t>(y) * 0x85EBCA77u;
    h = (h ^ h >> 15) * 0x2C1B3C6Du;
    h = (h ^ h >> 12) * 0x297A2D39u;
    return (h ^ h >> 15) / 4294967296.0;
}

// Noise over `cells` by `cells` points, smooth between them, repeating at 1.
double SmoothNoise(double u, double v, int cells) {
    const double x = u * cells, y = v * cells;
    const int x0 = static_cast<int>(x), y0 = static_cast<int>(y);
    const auto ease = [](double t) { return t * t * (3 - 2 * t); };
    const double fx = ease(x - x0), fy = ease(y - y0);
    const auto at = [&](int dx, int dy) {
        return Noise((x0 + dx) % cells, (y0 + dy) % cells + cells * 64);
    };
    return std::lerp(std::lerp(at(0, 0), at(1, 0), fx), std::lerp(at(0, 1), at(1, 1), fx), fy);
}

constexpr Pattern kPatterns[] = {
    {"bricks", "a brick wall, without a seam", Bricks},
    {"checker", "a checkerboard with its texture coordinates in the corners", LabelledChecker},
    {"letter", "a letter on graded ground, for telling turns and mirrors apart", LetterTile},
    {"wheel", "a colour wheel", ColourWheel},
    {"stripes", "stripes that fade out, with alpha", FadingStripes},
    {"face", "a face on FF00FF, for a colour key",
     [](uint32_t side) { return Face(side, 0xFF00FF); }},
    {"ground", "grass and earth, without a seam", Ground},
};

} // namespace

std::span<const Pattern> NamedPatterns() {
    return kPatterns;
}

host::Picture Bricks(uint32_t side) {
    constexpr int kCourses = 8, kBricks = 4;
    constexpr double kJoint = 0.1; // of a course
    constexpr Vec3 kMortar{0.62, 0.6, 0.55}, kBrick{0.62, 0.24, 0.17};
    return Painted(side, side, [&](double u, double v) {
        const double y = v * kCourses;
        const int course = static_cast<int>(y);
        const double x = u * kBricks + (course & 1) * 0.5;
        const int brick = static_cast<int>(x) % kBricks;
        const double across = x - std::floor(x), down = y - course;
        if (down < kJoint || across < kJoint / 2) {
            return Paint{kMortar};
        }
        const double shade = 0.75 + 0.35 * Noise(brick, course) + 0.12 * SmoothNoise(u, v, 32);
        // The upper edge catches the light.
        return Paint{kBrick * (down < 2 * kJoint ? shade * 1.25 : shade)};
    });
}

host::Picture LabelledChecker(uint32_t side) {
    constexpr int kFields = 8;
    host::Picture picture = Painted(side, side, [](double u, double v) {
        const bool odd = (static_cast<int>(u * kFields) + static_cast<int>(v * kFields)) & 1;
        const Vec3 corner{0.15 + 0.55 * u, 0.2 + 0.3 * (1 - u), 0.15 + 0.5 * v};
        return Paint{odd ? corner : Vec3{1, 1, 1} * 0.9 - corner * 0.4};
    });
    // In each corner a dark plate with the coordinates.
    const uint32_t plateWidth = TextWidth("0,0") + 4, plateHeight = 20;
    for (const auto& [u, v] : {std::pair{0, 0}, {1, 0}, {0, 1}, {1, 1}}) {
        const uint32_t left = u ? side - plateWidth : 0, top = v ? side - plateHeight : 0;
        for (uint32_t y = top; y < top + plateHeight; ++y) {
            for (uint32_t x = left; x < left + plateWidth; ++x) {
                std::fill_n(&picture.rgba[(y * side + x) * 4], 3, uint8_t{0x10});
            }
        }
        DrawText(picture, left + 3, top + 3,
                 std::string{static_cast<char>('0' + u), ',', static_cast<char>('0' + v)});
    }
    return picture;
}

host::Picture LetterTile(uint32_t side) {
    return Painted(side, side, [](double u, double v) {
        const bool stem = u > 0.25 && u < 0.4 && v > 0.15 && v < 0.85;
        const bool top = u > 0.25 && u < 0.75 && v > 0.15 && v < 0.3;
        const bool middle = u > 0.25 && u < 0.6 && v > 0.45 && v < 0.58;
        if (stem || top || middle) {
            return Paint{{1, 1, 1}};
        }
        const bool frame = std::min({u, v, 1 - u, 1 - v}) < 0.04;
        return Paint{Vec3{0.15 + 0.7 * u, 0.15 + 0.6 * v, 0.35} * (frame ? 0.6 : 1)};
    });
}

host::Picture ColourWheel(uint32_t side) {
    return Painted(side, side, [](double u, double v) {
        const double x = 2 * u - 1, y = 1 - 2 * v, radius = std::hypot(x, y);
        if (radius > 0.96) {
            return Paint{{0.16, 0.16, 0.18}};
        }
        const Vec3 hue = Hue(std::atan2(y, x) / (2 * std::numbers::pi));
        const double pure = std::min(1.0, radius / 0.8),
                     bright = radius < 0.8 ? 1 : 1 - (radius - 0.8) * 4;
        return Paint{(Vec3{1, 1, 1} * (1 - pure) + hue * pure) * bright};
    });
}

host::Picture FadingStripes(uint32_t side) {
    constexpr int kStripes = 8;
    return Painted(side, side, [](double u, double v) {
        return Paint{Hue(std::floor(v * kStripes) / kStripes), 1 - u};
    });
}

host::Picture Face(uint32_t side, D3DCOLOR key) {
    const Vec3 ground{(key >> 16 & 0xFF) / 255.0, (key >> 8 & 0xFF) / 255.0, (key & 0xFF) / 255.0};
    return Painted(side, side, [&](double u, double v) {
        const double x = 2 * u - 1, y = 2 * v - 1, radius = std::hypot(x, y);
        if (radius > 0.94) {
            return Paint{ground};
        }
        const bool eye = std::hypot(std::abs(x) - 0.35, y + 0.25) < 0.14;
        const double smile = std::hypot(x, y - 0.05);
        if (radius > 0.84 || eye || (y > 0.15 && smile > 0.45 && smile < 0.6)) {
            return Paint{{0.12, 0.08, 0.02}};
        }
        const double light = 1 - 0.35 * std::hypot(x + 0.35, y + 0.4);
        return Paint{Vec3{1, 0.85, 0.15} * light};
    });
}

host::Picture Ground(uint32_t side) {
    constexpr Vec3 kGrass{0.25, 0.48, 0.16}, kEarth{0.5, 0.4, 0.26};
    return Painted(side, side, [&](double u, double v) {
        const double patch = SmoothNoise(u, v, 4) * 0.6 + SmoothNoise(u, v, 9) * 0.4;
        const double grain = 0.7 + 0.35 * SmoothNoise(u, v, 32) + 0.25 * SmoothNoise(u, v, 64);
        const double earth = std::clamp((patch - 0.45) * 6, 0.0, 1.0);
        return Paint{(kGrass * (1 - earth) + kEarth * earth) * grain};
    });
}

host::Picture Sign(uint32_t width, uint32_t height, std::string_view text) {
    host::Picture sign = Painted(width, height, [&](double u, double v) {
        const bool frame = std::min(u, 1 - u) * width < 2 || std::min(v, 1 - v) * height < 2;
        return Paint{frame ? Vec3{0.8, 0.7, 0.3} : Vec3{0.08, 0.1, 0.2}};
    });
    constexpr uint32_t kTextHeight = 14;
    DrawText(sign, (width - std::min(width, TextWidth(text))) / 2, (height - kTextHeight) / 2,
             text);
    return sign;
}

} // namespace korv
