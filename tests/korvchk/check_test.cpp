// korvchk's runs on the host: what it says of machines that are well and of others.
#include "driver/core/driverdata.h"
#include "driver/platform/minivdd.h"
#include "host/display/machine.h"
#include "host/win32/device.h"
#include "host/win32/registry.h"
#include "tests/korvchk/fake_system.h"
#include "tests/support_host/configs.h"
#include "tests/support_host/dll_path.h"
#include "tests/windows95/project_files.h"
#include "tools/korvchk/check.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <regex>
#include <string>

namespace {

using test::FakeSystem;
using test::TheSystem;
using testing::HasSubstr;
using testing::Not;

constexpr char kKey[] = "SOFTWARE\\Display\\Settings\\DirectX";

class Checker : public testing::Test {
  protected:
    Checker() { TheSystem() = {}; }
    ~Checker() override { TheSystem() = {}; }

    static std::vector<uint8_t> Library() {
        const std::string bytes = test::Read(test::DllPath());
        return {bytes.begin(), bytes.end()};
    }

    // A machine with everything in its place.
    void SwitchOn(host::DisplayConfig config = test::ConfigFor(DevicePermedia2),
                  bool start = true) {
        directX.reset();
        display.reset();
        host::PowerCycle();
        TheSystem() = {};
        TheSystem().files["C:\\WINDOWS\\SYSTEM\\KORV32.dll"] = Library();
        display = std::make_unique<host::Display>(config);
        if (start) {
            ASSERT_TRUE(display->Start());
            directX = std::make_unique<test::FakeDirectX>(*display);
            TheSystem().directDraw = directX->Interface();
            TheSystem().driver = 0x10000;
        }
    }

    // Runs it; what it printed, with the rows of a sentence joined.
    std::string Run(const char* arguments, int expected) {
        TheSystem().printed.clear();
        EXPECT_EQ(chk::Run(arguments), expected) << TheSystem().printed;
        for (size_t from = 0, to; (to = TheSystem().printed.find('\n', from)) != std::string::npos;
             from = to + 1) {
            EXPECT_LE(to - from, 79u) << TheSystem().printed.substr(from, to - from);
        }
        std::string text = TheSystem().printed;
        text = std::regex_replace(text, std::regex("\n {5,}"), " ");
        return text;
    }

