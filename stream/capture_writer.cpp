#include "stream/capture_writer.h"

#include "chip/registers.h"
#include "stream/checksum.h"
#include "stream/format.h"
#include "stream/records.h"
#include "stream/zlib.h"

namespace stream {

using format::Op;

namespace {

void WriteMarkPayload(ByteWriter& out, const Mark& mark) {
    out.Number(static_cast<uint32_t>(mark.kind));
    out.Text(mark.name);
    out.Number(mark.fields.size());
    for (const MarkField& field : mark.fields) {
        out.Text(field.name);
        if (const auto* number = std::get_if<int64_t>(&field.value)) {
            out.Byte(static_cast<uint8_t>(format::ValueType::Number));
            // Small ones of either sign are short.
            out.Number(static_cast<uint64_t>(*number) << 1 ^ static_cast<uint64_t>(*number >> 63));
        } else {
            out.Byte(static_cast<uint8_t>(format::ValueType::Text));
            out.Text(std::get<std::string>(field.value));
        }
    }
}

void WriteOp(ByteWriter& out, Op op) {
    out.Byte(static_cast<uint8_t>(op));
}

} // namespace

CaptureWriter::CaptureWriter(std::ostream& out, const board::Config& board,
                             const std::string& maker)
    : out_(out) {
    ByteWriter header;
    header.Raw(format::kMagic);
    header.U32(format::kVersion);
    header.U32(0);
    out_.write(reinterpret_cast<const char*>(header.Bytes().data()),
               static_cast<std::streamsize>(header.Size()));
    written_ = header.Size();
    ByteWriter payload;
    WriteConfig(payload, board);
    payload.Text(maker);
    WriteChunk(format::kBoard, payload.Bytes(), false);
}

void CaptureWriter::Put(const Mark& mark) {
    Event event;
    event.mark = &mark;
    Put(event);
}

void CaptureWriter::Put(const Event& event) {
    if (event.kind == EventKind::State) {
        EndChunk();
        WriteState(event.bytes);
        return;
    }
    if (chunk_.Size() == 0) {
        BeginChunk();
    }
    if (event.IsWord() && !event.ticked) {
        PutWord(event);
    } else {
        EndRun();
        PutEvent(event);
    }
    at_.Pass(event);
    if (chunk_.Size() >= format::kUsualChunkBytes) {
        EndChunk();
    }
}

void CaptureWriter::PutWord(const Event& event) {
    const bool dma = event.kind == EventKind::DmaWord;
    if (runCount_ == 0 || runKind_ != event.kind || runCount_ == 0xFFFF ||
        (dma && runNext_ != event.offset)) {
        EndRun();
        WriteOp(chunk_, dma ? Op::DmaWords : Op::FifoWords);
        if (dma) {
            chunk_.U32(event.offset);
        }
        runKind_ = event.kind;
        runNext_ = event.offset;
        runCountPlace_ = chunk_.Size();
        chunk_.U16(0);
    }
    ++runCount_;
    runNext_ += 4;
    chunk_.U32(event.value);
}

void CaptureWriter::EndRun() {
    if (runCount_ != 0) {
        chunk_.PutU16(runCountPlace_, runCount_);
        runCount_ = 0;
    }
}

void CaptureWriter::PutEvent(const Event& event) {
    switch (event.kind) {
    case EventKind::Read:
    case EventKind::Write: {
        if (event.offset % 4 != 0 || event.offset >= reg::ApertureBytes) {
            throw StreamError("an access outside the aperture");
        }
        const bool read = event.kind == EventKind::Read;
        WriteOp(chunk_, event.ticked ? (read ? Op::ReadTicked : Op::WriteTicked)
                                     : (read ? Op::Read : Op::Write));
        chunk_.U16(static_cast<uint16_t>(event.offset));
        chunk_.U32(event.value);
        break;
    }
    case EventKind::FifoWord: // whose tick stands before it
        WriteOp(chunk_, Op::FifoWordTicked);
        chunk_.U32(event.value);
        break;
    case EventKind::DmaWord:
        throw StreamError("a word by DMA has no tick of its own");
    case EventKind::DmaFault:
        WriteOp(chunk_, Op::DmaFault);
        break;
    case EventKind::Ticks:
    case EventKind::Clock:
        if (event.kind == EventKind::Ticks && event.value > format::kMostTicks) {
            throw StreamError("too many ticks in one event");
        }
        WriteOp(chunk_, event.kind == EventKind::Ticks ? Op::Ticks : Op::Clock);
        chunk_.Number(event.value);
        break;
    case EventKind::Units:
        WriteOp(chunk_, Op::Units);
        break;
    case EventKind::Interrupt:
        WriteOp(chunk_, Op::Interrupt);
        break;
    case EventKind::InterruptEnd:
        WriteOp(chunk_, Op::InterruptEnd);
        break;
    case EventKind::Timing:
        WriteOp(chunk_, Op::Timing);
        WriteTiming(chunk_, *event.timing);
        break;
    case EventKind::VideoSource:
        WriteOp(chunk_, event.signal != nullptr ? Op::VideoSource : Op::VideoUnplugged);
        if (event.signal != nullptr) {
            WriteSignal(chunk_, *event.signal);
        }
        break;
    case EventKind::VideoLine:
        if (event.pixels.size() > format::kMostLinePixels) {
            throw StreamError("a line of video is too long");
        }
        WriteOp(chunk_, Op::VideoLine);
        chunk_.Number(event.field);
        chunk_.Number(event.offset);
        chunk_.Number(event.pixels.size());
        for (const uint16_t pixel : event.pixels) {
            chunk_.U16(pixel);
        }
        break;
    case EventKind::HostMemory:
        WriteOp(chunk_, Op::HostMemory);
        chunk_.Number(event.offset);
        chunk_.Number(event.value);
        break;
    case EventKind::Store:
        if (event.bytes.size() > format::kMostStoreBytes) {
            throw StreamError("a store is too long");
        }
        WriteOp(chunk_, Op::Store);
        chunk_.Byte(static_cast<uint8_t>(event.memory));
        chunk_.Number(event.offset);
        chunk_.Number(event.bytes.size());
        chunk_.Raw(event.bytes);
        break;
    case EventKind::Mark:
        WriteOp(chunk_, Op::Mark);
        WriteMark(chunk_, *event.mark);
        break;
    case EventKind::State:
        break;
    }
}

void WriteMark(ByteWriter& out, const Mark& mark) {
    ByteWriter payload;
    WriteMarkPayload(payload, mark);
    if (payload.Size() > format::kMostStoreBytes) {
        throw StreamError("a mark is too long");
    }
    out.Number(payload.Size());
    out.Raw(payload.Bytes());
}

Mark ReadMark(ByteReader& in) {
    ByteReader payload(in.Raw(in.Number(format::kMostStoreBytes)));
    Mark mark;
    mark.kind = static_cast<MarkKind>(payload.Number(0xFFFFFFFFu));
    mark.name = payload.Text();
    // A field has three bytes at least.
    const uint32_t fields = payload.Number(format::kMostStoreBytes / 3);
    for (uint32_t i = 0; i < fields; ++i) {
        MarkField field;
        field.name = payload.Text();
        switch (static_cast<format::ValueType>(payload.Byte())) {
        case format::ValueType::Number: {
            const uint64_t folded = payload.Number();
            field.value = static_cast<int64_t>(folded >> 1 ^ (~(folded & 1) + 1));
            break;
        }
        case format::ValueType::Text:
            field.value = payload.Text();
            break;
        default:
            throw StreamError("a mark has a value of an unknown type");
        }
        mark.fields.push_back(std::move(field));
    }
    return mark;
}

void CaptureWriter::BeginChunk() {
    chunkStart_ = at_;
    WritePosition(chunk_, at_);
}

void CaptureWriter::EndChunk() {
    if (chunk_.Size() == 0) {
        return;
    }
    EndRun();
    index_.push_back({written_, format::kEvents, chunkStart_});
    WriteChunk(format::kEvents, chunk_.Bytes(), true);
    chunk_.Clear();
}

void CaptureWriter::WriteState(std::span<const uint8_t> state) {
    index_.push_back({written_, format::kState, at_});
    WriteChunk(format::kState, state, true);
}

void CaptureWriter::WriteChunk(uint32_t type, std::span<const uint8_t> payload, bool deflate) {
    if (payload.size() > format::kMostChunkBytes) {
        throw StreamError("a chunk is too large");
    }
    std::vector<uint8_t> deflated;
    if (deflate) {
        deflated = Deflate(payload);
        deflate = !deflated.empty() && deflated.size() < payload.size();
    }
    const std::span<const uint8_t> stored = deflate ? std::span<const uint8_t>(deflated) : payload;
    ByteWriter header;
    header.U32(type);
    header.U16(1);
    header.U16(deflate ? format::kDeflated : 0);
    header.U32(static_cast<uint32_t>(stored.size()));
    header.U32(static_cast<uint32_t>(payload.size()));
    header.U32(Crc32(stored));
    header.U32(Crc32(header.Bytes()));
    out_.write(reinterpret_cast<const char*>(header.Bytes().data()),
               static_cast<std::streamsize>(header.Size()));
    out_.write(reinterpret_cast<const char*>(stored.data()),
               static_cast<std::streamsize>(stored.size()));
    written_ += header.Size() + stored.size();
}

void CaptureWriter::Finish() {
    EndChunk();
    const uint64_t place = written_;
    ByteWriter payload;
    payload.Number(index_.size());
    for (const IndexEntry& entry : index_) {
        payload.U32(entry.type);
        payload.Number(entry.offset);
        WritePosition(payload, entry.start);
    }
    WritePosition(payload, at_);
    WriteChunk(format::kIndex, payload.Bytes(), true);
    ByteWriter end;
    end.U64(place);
    WriteChunk(format::kEnd, end.Bytes(), false);
}

} // namespace stream
