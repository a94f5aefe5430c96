// A board that is restored goes on as the one that was saved.
#include "board/board.h"
#include "board/snapshot.h"
#include "board/video/video_source.h"
#include "chip/register_table.h"
#include "chip/words.h"
#include "tests/board/rig.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace {

using board::Board;
using board::Chip;
using Contents = board::Board::Contents;

constexpr uint32_t kBusAddress = 0x100000;
constexpr uint32_t kDmaWords = 4096;

// A camera that sends noise which depends on field and line alone.
class Noise : public board::VideoSource {
  public:
    board::VideoSignal Signal() const override { return {}; }
    void Line(uint64_t field, uint32_t line, std::vector<uint16_t>& pixels) override {
        for (uint32_t i = 0; i < 64; ++i) {
            pixels.push_back(static_cast<uint16_t>(field * 7919 + line * 31 + i));
        }
    }
};

// What others see of a board while it works.
struct Machine {
    explicit Machine(const board::Config& config) : dma(kDmaWords), board(config) {
        std::mt19937 random(99);
        for (uint32_t& word : dma) {
            word = random();
        }
        // Pairs that draw, and pairs that set modes.
        for (uint32_t i = 0; i + 1 < kDmaWords; i += 2) {
            dma[i] = i % 64 == 62 ? tag::Continue : tag::FogColor + i % 8;
            dma[i + 1] = i % 64 == 62 ? 3 : dma[i + 1];
        }
        for (uint8_t& byte : board.FrameBuffer()) {
            byte = static_cast<uint8_t>(random());
        }
        for (uint8_t& byte : board.LocalBuffer()) {
            byte = static_cast<uint8_t>(random());
        }
        board.MapMemory(kBusAddress, dma.data(), dma.size() * sizeof(uint32_t));
        board.SetInterruptHandler([this] {
            seen.push_back(0xA5A5A5A5);
            seen.push_back(static_cast<uint32_t>(board.Microseconds()));
            seen.push_back(board.Read(reg::IntFlags));
            board.Write(reg::IntFlags, seen.back());
        });
        board.SetVideoSource(&camera);
    }

    std::vector<uint32_t> dma;
    Noise camera;
    Board board;
    std::vector<uint32_t> seen; // values read, and calls of the interrupt handler
};

board::Timing SomeTiming(std::mt19937& random) {
    const auto oneOf = [&random](std::initializer_list<uint32_t> values) {
        return *(values.begin() + random() % values.size());
    };
    board::Timing timing;
    timing.fifoDepth = oneOf({256, 16, 4});
    timing.fifoDrainPerTick = oneOf({0, 1, 2});
    timing.fifoTicksPerEntry = oneOf({0, 0, 3});
    // Streams that get mixed up may draw millions of pixels.
    timing.pixelsPerTick = oneOf({0, 0, 4096});
    timing.fifoReportLag = oneOf({0, 5});
    timing.fifoReportCap = oneOf({0, 15});
    timing.dmaWordsPerTick = oneOf({0, 1, 3});
    timing.interruptLatency = oneOf({0, 17});
    timing.strayOutputWords = oneOf({0, 2});
    timing.microsecondsPerTick = oneOf({1, 1, 1, 7});
    return timing;
}

// Random work: everything that moves a unit, of which most draws.
class Work {
  public:
    explicit Work(uint32_t seed) : random_(seed) {}

    // Where its random numbers are, to go on from there elsewhere.
    std::string Place() const { return (std::ostringstream() << random_).str(); }
    void GoTo(const std::string& place) { std::istringstream(place) >> random_; }

    void Begin(Machine& machine) {
        Board& to = machine.board;
        to.Write(reg::DisconnectControl, Chance(2));
        to.Write(reg::IntEnable, 0x219);
        Send(to, tag::FBReadPixel, 2);
        Send(to, tag::FBReadMode, 2 | 0x400);
        Send(to, tag::LBReadMode, 2);
        Send(to, tag::FBWriteMode, 1);
        Send(to, tag::FilterMode, ~0u);
    }

