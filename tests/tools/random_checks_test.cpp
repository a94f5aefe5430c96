// What a random session is checked for is found where it is made to go wrong, and nowhere else.
#include "tests/support_host/dll_bytes.h"
#include "tests/tools/temporary_folder.h"
#include "tools/korv/random/known_states.h"
#include "tools/korv/random/trial.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace korv {
namespace {

using testing::HasSubstr;

random::Step Display(const char* chip, uint32_t bits, const random::Step& more = {}) {
    random::Step step{{"do", "display"}, {"name", "d"},   {"chip", chip},
                      {"width", 320},    {"height", 200}, {"bits", bits}};
    step.update(more.is_null() ? random::Step::object() : more);
    return step;
}

// A triangle that is drawn otherwise than its states say: an override of theirs goes before them.
TEST(RandomChecksTest, TrianglesAreThoseOfTheReference) {
    const auto session = [](bool overridden) {
        random::Steps steps = {Display("permedia2", 32),
                               {{"do", "start"}},
                               {{"do", "surface"},
                                {"name", "t"},
                                {"caps", "DDSCAPS_OFFSCREENPLAIN|DDSCAPS_3DDEVICE"},
                                {"width", 64},
                                {"height", 64}},
                               {{"do", "write"}, {"surface", "t"}, {"value", 0}},
                               {{"do", "context"}, {"name", "c"}, {"target", "t"}}};
        if (overridden) {
            steps.push_back(
                {{"do", "states"},
                 {"context", "c"},
                 {"states", random::Step::array({random::Step::array({"FILLMODE", 2}),
                                                 random::Step::array({"OVERRIDE FILLMODE", 1})})}});
        }
        steps.push_back({{"do", "states"}, {"context", "c"}, {"states", random::StatesOf({})}});
        steps.push_back({{"do", "triangles"},
                         {"context", "c"},
                         {"vertices",
                          {{4, 4, 0.5, 1, 0xFF804020, 0xFF000000},
                           {60, 10, 0.5, 1, 0xFF805020, 0xFF000000},
                           {20, 60, 0.5, 1, 0xFF804020, 0xFF000000}}}});
        return steps;
    };
    const auto plain = random::Try(session(false), {});
    EXPECT_FALSE(plain.finding) << plain.finding->text;
    const auto changed = random::Try(session(true), {});
    ASSERT_TRUE(changed.finding);
    EXPECT_EQ(changed.finding->kind, "triangles");
    EXPECT_THAT(changed.finding->text, HasSubstr("seen 0 0 0"));
}

// The same with textures: their contents, levels and keys are in the memory that the chip reads.
TEST(RandomChecksTest, TexturedTrianglesAreThoseOfTheReference) {
    using random::Step;
    const auto session = [](const Step& before) {
        random::KnownState known;
        known.texture = "h";
        known.state.address = D3DTADDRESS_CLAMP;
        known.state.textureBlend = D3DTBLEND_DECAL;
        random::Steps steps = {
            Display("permedia2", 32),
            {{"do", "start"}},
            {{"do", "surface"},
             {"name", "target"},
             {"caps", "DDSCAPS_OFFSCREENPLAIN|DDSCAPS_3DDEVICE"},
             {"width", 96},
             {"height", 64}},
            {{"do", "write"}, {"surface", "target"}, {"value", 0}},
            {{"do", "surface"},
             {"name", "texture"},
             {"caps", "DDSCAPS_TEXTURE|DDSCAPS_MIPMAP|DDSCAPS_COMPLEX"},
             {"width", 8},
             {"height", 8},
             {"format", "565"},
             {"levels", 2}},
            {{"do", "write"}, {"surface", "texture"}, {"pattern", {{"seed", 1}}}},
            {{"do", "write"}, {"surface", "texture.1"}, {"value", 0x07E0}},
            {{"do", "context"}, {"name", "c"}, {"target", "target"}},
            {{"do", "texture"}, {"name", "h"}, {"context", "c"}, {"surface", "texture"}}};
        if (!before.is_null()) {
            steps.push_back(before);
        }
        steps.push_back({{"do", "states"}, {"context", "c"}, {"states", StatesOf(known)}});
        // An eighth of a texel on a pixel's side, half a texture beyond its edges; then two texels.
        steps.push_back({{"do", "triangles"},
                         {"context", "c"},
                         {"vertices",
                          {{2, 2, 0.5, 1, 0xFF804020, 0xFF000000, -0.5, -0.25},
                           {62, 2, 0.5, 1, 0xFF805020, 0xFF000000, 0.4375, -0.25},
                           {2, 60, 0.5, 1, 0xFF804020, 0xFF000000, -0.5, 0.65625},
                           {66, 4, 0.5, 1, 0xFF804020, 0xFF000000, 0, 0},
                           {90, 4, 0.5, 1, 0xFF804020, 0xFF000000, 7.125, 0},
                           {66, 28, 0.5, 1, 0xFF804020, 0xFF000000, 0, 7.125}}}});
        return steps;
    };
    const auto plain = random::Try(session({}), {});
    EXPECT_FALSE(plain.finding) << plain.finding->text;
    const auto overriding = [](const char* state, uint32_t value) -> Step {
        return {{"do", "states"},
                {"context", "c"},
                {"states", Step::array({Step::array({state, value}),
                                        Step::array({std::string("OVERRIDE ") + state, 1})})}};
    };
    const Step changes[] = {
        overriding("TEXTUREADDRESS", D3DTADDRESS_WRAP),
        overriding("TEXTUREMAPBLEND", D3DTBLEND_MODULATE),
        overriding("TEXTUREMAG", D3DFILTER_LINEAR),
        // Behind the player's back there is no texture any more.
        {{"do", "call"},
         {"name", "TextureDestroy"},
         {"fields", {{"dwhContext", "c"}, {"dwHandle", "h"}}}},
    };
    for (const Step& change : changes) {
        const auto changed = random::Try(session(change), {});
        ASSERT_TRUE(changed.finding) << change;
        EXPECT_EQ(changed.finding->kind, "triangles") << change;
    }
}

// A port that is told another buffer behind the runtime's back.
TEST(RandomChecksTest, FieldsLieWhereThePortIsToldTo) {
    const auto call = [](const char* name, const random::Step& fields) -> random::Step {
        return {{"do", "call"}, {"name", name}, {"display", "d"}, {"fields", fields}};
    };
    const auto session = [&](bool disturbed) {
        random::Steps steps = {
            Display("permedia2", 32, {{"timing", {{"microsecondsPerTick", 0}}}}),
            {{"do", "start"}, {"display", "d"}},
            {{"do", "surface"},
             {"name", "v"},
             {"caps", "DDSCAPS_OFFSCREENPLAIN|DDSCAPS_VIDEOPORT"},
             {"width", 32},
             {"height", 16},
             {"format", {{"fourCC", "YUY2"}, {"bits", 16}}},
             {"backBuffers", 2}},
            {{"do", "memory"},
             {"name", "description"},
             {"record", "DDVIDEOPORTDESC"},
             {"fields",
              {{"dwSize", 72},
               {"dwFieldWidth", 32},
               {"dwFieldHeight", 16},
               {"VideoPortType",
                {{"dwSize", 28}, {"dwPortWidth", 8}, {"guidTypeID", {{"Data1", 0x92783220}}}}}}}},
            {{"do", "memory"},
             {"name", "port"},
             {"record", "DDRAWI_DDVIDEOPORT_LCL"},
             {"fields", {{"lpDD", "d"}}}},
            call("CanCreateVideoPort", {{"lpDDVideoPortDesc", "description"}}),
            call("CreateVideoPort",
                 {{"lpDDVideoPortDesc", "description"}, {"lpVideoPort", "port"}}),
            // The rest of that GUID is another: the driver takes both references for low.
            {{"do", "videoSource"},
             {"display", "d"},
             {"width", 32},
             {"height", 16},
             {"lineReferenceHigh", false},
             {"fieldReferenceHigh", false}},
            {{"do", "memory"},
             {"name", "info"},
             {"record", "DDVIDEOPORTINFO"},
             {"fields", {{"dwSize", 64}, {"dwVPFlags", "DDVP_AUTOFLIP|DDVP_MIRRORLEFTRIGHT"}}}},
            call("UpdateVideoPort", {{"lpVideoPort", "port"},
                                     {"lplpDDSurface", {"v", "v.1", "v.2"}},
                                     {"lpVideoInfo", "info"},
                                     {"dwFlags", 1},
                                     {"dwNumAutoflip", 3}}),
            {{"do", "advance"}, {"display", "d"}, {"microseconds", 45000}}};
        if (disturbed) {
            steps.push_back({{"do", "set"},
                             {"record", "DriverData"},
                             {"display", "d"},
                             {"fields", {{"VideoCurrentBuffer", 1}}}});
        }
        steps.push_back(call("FlipVideoPort", {{"lpVideoPort", "port"}}));
        steps.push_back({{"do", "advance"}, {"display", "d"}, {"microseconds", 45000}});
        steps.push_back(call("GetVideoPortLine", {{"lpVideoPort", "port"}}));
        steps.push_back(call("DestroyVideoPort", {{"lpVideoPort", "port"}}));
        steps.push_back({{"do", "videoSource"}, {"display", "d"}, {"unplug", true}});
        return steps;
    };
    const auto plain = random::Try(session(false), {.dll = KORV_DLL_PATH});
    EXPECT_FALSE(plain.finding) << plain.finding->text;
    EXPECT_EQ(plain.plays, 4u) << "a DLL hands no entries of the port out";
    const auto disturbed = random::Try(session(true), {});
    ASSERT_TRUE(disturbed.finding);
    EXPECT_EQ(disturbed.finding->kind, "video");
    EXPECT_THAT(disturbed.finding->text, HasSubstr("buffer 'v.1', pixel "));
}

// A texture whose record says another pixel size than it has is loaded otherwise.
TEST(RandomChecksTest, ALoadedTextureIsItsSource) {
    const auto session = [](bool disturbed) {
        random::Steps steps = {Display("tx-delta", 16), {{"do", "start"}}};
        for (const char* name : {"to", "from"}) {
            steps.push_back(
                {{"do", "surface"},
                 {"name", name},
                 {"caps", name == std::string("to") ? "DDSCAPS_TEXTURE"
                                                    : "DDSCAPS_TEXTURE|DDSCAPS_SYSTEMMEMORY"},
                 {"width", 16},
                 {"height", 8},
                 {"format", "565"}});
        }
        steps.push_back({{"do", "write"}, {"surface", "from"}, {"pattern", {{"seed", 3}}}});
        if (disturbed) {
            steps.push_back({{"do", "set"},
                             {"record", "PrivateSurfaceData"},
                             {"surface", "to"},
                             {"fields", {{"PixelSize", 0}}}});
        }
        steps.push_back({{"do", "loadTexture"}, {"surface", "to"}, {"from", "from"}});
        return steps;
    };
    const auto plain = random::Try(session(false), {});
    EXPECT_FALSE(plain.finding) << plain.finding->text;
    const auto disturbed = random::Try(session(true), {});
    ASSERT_TRUE(disturbed.finding);
    EXPECT_EQ(disturbed.finding->kind, "load");
}

// Records of the driver's that somebody has written to, so that it does otherwise than it must.
struct Disturbance {
    random::Step set;
    std::string kind, text; // of the finding
};

// Draws, fills, copies, and makes another surface; `set` comes before any of it, but for one of a
// context, which must be there.
random::Steps Disturbed(const random::Step& set) {
    const auto surface = [](const char* name, const char* caps) {
        return random::Step{
            {"do", "surface"}, {"name", name}, {"caps", caps}, {"width", 32}, {"height", 16}};
    };
    random::Steps steps = {
        Display("permedia2", 16),
        {{"do", "start"}},
        {{"do", "advance"}, {"microseconds", 40000}}, // the first field
        surface("target", "DDSCAPS_OFFSCREENPLAIN|DDSCAPS_3DDEVICE"),
        surface("from", "DDSCAPS_OFFSCREENPLAIN"),
        {{"do", "write"}, {"surface", "from"}, {"pattern", {{"seed", 3}}}},
        {{"do", "context"}, {"name", "c"}, {"target", "target"}},
        {{"do", "blt"}, {"surface", "target"}, {"from", "from"}},
        {{"do", "triangles"}, {"context", "c"}, {"vertices", {{0, 0}, {31, 0}, {0, 15}}}},
        {{"do", "endScene"}, {"context", "c"}},
        surface("other", "DDSCAPS_OFFSCREENPLAIN"),
    };
    if (!set.is_null()) {
        const size_t place = set.contains("context") ? 7 : set.contains("surface") ? 6 : 3;
        steps.insert(steps.begin() + static_cast<ptrdiff_t>(place), set);
    }
    return steps;
}

TEST(RandomChecksTest, WhatADisturbedDriverDoesIsFound) {
    const auto plain = random::Try(Disturbed(nullptr), {});
    EXPECT_FALSE(plain.finding) << plain.finding->text;

    const Disturbance disturbances[] = {
        // A copy without a pitch: all rows lie on the first one.
        {{{"do", "set"},
          {"record", "PrivateSurfaceData"},
          {"surface", "target"},
          {"fields", {{"PPCode", 0}, {"PackedPPCode", 0}}}},
         "blit",
         ": the processor makes 0x"},
        // Triangles with another one: 128 pixels a line, of 16 lines, from byte 128,000 on.
        {{{"do", "set"},
          {"record", "PrivateSurfaceData"},
          {"surface", "target"},
          {"fields", {{"PartialProduct0", 3}}}},
         "untouched",
         "which is of no surface"},
        {{{"do", "set"},
          {"record", "DriverData"},
          {"display", "d"},
          {"fields", {{"Heap.HeapEnd", 5000000}}}},
         "heap",
         "display 'd': "},
        // What a record had is nobody's.
        {{{"do", "set"},
          {"record", "DDRAWI_DDRAWSURFACE_GBL"},
          {"surface", "from"},
          {"fields", {{"dwReserved1", 0}}}},
         "left-over",
         "display 'd': 1 stretches of video memory are left"},
        {{{"do", "set"},
          {"record", "D3DContext"},
          {"context", "c"},
          {"fields", {{"MemHandle", 0}}}},
         "left-over",
         "1 blocks of the mini-VDD's memory are left"},
        {{{"do", "set"}, {"record", "D3DContext"}, {"context", "c"}, {"fields", {{"Magic", 0}}}},
         "result",
         "the result is D3DHAL_CONTEXT_BAD"},
    };
    for (const Disturbance& one : disturbances) {
        const auto found = random::Try(Disturbed(one.set), {});
        ASSERT_TRUE(found.finding) << one.set;
        EXPECT_EQ(found.finding->kind, one.kind) << one.set;
        EXPECT_THAT(found.finding->text, HasSubstr(one.text)) << one.set;
    }
}

// Which DMA buffer is a client's depends on whether the context before it has taken one.
TEST(RandomChecksTest, ARoadThatLeadsElsewhereIsTold) {
    const random::Steps session = {
        Display("permedia2", 16, {{"dmaBuffers", 4}}),
        {{"do", "start"}},
        {{"do", "surface"},
         {"name", "a"},
         {"caps", "DDSCAPS_OFFSCREENPLAIN|DDSCAPS_3DDEVICE"},
         {"width", 32},
         {"height", 16}},
        {{"do", "context"}, {"name", "c"}, {"target", "a"}},
        {{"do", "memory"}, {"name", "buffer"}, {"record", "ServiceDMABuffer"}},
        {{"do", "export"},
         {"name", "KORV_GetDMABuffer"},
         {"arguments", {{"out", "buffer"}}},
         {"save", "index"}},
        // Behind the screen.
        {{"do", "poke"},
         {"at", {{"frameBuffer", "d"}, {"offset", 320 * 200 * 2}}},
         {"words", random::Step::array({{{"value", "index"}}})}},
    };
    const auto differs = random::Try(session, {});
    ASSERT_TRUE(differs.finding);
    EXPECT_EQ(differs.finding->kind, "differs through the FIFO");
    EXPECT_EQ(differs.finding->text, "through the FIFO: surface 'a' is another at the end");
    EXPECT_EQ(differs.plays, 2u);
}

TEST(RandomChecksTest, ADllThatDoesOtherwiseIsTold) {
    const random::Steps session = {
        Display("mx", 16, {{"registry", {{"Direct3DHAL.NoDMA", "1"}}}}),
        {{"do", "start"}},
        {{"do", "surface"},
         {"name", "a"},
         {"caps", "DDSCAPS_OFFSCREENPLAIN|DDSCAPS_3DDEVICE"},
         {"width", 64},
         {"height", 64}},
        {{"do", "context"}, {"name", "c"}, {"target", "a"}},
        {{"do", "triangles"}, {"context", "c"}, {"vertices", {{0, 0}, {50, 3}, {9, 60}}}},
    };
    const auto same = random::Try(session, {.dll = KORV_DLL_PATH});
    EXPECT_FALSE(same.finding) << same.finding->text;

    // One that knows the setting by another name.
    const std::string name = "Direct3DHAL.NoDMA";
    const TemporaryFolder folder;
    test::DllBytes dll;
    size_t names = 0;
    for (size_t at = 0; (at = dll.bytes.find(name, at)) != std::string::npos; ++names) {
        dll.bytes[at] = '_';
    }
    ASSERT_NE(names, 0u);
    const auto differs = random::Try(session, {.dll = folder.Write("KORV32.dll", dll.bytes)});
    ASSERT_TRUE(differs.finding);
    EXPECT_EQ(differs.finding->kind, "differs with the DLL");
    EXPECT_EQ(differs.finding->text, "with the DLL: other words or writes");
    EXPECT_EQ(differs.plays, 5u);
}

} // namespace
} // namespace korv
