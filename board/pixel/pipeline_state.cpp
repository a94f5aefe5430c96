// Mode words to pipeline state.
#include "board/pixel/pipeline.h"

#include <fmt/format.h>

namespace board {

namespace {

Plane PixelPlane(bool permedia, const RegisterFile& registers, Memories& memories, uint32_t bytes) {
    // The destination's side: see CommandUnit::Execute.
    const uint32_t mode = registers[permedia ? tag::FBWriteConfig : tag::FBReadMode];
    Plane plane{};
    plane.memory = memories.frameBuffer.data();
    plane.elements = static_cast<int64_t>(memories.frameBuffer.size() / bytes);
    plane.base = Signed(registers[tag::FBPixelOffset]) + Signed(registers[tag::FBWindowBase]);
    plane.pitch = PitchFromProducts(mode);
    plane.bytesPerElement = bytes;
    plane.patched = permedia && field::FBReadMode_Patched.Get(mode) != 0;
    return plane;
}

DepthUnit DecodeDepth(const DeviceRow& chip, const RegisterFile& registers, Memories& memories,
                      FaultCounts& faults) {
    DepthUnit depth{};
    depth.enabled = registers.Get(field::DepthMode_Enable) != 0;
    if (!depth.enabled) {
        return depth;
    }
    depth.reads = registers.Get(field::LBReadMode_ReadDest) != 0;
    depth.writes = registers.Get(field::DepthMode_WriteEnable) != 0 &&
                   registers.Get(field::LBWriteMode_Enable) != 0 &&
                   !(chip.IsPermedia() && registers.Get(field::Window_DisableUpdate) != 0);
    depth.compare = static_cast<Compare>(registers.Get(field::DepthMode_Compare));

    constexpr uint32_t k16Bits = 0;
    constexpr uint32_t k32Bits = 2;
    const uint32_t width = registers.Get(field::LBReadFormat_DepthWidth);
    if (width != k16Bits && width != k32Bits) {
        ++faults.unmodelled[fmt::format("depth width code {}", width)];
    }
    constexpr uint32_t kFragment = 0;
    const uint32_t source = registers.Get(field::DepthMode_Source);
    depth.constant = source == kDepthFromRegister;
    depth.constantValue = registers[tag::Depth];
    if (source != kFragment && source != kDepthFromRegister) {
        ++faults.unmodelled[fmt::format("depth source {}", source)];
    }
    depth.limit = width == k16Bits ? 0xFFFF : 0xFFFFFFFF;
    MemoryBlock& memory = chip.IsPermedia() ? memories.frameBuffer : memories.localBuffer;
    depth.plane.memory = memory.data();
    depth.plane.bytesPerElement = width == k16Bits ? 2 : 4;
    depth.plane.elements = static_cast<int64_t>(memory.size() / depth.plane.bytesPerElement);
    depth.plane.base = Signed(registers[tag::LBWindowBase]);
    depth.plane.pitch = PitchFromProducts(registers[tag::LBReadMode]);
    return depth;
}

PixelFormat DecodeFormat(uint32_t bytes, uint32_t code, uint32_t extension, bool redHigh,
                         const char* unit, FaultCounts& faults) {
    if (bytes == 3) {
        return PackedFormat(redHigh);
    }
    if (const auto format = FormatOfCode(code, extension, redHigh)) {
        return *format;
    }
    ++faults.unmodelled[fmt::format("{} colour format {:X}/{}", unit, code, extension)];
    return *FormatOfCode(0, 0, redHigh);
}

// Copied pixels are raw, and pass no unit that makes or tests colours.
void CheckRawCopy(const RegisterFile& registers, FaultCounts& faults) {
    for (const Field& unit : {field::AlphaBlendMode_Enable, field::DitherMode_UnitEnable,
                              field::AlphaTestMode_Enable, field::DepthMode_WriteEnable}) {
        if (registers.Get(unit) != 0) {
            ++faults.unmodelled["copy through the units of fragments"];
            return;
        }
    }
}

} // namespace

uint32_t BytesPerPixel(const DeviceRow& chip, const RegisterFile& registers) {
    if (chip.IsGlint()) {
        const uint32_t code = chip.model == ChipModel::SX ? registers.Get(field::FBModeSel_Depth)
                                                          : registers[tag::PixelSize];
        return code == 2 ? 1 : code == 1 ? 2 : 4;
    }
    switch (registers[tag::FBReadPixel]) {
    case 0:
        return 1;
    case 1:
        return 2;
    case 4:
        return 3;
    default:
        return 4;
    }
}

Colour FragmentColour(const RegisterFile& registers) {
    const bool constant = registers.Get(field::ColorDDAMode_Enable) != 0;
    return ColourOfWord(registers[constant ? tag::ConstantColor : tag::Color]);
}

PipelineState DecodePipeline(const DeviceRow& chip, const RegisterFile& registers,
                             Memories& memories, const HostMemory& host, const LookupTables& tables,
                             FaultCounts& faults) {
    const auto on = [&registers](const Field& field) { return registers.Get(field) != 0; };
    PipelineState state{};
    const uint32_t bytes = BytesPerPixel(chip, registers);
    state.clip = ScissorRectangle(registers);
    state.pixels = PixelPlane(chip.IsPermedia(), registers, memories, bytes);
    state.drawsPixels = on(field::FBWriteMode_Enable);
    state.readsPixels = on(field::FBReadMode_ReadDest);
    state.constantWrite = on(field::LogicalOpMode_ConstantColour);
    if (!state.constantWrite) {
        state.copy = DecodeCopy(chip, registers, state.pixels, faults);
        if (on(field::FBReadMode_ReadSource) && state.copy.way == CopyState::Way::None) {
            state.drawsPixels = false; // a copy that cannot be done
            return state;
        }
    }
    // With this bit a copy goes as fast as a fill, and is no fill.
    state.blockFill = on(field::Render_FastFill) && state.copy.way == CopyState::Way::None;
    state.subPixel = on(field::Render_SubPixelCorrection);
    state.stippled = on(field::AreaStippleMode_Enable) && on(field::Render_AreaStipple);
    if (state.stippled) {
        state.stipple = LoadAreaStipple(registers, !chip.IsPermedia());
    }
    state.hardwareMask = registers[tag::FBHardwareWriteMask];
    state.writeMask = state.hardwareMask & registers[tag::FBSoftwareWriteMask];
    state.blockColour = registers[tag::FBBlockColor];
    if (state.blockFill) {
        return state;
    }
    state.localUpdate = DecodeLocalUpdate(chip, registers, memories, faults);
    state.logical = on(field::LogicalOpMode_Enable);
    state.logicOp = registers.Get(field::LogicalOpMode_Operation);
    if (state.copy.way != CopyState::Way::None) {
        CheckRawCopy(registers, faults);
        return state;
    }

    state.gouraud = on(field::ColorDDAMode_Enable) && on(field::ColorDDAMode_Gouraud);
    state.flatColour = FragmentColour(registers);
    state.texture = DecodeTexture(chip, registers, memories, host, tables, faults);
    state.fogged = on(field::FogMode_Enable) && on(field::Render_Fog);
    state.fogColour = ColourOfWord(registers[tag::FogColor]);
    state.alphaTested = on(field::AlphaTestMode_Enable);
    state.alphaCompare = static_cast<Compare>(registers.Get(field::AlphaTestMode_Compare));
    state.alphaReference = registers.Get(field::AlphaTestMode_Reference);
    state.depth = DecodeDepth(chip, registers, memories, faults);

    // The Glint family knows no format extension: its mode words carry other bits there.
    const auto extension = [&](const Field& field) {
        return chip.IsPermedia() ? registers.Get(field) : 0;
    };
    state.blended = on(field::AlphaBlendMode_Enable);
    if (state.blended) {
        state.sourceFactor = static_cast<SourceFactor>(registers.Get(field::AlphaBlendMode_Source));
        state.destFactor = static_cast<DestFactor>(registers.Get(field::AlphaBlendMode_Dest));
        state.blendFormat = DecodeFormat(bytes, registers.Get(field::AlphaBlendMode_ColorFormat),
                                         extension(field::AlphaBlendMode_FormatExtension),
                                         on(field::AlphaBlendMode_ColorOrder), "blend", faults);
    }
    state.formatted = on(field::DitherMode_UnitEnable);
    if (state.formatted) {
        state.dithered = on(field::DitherMode_Enable);
        state.writeFormat = DecodeFormat(bytes, registers.Get(field::DitherMode_ColorFormat),
                                         extension(field::DitherMode_FormatExtension),
                                         on(field::DitherMode_ColorOrder), "dither", faults);
    }
    state.writeData = registers[tag::FBWriteData];
    return state;
}

} // namespace board
