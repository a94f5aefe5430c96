// The visibility question through driver and board: would any pixel of these triangles pass the
// depth test? Each answer is held against a picture of the same triangles over the same depth
// buffer, and against a plain computation of planes and pixels.
#include "host/d3d/visibility.h"
#include "host/display/machine.h"
#include "host/picture.h"
#include "tests/support_host/surfaces.h"
#include "tests/system/dice.h"
#include "tests/system/stage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <random>

namespace {

using namespace test;
using Corners = std::vector<D3DTLVERTEX>; // three of each triangle
using Bytes = std::vector<uint8_t>;

constexpr uint32_t kViewWidth = 128,
                   kViewHeight = 96;     // of the target, which is smaller than the screen
constexpr uint32_t kMarker = 0xFFFF00FF; // a colour that no scene has

D3DTLVERTEX Corner(float x, float y, float z, uint32_t color = kMarker) {
    D3DTLVERTEX vertex{};
    vertex.sx = x;
    vertex.sy = y;
    vertex.sz = z;
    vertex.rhw = 1;
    vertex.color = color;
    vertex.specular = 0xFF000000;
    return vertex;
}

// Two triangles at one depth.
Corners Rectangle(float left, float top, float right, float bottom, float z,
                  uint32_t color = kMarker) {
    const D3DTLVERTEX a = Corner(left, top, z, color), b = Corner(right, top, z, color),
                      c = Corner(right, bottom, z, color), d = Corner(left, bottom, z, color);
    return {a, b, c, a, c, d};
}

host::DisplayConfig ViewConfig(const TestBoard& board, const Carrier& carrier,
                               const board::Timing& timing) {
    host::DisplayConfig config = ConfigOf(board, carrier, timing);
    config.width = 320;
    config.height = 240;
    return config;
}

// A target with a depth buffer and a device.
class View {
  public:
    explicit View(host::DirectDraw& directDraw)
        : target(directDraw.CreateTarget(kViewWidth, kViewHeight)),
          depth(directDraw.CreateZBuffer(kViewWidth, kViewHeight)) {
        Fill(target, 0x1234);
        Fill(depth, 0xFFFFFFFF);
        device = std::make_unique<host::Device3D>(directDraw, target, &depth);
        for (const auto& [type, value] :
             std::initializer_list<std::pair<D3DRENDERSTATETYPE, uint32_t>>{
                 {D3DRENDERSTATE_ZENABLE, 1},
                 {D3DRENDERSTATE_ZWRITEENABLE, 1},
                 {D3DRENDERSTATE_ZFUNC, D3DCMP_LESSEQUAL},
                 {D3DRENDERSTATE_CULLMODE, D3DCULL_NONE},
                 {D3DRENDERSTATE_SHADEMODE, D3DSHADE_FLAT}}) {
            State(type, value);
        }
        device->BeginScene();
    }
    void State(D3DRENDERSTATETYPE type, uint32_t value) { device->SetState(type, value); }
    void Draw(const Corners& corners) { EXPECT_EQ(device->TriangleList(corners), DD_OK); }
    // Everything drawn so far is in memory, and the next scene begins.
    void Finish() {
        device->Finish();
        device->BeginScene();
    }
    // Pixels and depths as they are in memory.
    Bytes Memory() {
        Bytes bytes;
        ForEachRow([&](uint8_t* row, size_t size) { bytes.insert(bytes.end(), row, row + size); });
        return bytes;
    }
    void Restore(const Bytes& memory) {
        const uint8_t* from = memory.data();
        ForEachRow([&](uint8_t* row, size_t size) {
            std::copy_n(from, size, row);
            from += size;
        });
    }
    // 1 if any pixel of the triangles would pass, else 0.
    uint32_t Ask(const Corners& corners) {
        std::vector<D3DTRIANGLE> records;
        for (size_t i = 0; i + 2 < corners.size(); i += 3) {
            records.push_back(
                {static_cast<WORD>(i), static_cast<WORD>(i + 1), static_cast<WORD>(i + 2), 0});
        }
        return host::AskVisibility(*device, corners, records);
    }

    host::Surface &target, &depth;
    std::unique_ptr<host::Device3D> device;

