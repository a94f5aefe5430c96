// The steps of HAL scripts: that each carries what it says to the driver and brings back what came.
#include "tests/support_host/dll_bytes.h"
#include "tests/tools/replay_rig.h"
#include "tests/tools/tool_process.h"
#include "tools/korv/images/png.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>

namespace korv {
namespace {

using testing::HasSubstr;

class ReplaySteps : public ReplayTest {
  protected:
    void ExpectPlays(const std::vector<std::string>& steps) {
        const ToolResult result = Replay(Script(steps));
        EXPECT_EQ(result.code, 0) << result.err;
    }
    // A script in which the driver leaves its tables.
    std::string WriteCrash() const {
        return folder_.Write(
            "script.json",
            Script({kDisplay, kStart,
                    R"({"do": "set", "record": "ChipInfo", "fields": {"CurrentContext": 9999}})",
                    R"({"do": "export", "name": "KORV_SwitchContext", "arguments": {"id": 5}})"}));
    }
    void ExpectUnexpected(const std::vector<std::string>& steps, const std::string& what) {
        const ToolResult result = Replay(Script(steps));
        EXPECT_EQ(result.code, 1);
        EXPECT_THAT(result.err, HasSubstr(what));
    }
};

std::string System(const char* name, const char* format, int width = 4, int height = 4,
                   const char* caps = "DDSCAPS_OFFSCREENPLAIN") {
    return fmt::format(R"({{"do": "surface", "name": "{}", "caps": "{}|DDSCAPS_SYSTEMMEMORY", )"
                       R"("width": {}, "height": {}, "format": "{}"}})",
                       name, caps, width, height, format);
}

// --- contents of surfaces ---

TEST_F(ReplaySteps, WordsGoIntoASurfaceAsTheyAre) {
    ExpectPlays({kDisplay, kStart, System("s", "565"),
                 R"({"do": "write", "surface": "s", "words": ["0x22221111", -1], "offset": 8})",
                 R"({"do": "pixels", "surface": "s", "expect": {"0,0": 0, "0,1": "0x1111",
                     "1,1": "0x2222", "2,1": "0xFFFF", "3,1": "0xFFFF", "0,2": 0}})"});
    ExpectMalformed({kDisplay, kStart, System("s", "565"),
                     R"({"do": "write", "surface": "s", "words": [1, 2], "offset": 28})"},
                    "6: /steps/3/words: 2 words from byte 28 on do not fit 32 bytes");
}

TEST_F(ReplaySteps, ASeedGivesTheSamePixelsEachTime) {
    // The upper 16 bits of x * 1664525 + 1013904223, from 1 on: 0x3C88596C, 0x5E8885DB.
    ExpectPlays(
        {kDisplay, kStart, System("s", "565"),
         R"({"do": "write", "surface": "s", "pattern": {"seed": 1}})",
         R"({"do": "pixels", "surface": "s", "expect": {"0,0": "0x3C88", "1,0": "0x5E88"}})"});
}

TEST_F(ReplaySteps, ACheckerHasItsFirstValueInTheCorner) {
    ExpectPlays({kDisplay, kStart, System("s", "pal8"),
                 R"({"do": "write", "surface": "s", "pattern": {"checker": [7, 9], "side": 2}})",
                 R"({"do": "pixels", "surface": "s", "count": 7,
                     "expect": {"1,1": 7, "2,1": 9, "1,2": 9, "3,3": 7, "count": 8}})"});
}

TEST_F(ReplaySteps, APictureIsReadByTheSurfacesFormat) {
    host::Picture picture;
    picture.width = 2;
    picture.height = 1;
    picture.rgba = {255, 0, 0, 255, 0, 255, 0, 255};
    WritePng(folder_ / "two.png", picture);
    const std::string write = R"({"do": "write", "surface": "s", "file": "two.png"})";
    ExpectPlays(
        {kDisplay, kStart, System("s", "565", 2, 1), write,
         R"({"do": "pixels", "surface": "s", "expect": {"0,0": "0xF800", "1,0": "0x07E0"}})"});
    ExpectMalformed({kDisplay, kStart, System("s", "565"), write},
                    "6: /steps/3/file: the picture has 2 by 1 pixels, the surface 4 by 4");
    ExpectMalformed({kDisplay, kStart, System("s", "z16", 2, 1, "DDSCAPS_ZBUFFER"), write},
                    "6: /steps/3/file: a surface of this format takes no colours");
    ExpectMalformed({kDisplay, kStart, System("s", "565"),
                     R"({"do": "write", "surface": "s", "file": "no.png"})"},
                    "6: /steps/3/file: cannot read '" + (folder_ / "no.png") +
                        "': No such file or directory");
}

TEST_F(ReplaySteps, PixelsThatDoNotFitAreRefused) {
    ExpectMalformed({kDisplay, kStart, System("s", "565"),
                     R"({"do": "write", "surface": "s", "value": "0x10000"})"},
                    "6: /steps/3/value: 0x10000 does not fit a pixel of 16 bits");
    ExpectMalformed({kDisplay, kStart, System("s", "565"),
                     R"({"do": "write", "surface": "s", "x": 3, "rows": [[1, 2]]})"},
                    "6: /steps/3/rows/0/1: a surface of 4 by 4 has no pixel 4,0");
    ExpectMalformed({kDisplay, kStart, System("s", "565"), R"({"do": "write", "surface": "s"})"},
                    "6: /steps/3: expected one of 'value', 'rows', 'words', 'pattern' and 'file'");
}

// --- surfaces ---

TEST_F(ReplaySteps, SurfacesOfEveryFormAreMade) {
    const std::string made = R"("expect": {"result": "DD_OK", "videoMemory": )";
    ExpectPlays(
        {kDisplay, kStart,
         R"({"do": "surface", "name": "a", "caps": "DDSCAPS_TEXTURE|DDSCAPS_MIPMAP|DDSCAPS_COMPLEX",
             "width": 32, "height": 32, "levels": 6, "format": "565", )" +
             made + "true}}",
         R"({"do": "surface", "name": "b", "caps": "DDSCAPS_TEXTURE|DDSCAPS_SYSTEMMEMORY",
             "width": 32, "height": 32, "format": {"dwFlags": "DDPF_RGB|DDPF_PALETTEINDEXED4",
             "dwRGBBitCount": 4}, )" +
             made + "false}}",
         R"({"do": "palette", "surface": "b", "entries": [0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12,
             13, 14, "0xFFFFFF"]})",
         R"({"do": "sourceKey", "surface": "b", "low": 3, "high": 4})",
         R"({"do": "destKey", "surface": "b", "low": 5, "high": 6})",
         R"({"do": "check", "record": "DDRAWI_DDRAWSURFACE_LCL", "surface": "b",
             "expect": {"ddckCKSrcBlt.dwColorSpaceLowValue": 3,
                        "ddckCKDestBlt.dwColorSpaceHighValue": 6, "lpDDPalette": true}})",
         R"({"do": "check", "record": "DDRAWI_DDRAWSURFACE_GBL", "surface": "b",
             "expect": {"lPitch": 16, "ddpfSurface.dwRGBBitCount": 4}})",
         R"({"do": "check", "record": "DDRAWI_DDRAWSURFACE_GBL", "surface": "a.5",
             "expect": {"wWidth": 1, "wHeight": 1}})"});
}

