// Scripts that ask of the driver what no caller may: each is told in one line, and what the driver
// has to bear is played.
#include "tests/tools/run_tool.h"
#include "tests/tools/temporary_folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

namespace korv {

struct Hostile {
    const char* name; // of a script in hostile/
    int code;
    const char* line; // behind "korv: SCRIPT:"
};

namespace {

constexpr Hostile kHostile[] = {
    {"debug-help-null", 2,
     "7: /steps/2: KORV_DebugHelp: request: expected memory of 24 bytes, got null"},
    {"debug-help-no-room", 2,
     "8: /steps/3: KORV_DebugHelp: Out: expected memory of 8 bytes, got null"},
    {"debug-help-too-many", 2,
     "9: /steps/4: KORV_DebugHelp: Count: the local buffer does not hold 4294967293 words from "
     "0x400000 on"},
    {"debug-help-short-room", 2,
     "9: /steps/4: KORV_DebugHelp: Out: expected memory of 16 bytes, got memory 'out'"},
    {"debug-help-registers", 2,
     "9: /steps/4: KORV_DebugHelp: Count: there are no 1025 registers from 0 on: expected at most "
     "1024"},
    {"get-info-odd-address", 2,
     "7: /steps/2: KORV_GetInfo: info: expected memory of 4 bytes, got an address that has no name "
     "here"},
    {"get-info-short", 2,
     "8: /steps/3: KORV_GetInfo: info: expected memory of 128 bytes, got memory 'info'"},
    {"get-dma-buffer-null", 2,
     "7: /steps/2: KORV_GetDMABuffer: out: expected memory of 16 bytes, got null"},
    {"get-dma-buffer-early", 2, "7: /steps/2: KORV_GetDMABuffer: no display has been started"},
    {"service-unknown-context", 2,
     "9: /steps/4: KORV_Service: Context: there is no hardware context 2143289344"},
    {"service-list-slot", 2, "9: /steps/4: KORV_Service: Context: there is no hardware context 1"},
    {"service-short-answer", 2,
     "9: /steps/4: KORV_Service: buffer: expected memory of 16 bytes, got memory 'answer'"},
    {"service-odd-buffer", 2,
     "8: /steps/3: KORV_Service: buffer: expected memory of 24 bytes, got an address that has no "
     "name here"},
    {"service-no-request", 2,
     "8: /steps/3: KORV_Service: request: expected memory of 20 bytes, got null"},
    {"start-dma-list-slot", 2,
     "7: /steps/2: KORV_StartDMA: context: there is no hardware context 2"},
    {"switch-unknown-context", 2,
     "7: /steps/2: KORV_SwitchContext: id: there is no hardware context 77"},
    {"delete-context-twice", 2,
     "9: /steps/4: KORV_DeleteContext: id: there is no hardware context 6"},
    {"create-context-long-queue", 2,
     "7: /steps/2: KORV_CreateContext: subBuffers: 36 is out of range: expected at most 35"},
    {"video-no-description", 2,
     "7: /steps/2: CanCreateVideoPort: lpDDVideoPortDesc: expected memory of 72 bytes, got null"},
    {"video-no-format", 2,
     "7: /steps/2: GetVideoPortOutputFormats: lpddpfInputFormat: expected memory of 32 bytes, got "
     "null"},
    {"video-no-info", 2,
     "7: /steps/2: UpdateVideoPort: lpVideoInfo: expected memory of 64 bytes, got null"},
    {"video-port-of-nobody", 2,
     "8: /steps/3: DestroyVideoPort: lpVideoPort.lpDD: expected a display, got an object that has "
     "no name here"},
    {"blt-no-destination", 2, "9: /steps/3: Blt: lpDDDestSurface: expected a surface, got null"},
    {"flip-no-target", 2, "9: /steps/3: Flip: lpSurfTarg: expected a surface, got null"},
    {"lock-nothing", 2, "7: /steps/2: Lock: lpDDSurface: expected a surface, got null"},
    {"blt-stretched-download", 2,
     "11: /steps/4: Blt: rDest: what comes from system memory is not stretched: expected 16 by 16, "
     "got 64 by 64"},
    {"blt-leaves-system-memory", 2,
     "11: /steps/4: Blt: rSrc: [4, 4, 20, 20] leads out of a surface of 16 by 16"},
    {"texture-from-nothing", 2, "10: /steps/4: TextureCreate: lpDDS: expected a surface, got null"},
    {"primitive-no-buffer", 2,
     "10: /steps/4: RenderPrimitive: lpExeBuf: expected a surface, got null"},
    {"primitive-short-records", 2,
     "10: /steps/5: RenderPrimitive: diInstruction.bSize: expected an even number from 8 on, got "
     "4"},
    {"flip-to-another-chain", 2,
     "9: /steps/4: surfaces 'p' and 's' are not of one chain that flips"},
    {"palette-too-short", 2,
     "8: /steps/3/entries: 16 entries are too few for pixels of 8 bits: expected 256"},
    {"blt-from-another-display", 2, "11: /steps/6: surface 's' is not of display 'main'"},
    {"write-behind-mode", 2, "9: /steps/4: surface 's' has lost its memory"},
    {"texture-beyond-memory", 2,
     "8: /steps/3: surface 't' is not all in memory: 200 rows, 480 bytes from one to the next"},
    {"pitch-out-of-memory", 2,
     "9: /steps/4: surface 's' is not all in memory: 100 rows, 100000 bytes from one to the next"},
    {"pixels-of-64-bits", 2, "9: /steps/4: surface 's' has pixels of 64 bits: expected at most 32"},
    {"blt-of-narrower-pixels", 2,
     "9: /steps/4: Blt: rSrc: the source ends before its last pixel, read as one of 32 bits"},
    {"load-narrower-texels", 2,
     "9: /steps/4: Blt: rDest: what comes from system memory is not stretched: expected 32 by 64, "
     "got 64 by 64"},
    {"picture-without-end", 2,
     "10: /steps/4: surface 's' has 65535 by 65535 pixels: a picture has at most 67108864"},
    {"agp-twice", 2, "8: /steps/3: display 'main' has its AGP memory already"},
    {"call-before-start", 2, "6: /steps/1: the driver hands out no SyncSurfaceData"},
    {"execute-far-vertices", 0, ""},
    {"far-corners-sx", 0, ""},
    {"far-corners-tx", 0, ""},
    {"far-corners-permedia", 0, ""},
    {"line-to-no-number", 0, ""},
    {"context-gone-under-client", 0, ""},
};

} // namespace

class HostileScript : public testing::TestWithParam<Hostile> {};

void PrintTo(const Hostile& hostile, std::ostream* out) {
    *out << hostile.name;
}

TEST_P(HostileScript, IsToldInOneLineOrPlayed) {
    const Hostile& hostile = GetParam();
    const std::string path =
        std::string(KORV_PROJECT "/tests/tools/hostile/") + hostile.name + ".json";
    const TemporaryFolder folder;
    const std::string capture = folder / "session.korv";
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"replay", path}, {"replay", path, "--capture", capture}}) {
        const ToolResult result = RunTool(arguments);
        EXPECT_EQ(result.code, hostile.code);
        EXPECT_EQ(result.err, hostile.code == 0 ? "" : "korv: " + path + ":" + hostile.line + "\n");
    }
    // Of a script that could not be played there is no capture.
    EXPECT_EQ(std::filesystem::exists(capture), hostile.code == 0);
}

INSTANTIATE_TEST_SUITE_P(All, HostileScript, testing::ValuesIn(kHostile),
                         [](const testing::TestParamInfo<Hostile>& info) {
                             std::string name = info.param.name;
                             for (char& c : name) {
                                 c = c == '-' ? '_' : c;
                             }
                             return name;
                         });

} // namespace korv
