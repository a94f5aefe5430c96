// A client of the exported services beside Direct3D and the screen's own drawing: whoever draws
// when, each one's picture and each one's registers are as if it had the chip alone.
#include "chip/register_table.h"
#include "driver/core/tags.h"
#include "host/display/machine.h"
#include "host/inspect/unwaited.h"
#include "host/win32/dci.h"
#include "host/win32/system.h"
#include "tests/system/client_stage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <utility>

namespace {

using namespace test;
using Order = std::vector<Party>;

constexpr uint32_t kBatches = 5; // of each party

struct Result {
    std::vector<uint32_t> pixels;
    std::vector<uint32_t> registers[kParties];
};

Result Play(const TestBoard& board, const Roads& roads, const Order& order,
            const board::Timing& timing = {}) {
    ClientStage stage(board, roads, timing);
    EXPECT_EQ(stage.Client().ByDma(), !roads.clientByFifo);
    for (const Party party : order) {
        stage.Draw(party);
    }
    stage.Finish();
    Result result;
    result.pixels = stage.Pixels();
    for (int party = 0; party < kParties; ++party) {
        result.registers[party] = stage.Registers(static_cast<Party>(party));
    }
    EXPECT_EQ(stage.Faults(), "");
    return result;
}

Order Alone(Party party) {
    return Order(kBatches, party);
}

// Each party's batches, the parties mixed by `seed`.
Order Mixed(uint32_t seed) {
    Order order;
    for (int party = 0; party < kParties; ++party) {
        order.insert(order.end(), kBatches, static_cast<Party>(party));
    }
    std::mt19937 dice(seed);
    for (size_t i = order.size(); i > 1; --i) {
        std::swap(order[i - 1], order[dice() % i]);
    }
    return order;
}

Party OwnerOf(size_t pixel) {
    const bool right = pixel % ClientStage::kWidth >= ClientStage::kWidth / 2,
               lower = pixel / ClientStage::kWidth >= ClientStage::kHeight / 2;
    return static_cast<Party>(2 * lower + right);
}

// Pixels of a picture that lie outside the party's quarter and are not black.
size_t Strays(const std::vector<uint32_t>& pixels, Party party) {
    size_t strays = 0;
    for (size_t i = 0; i < pixels.size(); ++i) {
        strays += OwnerOf(i) != party && pixels[i] != 0;
    }
    return strays;
}

class ClientBesideDirect3D : public testing::TestWithParam<std::tuple<TestBoard, Roads>> {
  protected:
    const TestBoard& Board() const { return std::get<0>(GetParam()); }
    const ::Roads& TheRoads() const { return std::get<1>(GetParam()); }
};

std::string BoardAndRoads(const testing::TestParamInfo<std::tuple<TestBoard, Roads>>& info) {
    return std::string(std::get<0>(info.param).name) + std::get<1>(info.param).name;
}

INSTANTIATE_TEST_SUITE_P(Chips, ClientBesideDirect3D,
                         testing::Combine(testing::ValuesIn(kTestBoards),
                                          testing::ValuesIn(kRoads)),
                         BoardAndRoads);

TEST_P(ClientBesideDirect3D, ThePictureIsTheUnionOfEachAlone) {
    std::vector<Result> alone;
    for (int party = 0; party < kParties; ++party) {
        alone.push_back(Play(Board(), TheRoads(), Alone(static_cast<Party>(party))));
        EXPECT_EQ(Strays(alone[party].pixels, static_cast<Party>(party)), 0u) << party;
    }
    std::vector<uint32_t> expected;
    size_t drawn[kParties] = {};
    for (size_t i = 0; i < alone[0].pixels.size(); ++i) {
        const Party owner = OwnerOf(i);
        expected.push_back(alone[owner].pixels[i]);
        drawn[owner] += expected.back() != 0;
    }
    for (const size_t pixels : drawn) {
        EXPECT_GT(pixels, expected.size() / 4 / 8);
    }
    for (const uint32_t seed : {1u, 2u, 3u}) {
        const Result both = Play(Board(), TheRoads(), Mixed(seed));
        EXPECT_TRUE(both.pixels == expected) << "order " << seed;
        // What the two-dimensional context is left with depends on who switched when; the others'
        // registers are nobody else's.
        for (const Party party : {FirstDevice, SecondDevice, TheClient}) {
            EXPECT_EQ(both.registers[party], alone[party].registers[party])
                << "order " << seed << ", party " << party;
        }
    }
}

const Trouble kClientTroubles[] = {
    {"a small FIFO, slowly drained", {.fifoDepth = 16, .fifoDrainPerTick = 1}},
    {"slow DMA and a late interrupt", {.dmaWordsPerTick = 7, .interruptLatency = 40}},
    {"stray words in the output FIFO", {.dmaWordsPerTick = 3, .strayOutputWords = 2}},
    {"DMA on a thread of its own", {}, true},
};

class ClientOnATroubledBoard : public ClientBesideDirect3D {};

INSTANTIATE_TEST_SUITE_P(Chips, ClientOnATroubledBoard,
                         testing::Combine(testing::ValuesIn(kTestBoards),
                                          testing::Values(kRoads[1], kRoads[2], kRoads[4],
                                                          kRoads[5])),
                         BoardAndRoads);

TEST_P(ClientOnATroubledBoard, DrawsTheSamePictureAndKeepsTheSameRegisters) {
    const Result first = Play(Board(), TheRoads(), Mixed(4));
    for (const Trouble& trouble : kClientTroubles) {
        SCOPED_TRACE(trouble.name);
        // In FIFO mode renderers for a setup unit wait for less space than they use: only a board
        // that keeps up with them loses nothing.
        if (trouble.dmaThread && TheRoads().devicesByFifo) {
            continue;
        }
        Roads roads = TheRoads();
        roads.dmaThread = trouble.dmaThread;
        const Result other = Play(Board(), roads, Mixed(4), trouble.timing);
        EXPECT_TRUE(other.pixels == first.pixels);
        // A new context takes over what the chip holds just then, which on a thread is any time.
        for (int party = 0; party < kParties && !trouble.dmaThread; ++party) {
            EXPECT_EQ(other.registers[party], first.registers[party]) << party;
        }
    }
}

// --- What the client draws ---

class OneClient : public testing::TestWithParam<TestBoard> {
  protected:
    OneClient() : stage(GetParam(), kRoads[1]) {}

