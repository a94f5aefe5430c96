// The table of faults and switches in docs/windows95.md is what the runs show: each fault is put
// into the board or the mini VDD, each switch is set, and the driver plays bring-up, a fill, a
// scene and flips in a process of its own, as its waits have no limit.
#include "driver/platform/d3dhal.h"
#include "host/d3d/direct3d.h"
#include "host/display/machine.h"
#include "tests/support_host/configs.h"
#include "tests/windows95/project_files.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <regex>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

enum class Fault {
    None,
    DeadAperture,     // nothing is mapped there: all reads give ones
    StuckFifo,        // the input FIFO never has room
    StuckFifoLater,   // from the first scene on
    NoInterrupt,      // the board's line leads nowhere
    ForgetfulHandler, // starts an entry when it is woken, and nothing at the end of DMA
    WrongBusAddress,  // DMA reads other memory than the driver writes
    NoRetrace,        // neither the flag nor the beam's line moves
};

// Named as in the document.
const std::map<std::string, Fault> kFaults = {
    {"none", Fault::None},
    {"nothing is mapped at `RegisterBase`", Fault::DeadAperture},
    {"a FIFO that is stuck from the start", Fault::StuckFifo},
    {"a FIFO that gets stuck in a scene", Fault::StuckFifoLater},
    {"no interrupt", Fault::NoInterrupt},
    {"a handler that forgets the entries behind the first", Fault::ForgetfulHandler},
    {"wrong bus addresses of the DMA buffers", Fault::WrongBusAddress},
    {"no vertical retrace", Fault::NoRetrace},
};

// Between the driver and the board. Ends the process when the driver polls for good.
class FaultyBus {
  public:
    FaultyBus(host::Display& display, Fault fault) : board_(display.Board()), fault_(fault) {
        ChipBus bus;
        bus.self = this;
        bus.Read = [](void* self, uint32_t offset) { return To(self).Read(offset); };
        bus.Write = [](void* self, uint32_t offset, uint32_t value) {
            To(self).polls_ = 0;
            To(self).board_.Write(offset, value);
        };
        bus.Words = [](void* self, const uint32_t* words, uint32_t count) {
            To(self).polls_ = 0;
            To(self).board_.WriteFifo(words, count);
        };
        bus.Idle = [](void* self, uint32_t rounds) {
            To(self).Poll();
            To(self).board_.Idle(rounds);
        };
        AttachChipBus(display.Aperture(), bus);
    }
    void BeginScene() { inScene_ = true; }

    static constexpr int kHangs = 100; // of the process, and which part of the play it is in
    int part = 0;

  private:
    static FaultyBus& To(void* self) { return *static_cast<FaultyBus*>(self); }

    void Poll() {
        constexpr uint32_t kForGood = 200'000;
        if (++polls_ == kForGood) {
            _exit(kHangs + part);
        }
    }

    uint32_t Read(uint32_t offset) {
        Poll();
        const uint32_t value = board_.Read(offset);
        switch (fault_) {
        case Fault::DeadAperture:
            return 0xFFFFFFFF;
        case Fault::StuckFifo:
            return offset == reg::InFIFOSpace ? 0 : value;
        case Fault::StuckFifoLater:
            return offset == reg::InFIFOSpace && inScene_ ? 0 : value;
        case Fault::NoRetrace:
            return offset == reg::IntFlags      ? value & ~field::IntFlags_Retrace.Mask()
                   : offset == reg::LineCounter ? 200
                                                : value;
        default:
            return value;
        }
    }

    board::Board& board_;
    Fault fault_;
    uint32_t polls_ = 0;
    bool inScene_ = false;
};

void BreakHandler(host::Display& display, Fault fault) {
    board::Board& board = display.Board();
    ChipInfo* chip = display.Chip();
    switch (fault) {
    case Fault::NoInterrupt:
        board.SetInterruptHandler({});
        break;
    case Fault::ForgetfulHandler:
        board.SetInterruptHandler([&board, chip] {
            const uint32_t flags = board.Read(reg::IntFlags);
            board.Write(reg::IntFlags,
                        flags & (field::IntFlags_DMA.Mask() | field::IntFlags_Error.Mask()));
            const uint32_t tail = chip->QueueTail;
            if (field::IntFlags_Error.Get(flags) == 0 || board.Read(reg::DMACount) != 0 ||
                tail == chip->QueueHead) {
                return;
            }
            chip->QueueRunning = 1;
            board.Write(reg::DMAAddress, chip->QueueAddress[tail]);
            board.Write(reg::DMACount, chip->QueueCount[tail]);
            chip->QueueTail = tail + 1 == chip->QueueEnd ? 0 : tail + 1;
        });
        break;
    case Fault::WrongBusAddress:
        for (uint32_t& address : chip->DMABufferPhysical) {
            address += 0x00800000;
        }
        break;
    default:
        break;
    }
}

enum Part { BringUp, Fill, Scene, Flips };
constexpr const char* kHanging[] = {"bring-up hangs", "2D hangs", "3D hangs", "flips hang"};

constexpr int kDraws = 0, kFillMissing = 1, kSceneMissing = 2, kFlipsNeverEnd = 3, kNo3D = 4,
              kRefused = 5;