TEST_F(ReplaySteps, NamesInUseAreNotGivenAgain) {
    ExpectMalformed({kDisplay, kStart, kMemory, kMemory},
                    "6: /steps/3: there is a surface 's' already");
    ExpectMalformed({kDisplay, kStart, kTarget, kContext, kContext},
                    "7: /steps/4: there is a context 'c' already");
    ExpectMalformed({kDisplay, kDisplay}, "4: /steps/1/name: there is a display 'main' already");
    ExpectPlays({kDisplay, kStart, kTarget, kContext, R"({"do": "destroyContext", "context": "c"})",
                 R"({"do": "destroySurface", "surface": "t"})", kTarget, kContext});
}

TEST_F(ReplaySteps, ATargetInUseIsNotDestroyed) {
    ExpectMalformed(
        {kDisplay, kStart, kTarget, kContext, R"({"do": "destroySurface", "surface": "t"})"},
        "7: /steps/4: context 'c' still uses surface 't'");
    ExpectPlays({kDisplay, kStart, kTarget, kContext, R"({"do": "destroyProcess", "process": 1})",
                 R"({"do": "destroySurface", "surface": "t"})"});
}

TEST_F(ReplaySteps, LostMemoryIsToldAtItsStep) {
    ExpectMalformed({kDisplay, kStart, kTarget,
                     R"({"do": "mode", "width": 128, "height": 64, "bits": 16})",
                     R"({"do": "write", "surface": "t", "value": 0})"},
                    "7: /steps/4: surface 't' has lost its memory");
}

