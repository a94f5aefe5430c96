#include "tools/korv/images/heat.h"

#include <algorithm>
#include <array>

namespace korv {

namespace {

// KORV_HEAT_LEGEND tells it.
constexpr struct {
    uint32_t from;
    std::array<uint8_t, 3> colour;
} kScale[] = {
    {16, {255, 255, 255}}, {10, {220, 40, 30}}, {7, {240, 150, 20}},
    {5, {220, 220, 40}},   {4, {60, 200, 60}},  {3, {30, 180, 160}},
    {2, {30, 120, 210}},   {1, {32, 48, 140}},  {0, {0, 0, 0}},
};

} // namespace

host::Picture HeatPicture(const std::vector<uint16_t>& counts, uint32_t width, uint32_t height) {
    host::Picture picture{width, height, {}};
    picture.rgba.reserve(counts.size() * 4);
    for (const uint16_t count : counts) {
        const auto& step =
            *std::ranges::find_if(kScale, [count](const auto& one) { return count >= one.from; });
        picture.rgba.insert(picture.rgba.end(), step.colour.begin(), step.colour.end());
        picture.rgba.push_back(255);
    }
    return picture;
}

HeatNumbers NumbersOf(const std::vector<uint16_t>& counts, uint32_t width) {
    HeatNumbers numbers;
    numbers.width = width;
    numbers.pixels = counts.size();
    for (size_t i = 0; i < counts.size(); ++i) {
        numbers.written += counts[i] != 0 ? 1 : 0;
        numbers.writes += counts[i];
        if (counts[i] > numbers.most) {
            numbers.most = counts[i];
            numbers.mostPlace = i;
        }
    }
    return numbers;
}

} // namespace korv
