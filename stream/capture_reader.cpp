#include "stream/capture_reader.h"

#include "chip/registers.h"
#include "stream/capture_writer.h"
#include "stream/checksum.h"
#include "stream/format.h"
#include "stream/records.h"
#include "stream/zlib.h"

#include <algorithm>

namespace stream {

using format::Op;

CaptureReader::CaptureReader(std::istream& in) : in_(in) {
    hasEvents_ = true;
    offset_ = sizeof format::kMagic;
    uint8_t rest[format::kFileHeaderBytes - sizeof format::kMagic];
    in_.read(reinterpret_cast<char*>(rest), sizeof rest);
    if (static_cast<size_t>(in_.gcount()) != sizeof rest) {
        throw StreamError("the capture was cut off before it began");
    }
    offset_ += sizeof rest;
    const uint32_t version = ByteReader(rest).U32();
    if (version != format::kVersion) {
        throw StreamError("a capture of version " + std::to_string(version) +
                          ": expected version " + std::to_string(format::kVersion));
    }
    do {
        if (!ReadChunk(chunk_)) {
            throw StreamError("the capture was cut off before it began");
        }
    } while (chunk_.type != format::kBoard && chunk_.type != format::kEvents);
    if (chunk_.type != format::kBoard) {
        Damaged("it begins without a board");
    }
    try {
        ByteReader bytes(chunk_.payload);
        board_ = ReadConfig(bytes);
        maker_ = bytes.Text();
    } catch (const StreamError& error) {
        Damaged(error.what());
    }
    firstEvents_ = offset_;
}

void CaptureReader::Damaged(const std::string& what) const {
    throw StreamError("damaged at byte " + std::to_string(chunkOffset_) + ", behind " +
                      TextOf(at_) + ": " + what);
}

// False at the end of the file, cut off or not.
bool CaptureReader::ReadChunk(Chunk& chunk) {
    chunkOffset_ = offset_;
    uint8_t head[format::kChunkHeaderBytes];
    in_.read(reinterpret_cast<char*>(head), sizeof head);
    const auto got = static_cast<size_t>(in_.gcount());
    if (got != sizeof head) {
        cutOff_ = "the capture was cut off at byte " + std::to_string(offset_ + got) +
                  ": what it has ends behind " + TextOf(at_);
        return false;
    }
    ByteReader reader(head);
    chunk.type = reader.U32();
    const uint16_t version = reader.U16();
    const uint16_t flags = reader.U16();
    const uint32_t storedBytes = reader.U32(), bytes = reader.U32(), crc = reader.U32();
    if (Crc32(std::span(head).first(20)) != reader.U32()) {
        Damaged("the header of a chunk does not fit its checksum");
    }
    if (storedBytes > format::kMostChunkBytes || bytes > format::kMostChunkBytes) {
        Damaged("a chunk is larger than any may be");
    }
    stored_.resize(storedBytes);
    in_.read(reinterpret_cast<char*>(stored_.data()), storedBytes);
    const auto gotBytes = static_cast<uint32_t>(in_.gcount());
    if (gotBytes != storedBytes) {
        cutOff_ = "the capture was cut off at byte " +
                  std::to_string(offset_ + sizeof head + gotBytes) + ": what it has ends behind " +
                  TextOf(at_);
        return false;
    }
    if (Crc32(stored_) != crc) {
        Damaged("a chunk does not fit its checksum");
    }
    offset_ += sizeof head + storedBytes;
    const bool known = chunk.type == format::kBoard || chunk.type == format::kEvents ||
                       chunk.type == format::kState || chunk.type == format::kIndex ||
                       chunk.type == format::kEnd;
    if (!known) {
        chunk.payload.clear();
        return true;
    }
    if (version != 1 || (flags & ~format::kDeflated) != 0) {
        Damaged("a chunk of a later version, which this program cannot read");
    }
    if ((flags & format::kDeflated) == 0) {
        chunk.payload.swap(stored_);
    } else {
        chunk.payload.resize(bytes);
        if (!Inflate(stored_, chunk.payload)) {
            Damaged("a chunk cannot be decompressed");
        }
    }
    return true;
}

void CaptureReader::OpenEvents() {
    bytes_ = ByteReader(chunk_.payload);
    const Position start = ReadPosition(bytes_);
    if (!(start == at_)) {
        throw StreamError("a chunk of events does not follow the one before it");
    }
}

bool CaptureReader::NextChunk(Event& event, bool& isState) {
    isState = false;
    while (!ended_) {
        if (!ReadChunk(chunk_)) {
            ended_ = true;
            break;
        }
        switch (chunk_.type) {
        case format::kEvents:
            OpenEvents();
            return true;
        case format::kState:
            event = {};
            event.kind = EventKind::State;
            event.bytes = chunk_.payload;
            isState = true;
            return true;
        case format::kBoard:
            throw StreamError("a second board");
        case format::kEnd:
            ended_ = true;
            break;
        default:
            break;
        }
    }
    return false;
}

bool CaptureReader::NextOther(Event& event) {
    try {
        while (true) {
            while (bytes_.AtEnd()) {
                bool isState = false;
                if (!NextChunk(event, isState)) {
                    bytes_ = ByteReader();
                    return false;
                }
                if (isState) {
                    bytes_ = ByteReader();
                    return true;
                }
            }
            const uint8_t code = bytes_.Byte();
            if (code >= format::kFirstSkippable && code != static_cast<uint8_t>(Op::Mark)) {
                bytes_.Raw(bytes_.Number(format::kMostChunkBytes));
                continue;
            }
            Decode(code, event);
            if (wordsLeft_ != 0) {
                TakeWord(event);
            } else {
                at_.Pass(event);
            }
            return true;
        }
    } catch (const StreamError& error) {
        ended_ = true;
        bytes_ = ByteReader();
        // What ReadChunk says has its place already.
        if (std::string_view(error.what()).starts_with("damaged at")) {
            throw;
        }
        Damaged(error.what());
    }
}

void CaptureReader::BeginWords(EventKind kind) {
    wordKind_ = kind;
    wordAddress_ = 0;
    wordStep_ = 0;
    if (kind == EventKind::DmaWord) {
        wordAddress_ = bytes_.U32();
        wordStep_ = 4;
    }
    const uint32_t count = bytes_.U16();
    if (count == 0) {
        throw StreamError("a run of no words");
    }
    words_ = ByteReader(bytes_.Raw(size_t{count} * 4));
    wordsLeft_ = count;
}

void CaptureReader::Decode(uint8_t code, Event& event) {
    event = {};
    switch (static_cast<Op>(code)) {
    case Op::Read:
    case Op::ReadTicked:
    case Op::Write:
    case Op::WriteTicked: {
        const Op op = static_cast<Op>(code);
        event.kind = op == Op::Read || op == Op::ReadTicked ? EventKind::Read : EventKind::Write;
        event.ticked = op == Op::ReadTicked || op == Op::WriteTicked;
        event.offset = bytes_.U16();
        event.value = bytes_.U32();
        if (event.offset % 4 != 0 || event.offset >= reg::ApertureBytes) {
            throw StreamError("an access outside the aperture");
        }
        break;
    }
    case Op::FifoWords:
        BeginWords(EventKind::FifoWord);
        break;
    case Op::DmaWords:
        BeginWords(EventKind::DmaWord);
        break;
    case Op::FifoWordTicked:
        event.kind = EventKind::FifoWord;
        event.ticked = true;
        event.value = bytes_.U32();
        break;
    case Op::DmaFault:
        event.kind = EventKind::DmaFault;
        break;
    case Op::Ticks:
    case Op::Clock:
        event.kind = static_cast<Op>(code) == Op::Ticks ? EventKind::Ticks : EventKind::Clock;
        event.value = bytes_.Number(event.kind == EventKind::Ticks ? format::kMostTicks
                                                                   : format::kMostMicroseconds);
        break;
    case Op::Units:
        event.kind = EventKind::Units;
        break;
    case Op::Interrupt:
        event.kind = EventKind::Interrupt;
        break;
    case Op::InterruptEnd:
        event.kind = EventKind::InterruptEnd;
        break;
    case Op::Timing:
        event.kind = EventKind::Timing;
        timing_ = ReadTiming(bytes_);
        event.timing = &timing_;
        break;
    case Op::VideoSource:
        event.kind = EventKind::VideoSource;
        signal_ = ReadSignal(bytes_);
        event.signal = &signal_;
        break;
    case Op::VideoUnplugged:
        event.kind = EventKind::VideoSource;
        break;
    case Op::VideoLine:
        event.kind = EventKind::VideoLine;
        event.field = bytes_.Number();
        event.offset = bytes_.Number(0xFFFFFFFFu);
        pixels_.resize(bytes_.Number(format::kMostLinePixels));
        for (uint16_t& pixel : pixels_) {
            pixel = bytes_.U16();
        }
        event.pixels = pixels_;
        break;
    case Op::HostMemory:
        event.kind = EventKind::HostMemory;
        event.offset = bytes_.Number(0xFFFFFFFFu);
        event.value = bytes_.Number(format::kMostMemoryBytes);
        break;
    case Op::Store: {
        event.kind = EventKind::Store;
        const uint8_t memory = bytes_.Byte();
        if (memory > static_cast<uint8_t>(Memory::Host)) {
            throw StreamError("a store into an unknown memory");
        }
        event.memory = static_cast<Memory>(memory);
        event.offset = bytes_.Number(0xFFFFFFFFu);
        event.bytes = bytes_.Raw(bytes_.Number(format::kMostStoreBytes));
        break;
    }
    case Op::Mark:
        mark_ = ReadMark(bytes_);
        event.mark = &mark_;
        break;
    default:
        throw StreamError("an unknown event");
    }
}

// Reads what the file's last chunk leads to. Leaves the stream anywhere.
bool CaptureReader::LoadIndex() {
    if (indexState_ != Index::Unread) {
        return indexState_ == Index::Present;
    }
    indexState_ = Index::Absent;
    constexpr auto kEndBytes =
        static_cast<std::streamoff>(format::kChunkHeaderBytes + format::kEndPayloadBytes);
    in_.clear();
    if (!in_.seekg(-kEndBytes, std::ios::end)) {
        return false;
    }
    const std::string cutOff = cutOff_;
    try {
        Chunk chunk;
        offset_ = static_cast<uint64_t>(in_.tellg());
        if (ReadChunk(chunk) && chunk.type == format::kEnd &&
            chunk.payload.size() == format::kEndPayloadBytes) {
            offset_ = ByteReader(chunk.payload).U64();
            in_.seekg(static_cast<std::streamoff>(offset_));
            if (ReadChunk(chunk) && chunk.type == format::kIndex) {
                ByteReader bytes(chunk.payload);
                for (uint32_t left = bytes.Number(format::kMostChunkBytes); left != 0; --left) {
                    const uint32_t type = bytes.U32();
                    const uint64_t offset = bytes.Number();
                    const Position start = ReadPosition(bytes);
                    if (type == format::kEvents) {
                        index_.push_back({offset, start});
                    }
                }
                total_ = ReadPosition(bytes);
                indexState_ = Index::Present;
            }
        }
    } catch (const StreamError&) {
        // Without an index everything can still be read from the start.
    }
    cutOff_ = cutOff;
    return indexState_ == Index::Present;
}

std::optional<Position> CaptureReader::Total() {
    const auto place = static_cast<std::streamoff>(offset_);
    const uint64_t offset = offset_, chunkOffset = chunkOffset_;
    const bool present = LoadIndex();
    in_.clear();
    in_.seekg(place);
    offset_ = offset;
    chunkOffset_ = chunkOffset;
    return present ? std::optional(total_) : std::nullopt;
}

void CaptureReader::GoTo(uint64_t offset, const Position& start) {
    in_.clear();
    in_.seekg(static_cast<std::streamoff>(offset));
    offset_ = offset;
    at_ = start;
    bytes_ = ByteReader();
    wordsLeft_ = 0;
    ended_ = false;
    cutOff_.clear();
}

bool CaptureReader::Approach(const Place& place) {
    const bool here = !HasReached(place, at_) && place.kind != Place::Kind::Start &&
                      place.kind != Place::Kind::Mark;
    const bool untouched = at_ == Position{} && offset_ == firstEvents_;
    if (untouched && place.kind == Place::Kind::Start) {
        return true;
    }
    const Position before = at_;
    const uint64_t offset = offset_;
    if (LoadIndex()) {
        // The last chunk that begins before the place.
        const IndexEntry* best = nullptr;
        for (const IndexEntry& entry : index_) {
            if (!HasReached(place, entry.start)) {
                best = &entry;
            }
        }
        const bool direct = place.kind != Place::Kind::Start && place.kind != Place::Kind::Mark;
        if (best != nullptr && direct) {
            if (!here || best->start.event > before.event) {
                GoTo(best->offset, best->start);
                return true;
            }
        } else {
            GoTo(firstEvents_, {});
            return true;
        }
    }
    in_.clear();
    if (here) {
        in_.seekg(static_cast<std::streamoff>(offset)); // nothing happens to a pipe
        in_.clear();
        offset_ = offset;
        return true;
    }
    if (untouched) {
        return true;
    }
    if (!in_.seekg(static_cast<std::streamoff>(firstEvents_))) {
        return false;
    }
    GoTo(firstEvents_, {});
    return true;
}

} // namespace stream