TEST_F(ReplaySteps, ASecondStartIsAnotherProcess) {
    ExpectPlays({kDisplay, kStart, kTarget, kStart,
                 R"({"do": "write", "surface": "t", "value": 1})",
                 R"({"do": "pixels", "surface": "t", "expect": {"0,0": 1}})"});
}

TEST_F(ReplaySteps, AHugeSystemSurfaceIsRefused) {
    ExpectUnexpected({kDisplay, kStart, System("s", "8888", 65535, 65535)},
                     "result: expected DD_OK, got DDERR_OUTOFMEMORY");
}

// --- blits ---

// Fields of the record as the driver got them: it changes none of these.
TEST_F(ReplaySteps, BltFillsTheRecordAsItsFieldsSay) {
    const auto blt = [](const std::string& fields, const std::string& expect) {
        return R"({"do": "blt", "surface": "t", )" + fields + R"(, "expect": {)" + expect + "}}";
    };
    const auto play = [&](const std::string& step) {
        // What the driver makes of it is not at issue: only the outcomes named are looked at.
        const ToolResult result =
            Replay(Script({kDisplay, kStart, kTarget, System("s", "555", 32, 32), step}));
        EXPECT_THAT(result.err, testing::Not(testing::AnyOf(
                                    HasSubstr("dwFlags"), HasSubstr("bltFX"), HasSubstr("rDest"),
                                    HasSubstr("rSrc"), HasSubstr("lpDDS"), HasSubstr("/steps/4/"),
                                    HasSubstr("malformed"))))
            << step;
        EXPECT_LE(result.code, 1) << result.err;
    };
    play(blt(R"("from": "s", "rect": [1, 2, 11, 12], "fromRect": [3, 4, 13, 14])",
             R"("dwFlags": "DDBLT_ROP", "bltFX.dwROP": "SRCCOPY", "rDest.left": 1, "rDest.top": 2,
                "rDest.right": 11, "rDest.bottom": 12, "rSrc.left": 3, "rSrc.bottom": 14,
                "rOrigDest.right": 11, "rOrigSrc.top": 4, "lpDDDestSurface": "t",
                "lpDDSrcSurface": "s", "bltFX.dwSize": 100)"));
    play(blt(R"("from": "s", "sourceKey": [5, 6], "mirrorUpDown": true, "async": true)",
             R"("dwFlags": "DDBLT_ROP|DDBLT_KEYSRCOVERRIDE|DDBLT_DDFX|DDBLT_ASYNC",
                "bltFX.dwDDFX": "DDBLTFX_MIRRORUPDOWN",
                "bltFX.ddckSrcColorkey.dwColorSpaceLowValue": 5,
                "bltFX.ddckSrcColorkey.dwColorSpaceHighValue": 6)"));
    play(blt(R"("from": "s", "sourceKey": true, "destKey": [7, 8], "mirrorLeftRight": true,
                "wait": true)",
             R"("dwFlags":
                "DDBLT_ROP|DDBLT_KEYSRC|DDBLT_KEYDESTOVERRIDE|DDBLT_DDFX|DDBLT_WAIT",
                "bltFX.dwDDFX": "DDBLTFX_MIRRORLEFTRIGHT",
                "bltFX.ddckDestColorkey.dwColorSpaceHighValue": 8)"));
    play(blt(R"("color": "0x7C00")", R"("dwFlags": "DDBLT_COLORFILL", "bltFX.dwFillColor": "0x7C00",
                "lpDDSrcSurface": null)"));
    play(blt(R"("depth": 9)", R"("dwFlags": "DDBLT_DEPTHFILL", "bltFX.dwFillDepth": 9)"));
    play(blt(R"("rop": "WHITENESS")", R"("dwFlags": "DDBLT_ROP", "bltFX.dwROP": "WHITENESS")"));
    play(blt(R"("from": "s", "flags": "DDBLT_ROP|DDBLT_KEYDEST",
                "bltFX": {"dwROP": "SRCCOPY", "dwDDFX": "DDBLTFX_ARITHSTRETCHY", "dwReserved": 3},
                "fields": {"IsClipped": 1, "dwRectCnt": 2})",
             R"("dwFlags": "DDBLT_ROP|DDBLT_KEYDEST", "bltFX.dwReserved": 3,
                "bltFX.dwDDFX": "DDBLTFX_ARITHSTRETCHY", "IsClipped": 1, "dwRectCnt": 2)"));
}

TEST_F(ReplaySteps, BltsTakeRectanglesOfTheirSurfaces) {
    ExpectMalformed({kDisplay, kStart, kTarget,
                     R"({"do": "blt", "surface": "t", "color": 0, "rect": [0, 0, 33, 1]})"},
                    "6: /steps/3/rect: [0, 0, 33, 1] is no rectangle of a surface of 32 by 32");
    ExpectMalformed({kDisplay, kStart, kTarget,
                     R"({"do": "colorFill", "surface": "t", "value": 0, "rect": [4, 4, 4, 8]})"},
                    "6: /steps/3/rect: [4, 4, 4, 8] is no rectangle of a surface of 32 by 32");
    ExpectMalformed({kDisplay, kStart, kTarget,
                     R"({"do": "blt", "surface": "t", "color": 0, "fromRect": [0, 0, 1, 1]})"},
                    "6: /steps/3/fromRect: there is no 'from'");
}

// --- exports ---

TEST_F(ReplaySteps, ExportsTakeTheirArgumentsByName) {
    ExpectMalformed({kDisplay, kStart, R"({"do": "export", "name": "KORV_Missing"})"},
                    "5: /steps/2/name: unknown export 'KORV_Missing'");
    ExpectMalformed(
        {kDisplay, kStart, R"({"do": "export", "name": "KORV_CopyBlt"})"},
        "5: /steps/2/name: KORV_CopyBlt takes arguments: rect, destOffset, srcRelative");
    ExpectMalformed(
        {kDisplay, kStart, R"({"do": "export", "name": "KORV_SwitchContext", "arguments": {}})"},
        "5: /steps/2/arguments: 'id' is missing");
    ExpectMalformed({kDisplay, kStart,
                     R"({"do": "export", "name": "KORV_SwitchContext",
                         "arguments": {"id": 5, "more": 1}})"},
                    "6: /steps/2/arguments/more: unknown field 'more'");
}

struct ExportCall {
    const char* name;
    const char* arguments;
};

class ReplayExport : public ReplaySteps, public testing::WithParamInterface<ExportCall> {};

TEST_P(ReplayExport, IsCalled) {
    const std::string memory =
        R"({"do": "memory", "name": "m", "words": [20, 1, 0, 4096], "count": 4096})";
    const std::string rect = R"({"do": "memory", "name": "r", "record": "RECT",
                                 "fields": {"right": 8, "bottom": 8}})";
    const std::string arguments =
        *GetParam().arguments == 0 ? "" : fmt::format(R"(, "arguments": {})", GetParam().arguments);
    const std::string call =
        fmt::format(R"({{"do": "export", "name": "{}"{}}})", GetParam().name, arguments);
    const std::string help = R"({"do": "memory", "name": "d", "record": "DebugHelpRequest",
                                 "fields": {"Kind": 1, "ContextOrRegion": 5, "Out": "m", "Count": 1}})";
    const std::string context = R"({"do": "export", "name": "KORV_CreateContext",
                                    "arguments": {"subBuffers": 2}, "save": "made"})";
    ExpectPlays({kDisplay, kStart, memory, rect, help, context, call});
}