    void Step(Machine& machine) {
        Board& to = machine.board;
        switch (Below(16)) {
        case 0:
        case 1:
            Mode(to);
            break;
        case 2:
        case 3:
            Trapezoid(to);
            break;
        case 4:
            Send(to, tag::ContinueNewSub, Below(6));
            break;
        case 5:
            Send(to, tag::StartXDom, Below(50) << 16);
            Send(to, tag::ContinueNewDom, Below(6));
            break;
        case 6:
            Send(to, Chance(2) ? tag::Continue : tag::ContinueNewLine, Below(6));
            break;
        case 7:
            Colours(to);
            break;
        case 8:
            Triangle(to);
            break;
        case 9:
            Interpolants(to);
            Texture(to);
            break;
        case 10:
            Send(to, Chance(2) ? tag::Sync : tag::PickResult, Below(100));
            for (uint32_t left = Below(12); left != 0 && Chance(2); --left) {
                machine.seen.push_back(to.Read(reg::OutFIFOWord));
            }
            if (Chance(4)) {
                Send(to, tag::ResetPickResult, 0);
            }
            break;
        case 11:
            Burst(to);
            break;
        case 12:
            Look(machine);
            break;
        case 13:
            Aperture(to);
            break;
        case 14:
            to.Idle(Below(200));
            break;
        case 15:
            to.Advance(Below(3000));
            break;
        }
    }

    // Every register that can hold a mode gets another value, while a primitive may be under way.
    void Scramble(Board& to) {
        for (const Register& entry : kRegisters) {
            if (entry.HasTag() && entry.use == Use::State && Chance(2)) {
                Send(to, entry.Tag(), Value());
            }
        }
        if (Chance(2)) {
            to.Write(reg::AGPTextureBase, kBusAddress + 4 * Below(256));
            to.Write(reg::FBModeSel, Below(8));
        }
    }

    uint32_t Word() { return static_cast<uint32_t>(random_()); }
    uint32_t Below(uint32_t end) { return Word() % end; }
    bool Chance(uint32_t one) { return Below(one) == 0; }

