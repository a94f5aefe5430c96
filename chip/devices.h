#pragma once
// The devices that the chips report themselves as, and what each of them is: one row a device.
#include <cstdint>

// ChipInfo.DeviceId.
enum ChipDevice : uint32_t {
    DeviceSX = 1,
    DeviceTX = 2,
    DeviceMX = 6,
    DevicePermedia = 4,
    DevicePermediaSecond = 0x3D04, // under a second vendor id
    DevicePermedia2 = 7,
    DevicePermedia2Second = 0x3D07,
};

// ChipInfo.Family.
enum ChipFamily : uint32_t {
    FamilyGlint = 1,
    FamilyPermedia = 4,
};

enum class ChipModel : uint8_t { SX, TX, MX, Permedia, Permedia2 };

struct DeviceRow {
    ChipModel model;
    ChipDevice id;
    uint32_t secondId; // under a second vendor id; 0 for none
    ChipFamily family;
    const char* name;
    bool setupUnit; // has one of its own, where others need a second chip in front
    bool textures;  // has a texture unit
    bool stretches; // its blits scale, mirror and leave a colour out
    bool videoPort;
    // A pitch is a sum of partial products, powers of two from 32 elements up to 2^pitchTop.
    uint8_t pitchTop;
    uint8_t pitchSlots; // how many of them a surface's pitch may have

    constexpr bool IsPermedia() const { return family == FamilyPermedia; }
    constexpr bool IsGlint() const { return family == FamilyGlint; }
    // Depth lies in the frame buffer where there is no memory of its own for it.
    constexpr bool HasLocalBuffer() const { return IsGlint(); }
};

// By model.
inline constexpr DeviceRow kDevices[] = {
    {ChipModel::SX, DeviceSX, 0, FamilyGlint, "GLINT 300SX", false, false, false, false, 11, 4},
    {ChipModel::TX, DeviceTX, 0, FamilyGlint, "GLINT 500TX", false, true, false, false, 11, 4},
    {ChipModel::MX, DeviceMX, 0, FamilyGlint, "GLINT MX", false, true, true, false, 11, 4},
    {ChipModel::Permedia, DevicePermedia, DevicePermediaSecond, FamilyPermedia, "Permedia", false,
     true, true, true, 9, 3},
    {ChipModel::Permedia2, DevicePermedia2, DevicePermedia2Second, FamilyPermedia, "Permedia 2",
     true, true, true, true, 10, 3},
};

constexpr const DeviceRow& DeviceOf(ChipModel model) {
    return kDevices[static_cast<uint8_t>(model)];
}

// The row of an id, the second ids included; null for an id that is no device's.
constexpr const DeviceRow* FindDevice(uint32_t id) {
    for (const DeviceRow& row : kDevices) {
        if (id == row.id || (id == row.secondId && id != 0)) {
            return &row;
        }
    }
    return nullptr;
}
