#include "stream/sent.h"

#include "chip/register_table.h"
#include "stream/checksum.h"
#include "stream/decoder_state.h"

namespace stream {

bool CarriesWords(uint32_t offset) {
    const Register* row = FindRegister(offset);
    return row != nullptr && row->unit == ChipUnit::Bus && offset != reg::AGPTextureBase;
}

void SentReader::TakeState(std::span<const uint8_t> state) {
    decoder_ = DecoderIn(state);
    start_ = RegistersIn(state);
}

bool SentReader::Next(Sent& sent) {
    Event event;
    while (true) {
        const Position at = source_.At();
        if (!source_.Next(event)) {
            return false;
        }
        sent = {};
        sent.at = at;
        switch (event.kind) {
        case EventKind::FifoWord:
        case EventKind::DmaWord: {
            board::RegisterWrite write{};
            switch (decoder_.Feed(event.value, write)) {
            case board::StreamDecoder::Kind::Tag:
                continue;
            case board::StreamDecoder::Kind::Data:
                sent.offset = MappedOffset(write.tag);
                sent.value = write.data;
                return true;
            case board::StreamDecoder::Kind::Malformed:
                sent.malformed = true;
                sent.value = event.value;
                return true;
            }
            continue;
        }
        case EventKind::Write:
            if (CarriesWords(event.offset)) {
                continue;
            }
            sent.offset = event.offset;
            sent.value = event.value;
            return true;
        case EventKind::Store:
            sent.offset = Sent::kStore;
            sent.value = Crc32(event.bytes);
            sent.memory = event.memory;
            sent.address = event.offset;
            sent.bytes = static_cast<uint32_t>(event.bytes.size());
            return true;
        case EventKind::State:
            TakeState(event.bytes);
            continue;
        default:
            continue;
        }
    }
}

} // namespace stream