  private:
    static void Send(Board& to, uint32_t tagNumber, uint32_t data) {
        const uint32_t words[] = {tagNumber, data};
        to.WriteFifo(words, 2);
    }
    uint32_t Value() {
        switch (Below(4)) {
        case 0:
            return Below(4);
        case 1:
            return random_() & random_() & random_();
        case 2:
            return random_() & 0xFFFF;
        default:
            return random_();
        }
    }
    void Mode(Board& to) {
        const Register& entry = kRegisters[Below(std::size(kRegisters))];
        if (entry.HasTag() && entry.use == Use::State) {
            Send(to, entry.Tag(), Value());
        }
    }
    void Trapezoid(Board& to) {
        // The stage: what scrambling has spoilt.
        Send(to, tag::FBWriteMode, 1);
        Send(to, tag::LBWriteMode, 1);
        Send(to, tag::DepthMode, Chance(3) ? 0x73 : 0);
        Send(to, tag::ColorDDAMode, Chance(3) ? 0 : 3);
        Send(to, tag::LogicalOpMode, 0);
        Send(to, tag::FBHardwareWriteMask, ~0u);
        Send(to, tag::FBSoftwareWriteMask, ~0u);
        Send(to, tag::FBPixelOffset, 0);
        Send(to, tag::FBWindowBase, 0);
        Send(to, tag::LBWindowBase, Below(1000));
        Send(to, tag::ScissorMode, 1);
        Send(to, tag::ScissorMinXY, 0);
        Send(to, tag::ScissorMaxXY, 0x00400040);
        Send(to, tag::FBReadMode, 2 | (Chance(5) ? 0x200 : 0x400) | (Chance(8) ? 0x80000 : 0));
        Send(to, tag::StatisticMode, 1);
        Send(to, tag::MaxRegion, 0x00400040);
        Send(to, tag::StartXDom, Below(60) << 16);
        Send(to, tag::dXDom, Below(0x20000) - 0x10000);
        Send(to, tag::StartXSub, Below(60) << 16);
        Send(to, tag::dXSub, Below(0x20000) - 0x10000);
        Send(to, tag::StartY, Below(40) << 16);
        Send(to, tag::dY, 0x10000);
        Send(to, tag::Count, Below(8));
        const uint32_t kind = Chance(3) ? 0 : 0x40;
        Send(to, tag::Render, kind | (random_() & (Chance(2) ? 0x17009u : 0x16001u)));
    }
    // Maps of 16 by 16 texels, of a format with a lookup table as often as one without.
    void Texture(Board& to) {
        const uint32_t bits = 2 + Below(2); // 4 or 8, as a logarithm
        const bool table = Chance(2);
        Send(to, tag::TextureAddressMode, 1 | Below(2) << 1);
        Send(to, tag::TextureReadMode, 1 | Below(3) << 1 | 4 << 9 | 4 << 13 | Below(2) << 17);
        Send(to, tag::TextureBaseAddress, Chance(4) ? 0x40000000 : Below(1000));
        Send(to, tag::TextureMapFormat, table ? 1 | (bits == 2 ? 3 : 0) << 19 : 1 | 2 << 19);
        Send(to, tag::TextureDataFormat, table ? (bits == 2 ? 15 : 14) : 0);
        Send(to, tag::TexelLUTMode, 1);
        Send(to, tag::GlintTextureReadMode,
             1 | 4 << 1 | 4 << 5 | (table ? bits : 5) << 9 | Below(2) << 14 | Below(2) << 15);
        Send(to, tag::TextureFormat, table ? 2 | 3 << 3 : 0);
        Send(to, tag::TextureColorMode, 1 | 3 << 1 | Below(2) << 3 | 1 << 6);
        for (uint32_t entry = 0; entry < 16 && Chance(3); ++entry) {
            Send(to, tag::TexelLUT0 + entry, Word());
        }
        if (Chance(2)) {
            Send(to, tag::TexelLUTAddress, Below(4000));
            Send(to, tag::TexelLUTTransfer, 0x10000);
        }
    }
    void Interpolants(Board& to) {
        for (const Register& entry : kRegisters) {
            if (entry.HasTag() && entry.use == Use::Interpolant && entry.Tag() > tag::Count &&
                Chance(2)) {
                Send(to, entry.Tag(), Below(0x200000) << Below(8));
            }
        }
        Send(to, tag::QStart, 0x20000000 + Below(0x1FFFFFFF));
        Send(to, tag::FogMode, Below(2));
    }
    void Colours(Board& to) {
        for (uint32_t left = Below(40); left != 0; --left) {
            Send(to, tag::Color, Word());
        }
    }
    void Triangle(Board& to) {
        for (uint32_t group = tag::V0Float; group <= tag::V2Float; group += 16) {
            for (uint32_t word = 0; word < 13; ++word) {
                Send(to, group + word,
                     std::bit_cast<uint32_t>(static_cast<float>(Below(60)) * 0.7f));
            }
        }
        Send(to, tag::DeltaMode, 0x4DE + Below(4) * 0x8000);
        Send(to, Chance(3) ? tag::DrawLine01 : tag::DrawTriangle, 0x10040);
    }
    // Stops anywhere, so that the decoder waits for the rest.
    void Burst(Board& to) {
        const uint32_t first = Word(), second = Word();
        const uint32_t hold[] = {HoldTag(tag::TexelLUT0 + Below(16), 3), first, second, 7};
        const uint32_t indexed[] = {IndexedTag(tag::AreaStipplePattern0, 0xFF), first, second};
        if (Chance(2)) {
            to.WriteFifo(hold, 1 + Below(4));
        } else {
            to.WriteFifo(indexed, 1 + Below(3));
        }
    }
    void Look(Machine& machine) {
        const uint32_t offsets[] = {
            reg::InFIFOSpace,          reg::InFIFOSpace, reg::OutFIFOWords,  reg::OutFIFOWord,
            reg::OutFIFOWord,          reg::DMACount,    reg::ErrorFlags,    reg::LineCounter,
            reg::FreeRunningTimer,     reg::IntFlags,    reg::VSCurrentLine, reg::VSCurrentBuffer,
            MappedOffset(Below(0x400))};
        machine.seen.push_back(machine.board.Read(offsets[Below(std::size(offsets))]));
        machine.seen.push_back(machine.board.ShownBase());
    }
    void Aperture(Board& to) {
        switch (Below(7)) {
        case 0:
            to.Write(reg::DMAAddress, kBusAddress + 8 * Below(kDmaWords / 4));
            to.Write(reg::DMACount, 2 * Below(kDmaWords / 8));
            break;
        case 1:
            to.Write(reg::VSControl, 3 | 1 << 9 | 1 << 10);
            to.Write(reg::VSEndLine, 200);
            to.Write(reg::VSEndPixel, 64);
            to.Write(reg::VSBufferStride, 16);
            to.Write(reg::VSNextBuffer, Below(2));
            to.Write(reg::VSStreamControl, Below(2) | Below(8) << 2);
            break;
        case 2:
            to.Write(reg::ScreenBasePermedia, Below(1000));
            to.Write(reg::ScreenBaseGlint, Below(8));
            break;
        case 3:
            to.Write(MappedOffset(Below(0x400)), static_cast<uint32_t>(Below(16)));
            break;
        case 4:
            to.Write(reg::ErrorFlags, Below(8));
            break;
        case 5:
            to.Write(4 * Below(64), 0x219); // unknown ones too
            to.Write(reg::IntEnable, Chance(2) ? 0x219 : Below(0x400));
            break;
        case 6:
            to.SetTiming(SomeTiming(random_));
            break;
        }
    }