INSTANTIATE_TEST_SUITE_P(
    All, ReplayExport,
    testing::Values(
        ExportCall{"DriverInit", R"({"display": 0})"},
        ExportCall{"KORV_AllocateVideoMemory", R"({"request": "m"})"},
        ExportCall{"KORV_CopyBlt", R"({"rect": "r", "destOffset": 0, "srcRelative": 0})"},
        ExportCall{"KORV_CreateContext", R"({"subBuffers": 2})"},
        ExportCall{"KORV_DebugHelp", R"({"request": "d"})"},
        ExportCall{"KORV_DeleteContext", R"({"id": {"value": "made"}})"},
        ExportCall{"KORV_DriverIsLocked", ""}, ExportCall{"KORV_FreeDMABuffer", R"({"index": 0})"},
        ExportCall{"KORV_FreeDriverLock", R"({"surface": null})"},
        ExportCall{"KORV_FreeVideoMemory", R"({"address": {"frameBuffer": "main"}})"},
        ExportCall{"KORV_GetDMABuffer", R"({"out": "m"})"},
        ExportCall{"KORV_GetDriverLock", R"({"surface": null, "useDCI": 0, "rect": null})"},
        ExportCall{"KORV_GetInfo", R"({"info": "m"})"}, ExportCall{"KORV_Initialize", ""},
        ExportCall{"KORV_Service", R"({"code": 4, "request": "m", "buffer": "m"})"},
        ExportCall{"KORV_StartDMA", R"({"context": 5, "words": 0, "physical": {"dmaBus": 1},
                                        "linear": {"dmaBuffer": 1}, "reserved": 0})"},
        ExportCall{"KORV_StartSoftwareCursor", ""}, ExportCall{"KORV_StopSoftwareCursor", ""},
        ExportCall{"KORV_SwitchContext", R"({"id": 5})"}, ExportCall{"KORV_WaitForDMA", ""}),
    [](const auto& info) { return std::string(info.param.name); });

