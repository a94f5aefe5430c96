#include "web/module/inspector.h"

#include "board/board.h"
#include "stream/checksum.h"
#include "stream/dump.h"
#include "stream/error.h"
#include "tools/korv/base/errors.h"
#include "tools/korv/capture/layout_picture.h"

#include <fmt/format.h>

#include <algorithm>

namespace web {

namespace {

constexpr const char* kName = "the capture"; // in messages

Json ToJson(const stream::Position& at) {
    return {{"event", at.event}, {"word", at.word},   {"call", at.call},
            {"batch", at.batch}, {"frame", at.frame}, {"step", at.step}};
}

// A JSON text a line.
Json Lines(const std::string& text) {
    Json list = Json::array();
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        list.push_back(Json::parse(line));
    }
    return list;
}

const char* NameOf(board::Chip chip) {
    constexpr const char* kNames[] = {"sx", "tx", "mx", "permedia", "permedia2"};
    const auto number = static_cast<size_t>(chip);
    return number < std::size(kNames) ? kNames[number] : "unknown";
}

} // namespace

Inspector::Stage::Stage(const std::string& bytes)
    : in(bytes, std::ios::binary | std::ios::in), source(stream::OpenSource(in)), player(*source),
      pictures(player, kName) {}

void Inspector::Stage::Run(const stream::Place& place) {
    if (place.kind == stream::Place::Kind::Start || HasReached(place, source->At())) {
        return;
    }
    stream::Event event;
    while (player.Step(event)) {
        if (event.kind == stream::EventKind::Mark) {
            pictures.Follow(*event.mark);
        }
        if (IsAt(place, source->At(), &event)) {
            return;
        }
    }
    if (place.kind != stream::Place::Kind::End) {
        throw stream::StreamError(fmt::format("there is no {}: it ends behind {}", place.Text(),
                                              stream::TextOf(source->At())));
    }
}

Inspector::Inspector(std::string bytes)
    : bytes_(std::move(bytes)), stage_(std::make_unique<Stage>(bytes_)) {}

std::unique_ptr<stream::Source> Inspector::Open(std::istringstream& in) const {
    in.str(bytes_);
    return stream::OpenSource(in);
}

Json Inspector::About() {
    std::istringstream in;
    const auto source = Open(in);
    std::string damage;
    try {
        stream::Event event;
        while (source->Next(event)) {
        }
    } catch (const stream::StreamError& error) {
        damage = error.what();
    }
    const board::Config& board = source->Board();
    return {{"chip", NameOf(board.chip)},
            {"setupUnit", board.setupUnit},
            {"frameBufferBytes", board.frameBufferBytes},
            {"localBufferBytes", board.localBufferBytes},
            {"maker", source->Maker()},
            {"bytes", bytes_.size()},
            {"total", ToJson(source->At())},
            {"cutOff", source->CutOff()},
            {"damage", damage}};
}

Json Inspector::Timeline() {
    std::istringstream in;
    const auto source = Open(in);
    std::ostringstream out;
    stream::DumpOptions options;
    options.summary = true;
    options.json = true;
    try {
        Dump(*source, options, out);
    } catch (const stream::StreamError&) {
        // What came before the damage, of which About() tells.
    }
    return Lines(out.str());
}

void Inspector::Go(const std::string& text) {
    const stream::Place place = stream::ParsePlace(text);
    // What is no number may lie on either side; what has been passed lies behind.
    const bool back = place.kind == stream::Place::Kind::Start ||
                      place.kind == stream::Place::Kind::Mark ||
                      HasReached(place, stage_->source->At());
    if (back) {
        stage_.reset(); // its memories first
        stage_ = std::make_unique<Stage>(bytes_);
    }
    here_ = place;
    stage_->Run(place);
}

Json Inspector::Here() {
    Json json = ToJson(stage_->source->At());
    json["microseconds"] = stage_->player.Board().Microseconds();
    json["differences"] = stage_->player.DifferenceCount();
    json["surfaces"] = Json::array();
    for (const stream::SurfaceLayout* surface : stage_->pictures.Surfaces().All()) {
        json["surfaces"].push_back(
            {{"name", surface->name},
             {"memory", surface->memory == stream::Memory::FrameBuffer   ? "frame"
                        : surface->memory == stream::Memory::LocalBuffer ? "local"
                                                                         : "host"},
             {"offset", surface->offset},
             {"pitch", surface->pitch},
             {"width", surface->width},
             {"height", surface->height},
             {"bits", surface->bits},
             {"format", surface->format}});
    }
    return json;
}

host::Picture Inspector::Picture(const std::string& surface, bool depth) {
    return stage_->pictures.Picture(stage_->pictures.Drawn(surface, depth));
}

host::Picture Inspector::Memory(const std::string& memory, uint32_t offset, int32_t pitch,
                                uint32_t width, uint32_t height, uint32_t bits) {
    stream::SurfaceLayout layout =
        stream::ScreenLayout(width, height, bits, static_cast<uint32_t>(pitch));
    layout.name = memory;
    layout.memory = memory == "local" ? stream::Memory::LocalBuffer : stream::Memory::FrameBuffer;
    layout.offset = offset;
    return korv::PictureOf(stage_->player.Board(), layout);
}

Json Inspector::Checksums() {
    const stream::Checksums sums = stream::ChecksumsOf(stage_->player.Board());
    return {{"frameBuffer", sums.frameBuffer},
            {"localBuffer", sums.localBuffer},
            {"registers", sums.registers}};
}

Json Inspector::State() {
    std::istringstream in;
    const auto source = Open(in);
    stream::StateReader reader(*source);
    reader.PlayTo(here_);
    const stream::BoardState state = reader.Read();
    Json json{{"at", ToJson(state.at)}, {"microseconds", state.microseconds}};
    json["inFlight"] = {{"inputFifo", state.waiting},
                        {"burstWordsLeft", state.burstWordsLeft},
                        {"dmaAddress", state.dmaAddress},
                        {"dmaWordsLeft", state.dmaWordsLeft},
                        {"outputWords", state.outputWords}};
    json["registers"] = Json::array();
    for (const stream::HeldRegister& held : state.registers) {
        Json one = stream::ToJson(held.view);
        one["meaning"] = held.meaning;
        one["writtenBy"] = held.writer ? Json(held.writer->Text()) : Json();
        json["registers"].push_back(std::move(one));
    }
    return json;
}

Json Inspector::Events(const std::string& from, const std::string& to) {
    std::istringstream in;
    const auto source = Open(in);
    std::ostringstream out;
    stream::DumpOptions options;
    options.json = true;
    options.from = stream::ParsePlace(from);
    options.to = stream::ParsePlace(to);
    Dump(*source, options, out);
    return Lines(out.str());
}

} // namespace web
