#include "tools/korvchk/display.h"

#include "tools/korvchk/platform.h"
#include "tools/korvchk/system.h"
#include "tools/korvchk/text.h"

extern "C" {
#include "packaging/windows95/kit/korvkit.h"
}

namespace chk {

namespace {

bool OpenDevice(HANDLE* device) {
    *device = CreateFileA(KORV_VDD_NAME, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                          OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    return *device != INVALID_HANDLE_VALUE;
}

// A KorvControl.
int Control(void*, KORV_U32 code, void* in, KORV_U32 inBytes, void* out, KORV_U32 outBytes) {
    HANDLE device;
    if (!OpenDevice(&device)) {
        return 0;
    }
    DWORD returned = 0;
    const BOOL good = DeviceIoControl(device, code, in, inBytes, out, outBytes, &returned, nullptr);
    CloseHandle(device);
    return good != 0 ? 1 : 0;
}

const char* NameOf(uint32_t device) {
    switch (device) {
    case KORV_DEVICE_SX:
        return "GLINT 300SX";
    case KORV_DEVICE_TX:
        return "GLINT 500TX";
    case KORV_DEVICE_MX:
        return "GLINT MX";
    case KORV_DEVICE_PERMEDIA:
    case KORV_DEVICE_PERMEDIA_SECOND:
        return "Permedia";
    case KORV_DEVICE_PERMEDIA2:
    case KORV_DEVICE_PERMEDIA2_SECOND:
        return "Permedia 2";
    default:
        return "a chip that KORV32 does not know";
    }
}

void WrongField(Report& report, const KorvFinding& finding) {
    report.Wrong(Line() << finding.Field << " is " << Hex{static_cast<uint32_t>(finding.Found)}
                        << " (hexadecimal); expected " << finding.Expected << '.');
}

const KorvDriverData* AskForRecords(Report& report, uint32_t number) {
    HANDLE device;
    if (!OpenDevice(&device)) {
        report.Wrong(Line() << "No device answers at " << KORV_VDD_NAME
                            << ": the board's mini VDD is not loaded, or is none for KORV32. "
                               "Install a display driver that is made for KORV32; without one "
                               "KORV32.dll does nothing.");
        return nullptr;
    }
    CloseHandle(device);
    report.Say("  mini VDD   answers at " KORV_VDD_NAME);
    KORV_U32 in = number, address = 0;
    if (Control(nullptr, KORV_VDD_GET_DRIVER_DATA, &in, 4, &address, 4) == 0 || address == 0) {
        report.Wrong(Line() << "The mini VDD has no display " << number
                            << ". If the display driver numbers its displays otherwise, name the "
                               "number: korvchk /display=N. Else the display driver has not filled "
                               "its records: look whether Windows runs on its plain VGA driver.");
        return nullptr;
    }
    if (!system::IsShared(address, sizeof(KorvDriverData))) {
        report.Wrong(Line() << "The mini VDD gives " << Hex{static_cast<uint32_t>(address)}
                            << " as the address of the display's records, which not every process "
                               "sees: the mini VDD must take them from shared memory.");
        return nullptr;
    }
    return reinterpret_cast<const KorvDriverData*>(address);
}

} // namespace

const KorvDriverData* CheckDisplay(Report& report, uint32_t number) {
    report.Say("Display");
    const KorvDriverData* data = AskForRecords(report, number);
    if (data == nullptr) {
        return nullptr;
    }
    if (!system::IsShared(data->ChipInfo, sizeof(KorvChipInfo))) {
        report.Wrong(Line() << "The display's records name no ChipInfo: the display driver or the "
                               "mini VDD must fill DriverData.ChipInfo.");
        return nullptr;
    }
    const auto* chip = reinterpret_cast<const KorvChipInfo*>(data->ChipInfo);
    report.Say(Line() << "  chip       " << NameOf(chip->DeviceId)
                      << ((chip->Flags & KORV_CHIP_DELTA) != 0 ? " behind a setup chip" : "")
                      << ", " << static_cast<uint32_t>(chip->FrameBufferSize / 1024)
                      << " KB of video memory, " << uint32_t{chip->DMABufferCount}
                      << " DMA buffers");
    report.Say(Line() << "  mode       " << static_cast<uint32_t>(data->ScreenWidth) << " by "
                      << static_cast<uint32_t>(data->ScreenHeight) << ", "
                      << static_cast<uint32_t>(data->PixelDepthBits) << " bits");
    KorvFinding finding;
    if (KorvCheckChipInfo(chip, &finding) == 0 || KorvCheckDriverData(data, &finding) == 0 ||
        KorvCheckContexts(chip, &finding) == 0) {
        WrongField(report, finding);
        report.Note(
            Line() << "The display driver and the mini VDD fill this: it is for their maker "
                      "to mend.");
    } else {
        report.Say("  records    filled as KORV32 expects");
    }
    if (data->PixelDepthBits == 8) {
        report.Note(Line() << "Direct3D and other clients of the chip want a mode of 16 bits or "
                              "more.");
    }
    return data;
}

void BringUp(Report& report, uint32_t number) {
    report.Say("Bring-up");
    auto* data = const_cast<KorvDriverData*>(AskForRecords(report, number));
    if (data == nullptr || !system::IsShared(data->ChipInfo, sizeof(KorvChipInfo))) {
        return;
    }
    auto* chip = reinterpret_cast<KorvChipInfo*>(data->ChipInfo);
    KorvFinding finding;
    const auto step = [&](const char* name, int passed) {
        report.Say(Line() << "  " << Column{name, 40} << (passed != 0 ? "good" : "wrong"));
        if (passed == 0) {
            WrongField(report, finding);
            report.Note(Line() << "The steps behind this one rely on it and were not tried.");
        }
        return passed != 0;
    };
    // The records say where the chip is, so they come first here.
    const bool good =
        step("ChipInfo", KorvCheckChipInfo(chip, &finding)) &&
        step("DriverData", KorvCheckDriverData(data, &finding)) &&
        step("registers", KorvCheckAperture(data->RegisterBase, &finding)) &&
        step("video memory",
             KorvCheckMemory(data->FrameBufferBase, chip->FrameBufferSize, &finding)) &&
        (chip->LocalBufferSize == 0 ||
         step("local buffer",
              KorvCheckMemory(data->LocalBufferBase, chip->LocalBufferSize, &finding))) &&
        step("heap", KorvCheckHeap(data, &finding)) &&
        step("context table", KorvCheckContexts(chip, &finding)) &&
        step("DMA buffers", KorvCheckDma(data->RegisterBase, chip, &finding)) &&
        step("queue and interrupt", KorvCheckQueue(data->RegisterBase, chip, &finding)) &&
        step("vertical blank", KorvCheckBlank(data->RegisterBase, chip, &finding)) &&
        step("requests", KorvCheckRequests(Control, nullptr, number, &finding));
    if (good) {
        report.Say(
            "  All good: let DirectDraw load KORV32.dll, and run korvchk and korvchk /draw.");
    }
}

} // namespace chk