// --- memory ---

TEST_F(ReplaySteps, RecordsLieInMemoryToo) {
    ExpectPlays(
        {kDisplay, kStart,
         R"({"do": "memory", "name": "m", "record": "HeapRequest",
                     "fields": {"Size": 20, "Bytes": 64, "Address": {"frameBuffer": "main"}}})",
         R"({"do": "check", "record": "HeapRequest", "memory": "m",
                     "expect": {"Size": 20, "Address": {"frameBuffer": "main"}}})",
         R"({"do": "set", "record": "HeapRequest", "memory": "m", "fields": {"Bytes": 65}})",
         R"({"do": "peek", "at": "m", "save": {"bytes": "0xC"}, "expect": {"12": 65}})",
         R"({"do": "memory", "name": "n", "words": [{"value": "bytes"}, "m"]})",
         R"({"do": "peek", "at": "n", "expect": {"0": 65}})"});
    ExpectMalformed({kDisplay, kStart, R"({"do": "memory", "name": "m", "words": [1]})",
                     R"({"do": "check", "record": "HeapRequest", "memory": "m"})"},
                    "6: /steps/3/memory: 4 bytes are too few for a HeapRequest of 20");
}

TEST_F(ReplaySteps, WordsArePokedIntoMemoryOfAllKinds) {
    ExpectPlays({kDisplay, kStart, R"({"do": "memory", "name": "m", "words": [1, 2, 3]})",
                 R"({"do": "poke", "at": {"memory": "m", "offset": 4}, "words": ["0xABCD"]})",
                 R"({"do": "peek", "at": "m", "expect": {"0": 1, "4": "0xABCD", "8": 3},
                     "save": {"word": "4"}})",
                 R"({"do": "poke", "at": {"dmaBuffer": 0}, "words": [5, {"value": "word"}]})",
                 R"({"do": "peek", "at": {"dmaBuffer": 0}, "expect": {"0": 5, "4": "0xABCD"}})",
                 R"({"do": "poke", "at": {"frameBuffer": "main", "offset": 8}, "words": [6]})",
                 R"({"do": "peek", "at": {"frameBuffer": "main"}, "expect": {"8": 6}})"});
    ExpectMalformed({kDisplay, kStart, R"({"do": "memory", "name": "m", "words": [1, 2, 3]})",
                     R"({"do": "poke", "at": {"memory": "m", "offset": 4}, "words": [1, 2, 3]})"},
                    "6: /steps/3/at: no memory that has a name here holds 3 words from memory 'm' "
                    "+ 0x4 on");
}

TEST_F(ReplaySteps, NothingIsReadWhereNothingIs) {
    ExpectMalformed({kDisplay, kStart, R"({"do": "memory", "name": "m", "words": [1]})",
                     R"({"do": "peek", "at": "m", "expect": {"4": 0}})"},
                    "6: /steps/3/at: no memory that has a name here is at memory 'm' + 0x4");
    ExpectMalformed({kDisplay, kStart, R"({"do": "peek", "at": null, "expect": {"0": 0}})"},
                    "5: /steps/2/at: no memory that has a name here is at null + 0x0");
}

