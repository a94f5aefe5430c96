#pragma once
// A Direct3D context for tests of renderers, over memory of its own: under DMA the words are read
// from its one large sub-buffer, in FIFO mode from the recording bus.
#include "driver/core/dma.h"
#include "tests/support/recording_bus.h"
#include "tests/support/tag_names.h"
#include "tests/support/words.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace test {

// An area stipple of four rows, which goes out twice over.
inline Words StippleWords(uint32_t a, uint32_t b, uint32_t c, uint32_t d) {
    return {IndexedTag(t::AreaStipplePattern0, 0xFF), a, b, c, d, a, b, c, d};
}

class RasterRig {
  public:
    explicit RasterRig(bool dma = true)
        : registers_(std::make_unique<ChipRegisters>()), bus(registers_.get()) {
        chip.Family = FamilyGlint;
        chip.DeviceId = DeviceTX;
        driver.ChipInfo = &chip;
        driver.Registers = registers_.get();
        ctx.Magic = kContextMagic;
        ctx.Driver = &driver;
        ctx.CullMode = D3DCULL_NONE;
        ctx.RenderCommand = 0x10000;
        ctx.BytesPerPixel = 2;
        ctx.StippleIndex = kNoStipplePattern;
        ctx.Copies.ColorDDAMode = 3;
        CommandStream& stream = ctx.Stream;
        if (dma) {
            stream.CommandMode = kCommandModeDMA;
            stream.SubBufferCount = 1;
            stream.StartDMA = [](DriverData*, uint32_t, uint32_t, uint32_t, uint32_t*, uint32_t) {
                return 0;
            };
            stream.SubBufferWords = kWords;
            stream.SubBufferFlushWords = kWords;
            words_.resize(kWords);
            stream.SubBuffers[0] = {0, words_.data(), words_.data() + kWords - 1};
            stream.WritePointer = words_.data();
        } else {
            SetupFIFOStream(stream, registers_.get());
        }
    }

    // Draws triangles given by indices, three each, with records of `recordBytes`.
    void Draw(Renderer member, std::vector<D3DTLVERTEX>& vertices,
              const std::vector<uint32_t>& indices, uint32_t recordBytes = sizeof(D3DTRIANGLE)) {
        const size_t count = indices.size() / 3;
        std::vector<uint16_t> records(count * recordBytes / 2, 0xEEEE);
        for (size_t i = 0; i < indices.size(); ++i) {
            records[i / 3 * recordBytes / 2 + i % 3] = static_cast<uint16_t>(indices[i]);
        }
        D3DINSTRUCTION ins{D3DOP_TRIANGLE, static_cast<BYTE>(recordBytes),
                           static_cast<WORD>(count)};
        member(&ctx, &ins, vertices.data(), records.data());
    }

    // The words written since the last call.
    std::vector<uint32_t> Take() {
        if (words_.empty()) {
            std::vector<uint32_t> words = bus.FifoWords();
            bus.Clear();
            return words;
        }
        CommandStream& stream = ctx.Stream;
        std::vector<uint32_t> words(stream.Current().Linear, stream.WritePointer);
        stream.WritePointer = stream.Current().Linear;
        return words;
    }

  private:
    static constexpr uint32_t kWords = 1 << 18;
    std::unique_ptr<ChipRegisters> registers_;
    std::vector<uint32_t> words_;

  public:
    ChipInfo chip{};
    DriverData driver{};
    D3DContext ctx{};
    RecordingBus bus;
};

// A vertex from its place and colours.
inline D3DTLVERTEX Vertex(float sx, float sy, float sz = 0.0f, D3DCOLOR color = 0,
                          D3DCOLOR specular = 0) {
    D3DTLVERTEX vertex{};
    vertex.sx = sx;
    vertex.sy = sy;
    vertex.sz = sz;
    vertex.rhw = 1.0f;
    vertex.color = color;
    vertex.specular = specular;
    return vertex;
}

} // namespace test
