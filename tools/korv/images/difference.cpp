#include "tools/korv/images/difference.h"

#include <algorithm>
#include <cstdlib>

namespace korv {

Difference Compare(const host::Picture& first, const host::Picture& second) {
    Difference difference{0, 0, {first.width, first.height, {}}};
    difference.map.rgba.reserve(first.rgba.size());
    for (size_t i = 0; i < first.rgba.size(); i += 4) {
        int largest = 0, sum = 0;
        for (size_t channel = 0; channel < 3; ++channel) {
            const int a = first.rgba[i + channel], b = second.rgba[i + channel];
            largest = std::max(largest, std::abs(a - b));
            sum += a;
        }
        if (largest == 0) {
            const auto grey = static_cast<uint8_t>(sum / 3 / 4);
            difference.map.rgba.insert(difference.map.rgba.end(), {grey, grey, grey, 0xFF});
            continue;
        }
        const auto green = static_cast<uint8_t>(255 - largest);
        difference.map.rgba.insert(difference.map.rgba.end(), {0xFF, green, 0, 0xFF});
        ++difference.pixels;
        difference.largest = std::max(difference.largest, largest);
    }
    return difference;
}

} // namespace korv
