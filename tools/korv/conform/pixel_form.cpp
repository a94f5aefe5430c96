#include "tools/korv/conform/pixel_form.h"

#include <array>

namespace korv::conform {

namespace {

struct Row {
    const char* name;
    uint32_t bytes;
    // Bits of each channel and where the lowest lies: red, green, blue, alpha.
    std::array<uint8_t, 4> width, shift;
};

// By PixelForm.
constexpr Row kRows[] = {
    {"8888", 4, {8, 8, 8, 8}, {16, 8, 0, 24}}, {"888", 3, {8, 8, 8, 0}, {16, 8, 0, 0}},
    {"565", 2, {5, 6, 5, 0}, {11, 5, 0, 0}},   {"1555", 2, {5, 5, 5, 1}, {10, 5, 0, 15}},
    {"4444", 2, {4, 4, 4, 4}, {8, 4, 0, 12}},  {"332", 1, {3, 3, 2, 0}, {5, 2, 0, 0}},
    {"1232", 1, {2, 3, 2, 1}, {5, 2, 0, 7}},   {"index8", 1, {8, 0, 0, 0}, {0, 0, 0, 0}},
    {"depth16", 2, {16, 0, 0, 0}, {}},         {"depth32", 4, {32, 0, 0, 0}, {}},
};

const Row& RowOf(PixelForm form) {
    return kRows[static_cast<size_t>(form)];
}

} // namespace

const char* NameOf(PixelForm form) {
    return RowOf(form).name;
}

uint32_t BytesOf(PixelForm form) {
    return RowOf(form).bytes;
}

std::optional<PixelForm> FormByName(std::string_view name) {
    for (size_t i = 0; i < std::size(kRows); ++i) {
        if (name == kRows[i].name) {
            return static_cast<PixelForm>(i);
        }
    }
    return std::nullopt;
}

std::string FormNames() {
    std::string names;
    for (const Row& row : kRows) {
        names += (names.empty() ? "" : ", ") + std::string(row.name);
    }
    return names;
}

uint32_t Encode(PixelForm form, const Channels& channels) {
    const Row& row = RowOf(form);
    uint32_t pixel = 0;
    for (size_t i = 0; i < channels.size(); ++i) {
        if (row.width[i] != 0) {
            pixel |= channels[i] >> (8 - row.width[i]) << row.shift[i];
        }
    }
    return pixel;
}

Channels Fields(PixelForm form, uint32_t pixel) {
    const Row& row = RowOf(form);
    Channels channels{};
    for (size_t i = 0; i < channels.size(); ++i) {
        const uint32_t all = row.width[i] == 32 ? 0xFFFFFFFF : (1u << row.width[i]) - 1;
        channels[i] = pixel >> row.shift[i] & all;
    }
    return channels;
}

std::array<uint8_t, 4> Shown(PixelForm form, uint32_t pixel) {
    const Row& row = RowOf(form);
    const Channels fields = Fields(form, pixel);
    const auto scaled = [&](size_t i) {
        const uint64_t top = row.width[i] == 32 ? 0xFFFFFFFF : (1u << row.width[i]) - 1;
        return static_cast<uint8_t>((uint64_t{fields[i]} * 255 + top / 2) / top);
    };
    if (row.width[1] == 0) { // one number: grey
        const uint8_t grey = scaled(0);
        return {grey, grey, grey, 255};
    }
    return {scaled(0), scaled(1), scaled(2), row.width[3] != 0 ? scaled(3) : uint8_t{255}};
}

} // namespace korv::conform
