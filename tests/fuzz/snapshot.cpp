// Snapshots of a board with some values changed, and what the board does from there on. An input:
// chip and timing in two bytes; how many words it has taken before, and they; how many values are
// changed, and they; then words that it goes on with.
#include "board/snapshot.h"

#include "board/board.h"
#include "chip/registers.h"
#include "tests/fuzz/input.h"
#include "tests/fuzz/work_limit.h"

#include <vector>

namespace fuzz {

namespace {

// A board of little memory, whose work is bounded.
class SmallBoard {
  public:
    SmallBoard(uint8_t chip, uint8_t how) : board_(ConfigOf(chip, how)) {
        board_.SetProbe(&drawing_);
        board_.SetMonitor(&ticks_);
        board_.MapMemory(0, guest_.data(), guest_.size() * sizeof guest_[0]);
    }
    board::Board& Board() { return board_; }
    void Take(Input& input, uint32_t count) {
        for (; count != 0 && !input.AtEnd(); --count) {
            const uint32_t word = input.Word();
            board_.WriteFifo(&word, 1);
        }
    }

  private:
    static board::Config ConfigOf(uint8_t chip, uint8_t how) {
        board::Config config;
        config.chip = static_cast<board::Chip>(chip % std::size(kDevices));
        config.setupUnit = (chip & 0x80) != 0 || DeviceOf(config.chip).setupUnit;
        config.frameBufferBytes = 16u << 10;
        config.localBufferBytes = DeviceOf(config.chip).HasLocalBuffer() ? 16u << 10 : 0;
        if ((how & 1) != 0) {
            config.timing.fifoTicksPerEntry = 2;
            config.timing.dmaWordsPerTick = 3;
            config.timing.interruptLatency = 5;
        }
        return config;
    }

    std::vector<uint32_t> guest_ = std::vector<uint32_t>(1024);
    DrawingLimit drawing_{1u << 17};
    TickLimit ticks_{1u << 16};
    board::Board board_;
};

// Puts any values into any entries.
void ChangeValues(Input& input, std::vector<uint8_t>& bytes) {
    std::string error;
    const auto snapshot = board::Snapshot::Parse(bytes, error);
    Expect(snapshot.has_value(), "a board's own snapshot is none");
    const auto& entries = snapshot->Entries();
    for (uint32_t left = input.Below(16); left != 0; --left) {
        const auto entry =
            std::next(entries.begin(), static_cast<ptrdiff_t>(input.Below(entries.size())));
        const board::SnapshotEntry& values = entry->second;
        if (values.Count() == 0) {
            continue;
        }
        const size_t place = input.Below(static_cast<uint32_t>(values.Count()));
        const uint64_t value = input.Word();
        const auto at = static_cast<size_t>(values.bytes.data() - bytes.data());
        std::memcpy(&bytes[at + place * values.bytesPerValue], &value, values.bytesPerValue);
    }
}

} // namespace

void RunSnapshot(Bytes bytes) {
    Input input(bytes);
    const uint8_t chip = input.Byte(), how = input.Byte();
    try {
        SmallBoard first(chip, how);
        first.Take(input, input.Byte());
        std::vector<uint8_t> snapshot =
            first.Board().Save((how & 2) != 0 ? board::Board::Contents::WithMemories
                                              : board::Board::Contents::StateAlone);
        ChangeValues(input, snapshot);
        SmallBoard second(chip, how);
        if (second.Board().Restore(snapshot)) {
            return; // it is told what is wrong with it
        }
        const auto saved = second.Board().Save(board::Board::Contents::WithMemories);
        SmallBoard third(chip, how);
        Expect(!third.Board().Restore(saved), "a restored board's own snapshot is refused");
        Expect(third.Board().Save(board::Board::Contents::WithMemories) == saved,
               "a restored board saves another snapshot");
        second.Board().Read(reg::InFIFOSpace);
        second.Take(input, 256);
        second.Board().Advance(40'000);
        second.Board().Read(reg::FIFOWindow);
        second.Board().FaultReport().Describe();
    } catch (const OutOfWork&) {
    }
}

} // namespace fuzz