    std::mt19937 random_;
};

board::Config SomeConfig(uint32_t seed) {
    std::mt19937 random(seed);
    board::Config config;
    config.chip = static_cast<Chip>(seed % 5);
    config.setupUnit = seed % 2 == 0 || config.chip == Chip::Permedia2;
    config.frameBufferBytes = 1u << 16;
    config.localBufferBytes = 1u << 16;
    config.timing = SomeTiming(random);
    return config;
}

std::string TextOf(const std::vector<uint8_t>& bytes) {
    return {bytes.begin(), bytes.end()};
}

// Names of the entries that differ.
std::string Differences(const std::vector<uint8_t>& left, const std::vector<uint8_t>& right) {
    std::string error, names;
    const auto a = board::Snapshot::Parse(left, error);
    const auto b = board::Snapshot::Parse(right, error);
    for (const auto& [name, entry] : a->Entries()) {
        const board::SnapshotEntry* other = b->Find(name);
        if (other == nullptr || other->bytes.size() != entry.bytes.size() ||
            std::memcmp(other->bytes.data(), entry.bytes.data(), entry.bytes.size()) != 0) {
            names.append(name).append(" ");
        }
    }
    return names;
}

// A snapshot's bytes made of entries.
std::vector<uint8_t> BytesOf(const std::map<std::string_view, board::SnapshotEntry>& entries) {
    std::string text = "KORVSTAT";
    const auto number = [&text](uint64_t value, int bytes) {
        for (int i = 0; i < bytes; ++i) {
            text += static_cast<char>(value >> (8 * i));
        }
    };
    number(1, 4);
    number(entries.size(), 4);
    for (const auto& [name, entry] : entries) {
        number(name.size(), 2);
        text += name;
        number(entry.bytesPerValue, 1);
        number(entry.Count(), 8);
        text.append(reinterpret_cast<const char*>(entry.bytes.data()), entry.bytes.size());
    }
    return {text.begin(), text.end()};
}

TEST(Snapshot, ARestoredBoardGoesOnLikeTheSavedOne) {
    for (uint32_t seed = 0; seed < 400; ++seed) {
        const board::Config config = SomeConfig(seed);
        Machine saved(config);
        Work work(seed);
        work.Begin(saved);
        for (uint32_t left = 20 + work.Below(150); left != 0; --left) {
            work.Step(saved);
        }
        if (work.Chance(2)) {
            work.Scramble(saved.board);
        }

        // Into a board that has been busy with something else.
        Machine restored(config);
        Work other(seed + 1000);
        other.Begin(restored);
        for (uint32_t left = other.Below(100); left != 0; --left) {
            other.Step(restored);
        }
        const auto bytes = saved.board.Save(Contents::WithMemories);
        ASSERT_EQ(restored.board.Restore(bytes), std::nullopt);
        ASSERT_EQ(Differences(bytes, restored.board.Save(Contents::WithMemories)), "");

        saved.seen.clear();
        restored.seen.clear();
        Work same = work;
        for (uint32_t left = 60; left != 0; --left) {
            work.Step(saved);
            same.Step(restored);
        }
        ASSERT_EQ(saved.seen, restored.seen) << seed;
        ASSERT_EQ(Differences(saved.board.Save(Contents::WithMemories),
                              restored.board.Save(Contents::WithMemories)),
                  "")
            << seed;
        ASSERT_EQ(saved.board.FaultReport().Describe(), restored.board.FaultReport().Describe());
        ASSERT_EQ(saved.board.Configuration().timing, restored.board.Configuration().timing);
    }
}