  private:
    // Between the lines of a surface others may lie.
    template <class Each>
    void ForEachRow(const Each& each) {
        for (host::Surface* surface : {&target, &depth}) {
            for (uint32_t y = 0; y < surface->Height(); ++y) {
                each(surface->Row(y), surface->Width() * surface->Bits() / 8);
            }
        }
    }
};

class VisibilityMachine : public StartedDisplay {
  public:
    explicit VisibilityMachine(const TestBoard& board, const Carrier& carrier = {},
                               const board::Timing& timing = {})
        : StartedDisplay(ViewConfig(board, carrier, timing)), kind(board), view(directDraw) {}
    uint32_t Ask(const Corners& corners) { return view.Ask(corners); }
    // Asks, and sees that nothing was drawn by it.
    uint32_t AskUntouched(const Corners& corners) {
        view.Finish();
        const Bytes before = view.Memory();
        const uint32_t answer = Ask(corners);
        EXPECT_TRUE(view.Memory() == before) << "the question has left marks";
        return answer;
    }
    // Whether the triangles change the picture when they are drawn. Puts everything back.
    bool Shows(const Corners& corners) {
        view.Finish();
        const Bytes before = view.Memory();
        view.Draw(corners);
        view.Finish();
        const bool shows = view.Memory() != before;
        view.Restore(before);
        return shows;
    }
    void ExpectHealthy() {
        view.Finish();
        EXPECT_EQ(Faults(), "");
    }
    // What depth 1.0 is in the buffer: the setup unit of the Glint family fills 32 bits.
    double FarthestDepth() const {
        return kind.delta && !kind.IsPermedia() ? 4294967295.0 : 65535.0;
    }

