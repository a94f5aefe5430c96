// The neighbours' kit against the host, which plays both of them: its checks pass on every board
// and find what was broken, and what it does for the neighbours does what the host does.
#include "driver/heap/linalloc.h"
#include "host/d3d/direct3d.h"
#include "host/display/context_lists.h"
#include "host/display/context_table.h"
#include "host/display/machine.h"
#include "host/picture.h"
#include "host/vdd/minivdd.h"
#include "tests/support_host/configs.h"
#include "tests/windows95/project_files.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <memory>
#include <regex>
#include <string>
#include <vector>

extern "C" {
#include "packaging/windows95/kit/korvkit.h"
}

namespace {

using host::Display;
using host::DisplayConfig;

uint32_t Number(const void* address) {
    return reinterpret_cast<uintptr_t>(address);
}

// A board on a machine just switched on, before DriverInit.
class Neighbours {
  public:
    explicit Neighbours(const DisplayConfig& config) : display((host::PowerCycle(), config)) {}

    KorvDriverData* Data() { return reinterpret_cast<KorvDriverData*>(display.Driver()); }
    KorvChipInfo* Chip() { return reinterpret_cast<KorvChipInfo*>(display.Chip()); }
    KorvContextBlock* Contexts() {
        return reinterpret_cast<KorvContextBlock*>(Chip()->ContextBlocks);
    }
    uint32_t Registers() { return Number(display.Aperture()); }

    static int Control(void*, KORV_U32 code, void* in, KORV_U32 inBytes, void* out,
                       KORV_U32 outBytes) {
        uint32_t returned = 0;
        return host::TheMiniVdd().Control(code, in, inBytes, out, outBytes, &returned) ? 1 : 0;
    }

    // "" for a pass, else what is wrong.
    std::string Run(int (*check)(KORV_U32, KorvFinding*)) {
        return Told([&](KorvFinding* f) { return check(Registers(), f); });
    }
    std::string Told(const std::function<int(KorvFinding*)>& check) {
        KorvFinding finding{};
        return check(&finding) != 0 ? "" : finding.Field;
    }
    std::string Aperture() { return Run(KorvCheckAperture); }
    std::string VideoMemory() {
        return Told([&](auto* f) {
            return KorvCheckMemory(Data()->FrameBufferBase, Chip()->FrameBufferSize, f);
        });
    }
    std::string Records() {
        const std::string chip = Told([&](auto* f) { return KorvCheckChipInfo(Chip(), f); });
        return !chip.empty() ? chip : Told([&](auto* f) { return KorvCheckDriverData(Data(), f); });
    }
    std::string Heap() {
        return Told([&](auto* f) { return KorvCheckHeap(Data(), f); });
    }
    std::string ContextTable() {
        return Told([&](auto* f) { return KorvCheckContexts(Chip(), f); });
    }
    std::string Dma() {
        return Told([&](auto* f) { return KorvCheckDma(Registers(), Chip(), f); });
    }
    std::string Queue() {
        return Told([&](auto* f) { return KorvCheckQueue(Registers(), Chip(), f); });
    }
    std::string Blank() {
        return Told([&](auto* f) { return KorvCheckBlank(Registers(), Chip(), f); });
    }
    std::string Requests(KorvControl control = Control, uint32_t display = 0) {
        return Told([&](auto* f) { return KorvCheckRequests(control, nullptr, display, f); });
    }
    std::string Started() {
        return Told([&](auto* f) { return KorvCheckStarted(Data(), f); });
    }

