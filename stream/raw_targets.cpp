#include "stream/raw_targets.h"

#include "board/board.h"
#include "board/values/registers.h"
#include "chip/devices.h"
#include "chip/register_table.h"

#include <algorithm>

namespace stream {

namespace {

class Registers {
  public:
    explicit Registers(const board::Board& board) : board_(board) {}
    uint32_t operator[](uint32_t tagNumber) const {
        return board_.RegisterAt(MappedOffset(tagNumber));
    }
    uint32_t Get(const Field& field) const { return field.Get(board_.RegisterAt(field.offset)); }

  private:
    const board::Board& board_;
};

uint32_t PixelBits(const DeviceRow& chip, const Registers& registers) {
    if (chip.IsGlint()) {
        const uint32_t code = chip.model == ChipModel::SX ? registers.Get(field::FBModeSel_Depth)
                                                          : registers[tag::PixelSize];
        return code == 2 ? 8 : code == 1 ? 16 : 32;
    }
    const uint32_t code = registers[tag::FBReadPixel];
    return code == 0 ? 8 : code == 1 ? 16 : code == 4 ? 24 : 32;
}

// Where it lies; `base` and `pitch` count pixels.
bool Lay(SurfaceLayout& surface, int64_t base, uint32_t pitch, size_t memoryBytes) {
    const uint32_t bytes = surface.bits / 8;
    if (pitch == 0 || base < 0 || static_cast<uint64_t>(base) * bytes >= memoryBytes) {
        return false;
    }
    surface.offset = static_cast<uint32_t>(base) * bytes;
    surface.pitch = static_cast<int32_t>(pitch * bytes);
    surface.width = std::min(surface.width, pitch);
    const size_t rows = (memoryBytes - surface.offset) / (size_t{pitch} * bytes);
    surface.height = static_cast<uint32_t>(std::min<size_t>(surface.height, rows));
    return surface.height != 0;
}

} // namespace

std::vector<SurfaceLayout> RawTargets(board::Board& board, const SurfaceLayout& screen) {
    const DeviceRow& chip = DeviceOf(board.Configuration().chip);
    const Registers registers(board);
    const auto signedWord = [&](uint32_t tagNumber) {
        return static_cast<int64_t>(static_cast<int32_t>(registers[tagNumber]));
    };
    std::vector<SurfaceLayout> targets;

    SurfaceLayout colour = ScreenLayout(screen.width, screen.height, PixelBits(chip, registers), 0);
    colour.name = "target";
    const uint32_t mode = chip.IsPermedia() ? tag::FBWriteConfig : tag::FBReadMode;
    if (Lay(colour, signedWord(tag::FBPixelOffset) + signedWord(tag::FBWindowBase),
            board::PitchFromProducts(registers[mode]), board.FrameBuffer().size())) {
        targets.push_back(colour);
    }

    SurfaceLayout depth;
    depth.name = "depth";
    depth.format = "depth";
    depth.memory = chip.IsPermedia() ? Memory::FrameBuffer : Memory::LocalBuffer;
    depth.width = screen.width;
    depth.height = screen.height;
    depth.bits = registers.Get(field::LBReadFormat_DepthWidth) == 0 ? 16 : 32;
    if (Lay(depth, signedWord(tag::LBWindowBase),
            board::PitchFromProducts(registers[tag::LBReadMode]),
            (chip.IsPermedia() ? board.FrameBuffer() : board.LocalBuffer()).size())) {
        targets.push_back(depth);
    }
    return targets;
}

} // namespace stream
