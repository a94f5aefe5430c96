#pragma once
// Texels and palettes that go into memory, or into the lookup table, without the pixel pipeline.
#include "board/texture/lookup_table.h"
#include "board/values/fault_counts.h"
#include "board/values/host_memory.h"
#include "board/values/memory.h"
#include "board/values/probe.h"
#include "board/values/registers.h"

namespace board {

// A word of TextureData: stored at TextureDownloadOffset, which moves on by one. Offsets count
// words, on the Permedia family from the start of the frame buffer, on Glint from LBWindowBase in
// the local buffer. The order of the words is kept on patched loads too (see
// texture/texture_state.cpp). Null: no probe.
void StoreTextureData(const DeviceRow& chip, RegisterFile& registers, Memories& memories,
                      uint32_t word, FaultCounts& faults, PixelProbe* probe);

// TexelLUTTransfer was written: takes the large table from TexelLUTAddress (words) if asked to.
void TransferLookupTable(const DeviceRow& chip, const RegisterFile& registers,
                         const Memories& memories, const HostMemory& host, LookupTable& table,
                         FaultCounts& faults);

} // namespace board
