#include "board/pixel/pick.h"

namespace board {

namespace {
constexpr uint32_t kStatisticsEnable = 1; // bit 0 of StatisticMode
}

void PickUnit::Configure(const RegisterFile& registers) {
    const PackedPoint low = UnpackPoint(registers[tag::MinRegion]);
    const PackedPoint high = UnpackPoint(registers[tag::MaxRegion]);
    region_ = {low.x, low.y, high.x, high.y};
    enabled_ = (registers[tag::StatisticMode] & kStatisticsEnable) != 0;
}

} // namespace board