    std::array<int, 3> ChannelsAt(uint32_t x, uint32_t y) {
        const uint32_t pixel = stage.Target().Pixel(x, y);
        return {static_cast<int>(pixel >> 10 & 31), static_cast<int>(pixel >> 5 & 31),
                static_cast<int>(pixel & 31)};
    }

    ClientStage stage;
};

INSTANTIATE_TEST_SUITE_P(Chips, OneClient, testing::ValuesIn(kTestBoards),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_P(OneClient, FillsRectanglesCutToItsTarget) {
    stage.Drawing().Rectangle({-5, 90, 9, 500}, 0xFF0000);
    stage.Drawing().Rectangle({120, 3, 121, 5}, 0x0000FF);
    stage.Drawing().Rectangle({40, 40, 40, 60}, 0x00FF00); // empty
    stage.Finish();
    for (uint32_t y = 0; y < ClientStage::kHeight; ++y) {
        for (uint32_t x = 0; x < ClientStage::kWidth; ++x) {
            const uint32_t expected = x < 9 && y >= 90              ? 0x7C00
                                      : x == 120 && y >= 3 && y < 5 ? 0x001F
                                                                    : 0;
            ASSERT_EQ(stage.Target().Pixel(x, y) & 0x7FFF, expected) << x << " " << y;
        }
    }
}

TEST_P(OneClient, ShadesTrianglesWhoseNeighboursShareNoPixelAndLeaveNone) {
    // A fan around a point; every colour is the plane red = 2x, green = 2y, blue 96.
    const auto vertex = [](double x, double y) {
        const auto byte = [](double v) { return static_cast<uint32_t>(std::lround(v)); };
        return host::ClientVertex{static_cast<float>(x), static_cast<float>(y),
                                  byte(2 * x) << 16 | byte(2 * y) << 8 | 96};
    };
    constexpr int kSides = 11;
    constexpr double kCentreX = 60.3, kCentreY = 47.6, kRadius = 44;
    std::vector<host::ClientVertex> corners;
    for (int i = 0; i < kSides; ++i) {
        corners.push_back(vertex(kCentreX, kCentreY));
        for (const int end : {i, i + 1}) {
            const double angle = 2 * 3.14159265358979 * end / kSides + 0.2;
            corners.push_back(
                vertex(kCentreX + kRadius * std::cos(angle), kCentreY + kRadius * std::sin(angle)));
        }
    }
    stage.Drawing().Triangles(corners);
    stage.Finish();
    // How far inside the fan a pixel's centre lies, against every outer side.
    const auto depth = [&](double x, double y) {
        double least = 1e9;
        for (size_t i = 0; i < corners.size(); i += 3) {
            const auto &a = corners[i + 1], &b = corners[i + 2];
            const double ex = double{b.x} - a.x, ey = double{b.y} - a.y;
            least = std::min(least, (ex * (y - a.y) - ey * (x - a.x)) / std::hypot(ex, ey));
        }
        return least;
    };
    for (uint32_t y = 0; y < ClientStage::kHeight; ++y) {
        for (uint32_t x = 0; x < ClientStage::kWidth; ++x) {
            const double inside = depth(x + 0.5, y + 0.5);
            const bool drawn = (stage.Target().Pixel(x, y) & 0x7FFF) != 0;
            if (std::abs(inside) > 0.02) {
                ASSERT_EQ(drawn, inside > 0) << x << " " << y;
            }
            if (drawn) {
                const auto [red, green, blue] = ChannelsAt(x, y);
                // Rounded corners and dither are worth a step of five bits each.
                EXPECT_NEAR(red, (2 * x + 1) / 8.0, 1.3) << x << " " << y;
                EXPECT_NEAR(green, (2 * y + 1) / 8.0, 1.3) << x << " " << y;
                EXPECT_NEAR(blue, 12, 1.1);
            }
        }
    }
}

TEST_P(OneClient, CopiesFromMemoryThatItHasWrittenByHandUnderTheLock) {
    host::ServiceClient& client = stage.Client();
    host::Surface& screen = stage.DirectDraw().CreatePrimary();
    const host::ClientTarget front = host::TargetOf(client, screen);
    host::ClientTarget back = front;
    back.height = 32;
    const auto offset = client.Allocate(back.pitch * 2 * back.height, true);
    ASSERT_TRUE(offset);
    back.offset = *offset;
    EXPECT_EQ((back.offset - front.offset) % (back.pitch * 2), 0u);
    ASSERT_EQ(client.Lock(), host::LockAnswer::Taken);
    for (uint32_t y = 0; y < back.height; ++y) {
        for (uint32_t x = 0; x < back.width; ++x) {
            host::WritePixel(client, back, x, y, x << 17 | y << 11 | 0x80);
        }
    }
    client.Unlock();
    for (uint32_t y = 0; y < ClientStage::kHeight; ++y) {
        for (uint32_t x = 0; x < ClientStage::kWidth; ++x) {
            screen.SetPixel(x, y, 0);
        }
    }
    client.Send(); // takes the chip
    EXPECT_EQ(stage.Display().Chip()->CurrentContext, client.Context());
    // Lines 3 to 29 of it go 50 lines further down.
    client.Copy({7, 3, 101, 30}, (front.offset + 50 * front.pitch * 2) / 2, back.offset / 2);
    // The copy is the screen's work: the client's own registers are as they were.
    stage.Drawing().Rectangle({3, 4, 9, 6}, 0xFFFFFF);
    stage.Finish();
    EXPECT_EQ(stage.Target().Pixel(3, 4) & 0x7FFF, 0x7FFFu);
    EXPECT_EQ(stage.Target().Pixel(8, 5) & 0x7FFF, 0x7FFFu);
    EXPECT_EQ(stage.Target().Pixel(9, 5), 0u);
    for (uint32_t y = 0; y < ClientStage::kHeight; ++y) {
        for (uint32_t x = 0; x < ClientStage::kWidth; ++x) {
            const bool copied = x >= 7 && x < 101 && y >= 53 && y < 80;
            const uint32_t expected = copied ? (x / 4) << 10 | (y - 50) << 5 | 0x10 : 0;
            ASSERT_EQ(screen.Pixel(x, y), expected) << x << " " << y;
        }
    }
    client.Free(*offset);
    EXPECT_EQ(client.Allocate(back.pitch * 2 * back.height, true), offset);
    EXPECT_EQ(stage.Faults(), "");
}

TEST_P(OneClient, ItsRegistersReadBackUnderItsContextWhoeverHasTheChip) {
    uint32_t* at = stage.Client().Reserve(4);
    at[0] = tag::FogColor;
    at[1] = 0x00C11E47;
    at[2] = tag::AreaStipplePattern0;
    at[3] = 0x12345678;
    stage.Client().Commit(4);
    stage.Client().Send();
    for (const Party party : {FirstDevice, TheScreen, SecondDevice}) {
        stage.Draw(party);
    }
    stage.Finish();
    const host::Exports exports = host::ExportsInForce();
    EXPECT_EQ(exports.KORV_SwitchContext(nullptr, kContext2D), 0);
    for (const auto& [tagNumber, value] : {std::pair{tag::FogColor, 0x00C11E47u},
                                           {tag::AreaStipplePattern0, 0x12345678u},
                                           {tag::ScissorMaxXY, 96u << 16 | 128u},
                                           {tag::FogMode, 0u}}) {
        uint32_t request[5] = {0, 1, tagNumber, stage.Client().Context(), 0};
        uint32_t answer[2] = {};
        EXPECT_EQ(exports.KORV_Service(ServiceCoreRegisters, request, answer), 0);
        EXPECT_EQ(answer[1], value) << NameOfTag(tagNumber);
        EXPECT_EQ(stage.Display().Chip()->CurrentContext, kContext2D);
    }
    // The other read-out counts from tag 0, and stays.
    std::vector<uint32_t> out(2 * (tag::FogColor + 1));
    uint32_t help[6] = {0,
                        DebugHelpRegisters,
                        stage.Client().Context(),
                        static_cast<uint32_t>(reinterpret_cast<uintptr_t>(out.data())),
                        tag::FogColor + 1,
                        0};
    EXPECT_EQ(exports.KORV_DebugHelp(help), 0);
    EXPECT_EQ(out[2 * tag::FogColor], tag::FogColor);
    EXPECT_EQ(out[2 * tag::FogColor + 1], 0x00C11E47u);
    EXPECT_EQ(stage.Display().Chip()->CurrentContext, stage.Client().Context());
}

// --- Its means ---

const TestBoard kPermediaBoard = {"Permedia", DevicePermedia, false};

TEST(ServiceClient, WithoutAFreeBufferItsWordsGoThroughTheWindow) {
    ClientStage stage(kPermediaBoard, kRoads[0]);
    // Two devices and the client have one each; of four one is left.
    const auto third = std::make_unique<host::ServiceClient>(nullptr);
    EXPECT_TRUE(third->ByDma());
    host::ServiceClient fourth(nullptr);
    EXPECT_FALSE(fourth.ByDma());
    EXPECT_EQ(fourth.SubBuffers(), 1u);
    host::ClientDrawing drawing(fourth, host::TargetOf(fourth, stage.Target()));
    drawing.State();
    drawing.Rectangle({10, 10, 20, 20}, 0xFFFFFF);
    fourth.Send();
    stage.Finish();
    EXPECT_EQ(stage.Target().Pixel(15, 15) & 0x7FFF, 0x7FFFu);
    EXPECT_EQ(stage.Faults(), "");
}

TEST(ServiceClient, LeavesContextAndBufferToTheNextOne) {
    ClientStage stage(kPermediaBoard, kRoads[0]);
    auto one = std::make_unique<host::ServiceClient>(nullptr);
    const uint32_t context = one->Context();
    EXPECT_EQ(stage.Display().Chip()->DMABufferInUse, 0xFu);
    one.reset();
    EXPECT_EQ(stage.Display().Chip()->DMABufferInUse, 0x7u);
    one = std::make_unique<host::ServiceClient>(nullptr);
    EXPECT_EQ(one->Context(), context);
    EXPECT_TRUE(one->ByDma());
}

TEST(ServiceClient, BeyondTheFirstBlockOfContextsKeepsItsRegistersToo) {
    ClientStage stage(kPermediaBoard, kRoads[0]);
    const host::Exports exports = host::ExportsInForce();
    while (exports.KORV_CreateContext(nullptr, 2) < 32) {
    }
    host::ServiceClient client(nullptr);
    EXPECT_EQ(client.Context(), 33u);
    host::ClientDrawing drawing(client, host::TargetOf(client, stage.Target()));
    drawing.State();
    for (LONG i = 0; i < 6; ++i) {
        drawing.Rectangle({i * 10, 50, i * 10 + 10, 60}, 0xFF0000);
        client.Send();
        stage.Draw(i % 2 == 0 ? FirstDevice : TheScreen);
    }
    stage.Finish();
    for (uint32_t x = 0; x < 60; ++x) {
        EXPECT_EQ(stage.Target().Pixel(x, 55) & 0x7FFF, 0x7C00u) << x;
    }
    EXPECT_EQ(stage.Target().Pixel(60, 55), 0u);
    // A count for debugging tools ends with the first block, and its four lists are no contexts.
    uint32_t count = 0;
    EXPECT_EQ(exports.KORV_Service(ServiceContextNum, nullptr, &count), 0);
    EXPECT_EQ(count, 28u);
    EXPECT_EQ(stage.Faults(), "");
}

TEST(ServiceClient, WaitsOnceARoundBeforeItFillsASubBufferAgain) {
    const Roads roads{"", false, 8, false, 3};
    ClientStage stage(kPermediaBoard, roads, {.dmaWordsPerTick = 1, .interruptLatency = 30});
    const auto idle = [&] { return (stage.Display().Chip()->DMAState & DMAIdle) != 0; };
    for (int round = 0; round < 3; ++round) {
        for (int batch = 0; batch < 3; ++batch) {
            // Only a wait says that DMA is over.
            stage.Drawing().Rectangle({0, 0, 64, 64}, 0x808080);
            EXPECT_EQ(idle(), batch == 0);
            stage.Client().Send();
            EXPECT_FALSE(idle());
        }
    }
}

TEST(ServiceClient, ASlowEngineDrawsAllBatchesOfAShortRing) {
    const auto draw = [](const Roads& roads, const board::Timing& timing) {
        ClientStage stage(kPermediaBoard, roads, timing);
        for (LONG batch = 0; batch < 12; ++batch) {
            for (LONG i = 0; i < 40; ++i) {
                const LONG x = batch * 8 + i % 8, y = i / 8 * 16;
                stage.Drawing().Rectangle({x, y, x + 1, y + 16},
                                          static_cast<uint32_t>(batch * 0x140800 + i * 0x051010));
            }
        }
        stage.Client().Send();
        stage.Finish();
        EXPECT_EQ(stage.Faults(), "");
        return stage.Pixels();
    };
    const board::Timing slow{.dmaWordsPerTick = 1, .interruptLatency = 30};
    const auto pixels = draw({"", false, 8, true, 2}, {});
    for (const uint32_t subBuffers : {2u, 3u, 4u, 32u}) {
        EXPECT_TRUE(draw({"", false, 8, false, subBuffers}, slow) == pixels) << subBuffers;
    }
}

TEST(ServiceClient, ADisplayOfEightBitsTakesNoClient) {
    host::PowerCycle();
    host::DisplayConfig config;
    config.bits = 8;
    host::Display display(config);
    ASSERT_TRUE(display.Start());
    EXPECT_THROW(host::ServiceClient(display.Driver()), std::runtime_error);
    EXPECT_EQ(display.Chip()->DMABufferInUse, 0u);
}

// --- The lock ---

class ClientLock : public testing::Test {
  protected:
    ClientLock() {
        host::ResetSystem();
        host::ResetDci();
        surface.dwWidth = ClientStage::kWidth;
        surface.dwHeight = ClientStage::kHeight;
    }
    ~ClientLock() override {
        host::ResetSystem();
        host::ResetDci();
    }
    DriverData& Driver() { return *stage.Display().Driver(); }
    bool CursorIsOut() { return (stage.Display().Chip()->Flags & CursorExclude) != 0; }

    ClientStage stage{kPermediaBoard, kRoads[0]};
    host::Exports exports = host::ExportsInForce();
    DCISURFACEINFO surface{};
};

TEST_F(ClientLock, AskedForInEachOfItsThreeStates) {
    // None: by Win16 and by DCI.
    EXPECT_EQ(exports.KORV_DriverIsLocked(nullptr), 0);
    EXPECT_EQ(exports.KORV_GetDriverLock(nullptr, &surface, 1, nullptr), 0);
    EXPECT_EQ(Driver().DriverLockKind, 2u);
    EXPECT_EQ(host::Dci().begins, 1u);
    // DCI: the surface is open already.
    EXPECT_EQ(exports.KORV_GetDriverLock(nullptr, &surface, 1, nullptr), 0);
    EXPECT_EQ(host::Dci().begins, 1u);
    EXPECT_EQ(Driver().DriverLockKind, 2u);
    // The Win16 lock over DCI: the kind changes, and the surface is never closed.
    EXPECT_EQ(exports.KORV_GetDriverLock(nullptr, &surface, 0, nullptr), 0);
    EXPECT_EQ(Driver().DriverLockKind, 1u);
    EXPECT_EQ(host::Win16Lock().depth, 1u);
    // Win16 once more: it is taken twice, and left once.
    EXPECT_EQ(exports.KORV_GetDriverLock(nullptr, &surface, 0, nullptr), 0);
    EXPECT_EQ(host::Win16Lock().depth, 2u);
    EXPECT_EQ(exports.KORV_DriverIsLocked(nullptr), 1);
    EXPECT_TRUE(CursorIsOut());
    EXPECT_EQ(exports.KORV_FreeDriverLock(nullptr, &surface), 0);
    EXPECT_EQ(host::Win16Lock().depth, 1u);
    EXPECT_EQ(host::Dci().ends, 0u);
    EXPECT_EQ(exports.KORV_DriverIsLocked(nullptr), 0);
    EXPECT_FALSE(CursorIsOut());
    // None, and there is nothing to leave.
    EXPECT_EQ(exports.KORV_FreeDriverLock(nullptr, &surface), 0);
    EXPECT_EQ(host::Win16Lock().depth, 1u);
}

TEST_F(ClientLock, EachBatchIsStartedUnderItAndItIsGivenBack) {
    const uint32_t taken = host::Win16Lock().taken;
    stage.Drawing().Rectangle({0, 0, 8, 8}, 0xFFFFFF);
    stage.Client().Send();
    EXPECT_EQ(host::Win16Lock().taken, taken + 1);
    EXPECT_EQ(host::Win16Lock().depth, 0u);
    EXPECT_EQ(exports.KORV_DriverIsLocked(nullptr), 0);
}

TEST_F(ClientLock, BatchesInsideTheClientsOwnLockTakeNoOther) {
    ASSERT_EQ(stage.Client().Lock(), host::LockAnswer::Taken);
    const uint32_t taken = host::Win16Lock().taken;
    stage.Drawing().Rectangle({0, 0, 8, 8}, 0xFFFFFF);
    stage.Client().Send();
    EXPECT_EQ(host::Win16Lock().taken, taken);
    EXPECT_EQ(exports.KORV_DriverIsLocked(nullptr), 1);
    stage.Client().Unlock();
    EXPECT_EQ(host::Win16Lock().depth, 0u);
}

TEST_F(ClientLock, ByDCIItOpensTheSurfaceAroundEachBatch) {
    host::ServiceClient client(nullptr, {.surface = &surface});
    host::ClientDrawing drawing(client, host::TargetOf(client, stage.Target()));
    drawing.State();
    drawing.Rectangle({0, 0, 8, 8}, 0xFFFFFF);
    client.Send();
    EXPECT_EQ(host::Dci().begins, 1u);
    EXPECT_EQ(host::Dci().ends, 1u);
    EXPECT_EQ(host::Dci().width, int{ClientStage::kWidth});
    EXPECT_EQ(host::Win16Lock().taken, 0u);
    stage.Finish();
    EXPECT_EQ(stage.Target().Pixel(4, 4) & 0x7FFF, 0x7FFFu);
}

TEST_F(ClientLock, WhereItIsRefusedTheBatchIsNotSent) {
    stage.Finish();
    host::SetWin16LockPresent(false);
    stage.Drawing().Rectangle({0, 0, 8, 8}, 0xFFFFFF);
    EXPECT_EQ(stage.Client().Send(), host::LockAnswer::Refused);
    host::SetWin16LockPresent(true);
    EXPECT_EQ(stage.Client().Send(), host::LockAnswer::Taken);
    stage.Finish();
    EXPECT_EQ(stage.Target().Pixel(4, 4), 0u);
}

TEST_F(ClientLock, AModeChangeTakesTheClientsMemoryAndTheLockTellsItUntilTheDisplayStartsAnew) {
    ASSERT_TRUE(stage.Client().Allocate(4096));
    EXPECT_EQ(stage.Client().Lock(), host::LockAnswer::Taken);
    stage.Client().Unlock();
    stage.DirectDraw().ChangeMode(64, 48, 16);
    EXPECT_EQ(stage.Client().Lock(), host::LockAnswer::MemoryLost);
    EXPECT_EQ(exports.KORV_GetDriverLock(nullptr, &surface, 1, nullptr), 6);
    EXPECT_EQ(exports.KORV_GetDriverLock(nullptr, nullptr, 1, nullptr), 6);
    stage.Drawing().Rectangle({0, 0, 8, 8}, 0xFFFFFF);
    EXPECT_EQ(stage.Client().Send(), host::LockAnswer::MemoryLost);
    EXPECT_EQ(exports.KORV_DriverIsLocked(nullptr), 0);
    EXPECT_EQ(host::Win16Lock().taken, 1u);
    EXPECT_TRUE(stage.Display().Start());
    EXPECT_EQ(stage.Client().Lock(), host::LockAnswer::Taken);
    stage.Client().Unlock();
}

TEST_F(ClientLock, AModeChangeThatTakesNothingOfTheClientsIsNotTold) {
    const auto offset = stage.Client().Allocate(4096);
    ASSERT_TRUE(offset);
    stage.Client().Free(*offset);
    stage.DirectDraw().ChangeMode(64, 48, 16);
    EXPECT_EQ(stage.Client().Lock(), host::LockAnswer::Taken);
    stage.Client().Unlock();
}

// --- All of the interface ---

TEST(ServiceClient, OneLifeGoesThroughAllTwentyExports) {
    host::ResetSystem();
    host::PowerCycle();
    host::DisplayConfig config;
    config.deviceId = DevicePermedia2;
    config.width = 320;
    config.height = 240;
    config.number = 3;
    host::Display display(config);
    const host::Exports exports = host::ExportsInForce();
    DriverData* const driver = exports.DriverInit(3);
    ASSERT_EQ(driver, display.Driver());

    EXPECT_EQ(exports.KORV_Initialize(driver), 0x10000);
    ServiceInfo info{.Size = sizeof info};
    EXPECT_EQ(exports.KORV_GetInfo(driver, &info), &info);
    EXPECT_EQ(info.DeviceId, uint32_t{DevicePermedia2});
    EXPECT_STREQ(info.RegistryName, "Display\\Settings");
    ServiceDMABuffer buffer{};
    const int32_t index = exports.KORV_GetDMABuffer(driver, &buffer);
    EXPECT_EQ(index, 0);
    const auto context =
        static_cast<uint32_t>(exports.KORV_CreateContext(driver, buffer.SubBuffers));
    EXPECT_EQ(context, 6u);

    auto* words = reinterpret_cast<uint32_t*>(buffer.Linear);
    words[0] = tag::FogColor;
    words[1] = 0xABCDEF;
    EXPECT_EQ(exports.KORV_StartDMA(driver, context, 2, buffer.Physical, words, 0), 0);
    EXPECT_EQ(exports.KORV_WaitForDMA(driver), 0);
    EXPECT_NE(display.Chip()->DMAState & DMAIdle, 0u);
    EXPECT_EQ(exports.KORV_SwitchContext(driver, kContext2D), 0);
    EXPECT_EQ(display.Chip()->CurrentContext, kContext2D);
    uint32_t request[5] = {0, 1, tag::FogColor, context, 0};
    uint32_t answer[2] = {};
    EXPECT_EQ(exports.KORV_Service(ServiceCoreRegisters, request, answer), 0);
    EXPECT_EQ(answer[1], 0xABCDEFu);

    HeapRequest memory{.Size = 20, .Flags = ClientOwned, .Alignment = 4, .Bytes = 4096};
    EXPECT_EQ(exports.KORV_AllocateVideoMemory(driver, &memory), 0);
    EXPECT_EQ(exports.KORV_GetDriverLock(driver, nullptr, 0, nullptr), 0);
    EXPECT_EQ(exports.KORV_DriverIsLocked(driver), 1);
    for (uint32_t line = 0; line < 2; ++line) { // by hand, on the screen
        std::memset(info.FrameBuffer + line * display.Pitch(), 0x7F, 32);
    }
    EXPECT_EQ(exports.KORV_FreeDriverLock(driver, nullptr), 0);
    EXPECT_EQ(exports.KORV_DriverIsLocked(driver), 0);
    uint32_t pixels = 0;
    uint32_t help[6] = {
        0, DebugHelpMemory, 0, static_cast<uint32_t>(reinterpret_cast<uintptr_t>(&pixels)), 1, 0};
    EXPECT_EQ(exports.KORV_DebugHelp(help), 0);
    EXPECT_EQ(pixels, 0x7F7F7F7Fu);

    EXPECT_EQ(exports.KORV_StopSoftwareCursor(driver), 0);
    EXPECT_NE(display.Chip()->Flags & CursorExclude, 0u);
    RECTL rect{0, 0, 16, 2}; // to line 100
    EXPECT_EQ(exports.KORV_CopyBlt(driver, &rect, 320 * 100, static_cast<uint32_t>(-320 * 100)), 0);
    EXPECT_EQ(exports.KORV_StartSoftwareCursor(driver), 0);
    EXPECT_EQ(display.Chip()->Flags & CursorExclude, 0u);
    display.Board().Drain();
    EXPECT_EQ(info.FrameBuffer[100 * 640 + 31], 0x7F);
    EXPECT_EQ(info.FrameBuffer[101 * 640 + 31], 0x7F);
    EXPECT_EQ(info.FrameBuffer[102 * 640], 0);
    EXPECT_EQ(info.FrameBuffer[100 * 640 + 32], 0);

    EXPECT_EQ(exports.KORV_FreeVideoMemory(driver, memory.Address), 0);
    EXPECT_EQ(exports.KORV_DeleteContext(driver, context), 0);
    EXPECT_EQ(display.Chip()->ContextBlocks->UsedCount, 6u);
    EXPECT_EQ(exports.KORV_FreeDMABuffer(driver, index), 0);
    EXPECT_EQ(display.Chip()->DMABufferInUse, 0u);
    EXPECT_EQ(host::UnexpectedFaults(display.Board()).Describe(), "");
}

} // namespace
