#include "board/pixel/texture_download.h"

#include "board/texture/texture_unit.h"

namespace board {

void StoreTextureData(const DeviceRow& chip, RegisterFile& registers, Memories& memories,
                      uint32_t word, FaultCounts& faults, PixelProbe* probe) {
    const uint32_t offset = registers[tag::TextureDownloadOffset];
    registers.Set(tag::TextureDownloadOffset, offset + 1);
    MemoryBlock& memory = chip.IsGlint() ? memories.localBuffer : memories.frameBuffer;
    const uint32_t base = chip.IsGlint() ? registers[tag::LBWindowBase] : 0;
    const uint64_t place = (uint64_t{base} + offset) * sizeof word;
    if (place + sizeof word > memory.size()) {
        ++faults.badMemoryAccesses;
        return;
    }
    if (probe != nullptr) {
        PixelReport stored;
        stored.way = PixelWay::TextureData;
        stored.colour = {chip.IsGlint(),
                         true,
                         sizeof word,
                         static_cast<int64_t>(place),
                         LoadElement<4>(memory.data() + place),
                         word};
        probe->OnPixel(stored);
    }
    StoreElement<4>(memory.data() + place, word);
}

void TransferLookupTable(const DeviceRow& chip, const RegisterFile& registers,
                         const Memories& memories, const HostMemory& host, LookupTable& table,
                         FaultCounts& faults) {
    if (registers.Get(field::TexelLUTTransfer_Load) == 0) {
        return;
    }
    const uint64_t place = uint64_t{registers[tag::TexelLUTAddress]} * sizeof(uint32_t);
    std::span<const uint8_t> memory = chip.IsGlint() ? memories.localBuffer : memories.frameBuffer;
    // The table lies behind its map, so in the same memory.
    if (!chip.IsGlint() && (registers[tag::TextureBaseAddress] & kTextureBaseInAGP) != 0) {
        memory = host.From(registers.Aperture(reg::AGPTextureBase) + static_cast<uint32_t>(place));
    } else {
        memory = place < memory.size() ? memory.subspan(static_cast<size_t>(place))
                                       : std::span<const uint8_t>{};
    }
    if (!table.Load(memory)) {
        ++faults.badMemoryAccesses;
    }
}

} // namespace board
