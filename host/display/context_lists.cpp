#include "host/display/context_lists.h"

#include "chip/register_table.h"
#include "host/display/known_device.h"

namespace host {

namespace {

// A vertex keeps the alpha of an earlier drawing instruction, and nothing else of it.
constexpr uint32_t kAlphaOfVertex = 8;
constexpr uint32_t kVertexAlphas[] = {tag::V0Fixed + kAlphaOfVertex, tag::V1Fixed + kAlphaOfVertex,
                                      tag::V2Fixed + kAlphaOfVertex};

void Add(std::vector<uint16_t>& list, const DeviceRow& device, Use use, bool interpolants = false) {
    for (const Register& entry : kRegisters) {
        const bool wanted = entry.use == use || (interpolants && entry.use == Use::Interpolant);
        if (wanted && entry.IsOn(device.model)) {
            list.push_back(entry.offset);
        }
    }
}

std::vector<uint16_t> Registers(uint32_t deviceId, bool delta, bool interpolants) {
    const DeviceRow& device = KnownDevice(deviceId);
    std::vector<uint16_t> list;
    Add(list, device, Use::State, interpolants);
    // Behind AStart, which sets all three.
    if (delta || device.setupUnit) {
        for (const uint32_t alpha : kVertexAlphas) {
            list.push_back(static_cast<uint16_t>(MappedOffset(alpha)));
        }
    }
    // Last, as it fills the lookup table again from where the registers before it say.
    Add(list, device, Use::Reload);
    return list;
}

} // namespace

std::vector<uint16_t> StateRegisters(uint32_t deviceId, bool delta) {
    return Registers(deviceId, delta, true);
}

std::vector<uint16_t> ScreenRegisters(uint32_t deviceId, bool delta) {
    return Registers(deviceId, delta, false);
}

} // namespace host
