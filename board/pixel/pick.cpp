#include "board/pixel/pick.h"

namespace board {

void PickUnit::Configure(const RegisterFile& registers) {
    const PackedPoint low = UnpackPoint(registers[tag::MinRegion]);
    const PackedPoint high = UnpackPoint(registers[tag::MaxRegion]);
    region_ = {low.x, low.y, high.x, high.y};
    enabled_ = registers.Get(field::StatisticMode_Enable) != 0;
}

} // namespace board
