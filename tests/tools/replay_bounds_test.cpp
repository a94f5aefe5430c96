// Boards that nobody builds: told with the field and its bounds before anything is played.
#include "tests/tools/replay_rig.h"

namespace korv {

namespace {

struct Refused {
    const char* fields; // of a display, besides its name
    const char* line;   // behind "SCRIPT:3: /steps/0"
};

constexpr Refused kRefused[] = {
    {R"("dmaBufferBytes": 4)",
     "/dmaBufferBytes: 4 is out of range: expected 8192 to 16777216, with "
     "8 sub-buffers of at least 1024 bytes"},
    {R"("dmaBufferBytes": 8191)", "/dmaBufferBytes: 8191 is out of range: expected 8192 to "
                                  "16777216, with 8 sub-buffers of at least 1024 bytes"},
    {R"("dmaBufferBytes": 67108864)", "/dmaBufferBytes: 67108864 is out of range: expected 8192 to "
                                      "16777216, with 8 sub-buffers of at least 1024 bytes"},
    {R"("dmaBufferBytes": 16384, "registry": {"Direct3DHAL.SubBuffers": "17"})",
     "/dmaBufferBytes: 16384 is out of range: expected 17408 to 16777216, with 17 sub-buffers of "
     "at least 1024 bytes"},
    {R"("dmaBufferBytes": 2044, "chipFlags": "TwoSubBuffers")",
     "/dmaBufferBytes: 2044 is out of range: expected 2048 to 16777216, with 2 sub-buffers of at "
     "least 1024 bytes"},
    {R"("dmaBuffers": 11)", "/dmaBuffers: 11 is out of range: expected 0 to 10"},
    {R"("refreshRate": 0)", "/refreshRate: 0 is out of range: expected 1 to 1000"},
    {R"("frameBufferBytes": 65536)",
     "/frameBufferBytes: 65536 is out of range: expected 1048576 to 67108864"},
    {R"("localBufferBytes": 67108865)",
     "/localBufferBytes: 67108865 is out of range: expected 1048576 to 67108864"},
    {R"("registryName": "0123456789012345678901234567890123456789")",
     "/registryName: too long: expected at most 34 characters"},
    {R"("timing": {"fifoDepth": 0})", "/timing/fifoDepth: 0 is out of range: expected 16 to 1024"},
    {R"("timing": {"fifoDepth": 15})",
     "/timing/fifoDepth: 15 is out of range: expected 16 to 1024"},
    {R"("timing": {"fifoDepth": 2147483648})",
     "/timing/fifoDepth: 2147483648 is out of range: expected 16 to 1024"},
    {R"("timing": {"fifoReportLag": 1000001})",
     "/timing/fifoReportLag: 1000001 is out of range: expected 0 to 1000000"},
    {R"("timing": {"strayOutputWords": 4294967295})",
     "/timing/strayOutputWords: 4294967295 is out of range: expected 0 to 1024"},
    {R"("timing": {"microsecondsPerTick": 1000001})",
     "/timing/microsecondsPerTick: 1000001 is out of range: expected 0 to 1000000"},
    {R"("width": 8191)", ": no mode of 8191 by 480 pixels"},
};

std::string DisplayWith(const std::string& fields) {
    return R"({"do": "display", "name": "main", )" + fields + "}";
}

} // namespace

TEST_F(ReplayTest, WhatNoMachineHasIsToldWithItsBounds) {
    for (const Refused& refused : kRefused) {
        SCOPED_TRACE(refused.fields);
        ExpectMalformed({DisplayWith(refused.fields)}, std::string("3: /steps/0") + refused.line);
    }
}

TEST_F(ReplayTest, TheBoundsThemselvesArePlayed) {
    for (const char* fields :
         {R"("dmaBufferBytes": 8192)", R"("dmaBufferBytes": 2048, "chipFlags": "TwoSubBuffers")",
          R"("dmaBufferBytes": 4, "dmaBuffers": 0)", R"("timing": {"fifoDepth": 16})",
          R"("timing": {"fifoDepth": 1024})", R"("refreshRate": 1000)"}) {
        SCOPED_TRACE(fields);
        EXPECT_EQ(Replay(Script({DisplayWith(fields), kStart})).err, "");
    }
}

// A limit at the start of a scene that lies behind the sub-buffer's end would let the words of one
// run over the next, or behind the buffer.
TEST_F(ReplayTest, TheLeastSubBuffersHoldEveryScene) {
    for (const char* chip : {"permedia", "tx-delta", "permedia2"}) {
        SCOPED_TRACE(chip);
        std::vector<std::string> steps = {
            DisplayWith(std::string(R"("chip": ")") + chip +
                        R"(", "width": 64, "height": 64, "dmaBuffers": 1, )"
                        R"("dmaBufferBytes": 2048, "registry": {"Direct3DHAL.SubBuffers": "2"})"),
            kStart, kTarget, kContext, R"({"do": "beginScene", "context": "c"})"};
        for (int i = 0; i < 60; ++i) {
            steps.push_back(std::string(kTriangle) + "}");
        }
        steps.push_back(R"({"do": "endScene", "context": "c"})");
        steps.push_back(R"({"do": "finish", "surface": "t"})");
        EXPECT_EQ(Replay(Script(steps)).err, "");
    }
}

TEST_F(ReplayTest, AnOptionThatAsksForMoreSubBuffersIsHeldAgainstTheBuffer) {
    const ToolResult result =
        Replay(Script({DisplayWith(R"("dmaBufferBytes": 8192)")}), {"--subbuffers", "9"});
    EXPECT_EQ(result.code, 2);
    EXPECT_EQ(result.err, "korv: " + path_ +
                              ":3: /steps/0/dmaBufferBytes: 8192 is out of range: expected 9216 to "
                              "16777216, with 9 sub-buffers of at least 1024 bytes\n");
}

// The driver cuts a context's buffers by the registry of the display that was started last.
TEST_F(ReplayTest, DisplaysSideBySideShareTheNumberOfSubBuffers) {
    const std::string small =
        R"({"do": "display", "name": "a", "chip": "tx", "dmaBufferBytes": 16384})";
    const std::string many =
        R"({"do": "display", "name": "b", "chip": "permedia", "number": 1, "primary": false, )"
        R"("registryName": "Second", "registry": {"Direct3DHAL.SubBuffers": "17"}})";
    ExpectLine(Script({small, many}), 2,
               "4: /steps/1/registry/Direct3DHAL.SubBuffers: 17 sub-buffers, which count for "
               "all displays, are too many for another display's dmaBufferBytes of 16384");
    ExpectLine(Script({many, small}), 2,
               "4: /steps/1/dmaBufferBytes: 16384 is too few for the sub-buffers of another "
               "display's registry, 17, which count for all displays");
}

} // namespace korv
