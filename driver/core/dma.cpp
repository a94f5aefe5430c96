// Writing the stream: set-up, reservations, bursts, sub-buffers.
#include "driver/core/dma.h"

#include <bit>

namespace {

// A new context's first limit, and the step by which it grows.
constexpr uint32_t kFlushStepWords = 256;

void WriteSubBufferHead(D3DContext* ctx) {
    CommandStream& stream = ctx->Stream;
    const D3DContext::RegisterCopies& copies = ctx->Copies;
    stream.Guard.Allow(stream.WritePointer + SubBufferHeadBytes(ctx->Driver->ChipInfo) / 4);
    EmitTag(stream, tag::FogMode, copies.FogMode);
    EmitTag(stream, tag::TextureAddressMode, copies.TextureAddressMode);
    EmitTag(stream, tag::TextureColorMode, copies.TextureColorMode);
    EmitTag(stream, tag::TextureReadMode, copies.TextureReadMode);
    EmitTag(stream, tag::AlphaBlendMode, ctx->AlphaBlendModeOut);
    EmitTag(stream, tag::FogColor, HeldFogColor(ctx));
}

// Hands the sub-buffer's words to `start`, under hardware context `context`.
void SendCurrent(CommandStream& stream, StartDMAFunction start, DriverData* driver,
                 uint32_t context) {
    const SubBuffer& current = stream.Current();
    start(driver, context, stream.WordsWritten(), current.Physical, current.Linear, 0);
}

// Nothing is reserved there yet.
void BeginSubBuffer(CommandStream& stream) {
    stream.WritePointer = stream.Current().Linear;
    stream.Guard.Allow(stream.WritePointer);
}

// Sends the sub-buffer of the display's own stream and goes on in the next.
void SendAndMoveOn(DriverData* driver) {
    CommandStream& stream = driver->Stream;
    SendCurrent(stream, StartDMA, driver, kContext2D);
    if (++stream.SubBufferIndex == stream.SubBufferCount) {
        stream.SubBufferIndex = 0;
    }
    BeginSubBuffer(stream);
}

// Goes on at the start of the sub-buffer that SubBufferIndex names.
void OpenSubBuffer(D3DContext* ctx) {
    BeginSubBuffer(ctx->Stream);
    if (IsFirstPermedia(ctx->Driver->ChipInfo)) {
        WriteSubBufferHead(ctx);
    }
}

} // namespace

void SetupFIFOStream(CommandStream& stream, ChipRegisters* registers) {
    for (SubBuffer& entry : stream.SubBuffers) {
        entry = {};
    }
    uint32_t* window = FIFOWindowOf(registers);
    stream.SubBuffers[0] = {0, window, window + reg::FIFOWindowBytes / 4};
    stream.CommandMode = kCommandModeFIFO;
    stream.SubBufferCount = 1;
    stream.SubBufferIndex = 0;
    stream.WritePointer = window;
    stream.StartDMA = nullptr;
}

void ReserveSpace(DriverData* driver, uint32_t bytes) {
    CommandStream& stream = driver->Stream;
    if (stream.WritePointer + bytes / 4 >= stream.Current().Last) {
        if (stream.CommandMode == kCommandModeDMA) {
            SendAndMoveOn(driver);
        } else {
            stream.WritePointer = stream.SubBuffers[0].Linear;
        }
    }
    stream.Guard.Allow(stream.WritePointer + bytes / 4);
}

void ReserveSpaceInNextSubBuffer(D3DContext* ctx) {
    CommandStream& stream = ctx->Stream;
    stream.SubBufferFlushWords += kFlushStepWords;
    if (stream.SubBufferFlushWords > stream.SubBufferWords) {
        stream.SubBufferFlushWords = stream.SubBufferWords;
    }
    if (stream.CommandMode != kCommandModeDMA) {
        stream.WritePointer = stream.SubBuffers[0].Linear;
        return;
    }
    // The plain operation, or the tracing one that the context was given.
    SendCurrent(stream, stream.StartDMA, ctx->Driver, stream.HardwareContext);
    if (++stream.SubBufferIndex >= stream.SubBufferCount) {
        stream.SubBufferIndex = 0;
    }
    OpenSubBuffer(ctx);
}

void FlushSubBuffer(DriverData* driver) {
    CommandStream& stream = driver->Stream;
    if (stream.CommandMode == kCommandModeDMA && stream.WritePointer != stream.Current().Linear) {
        SendAndMoveOn(driver);
    }
}

void FlushSubBuffer(D3DContext* ctx) {
    CommandStream& stream = ctx->Stream;
    if (stream.WritePointer == stream.Current().Linear) {
        return;
    }
    SendCurrent(stream, stream.StartDMA, ctx->Driver, stream.HardwareContext);
    // An equality test, unlike the one in a reservation.
    if (++stream.SubBufferIndex == stream.SubBufferCount) {
        stream.SubBufferIndex = 0;
    }
    OpenSubBuffer(ctx);
}

void SendSubBufferDirect(DriverData* driver, D3DContext* ctx) {
    CommandStream& stream = ctx->Stream;
    ChipRegisters* registers = driver->Registers;
    if (!HasWordsBeyondHead(driver->ChipInfo, ctx)) {
        return;
    }
    WaitDMAIdle(driver);
    WriteChip(registers, reg::DMAAddress, stream.Current().Physical);
    WriteChip(registers, reg::DMACount, stream.WordsWritten());
    // The new head goes over the first words of the very buffer that is being sent, after the
    // transfer was started and before its end is waited for.
    OpenSubBuffer(ctx);
    WaitDMACountZero(registers);
}

void EmitIndexed(CommandStream& stream, uint32_t group, uint32_t mask, const uint32_t* data) {
    uint32_t* at = stream.WritePointer;
    PutWord(at++, IndexedTag(group, mask));
    for (int left = std::popcount(mask); left != 0; --left) {
        PutWord(at++, *data++);
    }
    StoreWritePointer(stream, at);
}

void EmitHold(CommandStream& stream, uint32_t tagNumber, uint32_t count, const uint32_t* data) {
    uint32_t* at = stream.WritePointer;
    PutWord(at++, HoldTag(tagNumber, count));
    for (uint32_t i = 0; i != count; ++i) {
        PutWord(at++, data[i]);
    }
    StoreWritePointer(stream, at);
}

uint32_t SubBufferHeadBytes(const ChipInfo* chip) {
    constexpr uint32_t kHeadPairs = 6;
    return IsFirstPermedia(chip) ? kHeadPairs * 8 : 0;
}

bool HasWordsBeyondHead(const ChipInfo* chip, const D3DContext* ctx) {
    const CommandStream& stream = ctx->Stream;
    const uint32_t* empty = stream.Current().Linear + SubBufferHeadBytes(chip) / 4;
    return stream.CommandMode == kCommandModeDMA && stream.WritePointer > empty;
}

uint32_t HeldFogColor(const D3DContext* ctx) {
    return (ctx->RenderFlags & RF_FOG) != 0 ? ctx->FogColor : 0xFFFFFFFF;
}