// An application's loop around a call that answers that the chip is still drawing. False: for good.
bool Patiently(host::Display& display, const std::function<host::HalAnswer()>& call) {
    for (int i = 0; i < 200; ++i) {
        const host::HalAnswer answer = call();
        if (answer.result != DDERR_WASSTILLDRAWING) {
            return true;
        }
        display.Board().Advance(1000);
    }
    return false;
}

// The child's part: what it found is its exit code.
int Play(Fault fault, const std::map<std::string, std::string>& registry) {
    host::DisplayConfig config = test::ConfigFor(DevicePermedia2);
    config.registry = registry;
    config.timing.dmaWordsPerTick = 4;
    config.timing.interruptLatency = 4;
    host::Display display(config);
    FaultyBus bus(display, fault);
    BreakHandler(display, fault);
    bus.part = BringUp;
    if (!display.Start()) {
        return kRefused;
    }
    host::DirectDraw directDraw(display);
    host::Surface& front = directDraw.CreatePrimary(1);
    host::Surface& back = *front.Chain().at(0);
    bus.part = Fill;
    constexpr uint32_t kBlue = 0x001F, kRed = 0x7C00;
    for (host::Surface* surface : {&front, &back}) {
        if (!Patiently(display, [&] {
                return directDraw.ColorFill(*surface, {0, 0, 640, 480}, kBlue);
            })) {
            return kFlipsNeverEnd;
        }
    }
    if (!Patiently(display, [&] {
            void* bytes;
            return directDraw.Lock(back, &bytes);
        })) {
        return kFlipsNeverEnd;
    }
    if (back.Pixel(300, 300) != kBlue) {
        return kFillMissing;
    }
    bus.part = Scene;
    bus.BeginScene();
    const bool has3D = display.Driver()->D3DGlobalData != nullptr;
    if (has3D) {
        host::Device3D device(directDraw, back);
        device.SetState(D3DRENDERSTATE_SHADEMODE, D3DSHADE_FLAT);
        for (int scene = 0; scene < 3; ++scene) {
            device.BeginScene();
            for (int i = 0; i < 800; ++i) {
                const float x = static_cast<float>(i % 40) * 10,
                            y = static_cast<float>(i / 40) * 10;
                device.Triangle(test::ScreenVertex(x, y, 0.5f, 0xFFFF0000),
                                test::ScreenVertex(x + 40, y, 0.5f, 0xFFFF0000),
                                test::ScreenVertex(x, y + 40, 0.5f, 0xFFFF0000));
            }
            device.EndScene();
        }
        if (!Patiently(display, [&] {
                void* bytes;
                return directDraw.Lock(back, &bytes);
            })) {
            return kFlipsNeverEnd;
        }
        if (back.Pixel(100, 100) != kRed) {
            return kSceneMissing;
        }
    }
    bus.part = Flips;
    for (int i = 0; i < 3; ++i) {
        if (!Patiently(display, [&] { return directDraw.Flip(front, back); })) {
            return kFlipsNeverEnd;
        }
    }
    return has3D ? kDraws : kNo3D;
}

std::string Outcome(Fault fault, const std::map<std::string, std::string>& registry) {
    host::PowerCycle();
    const pid_t child = fork();
    if (child == 0) {
        _exit(Play(fault, registry));
    }
    int status = 0;
    waitpid(child, &status, 0);
    if (!WIFEXITED(status)) {
        return "crashes";
    }
    const int code = WEXITSTATUS(status);
    static const char* const names[] = {"draws",      "2D is missing", "3D is missing",
                                        "flips hang", "2D alone",      "refused"};
    return code >= FaultyBus::kHangs ? kHanging[code - FaultyBus::kHangs] : names[code];
}

// A column's switches, from its heading: "`NoDMA` 1", or "as it is".
std::map<std::string, std::string> Switches(const std::string& heading) {
    std::smatch match;
    if (std::regex_match(heading, match, std::regex("`(\\w+)` (\\d+)"))) {
        return {{"Direct3DHAL." + match[1].str(), match[2].str()}};
    }
    EXPECT_EQ(heading, "as it is");
    return {};
}

// The cells of a table's row.
std::vector<std::string> Cells(const std::string& line) {
    std::vector<std::string> cells;
    for (size_t from = line.find('|') + 1, to; (to = line.find('|', from)) != std::string::npos;
         from = to + 1) {
        cells.push_back(
            std::regex_replace(line.substr(from, to - from), std::regex("^ +| +$|\\*\\*"), ""));
    }
    return cells;
}

TEST(Symptoms, AreThoseOfTheDocument) {
    std::istringstream lines(test::Read(test::kProject / "docs/windows95.md"));
    std::vector<std::string> headings;
    size_t rows = 0;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("| fault |")) {
            headings = Cells(line);
            std::getline(lines, line); // of dashes
        } else if (!headings.empty() && line.starts_with("|")) {
            const std::vector<std::string> cells = Cells(line);
            ASSERT_EQ(cells.size(), headings.size()) << line;
            ASSERT_TRUE(kFaults.contains(cells[0])) << line;
            ++rows;
            for (size_t i = 1; i < cells.size(); ++i) {
                EXPECT_EQ(Outcome(kFaults.at(cells[0]), Switches(headings[i])), cells[i])
                    << cells[0] << " with " << headings[i];
            }
        } else {
            headings.clear();
        }
    }
    EXPECT_EQ(rows, kFaults.size());
}

} // namespace