    TestBoard kind;
    View view;
};

// What a plain computation says. It knows triangles as they were given, not where a chip's rows and
// columns lie, so it keeps away from edges and near depths.
enum class Plainly { Hidden, Visible, Open };

struct Range {
    double low, high;
};

// 1 passes for certain, -1 fails for certain, 0 either.
int CertainlyPasses(uint32_t function, Range fresh, double stored) {
    const int order = fresh.high < stored ? -1 : fresh.low > stored ? 1 : 0;
    switch (function) {
    case D3DCMP_NEVER:
        return -1;
    case D3DCMP_LESS:
    case D3DCMP_LESSEQUAL:
        return -order;
    case D3DCMP_GREATER:
    case D3DCMP_GREATEREQUAL:
        return order;
    case D3DCMP_EQUAL:
        return order != 0 ? -1 : 0;
    case D3DCMP_NOTEQUAL:
        return order != 0 ? 1 : 0;
    default:
        return 1;
    }
}

Plainly PlainAnswer(const D3DTLVERTEX* v, uint32_t cull, uint32_t function,
                    const std::vector<uint32_t>& stored, double farthest) {
    constexpr double kEdge = 1.5; // pixels that a chip's edge may lie off
    constexpr double kThin = 6;   // pixels; planes of thinner triangles mean little
    const double x[] = {v[0].sx, v[1].sx, v[2].sx}, y[] = {v[0].sy, v[1].sy, v[2].sy},
                 z[] = {v[0].sz, v[1].sz, v[2].sz};
    // Positive for clockwise on a screen whose rows grow downwards.
    const double area = (x[1] - x[0]) * (y[2] - y[0]) - (y[1] - y[0]) * (x[2] - x[0]);
    double longest = 0;
    for (int i = 0; i < 3; ++i) {
        const int j = (i + 1) % 3;
        longest = std::max(longest, std::hypot(x[j] - x[i], y[j] - y[i]));
    }
    const bool thin = longest == 0 || std::fabs(area) / longest < kThin;
    if (!thin && ((cull == D3DCULL_CW && area > 0) || (cull == D3DCULL_CCW && area < 0))) {
        return Plainly::Hidden;
    }
    const int left = std::max(0, int(std::floor(*std::min_element(x, x + 3) - kEdge)));
    const int right =
        std::min(int(kViewWidth) - 1, int(std::ceil(*std::max_element(x, x + 3) + kEdge)));
    const int top = std::max(0, int(std::floor(*std::min_element(y, y + 3) - kEdge)));
    const int bottom =
        std::min(int(kViewHeight) - 1, int(std::ceil(*std::max_element(y, y + 3) + kEdge)));
    if (left > right || top > bottom) {
        return Plainly::Hidden;
    }
    if (thin) {
        return Plainly::Open;
    }
    const double dzdx = ((z[1] - z[0]) * (y[2] - y[0]) - (z[2] - z[0]) * (y[1] - y[0])) / area;
    const double dzdy = ((z[2] - z[0]) * (x[1] - x[0]) - (z[1] - z[0]) * (x[2] - x[0])) / area;
    const double slack = 2 * (std::fabs(dzdx) + std::fabs(dzdy)) + 1e-3;
    bool hidden = true;
    for (int row = top; row <= bottom; ++row) {
        for (int column = left; column <= right; ++column) {
            const double px = column + 0.5, py = row + 0.5;
            double inside = longest; // distance to the nearest edge, negative outside
            for (int i = 0; i < 3; ++i) {
                const int j = (i + 1) % 3;
                const double cross = (x[j] - x[i]) * (py - y[i]) - (y[j] - y[i]) * (px - x[i]);
                const double distance = cross / std::hypot(x[j] - x[i], y[j] - y[i]);
                inside = std::min(inside, area > 0 ? distance : -distance);
            }
            if (inside < -kEdge) {
                continue;
            }
            const double depth = z[0] + dzdx * (px - x[0]) + dzdy * (py - y[0]);
            const int passes =
                CertainlyPasses(function, {depth - slack, depth + slack},
                                stored[size_t(row) * kViewWidth + size_t(column)] / farthest);
            if (passes > 0 && inside > kEdge) {
                return Plainly::Visible;
            }
            hidden = hidden && passes < 0;
        }
    }
    return hidden ? Plainly::Hidden : Plainly::Open;
}

// A wall over the left half, a slope, and triangles in front of the open right half.
void DrawScene(View& view, Dice& dice) {
    view.Draw(Rectangle(0, 0, 64, kViewHeight, 0.3f, 0xFF306090));
    view.Draw({Corner(50, 90, 0.2f, 0xFF80A020), Corner(120, 80, 0.9f), Corner(100, 95, 0.5f)});
    for (int i = 0; i < 6; ++i) {
        const float x = dice.Between(60, 100), y = dice.Between(0, 60),
                    z = dice.Between(0.2f, 0.7f);
        view.Draw({Corner(x, y, z, 0xFF20C040), Corner(x + 25, y + 5, z, 0),
                   Corner(x + 8, y + 30, z, 0)});
    }
}

// A triangle of one of many kinds, all of it inside the target.
Corners RandomTriangle(Dice& dice) {
    const auto anywhere = [&] {
        return Corner(dice.Between(0, kViewWidth), dice.Between(0, kViewHeight),
                      dice.Between(0.02f, 0.98f));
    };
    // Up to `reach` pixels from `from`, at its depth.
    const auto near = [&](const D3DTLVERTEX& from, float reach) {
        return Corner(std::clamp(from.sx + dice.Between(-reach, reach), 0.0f, float(kViewWidth)),
                      std::clamp(from.sy + dice.Between(-reach, reach), 0.0f, float(kViewHeight)),
                      from.sz);
    };
    const D3DTLVERTEX a = anywhere();
    switch (dice.Below(8)) {
    case 0: // large, at all depths
        return {a, anywhere(), anywhere()};
    case 1: // thinner than a pixel
        return {a, anywhere(), near(a, 0.7f)};
    case 2: // smaller than a pixel
        return {a, near(a, 0.6f), near(a, 0.6f)};
    case 3: { // of one row
        D3DTLVERTEX b = near(a, 40), c = near(a, 40);
        b.sy = c.sy = a.sy;
        return {a, b, c};
    }
    case 4: // no triangle at all
        return {a, a, near(a, 30)};
    case 5: { // behind the wall
        const auto behind = [&] {
            return Corner(dice.Between(2, 60), dice.Between(2, kViewHeight - 2.0f),
                          dice.Between(0.35f, 0.95f));
        };
        return {behind(), behind(), behind()};
    }
    default:
        return {a, near(a, 20), near(a, 20)};
    }
}

struct Tally {
    int visible = 0, hidden = 0;           // answers
    int plainVisible = 0, plainHidden = 0; // of them, those that the plain computation is sure of
};

// Asks about random batches in random states.
Tally AskAtRandom(VisibilityMachine& machine, uint32_t questions, uint32_t seed) {
    Dice dice(seed);
    View& view = machine.view;
    DrawScene(view, dice);
    Tally tally;
    uint32_t cull = D3DCULL_NONE, function = D3DCMP_LESSEQUAL;
    for (uint32_t i = 0; i < questions; ++i) {
        if (i % 8 == 7) {
            cull = D3DCULL_NONE + dice.Below(3);
            function = dice.Below(3) != 0 ? D3DCMP_LESSEQUAL : D3DCMP_NEVER + dice.Below(8);
            view.State(D3DRENDERSTATE_CULLMODE, cull);
            view.State(D3DRENDERSTATE_ZFUNC, function);
            view.State(D3DRENDERSTATE_ZWRITEENABLE, dice.Below(2));
        }
        view.Finish();
        const std::vector<uint32_t> stored = host::ReadDepth(view.depth);
        Corners corners;
        Plainly plain = Plainly::Hidden;
        for (uint32_t triangles = 1 + dice.Below(3); triangles != 0; --triangles) {
            const Corners more = RandomTriangle(dice);
            corners.insert(corners.end(), more.begin(), more.end());
            const Plainly one =
                PlainAnswer(more.data(), cull, function, stored, machine.FarthestDepth());
            plain = one == Plainly::Visible || plain == Plainly::Visible ? Plainly::Visible
                    : one == Plainly::Open                               ? Plainly::Open
                                                                         : plain;
        }
        const uint32_t answer = machine.AskUntouched(corners);
        EXPECT_LE(answer, 1u);
        EXPECT_EQ(answer != 0, machine.Shows(corners)) << "question " << i;
        if (plain != Plainly::Open) {
            EXPECT_EQ(answer != 0, plain == Plainly::Visible) << "question " << i;
            ++(plain == Plainly::Visible ? tally.plainVisible : tally.plainHidden);
        }
        ++(answer != 0 ? tally.visible : tally.hidden);
        if (testing::Test::HasFailure()) {
            break;
        }
    }
    machine.ExpectHealthy();
    return tally;
}

class Visibility : public testing::TestWithParam<TestBoard> {};

INSTANTIATE_TEST_SUITE_P(Chips, Visibility, testing::ValuesIn(kTestBoards),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_P(Visibility, AnswersAreWhatPicturesOfTheSameTrianglesShow) {
    VisibilityMachine machine(GetParam());
    const Tally tally = AskAtRandom(machine, 300, 41);
    EXPECT_GT(tally.visible, 90);
    EXPECT_GT(tally.hidden, 60);
    EXPECT_GT(tally.plainVisible, 40);
    EXPECT_GT(tally.plainHidden, 20);
}

TEST_P(Visibility, AnswersAreTheSameByEveryRoad) {
    for (const Carrier& carrier : {Carrier{true, 8}, Carrier{false, 2}, Carrier{false, 32}}) {
        SCOPED_TRACE(testing::Message()
                     << "fifo " << carrier.fifo << ", " << carrier.subBuffers << " sub-buffers");
        VisibilityMachine machine(GetParam(), carrier);
        const Tally tally = AskAtRandom(machine, 60, 42);
        EXPECT_GT(tally.visible, 15);
        EXPECT_GT(tally.hidden, 8);
    }
}

TEST_P(Visibility, ABoardThatMisbehavesGivesTheSameAnswers) {
    struct Trouble {
        board::Timing timing;
        bool dmaThread = false;
    };
    constexpr Trouble kTroubles[] = {
        {{.fifoDepth = 16, .fifoDrainPerTick = 1}},
        {{.fifoDepth = 64, .fifoDrainPerTick = 3, .fifoReportLag = 3}},
        {{.fifoDepth = 64, .fifoDrainPerTick = 3, .fifoReportCap = 16}},
        {{.strayOutputWords = 1}},
        {{.strayOutputWords = 4}},
        {{.dmaWordsPerTick = 3}},
        {{.dmaWordsPerTick = 7, .interruptLatency = 40}},
        {{}, true},
        {{.fifoDepth = 20,
          .fifoDrainPerTick = 1,
          .fifoReportCap = 17,
          .dmaWordsPerTick = 2,
          .interruptLatency = 15,
          .strayOutputWords = 2}},
    };
    for (const Trouble& trouble : kTroubles) {
        for (const bool fifo : {true, false}) {
            const Carrier carrier{fifo, 8, trouble.dmaThread};
            // Renderers for a setup unit wait for fewer entries than they write. On a thread of its
            // own the chip may be that far behind.
            if (carrier.fifo && carrier.dmaThread && GetParam().delta) {
                continue;
            }
            SCOPED_TRACE(testing::Message()
                         << "trouble " << &trouble - kTroubles << ", fifo " << carrier.fifo << ", "
                         << carrier.subBuffers << " sub-buffers");
            VisibilityMachine machine(GetParam(), carrier, trouble.timing);
            const Tally tally = AskAtRandom(machine, 10, 43);
            EXPECT_GT(tally.visible, 2);
            EXPECT_GT(tally.hidden, 1);
        }
    }
}

TEST_P(Visibility, WhollyHiddenPartlyHiddenAndWhollyVisible) {
    VisibilityMachine machine(GetParam());
    machine.view.Draw(Rectangle(20, 20, 80, 60, 0.5f, 0xFF306090));
    EXPECT_EQ(machine.AskUntouched(Rectangle(22, 22, 78, 58, 0.6f)), 0u);
    EXPECT_EQ(machine.AskUntouched(Rectangle(20, 20, 80, 60, 0.6f)), 0u);
    EXPECT_EQ(machine.AskUntouched(Rectangle(22, 22, 78, 61, 0.6f)), 1u); // one row looks out
    EXPECT_EQ(machine.AskUntouched(Rectangle(22, 22, 81, 58, 0.6f)), 1u); // one column
    EXPECT_EQ(machine.AskUntouched(Rectangle(90, 70, 120, 90, 0.6f)), 1u);
    EXPECT_EQ(machine.AskUntouched(Rectangle(22, 22, 78, 58, 0.4f)), 1u);
    // A slope that comes through the wall at its far end.
    EXPECT_EQ(
        machine.AskUntouched({Corner(22, 22, 0.9f), Corner(78, 40, 0.3f), Corner(22, 58, 0.9f)}),
        1u);
    machine.ExpectHealthy();
}

TEST_P(Visibility, OneHiddenAndOneVisibleTriangleAreVisibleInEitherOrder) {
    VisibilityMachine machine(GetParam());
    machine.view.Draw(Rectangle(0, 0, 64, kViewHeight, 0.5f, 0xFF306090));
    const Corners hidden = Rectangle(10, 10, 40, 40, 0.8f), open = Rectangle(80, 10, 81, 11, 0.8f);
    Corners both = hidden;
    both.insert(both.end(), open.begin(), open.end());
    EXPECT_EQ(machine.Ask(both), 1u);
    std::rotate(both.begin(), both.begin() + 6, both.end());
    EXPECT_EQ(machine.Ask(both), 1u);
    EXPECT_EQ(machine.Ask(hidden), 0u) << "each question starts afresh";
}

TEST_P(Visibility, OfATriangleJustDrawnGoesByTheComparison) {
    VisibilityMachine machine(GetParam());
    const Corners triangle = {Corner(10.3f, 9.2f, 0.25f), Corner(90.8f, 31.4f, 0.75f),
                              Corner(27.6f, 80.1f, 0.5f)};
    machine.view.Draw(triangle);
    EXPECT_EQ(machine.AskUntouched(triangle), 1u); // less or equal
    for (const auto& [function, visible] : {std::pair{D3DCMP_LESS, 0u},
                                            {D3DCMP_EQUAL, 1u},
                                            {D3DCMP_GREATER, 0u},
                                            {D3DCMP_GREATEREQUAL, 1u},
                                            {D3DCMP_NOTEQUAL, 0u},
                                            {D3DCMP_NEVER, 0u},
                                            {D3DCMP_ALWAYS, 1u}}) {
        machine.view.State(D3DRENDERSTATE_ZFUNC, function);
        EXPECT_EQ(machine.AskUntouched(triangle), visible) << function;
    }
}

TEST_P(Visibility, WordsOfTheSceneThatWaitComeBeforeTheQuestion) {
    for (const Carrier& carrier : {Carrier{true, 8}, Carrier{false, 2}, Carrier{false, 8}}) {
        VisibilityMachine machine(GetParam(), carrier, {.dmaWordsPerTick = 3});
        const Corners asked = Rectangle(22, 22, 58, 58, 0.6f);
        EXPECT_EQ(machine.Ask(asked), 1u);
        machine.view.Draw(Rectangle(20, 20, 60, 60, 0.5f, 0xFF306090)); // the scene is not over
        EXPECT_EQ(machine.Ask(asked), 0u);
    }
}

TEST_P(Visibility, WithTheDepthTestOffEveryPixelOfTheTargetCounts) {
    VisibilityMachine machine(GetParam());
    machine.view.Draw(Rectangle(0, 0, kViewWidth, kViewHeight, 0.1f, 0xFF306090));
    const Corners behind = Rectangle(22, 22, 58, 58, 0.9f);
    EXPECT_EQ(machine.Ask(behind), 0u);
    machine.view.State(D3DRENDERSTATE_ZENABLE, 0);
    EXPECT_EQ(machine.AskUntouched(behind), 1u);
    EXPECT_EQ(machine.AskUntouched(Rectangle(kViewWidth + 2, 2, kViewWidth + 40, 40, 0.9f)), 0u);
}

TEST_P(Visibility, PixelsOfTheScreenOutsideTheTargetDoNotCount) {
    VisibilityMachine machine(GetParam());
    // Nothing is drawn, so everything inside is visible. A picture would show them, too, on
    // whatever memory comes behind the target's line.
    EXPECT_EQ(machine.AskUntouched(Rectangle(kViewWidth, 10, kViewWidth + 50, 40, 0.5f)), 0u);
    EXPECT_EQ(machine.AskUntouched(Rectangle(10, kViewHeight, 40, kViewHeight + 50, 0.5f)), 0u);
    EXPECT_EQ(machine.AskUntouched(Rectangle(kViewWidth - 1, 10, kViewWidth + 50, 40, 0.5f)), 1u);
    EXPECT_EQ(machine.AskUntouched(Rectangle(10, kViewHeight - 1, 40, kViewHeight + 50, 0.5f)), 1u);
    if (machine.kind.HasSetupUnit()) { // else corners are always on the screen
        EXPECT_EQ(machine.AskUntouched(Rectangle(-60, 10, 0, 40, 0.5f)), 0u);
        EXPECT_EQ(machine.AskUntouched(Rectangle(10, -60, 40, 0, 0.5f)), 0u);
        EXPECT_EQ(machine.AskUntouched(Rectangle(-60, -60, 1, 1, 0.5f)), 1u);
    }
    machine.ExpectHealthy();
}

TEST_P(Visibility, CulledTrianglesAreNotVisible) {
    VisibilityMachine machine(GetParam());
    const Corners clockwise = {Corner(10, 10, 0.5f), Corner(60, 10, 0.5f), Corner(10, 60, 0.5f)};
    const Corners counter = {clockwise[0], clockwise[2], clockwise[1]};
    for (const auto& [cull, first, second] :
         {std::tuple{D3DCULL_NONE, 1u, 1u}, {D3DCULL_CW, 0u, 1u}, {D3DCULL_CCW, 1u, 0u}}) {
        machine.view.State(D3DRENDERSTATE_CULLMODE, cull);
        EXPECT_EQ(machine.Ask(clockwise), first) << cull;
        EXPECT_EQ(machine.Ask(counter), second) << cull;
    }
}

TEST_P(Visibility, WithoutTrianglesTheSetupUnitsAnswerIsYesAndTheOthersNo) {
    VisibilityMachine machine(GetParam());
    EXPECT_EQ(machine.AskUntouched({}), machine.kind.HasSetupUnit() ? 1u : 0u);
    machine.ExpectHealthy();
}

TEST_P(Visibility, ThinTrianglesThatMissEveryPixelAreNotVisible) {
    VisibilityMachine machine(GetParam());
    // Between two columns, and smaller than a pixel and off its middle.
    EXPECT_EQ(
        machine.Ask({Corner(20.55f, 10, 0.5f), Corner(20.8f, 10, 0.5f), Corner(20.6f, 60, 0.5f)}),
        0u);
    EXPECT_EQ(machine.Ask({Corner(30.6f, 20.6f, 0.5f), Corner(30.9f, 20.6f, 0.5f),
                           Corner(30.6f, 20.9f, 0.5f)}),
              0u);
    // Of one row.
    EXPECT_EQ(machine.Ask({Corner(10, 20, 0.5f), Corner(60, 20, 0.5f), Corner(30, 20, 0.5f)}), 0u);
    EXPECT_EQ(
        machine.Ask({Corner(20.4f, 10, 0.5f), Corner(20.8f, 10, 0.5f), Corner(20.4f, 60, 0.5f)}),
        1u);
}

TEST_P(Visibility, OfAScreenDoorThatLetsNothingThroughIsStillThere) {
    // The question draws without stipple, so a triangle that its alpha leaves out altogether
    // counts.
    VisibilityMachine machine(GetParam());
    machine.view.State(D3DRENDERSTATE_STIPPLEDALPHA, 1);
    Corners triangle = {Corner(10, 10, 0.5f), Corner(60, 10, 0.5f), Corner(10, 60, 0.5f)};
    for (D3DTLVERTEX& corner : triangle) {
        corner.color = 0x00FFFFFF;
    }
    EXPECT_FALSE(machine.Shows(triangle));
    EXPECT_EQ(machine.AskUntouched(triangle), 1u);
}

TEST_P(Visibility, QuestionsAmidASceneLeaveItsPictureAsItIs) {
    Bytes pictures[2];
    for (const bool asks : {false, true}) {
        VisibilityMachine machine(GetParam());
        Dice dice(44), questions(45);
        for (int part = 0; part < 4; ++part) {
            machine.view.State(D3DRENDERSTATE_ZWRITEENABLE, part != 2);
            machine.view.State(D3DRENDERSTATE_SHADEMODE,
                               part % 2 != 0 ? D3DSHADE_GOURAUD : D3DSHADE_FLAT);
            machine.view.State(D3DRENDERSTATE_BLENDENABLE, part == 3);
            machine.view.State(D3DRENDERSTATE_SRCBLEND, D3DBLEND_SRCALPHA);
            machine.view.State(D3DRENDERSTATE_DESTBLEND, D3DBLEND_INVSRCALPHA);
            DrawScene(machine.view, dice);
            for (int i = 0; asks && i < 10; ++i) {
                machine.Ask(RandomTriangle(questions));
            }
            DrawScene(machine.view, dice);
        }
        machine.ExpectHealthy();
        pictures[asks] = machine.view.Memory();
    }
    EXPECT_TRUE(pictures[0] == pictures[1]);
}

TEST_P(Visibility, TwoDevicesAskInTurnsEachOfItsOwnDepthBuffer) {
    for (const bool fifo : {false, true}) {
        VisibilityMachine machine(GetParam(), {fifo, 8});
        View other(machine.directDraw);
        machine.view.Draw(Rectangle(0, 0, 64, kViewHeight, 0.5f, 0xFF306090));
        other.Draw(Rectangle(64, 0, kViewWidth, kViewHeight, 0.5f, 0xFF903060));
        const Corners left = Rectangle(10, 10, 50, 50, 0.7f),
                      right = Rectangle(80, 10, 120, 50, 0.7f);
        for (int round = 0; round < 3; ++round) {
            EXPECT_EQ(machine.Ask(left), 0u);
            EXPECT_EQ(other.Ask(left), 1u);
            EXPECT_EQ(machine.Ask(right), 1u);
            EXPECT_EQ(other.Ask(right), 0u);
        }
        // And both go on drawing.
        machine.view.Draw(right);
        other.Draw(left);
        machine.view.Finish();
        other.Finish();
        EXPECT_EQ(machine.view.target.Pixel(100, 30) & 0x7FFF, 0x7C1Fu);
        EXPECT_EQ(other.target.Pixel(30, 30) & 0x7FFF, 0x7C1Fu);
        machine.ExpectHealthy();
    }
}

TEST_P(Visibility, TheRenderStateItselfAnswersVisibleAndDrawsNothing) {
    VisibilityMachine machine(GetParam());
    machine.view.Draw(Rectangle(0, 0, kViewWidth, kViewHeight, 0.1f, 0xFF306090));
    machine.view.Finish();
    const Bytes before = machine.view.Memory();
    machine.view.State(D3DRENDERSTATE_ZVISIBLE, 1);
    machine.view.device->status = D3DSTATUS_ZNOTVISIBLE;
    const Corners hidden = Rectangle(22, 22, 58, 58, 0.9f);
    machine.view.Draw(hidden);
    EXPECT_EQ(machine.view.device->status & D3DSTATUS_ZNOTVISIBLE, 0u);
    machine.view.Finish();
    EXPECT_TRUE(machine.view.Memory() == before);
    EXPECT_EQ(machine.Ask(hidden), 0u) << "asked by name, the chip knows better";
}

// On boards whose driver draws textures and knows their keys.
class KeyedVisibility : public Visibility {};

INSTANTIATE_TEST_SUITE_P(Chips, KeyedVisibility,
                         testing::Values(TestBoard{"Permedia", DevicePermedia, false},
                                         TestBoard{"PermediaWithDelta", DevicePermedia, true},
                                         TestBoard{"Permedia2", DevicePermedia2, true},
                                         TestBoard{"MXWithDelta", DeviceMX, true}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_P(KeyedVisibility, ThroughAKeyedTextureTheCoordinatesOfAnEarlierPrimitiveDecide) {
    // The question sends no coordinates, and the chip goes on leaving out what its texels say.
    VisibilityMachine machine(GetParam());
    host::DirectDraw& directDraw = machine.directDraw;
    constexpr uint32_t kKey = 0x83E0, kOther = 0xFFFF;
    host::Surface& texture = directDraw.CreateTexture(32, 32, host::Format1555());
    host::Surface& source = directDraw.CreateSystem(32, 32, host::Format1555(), DDSCAPS_TEXTURE);
    for (uint32_t y = 0; y < 32; ++y) {
        for (uint32_t x = 0; x < 32; ++x) {
            source.SetPixel(x, y, x < 16 ? kKey : kOther);
        }
    }
    directDraw.SetSourceKey(texture, {kKey, kKey});
    directDraw.LoadTexture(texture, source);
    View& view = machine.view;
    view.State(D3DRENDERSTATE_TEXTUREHANDLE, view.device->CreateTexture(texture));
    view.State(D3DRENDERSTATE_TEXTUREMAPBLEND, D3DTBLEND_MODULATE);
    view.State(D3DRENDERSTATE_TEXTUREMAG, D3DFILTER_NEAREST);
    view.State(D3DRENDERSTATE_TEXTUREMIN, D3DFILTER_NEAREST);
    const auto textured = [](float u) {
        Corners corners = Rectangle(20, 20, 60, 60, 0.5f);
        for (D3DTLVERTEX& corner : corners) {
            corner.tu = u;
            corner.tv = 0.5f;
        }
        return corners;
    };
    EXPECT_TRUE(machine.Shows(textured(0.75f)));
    EXPECT_FALSE(machine.Shows(textured(0.25f)));
    EXPECT_EQ(machine.AskUntouched(textured(0.75f)), 0u);
    view.State(D3DRENDERSTATE_TEXTUREHANDLE, 0);
    EXPECT_EQ(machine.AskUntouched(textured(0.25f)), 1u);
    machine.ExpectHealthy();
}

} // namespace