    Display display;
};

DisplayConfig Board(uint32_t device, bool delta = false) {
    DisplayConfig config = test::ConfigFor(device);
    config.delta = delta;
    config.chipFlags = VBlankByInterrupt;
    return config;
}

std::vector<DisplayConfig> Boards() {
    std::vector<DisplayConfig> boards;
    for (const uint32_t device : {DeviceSX, DeviceTX, DeviceMX, DevicePermedia, DevicePermedia2}) {
        for (const uint32_t bits : {8u, 16u, 24u, 32u}) {
            for (const bool delta : {false, true}) {
                const bool second = device == DevicePermedia2;
                if ((delta && second) || (bits == 24 && !second)) {
                    continue;
                }
                boards.push_back(Board(device, delta));
                boards.back().bits = bits;
            }
        }
    }
    return boards;
}

// Every step, in the order of the document, up to a DriverInit that works.
TEST(BringUpKit, PassesOnEveryBoard) {
    for (const DisplayConfig& config : Boards()) {
        SCOPED_TRACE(std::to_string(config.deviceId) + " at " + std::to_string(config.bits) +
                     (config.delta ? " delta" : ""));
        Neighbours all(config);
        EXPECT_EQ(all.Aperture(), "");
        EXPECT_EQ(all.VideoMemory(), "");
        EXPECT_EQ(all.Records(), "");
        EXPECT_EQ(all.Heap(), "");
        EXPECT_EQ(all.ContextTable(), "");
        EXPECT_EQ(all.Dma(), "");
        EXPECT_EQ(all.Queue(), "");
        EXPECT_EQ(all.Blank(), "");
        EXPECT_EQ(all.Requests(), "");
        EXPECT_NE(all.Started(), "");
        ASSERT_TRUE(all.display.Start());
        EXPECT_EQ(all.Started(), "");
        EXPECT_EQ(all.display.Board().FaultReport().Describe(), "");
    }
}

// Nothing is left behind but the block that was asked for.
TEST(BringUpKit, LeavesTheMachineAsItWas) {
    Neighbours all(Board(DevicePermedia2));
    const auto shot = [&] {
        std::vector<uint8_t> bytes(all.display.Board().FrameBuffer().begin(),
                                   all.display.Board().FrameBuffer().end());
        const auto add = [&](const void* from, size_t size) {
            const auto* at = static_cast<const uint8_t*>(from);
            bytes.insert(bytes.end(), at, at + size);
        };
        add(all.Data(), sizeof(KorvDriverData));
        for (const uint16_t offset : host::StateRegisters(DevicePermedia2)) {
            const uint32_t value = all.display.Board().Read(offset);
            add(&value, 4);
        }
        const uint32_t enabled = all.display.Board().Read(reg::IntEnable);
        add(&enabled, 4);
        return bytes;
    };
    const std::vector<uint8_t> before = shot();
    all.Aperture();
    all.VideoMemory();
    all.Dma();
    all.Queue();
    all.Requests();
    EXPECT_TRUE(shot() == before);
    EXPECT_EQ(host::TheMiniVdd().LiveBlocks(), 0u);
}

// One thing broken at a time, and the field that the check names.
struct Broken {
    const char* what;
    std::function<void(Neighbours&)> breakIt;
    std::string (Neighbours::*check)();
    const char* found;
};

std::string Asked(Neighbours& all, KorvControl control) {
    return all.Requests(control);
}

TEST(BringUpKit, FindsWhatIsBroken) {
    static const uint16_t badList[] = {0x8188, 0x8189};
    const Broken cases[] = {
        {"a chip that takes no words",
         [](Neighbours& n) {
             n.display.Board().SetTiming({.fifoDepth = 0, .fifoDrainPerTick = 1});
         },
         &Neighbours::Aperture, "InFIFOSpace"},
        {"no device id", [](Neighbours& n) { n.Chip()->DeviceId = 3; }, &Neighbours::Records,
         "ChipInfo.DeviceId"},
        {"the other family", [](Neighbours& n) { n.Chip()->Family = 1; }, &Neighbours::Records,
         "ChipInfo.Family"},
        {"no rate", [](Neighbours& n) { n.Chip()->RefreshRate = 0; }, &Neighbours::Records,
         "ChipInfo.RefreshRate"},
        {"eleven buffers", [](Neighbours& n) { n.Chip()->DMABufferCount = 11; },
         &Neighbours::Records, "ChipInfo.DMABufferCount"},
        {"a buffer without an address", [](Neighbours& n) { n.Chip()->DMABufferLinear[1] = 0; },
         &Neighbours::Records, "ChipInfo.DMABufferLinear of a buffer"},
        {"a name that is too long",
         [](Neighbours& n) { std::memset(n.Chip()->RegistryName, 'A', 35); }, &Neighbours::Records,
         "the length of ChipInfo.RegistryName"},
        {"no name", [](Neighbours& n) { n.Chip()->RegistryName[0] = 0; }, &Neighbours::Records,
         "the length of ChipInfo.RegistryName"},
        {"no aperture", [](Neighbours& n) { n.Data()->RegisterBase = 0; }, &Neighbours::Records,
         "DriverData.RegisterBase"},
        {"a local buffer that the chip lacks",
         [](Neighbours& n) { n.Data()->LocalBufferBase += 4; }, &Neighbours::Records,
         "DriverData.LocalBufferBase"},
        {"no local buffer on Glint",
         [](Neighbours& n) { n.Chip()->DeviceId = DeviceTX, n.Chip()->Family = FamilyGlint; },
         &Neighbours::Records, "ChipInfo.LocalBufferSize"},
        {"15 bits", [](Neighbours& n) { n.Data()->PixelDepthBits = 15; }, &Neighbours::Records,
         "DriverData.PixelDepthBits"},
        {"another size code", [](Neighbours& n) { n.Data()->PixelSize = 2; }, &Neighbours::Records,
         "DriverData.PixelSize"},
        {"another shift", [](Neighbours& n) { n.Data()->PixelsPerWordShift = 2; },
         &Neighbours::Records, "DriverData.PixelsPerWordShift"},
        {"another mask", [](Neighbours& n) { n.Data()->PixelsPerWordMask = 3; },
         &Neighbours::Records, "DriverData.PixelsPerWordMask"},
        {"no scissor height", [](Neighbours& n) { n.Data()->ScissorHeight = 0; },
         &Neighbours::Records, "DriverData.ScreenHeight or ScissorHeight"},
        {"a screen larger than memory", [](Neighbours& n) { n.Data()->ScreenWidth = 16000; },
         &Neighbours::Records, "DriverData.ScreenWidth"},
        {"a heap over the screen",
         [](Neighbours& n) { n.Data()->Heap.HeapStart = n.Data()->FrameBufferBase + 256; },
         &Neighbours::Heap, "Heap.HeapStart"},
        {"an end behind memory", [](Neighbours& n) { n.Data()->Heap.HeapEnd += 1; },
         &Neighbours::Heap, "Heap.HeapEnd"},
        {"a ring that leads nowhere",
         [](Neighbours& n) { n.Data()->Heap.FirstGroup.Nodes[7].NextIndex = 9; }, &Neighbours::Heap,
         "NextIndex of a heap node"},
        {"a free node that is not all of it",
         [](Neighbours& n) {
             n.Data()->Heap.FirstGroup.Nodes[n.Data()->Heap.FreeSet.Index].End -= 4;
         },
         &Neighbours::Heap, "Start or End of the free node"},
        {"a list of one register",
         [](Neighbours& n) {
             KorvContextBlock* block = n.Contexts();
             reinterpret_cast<KorvRegisterList*>(reinterpret_cast<uint8_t*>(block) +
                                                 block->DataOffset[KORV_LIST_CLIENT])
                 ->Count = 1;
         },
         &Neighbours::ContextTable, "Count of a register list"},
        {"a register between two",
         [](Neighbours& n) {
             KorvContextBlock* block = n.Contexts();
             std::memcpy(reinterpret_cast<uint8_t*>(block) + block->DataOffset[KORV_LIST_DIRECT3D] +
                             2,
                         badList, sizeof(badList));
         },
         &Neighbours::ContextTable, "an Offset of a register list"},
        {"no context 5",
         [](Neighbours& n) { n.Contexts()->SlotCount = n.Contexts()->UsedCount = 5; },
         &Neighbours::ContextTable, "the number of a context's slot"},
        {"a context 5 by a context",
         [](Neighbours& n) { n.Contexts()->Type[KORV_CONTEXT_2D] = KORV_CONTEXT_2D; },
         &Neighbours::ContextTable, "Type of a context"},
        {"another bus address", [](Neighbours& n) { n.Chip()->DMABufferPhysical[1] += 0x100; },
         &Neighbours::Dma, "OutFIFOWords"},
        {"a transfer that never ends",
         [](Neighbours& n) {
             n.display.Board().SetTiming(
                 {.fifoDepth = 0, .fifoDrainPerTick = 1, .dmaWordsPerTick = 1});
         },
         &Neighbours::Dma, "DMACount"},
        {"no handler", [](Neighbours& n) { n.display.Board().SetInterruptHandler({}); },
         &Neighbours::Queue, "QueueTail"},
        {"a handler that forgets the queue",
         [](Neighbours& n) {
             n.display.Board().SetInterruptHandler([&n] {
                 host::Display& display = n.display;
                 display.Board().Write(reg::IntFlags, display.Board().Read(reg::IntFlags));
             });
         },
         &Neighbours::Queue, "QueueTail"},
        {"a handler that starts one entry and forgets the others",
         [](Neighbours& n) {
             n.display.Board().SetInterruptHandler([&n, done = std::make_shared<bool>(false)] {
                 board::Board& board = n.display.Board();
                 board.Write(reg::IntFlags, board.Read(reg::IntFlags));
                 KorvChipInfo* chip = n.Chip();
                 if (!*done) {
                     *done = true;
                     chip->QueueRunning = 1;
                     board.Write(reg::DMAAddress, chip->QueueAddress[0]);
                     board.Write(reg::DMACount, chip->QueueCount[0]);
                     chip->QueueTail = 1;
                 }
             });
         },
         &Neighbours::Queue, "QueueTail"},
        {"a handler that never rests",
         [](Neighbours& n) {
             n.display.Board().SetInterruptHandler([&n] {
                 KorvHandleInterrupt(n.Registers(), n.Chip());
                 n.Chip()->QueueRunning = 1;
             });
         },
         &Neighbours::Queue, "QueueRunning"},
        {"a handler that moves the tail and starts nothing",
         [](Neighbours& n) {
             n.display.Board().SetInterruptHandler([&n] {
                 n.display.Board().Write(reg::IntFlags, 0xFFFFFFFF);
                 n.Chip()->QueueTail = n.Chip()->QueueHead;
             });
         },
         &Neighbours::Queue, "a register that an entry of the queue sets"},
        {"blanks that nobody notes",
         [](Neighbours& n) { n.display.Board().SetInterruptHandler({}); }, &Neighbours::Blank,
         "ChipInfo.Flags"},
    };
    for (const Broken& one : cases) {
        SCOPED_TRACE(one.what);
        Neighbours all(Board(DevicePermedia2));
        one.breakIt(all);
        EXPECT_EQ((all.*one.check)(), one.found);
        all.display.Board().SetTiming({}); // so that it can be switched off
    }
}

// A mini VDD that answers in other ways than it should.
TEST(BringUpKit, FindsWrongAnswersToRequests) {
    Neighbours all(Board(DevicePermedia2));
    EXPECT_EQ(all.Requests(Neighbours::Control, 7), "the answer to request 4");
    EXPECT_EQ(Asked(all,
                    [](void* self, KORV_U32 code, void* in, KORV_U32 inBytes, void* out,
                       KORV_U32 outBytes) {
                        return code == KORV_VDD_MEMORY
                                   ? 0
                                   : Neighbours::Control(self, code, in, inBytes, out, outBytes);
                    }),
              "the result of request 3, allocate");
    EXPECT_EQ(Asked(all,
                    [](void* self, KORV_U32 code, void* in, KORV_U32 inBytes, void* out,
                       KORV_U32 outBytes) {
                        static uint8_t once[8192];
                        const int good =
                            Neighbours::Control(self, code, in, inBytes, out, outBytes);
                        if (code == KORV_VDD_MEMORY) {
                            static_cast<KorvMemoryRequest*>(out)->Linear = Number(once) & ~3u;
                        }
                        return good;
                    }),
              "Linear behind request 3, allocate");
    EXPECT_EQ(Asked(all,
                    [](void* self, KORV_U32 code, void* in, KORV_U32 inBytes, void* out,
                       KORV_U32 outBytes) {
                        return code == KORV_VDD_ADD_CONTEXTS
                                   ? 1
                                   : Neighbours::Control(self, code, in, inBytes, out, outBytes);
                    }),
              "the blocks of the context table behind request 2");
    host::TheMiniVdd().RefuseContextBlocks();
    EXPECT_EQ(all.Requests(), "the result of request 2");
    host::TheMiniVdd().RefuseMemory();
    EXPECT_EQ(all.Requests(), "Linear behind request 3, allocate");
}

// An address line that is missing: memory that comes round again.
TEST(BringUpKit, FindsMemoryThatComesRoundAgain) {
    constexpr uint32_t kBytes = 1 << 16;
    std::vector<uint32_t> memory(kBytes / 4, 7);
    KorvFinding finding;
    EXPECT_EQ(KorvCheckMemory(Number(memory.data()), kBytes, &finding), 1);
    EXPECT_EQ(memory, std::vector<uint32_t>(kBytes / 4, 7));
}

// ---- What the kit does for the neighbours

TEST(BringUpKit, BuildsTheHeapThatTheDriverBuilds) {
    auto ours = std::make_unique<DriverData>();
    auto theirs = std::make_unique<DriverData>();
    for (DriverData* data : {ours.get(), theirs.get()}) {
        std::memset(static_cast<void*>(data), 0, sizeof(*data));
        data->Heap.HeapStart = 0x10000000;
        data->Heap.HeapEnd = 0x101FFFFF;
    }
    InitialiseHeapManager(ours.get());
    KorvBuildHeap(reinterpret_cast<KorvVideoHeap*>(&theirs->Heap));
    const VideoHeap &a = ours->Heap, &b = theirs->Heap;
    EXPECT_EQ(a.NextGroupId, b.NextGroupId);
    EXPECT_EQ(Number(a.FirstGroup.Next) - Number(&a.FirstGroup),
              Number(b.FirstGroup.Next) - Number(&b.FirstGroup));
    EXPECT_EQ(a.FreeSet.Group, b.FreeSet.Group);
    EXPECT_EQ(a.FreeSet.Index, b.FreeSet.Index);
    EXPECT_EQ(a.SpareSet.Group, b.SpareSet.Group);
    EXPECT_EQ(a.SpareSet.Index, b.SpareSet.Index);
    EXPECT_EQ(a.AllocatedSet.Index, b.AllocatedSet.Index);
    EXPECT_EQ(std::memcmp(a.FirstGroup.Nodes, b.FirstGroup.Nodes, sizeof(a.FirstGroup.Nodes)), 0);
}

TEST(BringUpKit, BuildsTheContextTableThatTheHostBuilds) {
    for (const uint32_t device : {DeviceSX, DeviceMX, DevicePermedia, DevicePermedia2}) {
        Neighbours all(Board(device));
        const std::vector<uint16_t> state = host::StateRegisters(device),
                                    screen = host::ScreenRegisters(device);
        std::vector<uint32_t> memory(host::MiniVdd::kContextBlockBytes / 4, 0xA5A5A5A5);
        auto* block = reinterpret_cast<KorvContextBlock*>(memory.data());
        KorvEmptyContexts(block, host::MiniVdd::kContextBlockBytes);
        for (const auto* list : {&state, &screen, &state, &state}) {
            KorvAddList(block, list->data(), static_cast<uint16_t>(list->size()));
        }
        EXPECT_EQ(KorvAddContext(block, host::ListScreen, all.Registers()), host::ContextScreen);
        EXPECT_EQ(KorvAddContext(block, host::ListDriver, all.Registers()), host::Context2D);
        EXPECT_EQ(std::memcmp(block, all.Contexts(), host::MiniVdd::kContextBlockBytes), 0);
    }
}

TEST(BringUpKit, ListsTheRegistersThatTheHostLists) {
    KORV_U16 offsets[200];
    const auto listed = [&](uint32_t device, bool delta) {
        const KORV_U16 count = KorvStateList(device, delta ? 1 : 0, offsets, 200);
        return std::vector<uint16_t>(offsets, offsets + count);
    };
    for (const uint32_t device : {DeviceSX, DeviceTX, DeviceMX, DevicePermedia, DevicePermedia2}) {
        EXPECT_EQ(listed(device, false), host::StateRegisters(device)) << device;
        if (device != DevicePermedia2) {
            EXPECT_EQ(listed(device, true), host::StateRegisters(device, true)) << device;
        }
    }
    EXPECT_EQ(listed(DevicePermediaSecond, false), host::StateRegisters(DevicePermedia));
    EXPECT_EQ(listed(DevicePermedia2Second, false), host::StateRegisters(DevicePermedia2));
    EXPECT_EQ(KorvStateList(3, 0, offsets, 200), 0);
    EXPECT_EQ(KorvStateList(DeviceSX, 0, offsets, 100), 0);
}

TEST(BringUpKit, TellsWhenABlockIsFull) {
    std::vector<uint32_t> memory(1024);
    auto* block = reinterpret_cast<KorvContextBlock*>(memory.data());
    KorvEmptyContexts(block, 4096);
    const std::vector<uint16_t> list(700, 8);
    EXPECT_EQ(KorvAddList(block, list.data(), 700), 0);
    EXPECT_EQ(KorvAddContext(block, 0, 0), -1); // 2800 bytes, and 2100 are left
    EXPECT_EQ(KorvAddList(block, list.data(), 700), 1);
    EXPECT_EQ(block->SlotCount, 2);
}

// Two contexts draw by turns through the queue, once with the host's handler and once with the
// kit's.
std::vector<uint8_t> DrawnByQueue(bool kit, uint32_t* interrupts) {
    DisplayConfig config = Board(DevicePermedia2);
    config.timing.dmaWordsPerTick = 2;
    config.timing.interruptLatency = 3;
    config.registry["Direct3DHAL.SubBuffers"] = "5";
    Neighbours all(config);
    if (kit) {
        all.display.Board().SetInterruptHandler([&all, interrupts] {
            ++*interrupts;
            KorvHandleInterrupt(all.Registers(), all.Chip());
        });
    }
    EXPECT_TRUE(all.display.Start());
    host::DirectDraw directDraw(all.display);
    host::Surface& target = directDraw.CreatePrimary();
    host::Device3D first(directDraw, target), second(directDraw, target);
    for (uint32_t i = 0; i < 600; ++i) {
        host::Device3D& device = i / 50 % 2 == 0 ? first : second;
        device.BeginScene();
        const float x = static_cast<float>(i % 30) * 20, y = static_cast<float>(i / 30) * 20;
        device.Triangle(test::ScreenVertex(x, y, 0, 0xFF0000FF + i * 0x100),
                        test::ScreenVertex(x + 30, y, 0, 0xFF00FF00),
                        test::ScreenVertex(x, y + 30, 0, 0xFFFF0000 + i));
        device.EndScene();
    }
    first.Finish();
    second.Finish();
    return host::ReadPicture(target).rgba;
}

TEST(BringUpKit, HandlesInterruptsAsTheHostDoes) {
    uint32_t interrupts = 0;
    const std::vector<uint8_t> host = DrawnByQueue(false, &interrupts);
    const std::vector<uint8_t> kit = DrawnByQueue(true, &interrupts);
    EXPECT_GT(interrupts, 20u);
    EXPECT_TRUE(host == kit);
    EXPECT_NE(std::count(kit.begin(), kit.end(), 0), static_cast<ptrdiff_t>(kit.size()));
}

// The document of the steps names every check, and every duty.
TEST(BringUpKit, IsToldInTheDocument) {
    const std::string header = test::Read(test::kProject / "packaging/windows95/kit/korvkit.h"),
                      document = test::Read(test::kProject / "docs/bring-up.md");
    static const std::regex function(R"((Korv\w+)\()");
    size_t told = 0;
    for (std::sregex_iterator it(header.begin(), header.end(), function), end; it != end; ++it) {
        EXPECT_NE(document.find("`" + (*it)[1].str() + "`"), std::string::npos) << (*it)[1];
        ++told;
    }
    EXPECT_GT(told, 12u);
}

} // namespace