    std::unique_ptr<host::Display> display;
    std::unique_ptr<test::FakeDirectX> directX;
};

TEST_F(Checker, FindsNothingWrongOnAMachineThatIsWell) {
    SwitchOn();
    const std::string text = Run("", 0);
    EXPECT_THAT(text, HasSubstr("exports    all 20"));
    EXPECT_THAT(text, HasSubstr("chip       Permedia 2, 8192 KB of video memory, 2 DMA buffers"));
    EXPECT_THAT(text, HasSubstr("mode       640 by 480, 16 bits"));
    EXPECT_THAT(text, HasSubstr("records    filled as KORV32 expects"));
    EXPECT_THAT(text, HasSubstr("HKEY_LOCAL_MACHINE\\SOFTWARE\\Display\\Settings\\DirectX"));
    EXPECT_THAT(text, HasSubstr("driver     in hardware"));
    EXPECT_THAT(text, HasSubstr("copies, fills, depth fills, stretches, colour keys"));
    EXPECT_THAT(text, HasSubstr("loaded, and its display is up"));
    EXPECT_THAT(text, HasSubstr("device     in hardware"));
    EXPECT_THAT(text, HasSubstr("Nothing is wrong."));
    EXPECT_THAT(text, Not(HasSubstr("!!")));
    EXPECT_THAT(text, Not(HasSubstr("Picture")));
}

TEST_F(Checker, DrawsOnEveryChip) {
    for (const uint32_t device : {DeviceSX, DeviceTX, DeviceMX, DevicePermedia, DevicePermedia2}) {
        for (const uint32_t bits : {16u, 32u}) {
            SCOPED_TRACE(std::to_string(device) + " at " + std::to_string(bits));
            host::DisplayConfig config = test::ConfigFor(device);
            config.width = 800;
            config.height = 600;
            config.bits = bits;
            SwitchOn(config);
            const std::string text = Run("/DRAW", 0);
            EXPECT_THAT(text, HasSubstr("off the screen                8 of 8 places"));
            EXPECT_THAT(text, HasSubstr("in a window                   8 of 8 places"));
            EXPECT_THAT(text, HasSubstr("full screen                   8 of 8 places"));
            EXPECT_THAT(text, HasSubstr("Both pictures are right."));
            EXPECT_EQ(directX->LiveObjects(), 0);
            EXPECT_EQ(TheSystem().openWindows, 0);
            EXPECT_EQ(display->Config().width, 800u);
            EXPECT_EQ(display->Config().bits, bits);
        }
    }
}

// What is drawn is looked at: the same with one thing wrong on the chip's side.
TEST_F(Checker, TellsWhatWasReadBackWrong) {
    SwitchOn();
    directX->beforeReadBack = [this] {
        // The middle of the off-screen picture, or of what lies there.
        for (const auto& surface : directX->Runtime().Surfaces()) {
            if (surface->Width() == 256) {
                for (uint32_t x = 100; x < 160; ++x) {
                    surface->SetPixel(x, 96, 0x7FFF);
                }
            }
        }
    };
    const std::string text = Run("/draw", 1);
    EXPECT_THAT(text,
                HasSubstr("!! off the screen, in the middle: read red 255 green 255 blue 255, "
                          "expected red 85 green 85 blue 85."));
    EXPECT_THAT(text, HasSubstr("off the screen                7 of 8 places"));
    EXPECT_THAT(text, HasSubstr("Direct3DHAL.NoDMA"));
}

TEST_F(Checker, TellsWhichStepOfDrawingFails) {
    SwitchOn();
    directX->executeResult = 0x8876017C;
    EXPECT_THAT(Run("/draw", 1),
                HasSubstr("!! Executing the buffer failed: out of video memory (8876017C). Try"));
    EXPECT_EQ(directX->LiveObjects(), 0);
    directX->executeResult = DD_OK;
    directX->modeResult = 0x8876024E;
    const std::string text = Run("/draw", 1);
    EXPECT_THAT(text, HasSubstr("Setting a mode of 640 by 480 with 16 bits failed: a mode that the "
                                "driver lacks"));
    EXPECT_THAT(text, HasSubstr("in a window                   8 of 8"));
    TheSystem().windows = false;
    EXPECT_THAT(Run("/draw", 1), HasSubstr("No window could be opened"));
    EXPECT_EQ(directX->LiveObjects(), 0);
}

TEST_F(Checker, SaysWhatToDoWithoutTheFile) {
    SwitchOn();
    TheSystem().files.clear();
    EXPECT_THAT(Run("", 1), HasSubstr("!! There is no C:\\WINDOWS\\SYSTEM\\KORV32.dll: click "
                                      "KORV32.inf of the package with the right mouse button"));
}

TEST_F(Checker, ComparesTheFileWithThePackagesList) {
    SwitchOn();
    const auto list = [](const std::string& sum) {
        const std::string text = "0000  other\r\n" + sum + "  KORV32.dll\r\n";
        TheSystem().files["A:\\KORV32\\SHA256.TXT"] = {text.begin(), text.end()};
    };
    std::string text = Run("", 0);
    const std::string sum = text.substr(text.find("SHA-256    ") + 11, 64);
    list(sum);
    EXPECT_THAT(Run("", 0), HasSubstr("as in the package's SHA256.TXT"));
    list(std::string(64, '0'));
    EXPECT_THAT(Run("", 1), HasSubstr("!! The checksum is not that of SHA256.TXT"));
}

TEST_F(Checker, SaysWhatIsWrongWithTheFile) {
    SwitchOn();
    std::vector<uint8_t>& file = TheSystem().files["C:\\WINDOWS\\SYSTEM\\KORV32.dll"];
    const std::vector<uint8_t> good = file;
    file = {'M', 'Z', 0};
    EXPECT_THAT(Run("", 1), HasSubstr("!! It is no library of 32 bits: the file is damaged."));
    // A name of its table of exports.
    file = good;
    const std::string name = "KORV_WaitForDMA";
    const auto at = std::search(file.begin(), file.end(), name.begin(), name.end());
    ASSERT_NE(at, file.end());
    *at = 'X';
    EXPECT_THAT(Run("", 1), HasSubstr("!! The export KORV_WaitForDMA, ordinal 20, is missing"));
    // Every length of file is read without harm.
    for (size_t size = 1; size < good.size(); size = size * 5 / 4 + 1) {
        file.assign(good.begin(), good.begin() + static_cast<ptrdiff_t>(size));
        Run("", 1);
    }
    file.assign(good.begin(), good.end() - 1);
    EXPECT_THAT(Run("", 1), HasSubstr("the file is damaged"));
}

TEST_F(Checker, SaysWhatIsMissingBelowTheDriver) {
    SwitchOn(test::ConfigFor(DevicePermedia2), false);
    host::UnregisterDevice(kMiniVDDName);
    TheSystem().createResult = 0x887600DE;
    std::string text = Run("", 1);
    EXPECT_THAT(text, HasSubstr("!! No device answers at \\\\.\\glintmvd"));
    EXPECT_THAT(text, HasSubstr("Not read: where they are is told by the display driver"));
    EXPECT_THAT(text, HasSubstr("!! DirectDraw does not start: no DirectDraw support (887600DE)."));
    EXPECT_THAT(text, HasSubstr("2 things are wrong"));
    TheSystem().hasDirectX = false;
    EXPECT_THAT(Run("", 1), HasSubstr("!! DirectX is not installed on this machine"));
}

TEST_F(Checker, SaysThatADisplayIsUnknown) {
    SwitchOn();
    EXPECT_THAT(Run("/display=3", 1),
                HasSubstr("!! The mini VDD has no display 3. If the display driver numbers"));
    host::DisplayConfig config = test::ConfigFor(DeviceTX);
    config.number = 3;
    SwitchOn(config);
    EXPECT_THAT(Run("/display=3", 0), HasSubstr("chip       GLINT 500TX"));
}

TEST_F(Checker, SaysWhichFieldOfTheRecordsIsWrong) {
    SwitchOn();
    display->Chip()->RefreshRate = 0;
    EXPECT_THAT(Run("", 1), HasSubstr("!! ChipInfo.RefreshRate is 00000000 (hexadecimal); expected "
                                      "frames per second, never 0."));
}

TEST_F(Checker, SaysWhatDirectXDoesNotSee) {
    SwitchOn();
    TheSystem().driver.reset();
    EXPECT_THAT(Run("", 1), HasSubstr("!! The hardware driver is not KORV32"));
    TheSystem().driver = -1;
    EXPECT_THAT(Run("", 0), HasSubstr("DriverInit has not finished, or the mode has 8 bits"));
    directX->noDirect3D = true;
    EXPECT_THAT(Run("", 1), HasSubstr("!! DirectDraw has no Direct3D"));
    directX->noHardware = true;
    EXPECT_THAT(Run("/draw", 1), HasSubstr("!! DirectDraw has no hardware driver and emulates"));
    host::DisplayConfig config = test::ConfigFor(DevicePermedia2);
    config.registry["Direct3DHAL.Disable"] = "1";
    SwitchOn(config);
    const std::string text = Run("/draw", 1);
    EXPECT_THAT(text, HasSubstr("!! Direct3D has no hardware device. If Direct3DHAL.Disable is 1"));
    EXPECT_THAT(text, HasSubstr("Picture: not drawn"));
}

TEST_F(Checker, TellsSwitchesAndWhereTheyComeFrom) {
    host::DisplayConfig config = test::ConfigFor(DevicePermedia2);
    config.registry = {{"Direct3DHAL.NoDMA", "1"},
                       {"Direct3DHAL.SubBuffers", "16"},
                       {"Direct3DHAL.ZPatch", "yes"},
                       {"Direct3DHAL.PatchMode", "0000000002"}};
    SwitchOn(config);
    host::TheRegistry().Set(kKey, "Direct3DHAL.NoFlip", {REG_DWORD, {1, 0, 0, 0}});
    std::string text = Run("", 1);
    EXPECT_THAT(text, HasSubstr("  Direct3DHAL.NoDMA                    1       from the registry "
                                "1 = new contexts write to the chip's FIFO; else they use DMA."));
    EXPECT_THAT(text,
                HasSubstr("  Direct3DHAL.SubBuffers               16      from the registry"));
    EXPECT_THAT(text, HasSubstr("!! Direct3DHAL.ZPatch is no number and counts as 0"));
    EXPECT_THAT(text, HasSubstr("!! Direct3DHAL.PatchMode has ten characters or more"));
    EXPECT_THAT(text, HasSubstr("!! Direct3DHAL.NoFlip is no text"));
    EXPECT_THAT(text, Not(HasSubstr("by default")));
    // The driver reads what is told here.
    EXPECT_EQ(DXGlobals.ZPatch, 0u);
    EXPECT_EQ(DXGlobals.PatchMode, 0u);
    text = Run("/switches", 1);
    EXPECT_THAT(text, HasSubstr("  Direct3DHAL.FilterVideo              0       by default"));
    EXPECT_THAT(text, HasSubstr("  OpenGL.NumberOfSubBuffers            2       by default"));
}

TEST_F(Checker, TellsThatTheKeyIsMissing) {
    SwitchOn();
    host::TheRegistry().ClearKey(kKey);
    EXPECT_THAT(Run("", 0), HasSubstr("There is no such key: every switch has its default."));
}

TEST_F(Checker, BringsUpStepByStep) {
    host::DisplayConfig config = test::ConfigFor(DeviceMX);
    SwitchOn(config, false);
    std::string text = Run("/bringup", 0);
    for (const char* step :
         {"ChipInfo", "DriverData", "registers", "video memory", "local buffer", "heap",
          "context table", "DMA buffers", "queue and interrupt", "vertical blank", "requests"}) {
        std::string row = std::string("  ") + step;
        row.resize(42, ' ');
        EXPECT_THAT(text, HasSubstr(row + "good"));
    }
    EXPECT_THAT(text, HasSubstr("All good"));
    SwitchOn(config, false);
    display->Chip()->DMABufferPhysical[0] += 0x10000000;
    text = Run("/bringup", 1);
    EXPECT_THAT(text, HasSubstr("DMA buffers                             wrong"));
    EXPECT_THAT(text, HasSubstr("!! OutFIFOWords is 00000000"));
    EXPECT_THAT(text, HasSubstr("were not tried"));
    EXPECT_THAT(text, Not(HasSubstr("queue and interrupt")));
}

TEST_F(Checker, RefusesWhatMeansNothing) {
    for (const char* arguments :
         {"/dorw", "draw", "/display", "/display=", "/display=x", "/display=1x", "/draw /bringup",
          "/", "/display=12345678901", "/drawdrawdrawdrawdrawdrawdrawdrawdrawdrawdrawdraw"}) {
        const std::string text = Run(arguments, 2);
        EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1) << text;
        EXPECT_THAT(text, testing::StartsWith("korvchk: ")) << arguments;
    }
    EXPECT_THAT(Run("  -?", 0), HasSubstr("korvchk /draw"));
}

} // namespace
