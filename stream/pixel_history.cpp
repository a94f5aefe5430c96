#include "stream/pixel_history.h"

#include "stream/error.h"

#include <algorithm>

namespace stream {

namespace {

constexpr uint32_t kBytesOfWord = 4;

bool IsLocal(Memory memory) {
    return memory == Memory::LocalBuffer;
}

} // namespace

PixelPlace PlaceOf(const SurfaceLayout& surface, uint32_t x, uint32_t y) {
    PixelPlace place;
    const uint32_t bit = x * surface.bits;
    place.memory = surface.memory;
    place.byte = surface.offset + y * static_cast<uint32_t>(surface.pitch) + bit / 8;
    place.bits = std::clamp(surface.bits, 1u, 32u);
    // The left one of several in a byte lies in its low bits.
    place.shift = bit % 8;
    place.bytes = std::min((place.shift + place.bits + 7) / 8, kBytesOfWord);
    return place;
}

Position PixelMoment::From() const {
    Position from = HasCommand() ? by.at : at;
    const auto caller = what == What::Stored ? call : by.call;
    from.call = caller ? *caller + 1 : 0;
    return from;
}

PixelHistory::PixelHistory(Player& player, std::string surface, uint32_t x, uint32_t y)
    : player_(player), name_(std::move(surface)), x_(x), y_(y) {
    player_.Board().SetProbe(this);
}

PixelHistory::~PixelHistory() {
    player_.Board().SetProbe(nullptr);
}

const std::string& PixelHistory::NameIn(const std::vector<const std::string*>& names,
                                        uint64_t number) {
    static const std::string none;
    return number < names.size() ? *names[number] : none;
}

bool PixelHistory::Run(const Place& from, const Place& to) {
    Source& source = player_.From();
    Locate(MarkKind::Mode);
    keeping_ = from.kind == Place::Kind::Start || HasReached(from, source.At());
    if (HasReached(to, source.At())) {
        return true;
    }
    Event event;
    while (true) {
        at_ = source.At();
        if (!player_.Next(event)) {
            entries_.End(at_);
            return to.kind == Place::Kind::End && (keeping_ || from.kind == Place::Kind::End);
        }
        entries_.Follow(event, at_);
        player_.Play(event);
        if (event.kind == EventKind::Store &&
            Overlaps(event.memory, event.offset, event.bytes.size())) {
            PixelMoment moment = Begin(PixelMoment::What::Stored);
            Write(event.offset, event.bytes);
            moment.call = entries_.Call();
            Keep(std::move(moment));
        }
        if (event.kind == EventKind::Mark) {
            FollowMark(*event.mark);
        }
        Locate(event.kind == EventKind::Mark ? event.mark->kind : MarkKind::Frame);
        keeping_ = keeping_ || IsAt(from, source.At(), &event);
        if (IsAt(to, source.At(), &event)) {
            return true;
        }
    }
}

void PixelHistory::FollowMark(const Mark& mark) {
    if (mark.kind == MarkKind::Call) {
        callNames_.push_back(Kept(mark.name));
    } else if (mark.kind == MarkKind::Step) {
        stepNames_.push_back(Kept(mark.name));
    }
    surfaces_.Follow(mark);
}

void PixelHistory::Locate(MarkKind cause) {
    std::optional<SurfaceLayout> surface = rawScreen_;
    if (!surface && name_.empty()) {
        surface = surfaces_.Screen(player_.Board().ShownBase());
    } else if (const SurfaceLayout* found = surfaces_.Find(name_); found != nullptr && !surface) {
        surface = *found;
    }
    std::optional<PixelPlace> place;
    if (surface) {
        surface_ = surface;
        if (x_ < surface->width && y_ < surface->height) {
            place = PlaceOf(*surface, x_, y_);
            inside_ = true;
        }
        if (place && Bytes(*place) == nullptr) {
            place.reset();
        }
        placed_ = placed_ || place;
    }
    if (place == place_) {
        return;
    }
    PixelMoment moment = Begin(PixelMoment::What::Moved);
    place_ = place;
    held_ = 0;
    if (place) {
        const uint8_t* bytes = Bytes(*place);
        for (uint32_t i = 0; i < place->bytes; ++i) {
            held_ |= uint32_t{bytes[i]} << (8 * i);
        }
    }
    moment.place = place;
    moment.cause = cause;
    Keep(std::move(moment));
}

const uint8_t* PixelHistory::Bytes(const PixelPlace& place) const {
    std::span<const uint8_t> memory;
    uint32_t offset = place.byte;
    if (place.memory == Memory::Host) {
        const auto& host = player_.HostMemory();
        const auto behind = host.upper_bound(offset);
        if (behind == host.begin()) {
            return nullptr;
        }
        memory = std::prev(behind)->second;
        offset -= std::prev(behind)->first;
    } else {
        memory =
            IsLocal(place.memory) ? player_.Board().LocalBuffer() : player_.Board().FrameBuffer();
    }
    return offset <= memory.size() && place.bytes <= memory.size() - offset ? memory.data() + offset
                                                                            : nullptr;
}

std::optional<uint32_t> PixelHistory::Value() const {
    if (!place_) {
        return std::nullopt;
    }
    const uint32_t value = held_ >> place_->shift;
    return place_->bits < 32 ? value & ((1u << place_->bits) - 1) : value;
}

bool PixelHistory::Overlaps(Memory memory, int64_t byte, size_t count) const {
    return place_ && place_->memory == memory && byte < int64_t{place_->byte} + place_->bytes &&
           byte + static_cast<int64_t>(count) > int64_t{place_->byte};
}

bool PixelHistory::Touches(const board::PixelElement& element) const {
    return element.bytes != 0 && Overlaps(element.local ? Memory::LocalBuffer : Memory::FrameBuffer,
                                          element.place, element.bytes);
}

void PixelHistory::Write(int64_t byte, std::span<const uint8_t> bytes) {
    for (uint32_t i = 0; i < place_->bytes; ++i) {
        const int64_t from = int64_t{place_->byte} + i - byte;
        if (from >= 0 && from < static_cast<int64_t>(bytes.size())) {
            const uint32_t shift = 8 * i;
            held_ = (held_ & ~(0xFFu << shift)) | uint32_t{bytes[static_cast<size_t>(from)]}
                                                      << shift;
        }
    }
}

void PixelHistory::Write(const board::PixelElement& element) {
    if (Touches(element)) {
        uint8_t bytes[kBytesOfWord];
        for (uint32_t i = 0; i < kBytesOfWord; ++i) {
            bytes[i] = static_cast<uint8_t>(element.after >> (8 * i));
        }
        Write(element.place, std::span(bytes).first(element.bytes));
    }
}

PixelMoment PixelHistory::Begin(PixelMoment::What what) const {
    PixelMoment moment;
    moment.what = what;
    moment.at = at_;
    moment.before = Value();
    return moment;
}

void PixelHistory::Keep(PixelMoment moment) {
    if (keeping_) {
        moment.after = Value();
        moments_.push_back(std::move(moment));
    }
}

void PixelHistory::OnPixel(const board::PixelReport& pixel) {
    if (!Touches(pixel.colour) && !Touches(pixel.depth)) {
        return;
    }
    PixelMoment moment = Begin(PixelMoment::What::Drawn);
    Write(pixel.depth);
    Write(pixel.colour);
    moment.pixel = pixel;
    if (pixel.way != board::PixelWay::Video) {
        moment.by = entries_.Current();
        moment.inPrimitive = pixel.way != board::PixelWay::TextureData;
        moment.primitive = primitive_;
    }
    Keep(std::move(moment));
}

std::optional<int64_t> PixelHistory::Found(const board::CutPixels& run, const board::Plane* plane,
                                           bool local) const {
    if (plane == nullptr || !place_ ||
        place_->memory != (local ? Memory::LocalBuffer : Memory::FrameBuffer)) {
        return std::nullopt;
    }
    // Pixels beside the rows would lie in other rows: nobody means those.
    const board::Span row{
        run.y, std::max<int64_t>(run.left, 0), std::min(run.right, plane->pitch), false, 0, 0};
    if (row.Empty()) {
        return std::nullopt;
    }
    const int64_t first = place_->byte / plane->bytesPerElement;
    const int64_t last = (place_->byte + place_->bytes - 1) / plane->bytesPerElement;
    const int64_t x = plane->FirstFrom(first, row);
    return x < row.right && plane->Index(x, run.y) <= last ? std::optional(x) : std::nullopt;
}

bool PixelHistory::Wants(const board::PixelRow& row) {
    if (!place_ || place_->memory == Memory::Host) {
        return false;
    }
    const bool local = IsLocal(place_->memory);
    const board::Span span{row.y, row.left, row.right, false, 0, 0};
    const auto meets = [&](const board::Plane* plane, bool planeLocal) {
        if (plane == nullptr || planeLocal != local) {
            return false;
        }
        const int64_t first = place_->byte / plane->bytesPerElement;
        const int64_t last = (place_->byte + place_->bytes - 1) / plane->bytesPerElement;
        const int64_t x = plane->FirstFrom(first, span);
        return x < span.right && plane->Index(x, span.y) <= last;
    };
    return (row.columns && !local) || meets(row.pixels, false) ||
           meets(row.depths, row.depthsLocal) || meets(row.locals, true);
}

void PixelHistory::OnCut(const board::CutPixels& run) {
    auto x = Found(run, run.pixels, false);
    if (!x) {
        x = Found(run, run.depths, run.depthsLocal);
    }
    if (!x) {
        return;
    }
    PixelMoment moment = Begin(PixelMoment::What::Cut);
    moment.by = entries_.Current();
    moment.inPrimitive = true;
    moment.primitive = primitive_;
    moment.pixel.way = run.way;
    moment.pixel.placed = true;
    moment.pixel.x = *x;
    moment.pixel.y = run.y;
    moment.pixel.met = moment.pixel.failed = 1u << static_cast<int>(run.test);
    Keep(std::move(moment));
}

} // namespace stream
