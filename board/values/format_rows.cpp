#include "board/values/format_rows.h"

#include "board/values/row.h"

namespace board {

namespace {

constexpr uint32_t CutChannel(ChannelBits bits, uint32_t value) {
    return value >> (8 - bits.width) << bits.shift;
}

// `share` is the threshold's: see ThresholdShare.
constexpr uint32_t DitherChannel(ChannelBits bits, uint32_t value, uint32_t share) {
    if (bits.width == 8) {
        return value << bits.shift;
    }
    return DivideBy255(value * ((1u << bits.width) - 1) + share) << bits.shift;
}

// A threshold's part of a step of 255.
constexpr uint32_t ThresholdShare(uint32_t threshold) {
    return 255 * (2 * threshold + 1) / 32;
}

// By row and column of a block's first pixel.
struct ShareTable {
    uint32_t of[4][4][kRowLanes];
    const auto& operator[](uint32_t row) const { return of[row]; }
};
constexpr ShareTable kShares = [] {
    ShareTable shares{};
    for (uint32_t y = 0; y < 4; ++y) {
        for (uint32_t x = 0; x < 4; ++x) {
            for (uint32_t i = 0; i < kRowLanes; ++i) {
                shares.of[y][x][i] = ThresholdShare(kDitherMatrix[y][(x + i) & 3]);
            }
        }
    }
    return shares;
}();

constexpr uint32_t CutAlpha(const PixelFormat& format, uint32_t colour) {
    return format.alpha.width != 0 ? CutChannel(format.alpha, colour >> 24) : 0;
}

// The analyzer takes a format that is a template's argument for one without values.
// NOLINTBEGIN(clang-analyzer-core.CallAndMessage)
struct ExpandWay {
    template <typename Format>
    static void Row(Format form, int32_t pixels, const uint32_t* from, uint32_t* to) {
        const PixelFormat& format = form;
        MapRow(
            pixels, to,
            [&](int32_t, uint32_t pixel) { return WordOfColour(ExpandPixel(format, pixel)); },
            from);
    }
};

struct EncodeWay {
    template <typename Format>
    static void Row(Format form, int32_t pixels, const uint32_t* from, uint32_t* to) {
        const PixelFormat& format = form;
        MapRow(
            pixels, to,
            [&](int32_t, uint32_t colour) {
                return CutChannel(format.red, colour & 0xFF) |
                       CutChannel(format.green, colour >> 8 & 0xFF) |
                       CutChannel(format.blue, colour >> 16 & 0xFF) | CutAlpha(format, colour);
            },
            from);
    }
};

struct DitherWay {
    template <typename Format>
    static void Row(Format form, int32_t pixels, const uint32_t* from, uint32_t x, uint32_t y,
                    uint32_t* to) {
        const PixelFormat& format = form;
        const auto& share = kShares[y & 3][x & 3];
        MapRow(
            pixels, to,
            [&](int32_t i, uint32_t colour) {
                return DitherChannel(format.red, colour & 0xFF, share[i]) |
                       DitherChannel(format.green, colour >> 8 & 0xFF, share[i]) |
                       DitherChannel(format.blue, colour >> 16 & 0xFF, share[i]) |
                       CutAlpha(format, colour);
            },
            from);
    }
};
// NOLINTEND(clang-analyzer-core.CallAndMessage)

// A format that is known when this is compiled.
template <PixelFormat kFormat>
struct Known {
    constexpr operator const PixelFormat&() const { return kFormat; }
};

template <typename Way, PixelFormat kFormat, typename... Arguments>
void RowOfKnown(const PixelFormat&, Arguments... arguments) {
    Way::Row(Known<kFormat>{}, arguments...);
}

template <typename Way, typename... Arguments>
void RowOfAny(const PixelFormat& format, Arguments... arguments) {
    Way::template Row<const PixelFormat&>(format, arguments...);
}

template <typename Way, typename... Arguments>
auto Choose(const PixelFormat& format, void (*)(const PixelFormat&, Arguments...)) {
    using Function = void (*)(const PixelFormat&, Arguments...);
    Function chosen = RowOfAny<Way, Arguments...>;
    const auto offer = [&]<PixelFormat kFormat>() {
        if (format == kFormat) {
            chosen = RowOfKnown<Way, kFormat, Arguments...>;
        }
    };
    const auto inBothOrders = [&]<uint8_t kAlpha, uint8_t kRed, uint8_t kGreen, uint8_t kBlue>() {
        offer.template operator()<Layout(kAlpha, kRed, kGreen, kBlue, false)>();
        offer.template operator()<Layout(kAlpha, kRed, kGreen, kBlue, true)>();
    };
    inBothOrders.template operator()<8, 8, 8, 8>();
    inBothOrders.template operator()<0, 8, 8, 8>();
    inBothOrders.template operator()<0, 5, 6, 5>();
    inBothOrders.template operator()<1, 5, 5, 5>();
    inBothOrders.template operator()<4, 4, 4, 4>();
    return chosen;
}

} // namespace

ConvertRow ExpandRowOf(const PixelFormat& format) {
    return Choose<ExpandWay>(format, ConvertRow{});
}

ConvertRow EncodeRowOf(const PixelFormat& format) {
    return Choose<EncodeWay>(format, ConvertRow{});
}

DitherRow DitherRowOf(const PixelFormat& format) {
    return Choose<DitherWay>(format, DitherRow{});
}

} // namespace board
