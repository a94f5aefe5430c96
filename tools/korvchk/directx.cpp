#include "tools/korvchk/directx.h"

#include "tools/korvchk/system.h"
#include "tools/korvchk/text.h"

namespace chk {

namespace {

struct Capability {
    uint32_t bit;
    const char* name;
};

constexpr Capability kDirectDraw[] = {
    {0x00000040, "copies"},
    {0x04000000, "fills"},
    {0x10000000, "depth fills"},
    {0x00000200, "stretches"},
    {0x00400000, "colour keys"},
    {0x00000100, "YUV conversion"},
    {0x80000000, "copies from system memory"},
    {0x00000001, "3D"},
};
constexpr Capability kRaster[] = {
    {0x01, "dither"}, {0x10, "depth test"}, {0x80, "fog"}, {0x200, "stipple"}, {0x20, "subpixels"},
};
constexpr Capability kTexture[] = {
    {0x1, "perspective"},
    {0x4, "alpha"},
    {0x8, "transparency"},
};

// "name, name", or "none".
template <uint32_t kCount>
void List(Line& line, const Capability (&capabilities)[kCount], uint32_t bits) {
    bool some = false;
    for (const Capability& capability : capabilities) {
        if ((bits & capability.bit) != 0) {
            line << (some ? ", " : "") << capability.name;
            some = true;
        }
    }
    if (!some) {
        line << "none";
    }
}

template <class Record>
void Clear(Record* record) {
    *record = {};
    record->dwSize = sizeof(Record);
}

uint32_t Code(HRESULT result) {
    return static_cast<uint32_t>(result);
}

HRESULT CALLBACK OnDevice(GUID* id, char* /*description*/, char* /*name*/, D3DDEVICEDESC* hardware,
                          D3DDEVICEDESC* /*emulation*/, void* context) {
    auto* found = static_cast<HardwareDevice*>(context);
    // A colour model is what a description of hardware has and one of an emulation has not.
    if (!found->found && id != nullptr && hardware != nullptr && hardware->dcmColorModel != 0) {
        found->found = true;
        found->id = *id;
        found->desc = {};
        auto* to = reinterpret_cast<uint8_t*>(&found->desc);
        const auto* from = reinterpret_cast<const uint8_t*>(hardware);
        for (uint32_t i = 0; i < sizeof(D3DDEVICEDESC) && i < hardware->dwSize; ++i) {
            to[i] = from[i];
        }
    }
    return D3DENUMRET_OK;
}

} // namespace

const char* NameOfResult(uint32_t result) {
    switch (result) {
    case 0x80004001:
        return "not supported";
    case 0x80004005:
        return "a general failure";
    case 0x80070057:
        return "wrong parameters";
    case 0x8007000E:
        return "out of memory";
    case 0x88760064:
        return "capabilities that the driver lacks";
    case 0x88760078:
        return "a wrong mode";
    case 0x88760091:
        return "a wrong pixel format";
    case 0x887600AA:
        return "no Direct3D hardware";
    case 0x887600DE:
        return "no DirectDraw support";
    case 0x887600E1:
        return "another program has the screen";
    case 0x887600E6:
        return "no hardware for flips";
    case 0x8876017C:
        return "out of video memory";
    case 0x887601AE:
        return "the surface is busy";
    case 0x887601C2:
        return "the surface is lost";
    case 0x8876021C:
        return "the hardware is still drawing";
    case 0x88760233:
        return "no DirectDraw hardware";
    case 0x88760234:
        return "another program has the primary surface";
    case 0x88760245:
        return "another program has the screen";
    case 0x8876024E:
        return "a mode that the driver lacks";
    default:
        return "an error";
    }
}

IDirectDraw* CheckDirectDraw(Report& report) {
    report.Say("DirectDraw");
    IDirectDraw* directDraw = nullptr;
    uint32_t result = 0;
    if (!system::CreateDirectDraw(&directDraw, &result)) {
        report.Wrong(Line() << "DirectX is not installed on this machine: install it first.");
        return nullptr;
    }
    if (result != DD_OK || directDraw == nullptr) {
        report.Wrong(Line() << "DirectDraw does not start: " << NameOfResult(result) << " ("
                            << Hex{result}
                            << "). Set a mode of 8, 16, 24 or 32 bits, close other programs that "
                               "use DirectX, and try again.");
        return nullptr;
    }
    DDCAPS hardware, emulation;
    Clear(&hardware);
    Clear(&emulation);
    result = Code(directDraw->GetCaps(&hardware, &emulation));
    if (result != DD_OK) {
        report.Wrong(Line() << "DirectDraw does not tell its capabilities: " << NameOfResult(result)
                            << " (" << Hex{result} << "). Install DirectX anew.");
        return directDraw;
    }
    constexpr uint32_t kNoHardware = 0x02000000;
    if ((hardware.dwCaps & kNoHardware) != 0 || (hardware.dwCaps & DDCAPS_BLT) == 0) {
        report.Wrong(Line() << "DirectDraw has no hardware driver and emulates everything: the "
                               "display driver did not name KORV32.dll, or DriverInit refused. See "
                               "above whether file, mini VDD and records are good, and start "
                               "Windows anew after every change.");
        return directDraw;
    }
    report.Say("  driver     in hardware");
    Line can;
    can << "  can do     ";
    List(can, kDirectDraw, hardware.dwCaps);
    report.Say(can);
    report.Say(Line() << "  memory     " << static_cast<uint32_t>(hardware.dwVidMemFree / 1024)
                      << " KB of video memory free of "
                      << static_cast<uint32_t>(hardware.dwVidMemTotal / 1024));
    int32_t version = 0;
    if (!system::LoadedDriver(&version)) {
        report.Wrong(
            Line() << "The hardware driver is not KORV32: DirectDraw has not loaded it. The "
                      "display driver names another library; install one that is made for "
                      "KORV32.");
    } else if (version != 0x10000) {
        report.Note(Line() << "KORV32.dll is loaded, and has no primary display for other clients: "
                              "DriverInit has not finished, or the mode has 8 bits.");
    } else {
        report.Say("  KORV32     loaded, and its display is up");
    }
    return directDraw;
}

HardwareDevice CheckDirect3D(Report& report, IDirectDraw* directDraw) {
    report.Say("Direct3D");
    HardwareDevice device{};
    IDirect3D* direct3D = nullptr;
    const uint32_t result =
        Code(directDraw->QueryInterface(IID_IDirect3D, reinterpret_cast<void**>(&direct3D)));
    if (result != DD_OK) {
        report.Wrong(Line() << "DirectDraw has no Direct3D: " << NameOfResult(result) << " ("
                            << Hex{result} << "). Install DirectX 2 or later.");
        return device;
    }
    direct3D->EnumDevices(OnDevice, &device);
    direct3D->Release();
    if (!device.found) {
        report.Wrong(
            Line() << "Direct3D has no hardware device. If Direct3DHAL.Disable is 1 above, "
                      "that is why: set it to 0. If the mode has 8 bits, set one of 16 or "
                      "more. Start Windows anew after either.");
        return device;
    }
    report.Say("  device     in hardware");
    Line raster;
    raster << "  triangles  ";
    List(raster, kRaster, device.desc.dpcTriCaps.dwRasterCaps);
    report.Say(raster);
    Line texture;
    texture << "  textures   ";
    List(texture, kTexture, device.desc.dpcTriCaps.dwTextureCaps);
    report.Say(texture);
    report.Say(Line() << "  details    device " << Hex{static_cast<uint32_t>(device.desc.dwDevCaps)}
                      << ", render depths "
                      << Hex{static_cast<uint32_t>(device.desc.dwDeviceRenderBitDepth)}
                      << ", Z depths "
                      << Hex{static_cast<uint32_t>(device.desc.dwDeviceZBufferBitDepth)});
    return device;
}

} // namespace chk
