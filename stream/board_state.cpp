#include "stream/board_state.h"

#include "board/snapshot.h"
#include "board/values/register_names.h"
#include "chip/register_table.h"
#include "chip/words.h"
#include "stream/explain.h"
#include "stream/format.h"

#include <nlohmann/json.hpp>

#include <algorithm>
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

nlohmann::ordered_json ToJson(const BoardState& state) {
    nlohmann::ordered_json json{{"at", ToJson(state.at)}, {"microseconds", state.microseconds}};
    json["inFlight"] = {{"inputFifo", state.waiting},
                        {"burstWordsLeft", state.burstWordsLeft},
                        {"dmaAddress", state.dmaAddress},
                        {"dmaWordsLeft", state.dmaWordsLeft},
                        {"outputWords", state.outputWords}};
    json["registers"] = nlohmann::ordered_json::array();
    for (const HeldRegister& held : state.registers) {
        json["registers"].push_back(ToJson(held.view));
        json["registers"].back()["writtenBy"] =
            held.writer ? nlohmann::ordered_json(held.writer->Text()) : nlohmann::ordered_json();
    }
    return json;
}

void WriterLog::Note(const Event& event, const Position& at) {
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
    const auto [known, fresh] = writers_.try_emplace(offset, writer);
    if (offset >= reg::MappedRegisters) {
        latest_.push_back({offset, fresh ? std::nullopt : std::optional(known->second)});
        if (latest_.size() > kMostWaiting) {
            latest_.pop_front();
        }
    }
    known->second = writer;
}

std::map<uint32_t, WrittenBy> WriterLog::Behind(size_t waiting) const {
    auto writers = writers_;
    size_t left = std::min(waiting, latest_.size());
    for (auto write = latest_.rbegin(); left != 0; ++write, --left) {
        if (write->before) {
            writers[write->offset] = *write->before;
        } else {
            writers.erase(write->offset);
        }
    }
    return writers;
}

void WriterLog::Forget(size_t waiting) {
    while (latest_.size() > waiting) {
        latest_.pop_front();
    }
}

size_t WaitingWrites(board::Board& board) {
    const auto bytes = board.Save(board::Board::Contents::StateAlone);
    std::string error;
    const board::Snapshot snapshot = *board::Snapshot::Parse(bytes, error);
    const board::SnapshotEntry* entries = snapshot.Find("inputFifo.entries");
    return entries != nullptr ? entries->Count() / 2 : 0;
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
        writers_.Note(event, before);
        if (IsAt(place, source.At(), &event)) {
            return true;
        }
    }
}

BoardState ReadState(Player& player, const WriterLog& log) {
    board::PlayedBoard& board = player.Board();
    const auto bytes = board.Save(board::Board::Contents::StateAlone);
    std::string error;
    const board::Snapshot snapshot = *board::Snapshot::Parse(bytes, error);
    const ChipModel chip = board.Configuration().chip;

    Reading reading{chip, false};
    const uint32_t addressMode = MappedOffset(tag::TextureAddressMode);
    FollowWrite(reading, addressMode, board.RegisterAt(addressMode));

    BoardState state;
    state.at = player.From().At();
    state.microseconds = board.Microseconds();

    // What waits has written nothing yet: pairs of tag and data.
    if (const board::SnapshotEntry* entries = snapshot.Find("inputFifo.entries")) {
        for (size_t i = 0; i + 1 < entries->Count(); i += 2) {
            const auto number = static_cast<uint32_t>((*entries)[i]);
            const auto data = static_cast<uint32_t>((*entries)[i + 1]);
            std::string text = board::TagName(number);
            AppendMeaning(text, MappedOffset(number), data, reading);
            state.waiting.push_back(std::move(text));
        }
    }
    const auto writers = log.Behind(state.waiting.size());
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
        const auto writer = writers.find(offset);
        state.registers.push_back(
            {View(offset, value, reading), MeaningOf(offset, value, reading),
             writer != writers.end() ? std::optional(writer->second) : std::nullopt});
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
