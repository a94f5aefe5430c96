#include "driver/core/chipinfo.h"
#include "driver/core/registers.h"
#include "driver/core/tags.h"
#include "host/display/context_lists.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

size_t PlaceOf(const std::vector<uint16_t>& list, uint32_t tagNumber) {
    return static_cast<size_t>(std::ranges::find(list, MappedOffset(tagNumber)) - list.begin());
}

TEST(ContextLists, OfABoardWithASetupUnitKeepTheAlphaOfItsVertices) {
    for (const auto& [device, delta] : {std::pair{DeviceSX, true},
                                        {DeviceTX, true},
                                        {DeviceMX, true},
                                        {DevicePermedia, true},
                                        {DevicePermedia2, false}}) {
        for (const auto& list :
             {host::StateRegisters(device, delta), host::ScreenRegisters(device, delta)}) {
            for (const uint32_t group : {tag::V0Fixed, tag::V1Fixed, tag::V2Fixed}) {
                EXPECT_LT(PlaceOf(list, group + 8), list.size());
            }
        }
        // The start word of alpha sets all three, so it comes first.
        const auto list = host::StateRegisters(device, delta);
        EXPECT_LT(PlaceOf(list, tag::AStart), PlaceOf(list, tag::V0Fixed + 8));
    }
}

TEST(ContextLists, OfABoardWithoutOneHaveNoVertices) {
    for (const uint32_t device : {DeviceSX, DeviceTX, DeviceMX, DevicePermedia}) {
        for (const uint16_t offset : host::StateRegisters(device)) {
            EXPECT_FALSE(offset >= MappedOffset(tag::V0Fixed) &&
                         offset < MappedOffset(tag::DeltaMode));
        }
    }
}

} // namespace
