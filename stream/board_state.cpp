#include "stream/board_state.h"

#include "board/snapshot.h"
#include "board/values/register_names.h"
#include "chip/register_table.h"
#include "chip/words.h"
#include "stream/explain.h"
#include "stream/format.h"

#include <bit>

namespace stream {

namespace {

constexpr size_t kMostWaiting = 1u << 16; // entries of the deepest FIFO

std::string MeaningOf(uint32_t offset, uint32_t value, const Reading& reading) {
    std::string text;
    AppendMeaning(text, offset, value, reading);
    text.erase(0, text.starts_with(" = ") ? 3 : 1);
    return text;
}

uint64_t NumberIn(const board::Snapshot& snapshot, const char* name) {
    const board::SnapshotEntry* entry = snapshot.Find(name);
    return entry != nullptr && entry->Count() != 0 ? (*entry)[0] : 0;
}

} // namespace

std::string WrittenBy::Text() const {
    return PlaceAt({.event = number, .word = number}, word).Text();
}

void StateReader::Note(const Event& event, const Position& at) {
    uint32_t offset = event.offset;
    board::RegisterWrite write{};
    WrittenBy writer{false, at.event};
    if (event.IsWord()) {
        if (decoder_.Feed(event.value, write) != board::StreamDecoder::Kind::Data) {
            return;
        }
        offset = MappedOffset(write.tag);
        writer = {true, at.word};
    } else if (event.kind != EventKind::Write) {
        return;
    }
    std::optional<WrittenBy>& known = writers_[offset / 4];
    if (offset >= reg::MappedRegisters) {
        latest_.push_back({offset, known});
        if (latest_.size() > kMostWaiting) {
            latest_.pop_front();
        }
    }
    known = writer;
}

bool StateReader::PlayTo(const Place& place) {
    Source& source = player_.From();
    if (place.kind == Place::Kind::Start || HasReached(place, source.At())) {
        return true;
    }
    Event event;
    while (true) {
        const Position before = source.At();
        if (!player_.Step(event)) {
            return place.kind == Place::Kind::End;
        }
        Note(event, before);
        if (IsAt(place, source.At(), &event)) {
            return true;
        }
    }
}

BoardState StateReader::Read() {
    board::PlayedBoard& board = player_.Board();
    const auto bytes = board.Save(board::Board::Contents::StateAlone);
    std::string error;
    const board::Snapshot snapshot = *board::Snapshot::Parse(bytes, error);
    const ChipModel chip = board.Configuration().chip;

    Reading reading{chip, false};
    const uint32_t addressMode = MappedOffset(tag::TextureAddressMode);
    FollowWrite(reading, addressMode, board.RegisterAt(addressMode));

    BoardState state;
    state.at = player_.From().At();
    state.microseconds = board.Microseconds();

    // What waits has written nothing yet: pairs of tag and data.
    auto writers = writers_;
    if (const board::SnapshotEntry* entries = snapshot.Find("inputFifo.entries")) {
        for (size_t i = 0; i + 1 < entries->Count(); i += 2) {
            const auto number = static_cast<uint32_t>((*entries)[i]);
            const auto data = static_cast<uint32_t>((*entries)[i + 1]);
            std::string text = board::TagName(number);
            AppendMeaning(text, MappedOffset(number), data, reading);
            state.waiting.push_back(std::move(text));
        }
        size_t left = std::min(state.waiting.size(), latest_.size());
        for (auto write = latest_.rbegin(); left != 0; ++write, --left) {
            writers[write->offset / 4] = write->before;
        }
    }
    const auto hold = static_cast<uint32_t>(NumberIn(snapshot, "decoder.holdLeft"));
    const auto mask = static_cast<uint32_t>(NumberIn(snapshot, "decoder.maskLeft"));
    const auto base = static_cast<uint32_t>(NumberIn(snapshot, "decoder.base"));
    state.burstWordsLeft = hold + static_cast<uint32_t>(std::popcount(mask));
    if (state.burstWordsLeft != 0) {
        const int first = mask != 0 ? std::countr_zero(mask) : 0;
        state.burstRegister = board::TagName(base + static_cast<uint32_t>(first));
    }
    state.dmaWordsLeft = static_cast<uint32_t>(NumberIn(snapshot, "dma.wordsLeft"));
    state.dmaAddress = static_cast<uint32_t>(NumberIn(snapshot, "dma.address"));
    if (const board::SnapshotEntry* words = snapshot.Find("outputFifo.words")) {
        state.outputWords = words->Count();
    }

    const auto add = [&](uint32_t offset) {
        const uint32_t value = board.RegisterAt(offset);
        state.registers.push_back(
            {View(offset, value, reading), MeaningOf(offset, value, reading), writers[offset / 4]});
    };
    for (const Register& row : kRegisters) {
        if (row.use == Use::Vertex && row.IsOn(chip)) {
            for (uint32_t i = 0; i < 16; ++i) {
                add(row.offset + i * 8);
            }
        } else if (row.IsOn(chip) && row.offset != reg::FIFOWindow) {
            add(row.offset);
        }
    }
    return state;
}

} // namespace stream