TEST_F(ReplaySteps, AddressesOfCodeAreNotGiven) {
    ExpectMalformed(
        {kDisplay, kStart,
         R"({"do": "set", "record": "D3DHAL_CALLBACKS", "fields": {"RenderState": true}})"},
        "5: /steps/2/fields/RenderState: 'RenderState' of D3DHAL_CALLBACKS cannot be "
        "given, only looked at");
}

// --- what no script may do to the tool ---

TEST_F(ReplaySteps, ACrashOfTheDriverIsToldWithItsStep) {
    const std::string path = WriteCrash();
#ifdef __SANITIZE_ADDRESS__
    // Its own report tells more, and is not stood in the way of.
    EXPECT_DEATH(RunTool({"replay", path}),
                 "ChangeContext.*context.cpp|context.cpp.*runtime error");
#else
    EXPECT_EXIT(RunTool({"replay", path}), testing::ExitedWithCode(1),
                "korv: .*script.json:6: step /steps/3 'export': access violation at .*\n"
                "(.*\n)*.*ChangeContext.*context.cpp:[0-9]+(.*\n)*.*KORV_SwitchContext");
    EXPECT_EXIT(RunTool({"replay", path, "--dll", KORV_DLL_PATH}), testing::ExitedWithCode(1),
                "korv: .*script.json:6: step /steps/3 'export': access violation at .*\n"
                "    DLL \\+ 0x[0-9A-F]+ \\(");
#endif
}

#ifndef __SANITIZE_ADDRESS__
// No program to read the debugging information: addresses alone, each on a line.
TEST_F(ReplaySteps, ACrashIsToldWithAddressesWhereNamesCannotBeRead) {
    const std::string path = WriteCrash();
    const ShellResult result = Shell("PATH=/nowhere korv replay " + path + " 2>&1");
    EXPECT_EQ(result.code, 1);
    EXPECT_TRUE(std::regex_match(
        result.out, std::regex("korv: .*script.json:6: step /steps/3 'export': access violation at "
                               ".*\n(    [0-9a-f]{8} \\S+\n){3,}")))
        << result.out;
}
#endif

TEST_F(ReplaySteps, ACrashOfDllMainNamesTheFile) {
    const std::string script = folder_.Write("script.json", Script({kDisplay, kStart}));
    test::DllBytes dll;
    dll.SetDllMain(std::string("\xC7\x05\x10\x00\x00\x00\x00\x00\x00\x00", 10)); // movl $0, 0x10
    const std::string path = folder_.Write("crash.dll", dll.bytes);
#ifdef __SANITIZE_ADDRESS__
    EXPECT_DEATH(RunTool({"replay", script, "--dll", path}),
                 "AddressSanitizer: SEGV on unknown address 0x00000010");
#else
    EXPECT_EXIT(RunTool({"replay", script, "--dll", path}), testing::ExitedWithCode(1),
                "korv: .*/crash.dll: DllMain: access violation at 0x10\n"
                "    DLL \\+ 0x[0-9A-F]+");
#endif
}

#ifndef __SANITIZE_ADDRESS__ // which ends the process without the tool
TEST_F(ReplaySteps, ACrashLeavesNoHalfWrittenFile) {
    const std::string path = WriteCrash();
    EXPECT_EXIT(RunTool({"replay", path, "--words", folder_ / "w", "--events", folder_ / "e"}),
                testing::ExitedWithCode(1), "access violation");
    EXPECT_EQ(folder_.Files(), 1u) << "the script";
}
#endif

TEST_F(ReplaySteps, DeepNestingAndHugeNumbersAreNoJson) {
    const ToolResult deep = Replay("{\n\"version\": " + std::string(100000, '['));
    EXPECT_EQ(deep.code, 2);
    EXPECT_EQ(deep.err, "korv: " + path_ + ":2: nested too deeply\n");
    const ToolResult huge = Replay("{\n\"version\": 1,\n\"title\": 1e999 }");
    EXPECT_EQ(huge.code, 2);
    EXPECT_EQ(huge.err, "korv: " + path_ + ":3: no JSON: the number 1e999 is out of range\n");
}

TEST_F(ReplaySteps, NumbersThatNoSingleHoldsAreRefused) {
    ExpectMalformed(
        {kDisplay, kStart, kTarget, kContext,
         R"({"do": "triangles", "context": "c", "vertices": [[1e300, 1], [2, 1], [1, 2]]})"},
        "7: /steps/4/vertices/0/0: 1e+300 does not fit a single: give its bits as a text");
}

} // namespace
} // namespace korv
