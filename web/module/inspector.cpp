#include "web/module/inspector.h"

#include "board/board.h"
#include "stream/checksum.h"
#include "stream/error.h"
#include "stream/overdraw.h"
#include "stream/pixel_moment.h"
#include "stream/wires.h"
#include "tools/korv/base/errors.h"
#include "tools/korv/capture/layout_picture.h"
#include "tools/korv/images/heat.h"
#include "web/module/json_lines.h"

#include <fmt/format.h>

#include <algorithm>

namespace web {

namespace {

constexpr struct {
    const char* name;
    uint32_t bits;
    const char* format; // of SurfaceLayout
    uint32_t red, green, blue, alpha;
} kMemoryFormats[] = {
    {"rgb555", 16, "rgb", 0x7C00, 0x03E0, 0x001F, 0},
    {"rgb565", 16, "rgb", 0xF800, 0x07E0, 0x001F, 0},
    {"argb1555", 16, "rgb", 0x7C00, 0x03E0, 0x001F, 0x8000},
    {"argb4444", 16, "rgb", 0x0F00, 0x00F0, 0x000F, 0xF000},
    {"rgb332", 8, "rgb", 0xE0, 0x1C, 0x03, 0},
    {"rgb888", 24, "rgb", 0xFF0000, 0x00FF00, 0x0000FF, 0},
    {"xrgb8888", 32, "rgb", 0xFF0000, 0x00FF00, 0x0000FF, 0},
    {"xbgr8888", 32, "rgb", 0x0000FF, 0x00FF00, 0xFF0000, 0},
    {"depth16", 16, "depth", 0, 0, 0, 0},
    {"depth32", 32, "depth", 0, 0, 0, 0},
};

Json PositionToJson(const stream::Position& at) {
    return {{"event", at.event}, {"word", at.word},   {"call", at.call},
            {"batch", at.batch}, {"frame", at.frame}, {"step", at.step}};
}

const char* NameOf(board::Chip chip) {
    constexpr const char* kNames[] = {"sx", "tx", "mx", "permedia", "permedia2"};
    const auto number = static_cast<size_t>(chip);
    return number < std::size(kNames) ? kNames[number] : "unknown";
}

const char* WordOf(stream::Memory memory) {
    constexpr const char* kWords[] = {"frame", "local", "host"};
    return kWords[static_cast<size_t>(memory)];
}

std::vector<std::string> Names(const std::string& list) {
    std::vector<std::string> names;
    std::istringstream in(list);
    for (std::string name; std::getline(in, name, ',');) {
        name.erase(0, name.find_first_not_of(' '));
        name.erase(name.find_last_not_of(' ') + 1);
        if (!name.empty()) {
            names.push_back(name);
        }
    }
    return names;
}

// Reads all of a stream.
Json Read(const StreamBytes& stream) {
    OpenedStream opened(stream);
    stream::Source& source = *opened.source;
    std::string damage;
    try {
        stream::Event event;
        while (source.Next(event)) {
        }
    } catch (const stream::StreamError& error) {
        damage = error.what();
    }
    const board::Config& board = source.Board();
    return {{"chip", NameOf(board.chip)},
            {"setupUnit", board.setupUnit},
            {"frameBufferBytes", board.frameBufferBytes},
            {"localBufferBytes", board.localBufferBytes},
            {"maker", source.Maker()},
            {"bytes", stream.bytes.size()},
            {"raw", stream.raw.has_value()},
            {"total", PositionToJson(source.At())},
            {"cutOff", source.CutOff()},
            {"damage", damage}};
}

} // namespace

Inspector::Inspector(StreamBytes stream) : stream_(std::move(stream)), about_(Read(stream_)) {
    about_["formats"] = MemoryFormats();
    walk_ = std::make_unique<Walk>(stream_, about_["total"]["event"].get<uint64_t>());
}

Json Inspector::MemoryFormats() {
    Json names = Json::array();
    for (const auto& row : kMemoryFormats) {
        names.push_back(row.name);
    }
    return names;
}

Json Inspector::Timeline() {
    OpenedStream opened(stream_);
    stream::DumpOptions options;
    options.summary = true;
    options.json = true;
    try {
        return DumpLines(*opened.source, options);
    } catch (const stream::StreamError&) {
        return Json::array(); // About() tells of it
    }
}

void Inspector::Go(const std::string& text) {
    const stream::Place place = stream::ParsePlace(text);
    try {
        walk_->Go(place);
    } catch (const stream::StreamError&) {
        if (place.kind != stream::Place::Kind::End || walk_->At() == stream::Position{}) {
            throw;
        }
    }
}

Json Inspector::Here() {
    Json json = PositionToJson(walk_->At());
    json["begins"] = Json::array();
    for (const auto& [kind, name] :
         {std::pair(stream::MarkKind::Step, "step"), std::pair(stream::MarkKind::Call, "call"),
          std::pair(stream::MarkKind::Batch, "batch"),
          std::pair(stream::MarkKind::Frame, "frame")}) {
        if (walk_->Begins(kind)) {
            json["begins"].push_back(name);
        }
    }
    json["microseconds"] = walk_->Player().Board().Microseconds();
    json["differences"] = walk_->Player().DifferenceCount();
    json["surfaces"] = Json::array();
    for (const stream::SurfaceLayout* surface : walk_->Pictures().Surfaces().All()) {
        json["surfaces"].push_back({{"name", surface->name},
                                    {"memory", WordOf(surface->memory)},
                                    {"offset", surface->offset},
                                    {"pitch", surface->pitch},
                                    {"width", surface->width},
                                    {"height", surface->height},
                                    {"bits", surface->bits},
                                    {"format", surface->format}});
    }
    json["drawn"] = nullptr;
    const std::string& depth = walk_->Pictures().Surfaces().ZBuffer();
    json["depth"] = depth.empty() ? Json() : Json(depth);
    try {
        const stream::SurfaceLayout drawn = Drawn("");
        json["drawn"] = {{"name", drawn.name},     {"memory", WordOf(drawn.memory)},
                         {"offset", drawn.offset}, {"pitch", drawn.pitch},
                         {"width", drawn.width},   {"height", drawn.height},
                         {"bits", drawn.bits},     {"format", drawn.format}};
    } catch (const korv::UserError&) {
        // Nothing is there yet.
    }
    return json;
}

stream::SurfaceLayout Inspector::Drawn(const std::string& surface) {
    return walk_->Pictures().Drawn(surface);
}

host::Picture Inspector::Picture(const std::string& surface, bool depth) {
    korv::StreamPictures& pictures = walk_->Pictures();
    return pictures.Picture(pictures.Drawn(surface, depth));
}

host::Picture Inspector::Overdraw(const std::string& surface, const std::string& from) {
    const stream::SurfaceLayout layout = Drawn(surface);
    board::Board& board = walk_->Player().Board();
    stream::Overdraw counts(board.FrameBuffer().size(), board.LocalBuffer().size());
    walk_->Watch(stream::ParsePlace(from), counts);
    return korv::HeatPicture(counts.Of(layout), layout.width, layout.height);
}

host::Picture Inspector::Wires(const std::string& surface, const std::string& from) {
    const stream::SurfaceLayout layout = Drawn(surface);
    stream::Wires wires(walk_->Player().Board().FrameBuffer().size());
    walk_->Watch(stream::ParsePlace(from), wires);
    const auto lines = wires.Of(layout);
    host::Picture picture = walk_->Pictures().Picture(layout);
    for (size_t i = 0; i < lines.size(); ++i) {
        uint8_t* pixel = &picture.rgba[4 * i];
        using Line = stream::Wires::Line;
        constexpr uint8_t kColours[][3] = {{}, {96, 180, 255}, {255, 210, 60}};
        for (size_t channel = 0; channel < 3; ++channel) {
            pixel[channel] = lines[i] == Line::None
                                 ? static_cast<uint8_t>(pixel[channel] / 4)
                                 : kColours[static_cast<size_t>(lines[i])][channel];
        }
    }
    return picture;
}

host::Picture Inspector::Memory(const std::string& memory, uint32_t offset, int32_t pitch,
                                uint32_t width, uint32_t height, const std::string& format) {
    const auto* row =
        std::ranges::find_if(kMemoryFormats, [&](const auto& one) { return one.name == format; });
    if (row == std::end(kMemoryFormats)) {
        throw korv::UserError(fmt::format("unknown format '{}' of a picture", format));
    }
    constexpr uint32_t kMostPixels = 16u << 20;
    if (width == 0 || height == 0 || width > kMostPixels / height) {
        throw korv::UserError(
            fmt::format("impossible size {}x{}: expected at least one pixel and {} at most", width,
                        height, kMostPixels));
    }
    stream::SurfaceLayout layout{
        memory,    memory == "local" ? stream::Memory::LocalBuffer : stream::Memory::FrameBuffer,
        offset,    pitch,
        width,     height,
        row->bits, row->format,
        row->red,  row->green,
        row->blue, row->alpha};
    return korv::PictureOf(walk_->Player().Board(), layout);
}

Json Inspector::Checksums() {
    const stream::Checksums sums = stream::ChecksumsOf(walk_->Player().Board());
    return {{"frameBuffer", sums.frameBuffer},
            {"localBuffer", sums.localBuffer},
            {"registers", sums.registers}};
}

Json Inspector::Text(const std::string& from, const std::string& to) {
    OpenedStream opened(stream_);
    stream::DumpOptions options;
    options.from = stream::ParsePlace(from);
    options.to = stream::ParsePlace(to);
    if (listing_ != nullptr) {
        options.only = listing_->Only();
        options.changes = listing_->Changes();
    }
    std::ostringstream out;
    try {
        Dump(*opened.source, options, out);
    } catch (const stream::StreamError&) {
        if (about_["damage"] == "") {
            throw;
        }
    }
    return {{"text", out.str()}};
}

Json Inspector::Why(const std::string& name, uint32_t x, uint32_t y) {
    // As `korv why` has it: what the latest picture was taken of, else the target of the latest
    // context, else the screen.
    std::string surface = name;
    const stream::Surfaces& surfaces = walk_->Pictures().Surfaces();
    if (surface.empty() && !stream_.raw) {
        for (const std::string& drawn : {surfaces.Pictured(), surfaces.Target()}) {
            if (surface.empty() && surfaces.Find(drawn) != nullptr) {
                surface = drawn;
            }
        }
    }
    OpenedStream opened(stream_);
    stream::Player player(*opened.source);
    stream::PixelHistory history(player, surface, x, y);
    if (const auto screen = SetUpRaw(stream_, player)) {
        history.SetScreen(*screen);
    }
    try {
        history.Run({}, {stream::Place::Kind::End, 0, {}});
    } catch (const stream::StreamError&) {
        // What came before the damage, of which About() tells.
    }
    const std::string called = surface.empty() ? "screen" : surface;
    if (!history.Surface() || !history.Inside() || !history.Placed()) {
        throw korv::UserError(fmt::format(
            "there never is a pixel {},{} of '{}' in the board's memories", x, y, called));
    }
    return ToJson(history, called, {opened.source->Board().chip, false});
}

Json Inspector::List(const std::string& only, bool changes) {
    listing_ = std::make_unique<Listing>(stream_, Names(only), changes);
    return {{"rows", listing_->Rows()}};
}

Listing& Inspector::TheListing() {
    if (listing_ == nullptr) {
        List("", false);
    }
    return *listing_;
}

Json Inspector::Rows(uint64_t first, uint64_t most) {
    return TheListing().Fetch(first, most);
}

Json Inspector::RowHere() {
    return {{"row", TheListing().RowAt(walk_->At())}};
}

Json Inspector::FindRow(const std::string& text, uint64_t first, bool backwards) {
    const auto row = TheListing().Find(text, first, backwards);
    return {{"row", row ? Json(*row) : Json()}};
}

} // namespace web
