#include "tests/system/blit_stage.h"

#include "tests/support_host/configs.h"

#include <algorithm>

namespace test {

namespace {

void CompareBytes(const char* name, const uint8_t* memory, const std::vector<uint8_t>& wanted) {
    if (std::equal(wanted.begin(), wanted.end(), memory)) {
        return;
    }
    size_t first = 0;
    while (memory[first] == wanted[first]) {
        ++first;
    }
    FAIL() << name << ": byte " << first << " is " << int{memory[first]} << " for "
           << int{wanted[first]};
}

const char* ChipName(uint32_t deviceId) {
    switch (deviceId) {
    case DeviceSX:
        return "SX";
    case DeviceTX:
        return "TX";
    case DeviceMX:
        return "MX";
    case DevicePermedia:
        return "Permedia";
    default:
        return "Permedia2";
    }
}

} // namespace

void PrintTo(const BlitMode& mode, std::ostream* out) {
    *out << ChipName(mode.deviceId) << "At" << mode.bits << "Wide" << mode.width;
}

bool IsGlint(const BlitMode& mode) {
    return mode.deviceId == DeviceSX || mode.deviceId == DeviceTX || mode.deviceId == DeviceMX;
}

std::vector<BlitMode> GlintModes() {
    std::vector<BlitMode> modes;
    for (const uint32_t device : {DeviceSX, DeviceTX, DeviceMX}) {
        for (const uint32_t bits : {8u, 16u, 32u}) {
            for (const uint32_t width : {320u, 416u, 640u}) {
                modes.push_back({device, bits, width});
            }
        }
    }
    return modes;
}

std::vector<BlitMode> PermediaModes() {
    std::vector<BlitMode> modes;
    for (const uint32_t width : {320u, 416u, 640u}) {
        for (const uint32_t bits : {8u, 16u, 32u}) {
            modes.push_back({DevicePermedia, bits, width});
            modes.push_back({DevicePermedia2, bits, width});
        }
        modes.push_back({DevicePermedia2, 24, width});
    }
    return modes;
}

BlitStage::BlitStage(const BlitMode& mode, const board::Timing& timing)
    : mode_(mode), machine_(Config(timing)) {
    Scatter(machine_.display.FrameBuffer(), screen);
    Scatter(machine_.display.LocalBuffer(), local);
}

Place BlitStage::PlaceOf(host::Surface& surface) {
    const bool inScreen = surface.Bytes() >= machine_.display.FrameBuffer() &&
                          surface.Bytes() < machine_.display.FrameBuffer() + screen.size();
    return {inScreen ? &screen : &local,
            surface.Bytes() -
                (inScreen ? machine_.display.FrameBuffer() : machine_.display.LocalBuffer()),
            surface.Pitch(), static_cast<int>(surface.Bits() / 8)};
}

void BlitStage::CompareMemory(host::Surface& surface) {
    machine_.directDraw.Finish(surface);
    CompareBytes("frame buffer", machine_.display.FrameBuffer(), screen);
    CompareBytes("local buffer", machine_.display.LocalBuffer(), local);
}

void BlitStage::Compare(host::Surface& surface) {
    machine_.directDraw.Finish(surface);
    ASSERT_EQ(machine_.Faults(), "");
    CompareMemory(surface);
}

host::DisplayConfig BlitStage::Config(const board::Timing& timing) {
    host::DisplayConfig config = ConfigFor(mode_.deviceId);
    config.bits = mode_.bits;
    config.width = mode_.width;
    config.height = 120;
    config.timing = timing;
    config.frameBufferBytes = 2u << 20;
    config.localBufferBytes = 1u << 20;
    screen.resize(config.frameBufferBytes);
    local.resize(IsGlint(mode_) ? config.localBufferBytes : 0);
    return config;
}

void BlitStage::Scatter(uint8_t* memory, std::vector<uint8_t>& copy) {
    for (uint8_t& byte : copy) {
        byte = static_cast<uint8_t>(engine_());
    }
    std::copy(copy.begin(), copy.end(), memory);
}

std::vector<uint32_t> PixelsOf(const Place& place, const RECT& area) {
    std::vector<uint32_t> pixels;
    for (LONG y = area.top; y != area.bottom; ++y) {
        for (LONG x = area.left; x != area.right; ++x) {
            pixels.push_back(place.Get(x, y));
        }
    }
    return pixels;
}

void FillPlainly(const Place& place, const RECT& area, uint32_t pixel) {
    for (LONG y = area.top; y != area.bottom; ++y) {
        for (LONG x = area.left; x != area.right; ++x) {
            place.Set(x, y, pixel);
        }
    }
}

void CopyForward(const Place& dest, const RECT& to, const Place& source, const RECT& from) {
    for (LONG y = 0; y != to.bottom - to.top; ++y) {
        for (LONG x = 0; x != to.right - to.left; ++x) {
            dest.Set(to.left + x, to.top + y, source.Get(from.left + x, from.top + y));
        }
    }
}

RECT Nearby(BlitStage& stage, const host::Surface& surface, const RECT& from, int right, int down) {
    const int width = from.right - from.left;
    const int height = from.bottom - from.top;
    RECT to = stage.Area(surface, width, height);
    if (stage.Random(0, 3) != 0) {
        to.left = std::clamp<LONG>(from.left + stage.Random(-right, right), 0,
                                   static_cast<LONG>(surface.Width()) - width);
        to.top = std::clamp<LONG>(from.top + stage.Random(-down, down), 0,
                                  static_cast<LONG>(surface.Height()) - height);
        to.right = to.left + width;
        to.bottom = to.top + height;
    }
    return to;
}

} // namespace test