// What a process hands to another one that is to go on: files in a folder.
class Handover {
  public:
    explicit Handover(std::filesystem::path folder) : folder_(std::move(folder)) {}

    void Put(const char* name, const std::vector<uint8_t>& bytes) const {
        std::ofstream(folder_ / name, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()),
                   static_cast<std::streamsize>(bytes.size()));
    }
    void Put(const char* name, const std::string& text) const {
        std::ofstream(folder_ / name) << text;
    }
    std::vector<uint8_t> Bytes(const char* name) const {
        std::ifstream file(folder_ / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    std::string Text(const char* name) const { return TextOf(Bytes(name)); }

  private:
    std::filesystem::path folder_;
};

std::string Goes(Machine& machine, Work& work) {
    machine.seen.clear();
    for (uint32_t left = 60; left != 0; --left) {
        work.Step(machine);
    }
    std::ostringstream seen;
    for (const uint32_t value : machine.seen) {
        seen << value << ' ';
    }
    return seen.str() + machine.board.FaultReport().Describe();
}

constexpr const char* kHandoverVariable = "KORV_SNAPSHOT_HANDOVER";

// The other process of the test below.
TEST(Snapshot, OtherProcess) {
    const char* folder = std::getenv(kHandoverVariable);
    if (folder == nullptr) {
        GTEST_SKIP() << "started by Snapshot.GoesOnInAnotherProcess";
    }
    const Handover handover(folder);
    Machine machine(SomeConfig(static_cast<uint32_t>(std::stoul(handover.Text("seed")))));
    ASSERT_EQ(machine.board.Restore(handover.Bytes("board")), std::nullopt);
    Work work(0);
    work.GoTo(handover.Text("work"));
    handover.Put("seen", Goes(machine, work));
    handover.Put("after", machine.board.Save(Contents::WithMemories));
}

TEST(Snapshot, GoesOnInAnotherProcess) {
    std::string folder = (std::filesystem::temp_directory_path() / "korv-XXXXXX").string();
    ASSERT_NE(mkdtemp(folder.data()), nullptr);
    const Handover handover(folder);
    for (uint32_t seed = 0; seed < 20; ++seed) {
        Machine machine(SomeConfig(seed));
        Work work(seed);
        work.Begin(machine);
        for (uint32_t left = 20 + work.Below(150); left != 0; --left) {
            work.Step(machine);
        }
        handover.Put("seed", std::to_string(seed));
        handover.Put("work", work.Place());
        handover.Put("board", machine.board.Save(Contents::WithMemories));
        handover.Put("after", std::string());
        const std::string self = std::filesystem::read_symlink("/proc/self/exe").string();
        const std::string line = std::string(kHandoverVariable) + "='" + folder + "' '" + self +
                                 "' --gtest_filter=Snapshot.OtherProcess > '" + folder + "/told'";
        ASSERT_EQ(std::system(line.c_str()), 0) << handover.Text("told");

        EXPECT_EQ(Goes(machine, work), handover.Text("seen")) << seed;
        const std::vector<uint8_t> after = handover.Bytes("after");
        ASSERT_FALSE(after.empty());
        EXPECT_EQ(Differences(machine.board.Save(Contents::WithMemories), after), "") << seed;
    }
    std::filesystem::remove_all(folder);
}

// What the random work above must have reached for its word to count.
TEST(Snapshot, TheRandomWorkMovesEveryPartOfTheState) {
    std::set<std::string> moved, all;
    for (uint32_t seed = 0; seed < 100; ++seed) {
        Machine machine(SomeConfig(seed));
        const auto before = machine.board.Save(Contents::WithMemories);
        Work work(seed);
        work.Begin(machine);
        for (uint32_t left = 200; left != 0; --left) {
            work.Step(machine);
        }
        std::istringstream names(Differences(before, machine.board.Save(Contents::WithMemories)));
        for (std::string name; names >> name;) {
            moved.insert(name);
        }
        std::string error;
        const auto parsed = board::Snapshot::Parse(before, error);
        for (const auto& [name, entry] : parsed->Entries()) {
            all.insert(std::string(name));
        }
    }
    std::string still;
    for (const std::string& name : all) {
        // A row of a download is not clipped, so nothing is skipped in it.
        if (!moved.contains(name) && !name.starts_with("config.") &&
            name != "commands.download.span.skipped") {
            still += name + " ";
        }
    }
    EXPECT_EQ(still, "");
}

TEST(Snapshot, EntriesThatAreMissingAreNamedAndNothingChanges) {
    Machine machine(SomeConfig(4));
    Work work(7);
    work.Begin(machine);
    for (int i = 0; i < 100; ++i) {
        work.Step(machine);
    }
    const auto bytes = machine.board.Save(Contents::StateAlone);
    std::string error;
    const auto whole = board::Snapshot::Parse(bytes, error);
    ASSERT_TRUE(whole) << error;
    ASSERT_GT(whole->Entries().size(), 80u);

    Board other(SomeConfig(4));
    const auto untouched = other.Save(Contents::StateAlone);
    for (const auto& [name, entry] : whole->Entries()) {
        auto fewer = whole->Entries();
        fewer.erase(name);
        const auto result = other.Restore(BytesOf(fewer));
        ASSERT_TRUE(result) << name;
        EXPECT_EQ(*result, "the snapshot lacks " + std::string(name));
    }
    EXPECT_EQ(TextOf(other.Save(Contents::StateAlone)), TextOf(untouched));
}

TEST(Snapshot, UnknownEntriesAreSkippedAndOrderIsFree) {
    Board first(SomeConfig(3)), second(SomeConfig(3));
    first.Write(reg::AGPTextureBase, 0x1234);
    const auto bytes = first.Save(Contents::StateAlone);
    std::string error;
    const auto whole = board::Snapshot::Parse(bytes, error);
    auto more = whole->Entries();
    const uint8_t value[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    more["a.unit.of.later"] = {4, value};
    more["zzz"] = {1, value};
    EXPECT_EQ(second.Restore(BytesOf(more)), std::nullopt);
    EXPECT_EQ(TextOf(second.Save(Contents::StateAlone)), TextOf(bytes));
}

TEST(Snapshot, ABoardOfAnotherMakeIsRefused) {
    const board::Config config = SomeConfig(0);
    Board saved(config);
    const auto bytes = saved.Save(Contents::StateAlone);
    const auto refuses = [&](const board::Config& another) {
        Board other(another);
        return other.Restore(bytes).value_or("");
    };
    board::Config another = config;
    another.chip = Chip::MX;
    EXPECT_EQ(refuses(another), "this board cannot have the snapshot's config.chip");
    another = config;
    another.setupUnit = false;
    EXPECT_EQ(refuses(another), "this board cannot have the snapshot's config.setupUnit");
    another = config;
    another.localBufferBytes = 0;
    EXPECT_EQ(refuses(another), "this board cannot have the snapshot's config.localBufferBytes");
    // How it keeps time is state.
    another = config;
    another.timing.fifoDepth = 3;
    EXPECT_EQ(refuses(another), "");
}

// The port's registers are taken at their word, and there is no such buffer to store into.
TEST(Snapshot, AVideoBufferThatIsNotThereTakesNothing) {
    const board::Config config = SomeConfig(3);
    Noise camera;
    Board board(config);
    board.SetVideoSource(&camera);
    board.Write(reg::VSStreamControl, field::VSStreamControl_Enable.Mask());
    board.Write(reg::VSEndLine, 0xFFFF);
    board.Write(reg::VSEndPixel, 0xFFFF);
    const board::VideoSignal signal = camera.Signal();
    board.Write(reg::VSControl,
                field::VSControl_Format.Put(0, signal.portWidth == 8 ? 3 : 4) |
                    (signal.lineReferenceHigh ? field::VSControl_HRefHigh.Mask() : 0) |
                    (signal.fieldReferenceHigh ? field::VSControl_VRefHigh.Mask() : 0));
    board.Advance(100'000);
    const auto bytes = board.Save(Contents::StateAlone);
    std::string error;
    const auto whole = board::Snapshot::Parse(bytes, error);
    auto entries = whole->Entries();
    ASSERT_EQ(entries.at("video.taking")[0], 1u);
    auto registers = entries.at("registers.aperture");
    std::vector<uint8_t> changed(registers.bytes.begin(), registers.bytes.end());
    changed.at(reg::VSCurrentBuffer / 4 * registers.bytesPerValue) = 7;
    registers.bytes = changed;
    entries["registers.aperture"] = registers;
    ASSERT_EQ(board.Restore(BytesOf(entries)), std::nullopt);
    std::ranges::fill(board.FrameBuffer(), uint8_t{0});
    const uint64_t line = 1'000'000 / (signal.fieldsPerSecond * signal.linesPerField) + 1;
    board.Advance(line);
    EXPECT_EQ(std::ranges::count(board.FrameBuffer(), uint8_t{0}),
              static_cast<ptrdiff_t>(board.FrameBuffer().size()));
    EXPECT_EQ(board::Snapshot::Parse(board.Save(Contents::StateAlone), error)
                  ->Entries()
                  .at("video.taking")[0],
              0u);
}

TEST(Snapshot, MemoriesMayBeKeptApart) {
    Board saved(SomeConfig(1)), restored(SomeConfig(1));
    saved.FrameBuffer()[5] = 0x55;
    restored.FrameBuffer()[5] = 0xAA;
    ASSERT_EQ(restored.Restore(saved.Save(Contents::StateAlone)), std::nullopt);
    EXPECT_EQ(restored.FrameBuffer()[5], 0xAA);
    ASSERT_EQ(restored.Restore(saved.Save(Contents::WithMemories)), std::nullopt);
    EXPECT_EQ(restored.FrameBuffer()[5], 0x55);
}

TEST(Snapshot, BytesThatAreNoneAreRefused) {
    Board board(SomeConfig(2));
    const auto bytes = board.Save(Contents::StateAlone);
    const auto restore = [&board](std::vector<uint8_t> damaged) {
        return board.Restore(damaged).value_or("");
    };
    EXPECT_EQ(restore({}), "not a snapshot of a board");
    EXPECT_EQ(restore({'K', 'O', 'R', 'V'}), "not a snapshot of a board");
    auto later = bytes;
    later[8] = 2;
    EXPECT_EQ(restore(later), "a snapshot of version 2, where 1 is known");
    for (size_t length = 8; length < bytes.size(); length += 1 + length / 97) {
        ASSERT_EQ(restore({bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length)}),
                  "the snapshot is cut off")
            << length;
    }
}

// Whatever the bytes say, the board stays one that can be used.
TEST(Snapshot, DamagedOnesAreRefusedOrRun) {
    std::mt19937 random(3);
    uint32_t refused = 0, taken = 0;
    for (uint32_t seed = 0; seed < 200; ++seed) {
        Machine machine(SomeConfig(seed % 10));
        Work work(seed);
        work.Begin(machine);
        for (int i = 0; i < 60; ++i) {
            work.Step(machine);
        }
        auto bytes = machine.board.Save(Contents::StateAlone);
        std::string error;
        const auto parsed = board::Snapshot::Parse(bytes, error);
        // Numbers of all parts but the large arrays, where nothing depends on a value.
        std::vector<size_t> places;
        for (const auto& [name, entry] : parsed->Entries()) {
            // A pipeline may be busy for an hour; waiting for it would take long here, too.
            const bool timing = name.starts_with("config.timing.") || name == "busyTicks";
            if (!timing && entry.bytes.size() <= 256) {
                for (const uint8_t& byte : entry.bytes) {
                    places.push_back(static_cast<size_t>(&byte - bytes.data()));
                }
            }
        }
        for (int i = 0; i < 3; ++i) {
            bytes[places[random() % places.size()]] = static_cast<uint8_t>(random());
        }
        (machine.board.Restore(bytes) ? refused : taken)++;
        for (int i = 0; i < 40; ++i) {
            work.Step(machine);
        }
    }
    EXPECT_GT(refused, 20u);
    EXPECT_GT(taken, 20u);
}

// What a primitive may need when it goes on is kept as it was; vertices are for the next one.
TEST(Snapshot, GrowsByModesThatChangeBehindAPrimitiveAndNotByVertices) {
    rig::Rig r;
    r.Rectangle(0, 0, 2, 2);
    const size_t before = r.board.Save(Contents::StateAlone).size();
    r.Send({{tag::V0Float, 5}, {tag::V2Float + 15, 6}});
    EXPECT_EQ(r.board.Save(Contents::StateAlone).size(), before);
    r.Send(tag::FogColor, 7);
    EXPECT_GT(r.board.Save(Contents::StateAlone).size(), before);
}

} // namespace
