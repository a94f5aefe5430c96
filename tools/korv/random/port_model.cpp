#include "tools/korv/random/port_model.h"

#include "driver/core/driverdata.h"
#include "driver/platform/videoport.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <cstring>

namespace korv::random {

namespace {

// Lines of a field and pixels of a line before the picture begins.
constexpr uint32_t kBlankLines = 17, kBlankPixels = 155;

bool Same(const GUID& a, const GUID& b) {
    return std::memcmp(&a, &b, sizeof(GUID)) == 0;
}

template <class Record>
Record RecordIn(Player& player, const Step& name) {
    Record record{};
    const std::vector<uint32_t>& words = player.Memory(name.get<std::string>());
    std::memcpy(&record, words.data(), std::min(sizeof record, words.size() * 4));
    return record;
}

// What the driver is to take.
bool IsLegal(const DDVIDEOPORTDESC& description) {
    const DDVIDEOPORTCONNECT& connection = description.VideoPortType;
    const bool width = connection.dwPortWidth == 8 || connection.dwPortWidth == 16;
    const bool other = (connection.dwFlags & (DDVPCONNECT_DOUBLECLOCK | DDVPCONNECT_SHAREEVEN |
                                              DDVPCONNECT_SHAREODD)) != 0;
    return width && !other && description.dwVideoPortID == 0 && description.dwFieldWidth <= 2048 &&
           description.dwVBIWidth <= 2048 && description.dwFieldHeight <= 2048;
}

uint32_t Halvings(uint32_t from, uint32_t to) {
    return to == 0 ? 0 : static_cast<uint32_t>(std::countr_zero(from / to));
}

} // namespace

bool UsesVideoPort(const Steps& steps) {
    return std::ranges::any_of(steps, [](const Step& step) {
        return step.value("do", "") == "call" &&
               step.value("name", "").find("Video") != std::string::npos;
    });
}

bool PortModel::Inverted() const {
    const auto description = std::bit_cast<DDVIDEOPORTDESC>(description_);
    return (description.VideoPortType.dwFlags & DDVPCONNECT_INVERTPOLARITY) != 0;
}

bool PortModel::Understands(const board::VideoSignal& signal) const {
    const auto connection = std::bit_cast<DDVIDEOPORTDESC>(description_).VideoPortType;
    const GUID& type = connection.guidTypeID;
    return signal.portWidth == connection.dwPortWidth &&
           signal.lineReferenceHigh ==
               (Same(type, DDVPTYPE_E_HREFH_VREFH) || Same(type, DDVPTYPE_E_HREFH_VREFL)) &&
           signal.fieldReferenceHigh ==
               (Same(type, DDVPTYPE_E_HREFH_VREFH) || Same(type, DDVPTYPE_E_HREFL_VREFH));
}

void PortModel::Before(const Step&, Player& player) {
    if (display_.empty()) {
        return;
    }
    now_ = player.Display(display_).display->Board().Microseconds();
    try {
        for (Buffer& buffer : buffers_) {
            buffer.pixels = PixelsOf(player.SurfaceWithMemory(buffer.name));
        }
    } catch (const NotThereError&) {
        buffers_.clear();
        on_ = false;
    }
}

std::optional<std::string> PortModel::Problem(const Step& step, Player& player,
                                              const Outcome& outcome) {
    const std::string kind = step.value("do", "");
    if (!display_.empty()) {
        const uint64_t until = player.Display(display_).display->Board().Microseconds();
        if (until != now_) {
            Run(player, until);
        }
        if (kind == "advance") {
            for (const Buffer& buffer : buffers_) {
                const Pixels seen = PixelsOf(player.SurfaceWithMemory(buffer.name));
                if (const std::optional<size_t> at = FirstDifference(seen, buffer.pixels)) {
                    const uint32_t width = player.Surface(buffer.name).Width();
                    return fmt::format("buffer '{}', pixel {},{}: 0x{:04X} in place of 0x{:04X}",
                                       buffer.name, *at % width, *at / width, seen[*at],
                                       buffer.pixels[*at]);
                }
            }
        }
    }
    if (kind == "videoSource") {
        plugged_ = !step.contains("unplug");
        filled_.reset();
    }
    if (kind != "call") {
        return std::nullopt;
    }
    const auto wrong = Answer(step, player, outcome);
    Follow(step, player);
    return wrong;
}

void PortModel::Follow(const Step& step, Player& player) {
    const auto name = step["name"].get<std::string>();
    const Step& fields = step["fields"];
    if (name == "CreateVideoPort") {
        display_ = step["display"].get<std::string>();
        description_ = std::bit_cast<std::array<uint32_t, 18>>(
            RecordIn<DDVIDEOPORTDESC>(player, fields["lpDDVideoPortDesc"]));
    }
    if (name == "CreateVideoPort" || name == "DestroyVideoPort" ||
        (name == "UpdateVideoPort" && fields["dwFlags"] == DDRAWI_VPORTSTOP)) {
        on_ = false;
        filled_.reset();
        buffers_.clear();
    } else if (name == "UpdateVideoPort" && !display_.empty()) {
        Start(fields, player);
    } else if (name == "FlipVideoPort" && on_ && !buffers_.empty() &&
               player.Driver(display_)->VideoPortActive != 0) {
        // But for a port that was given up, as nothing came.
        next_ = (next_ + 1) % static_cast<uint32_t>(buffers_.size());
    }
}

void PortModel::Start(const Step& fields, Player& player) {
    const auto description = std::bit_cast<DDVIDEOPORTDESC>(description_);
    const auto info = RecordIn<DDVIDEOPORTINFO>(player, fields["lpVideoInfo"]);
    flags_ = info.dwVPFlags;
    const bool shrinks = (flags_ & DDVP_PRESCALE) != 0;
    scaleX_ = shrinks ? Halvings(description.dwFieldWidth, info.dwPrescaleWidth) : 0;
    scaleY_ = shrinks ? Halvings(description.dwFieldHeight, info.dwPrescaleHeight) : 0;
    lines_ = description.dwFieldHeight >> scaleY_;
    buffers_.clear();
    for (const Step& name : fields["lplpDDSurface"]) {
        buffers_.push_back({name.get<std::string>(), {}});
    }
    on_ = true;
    next_ = 0;
    filled_.reset();
}

std::optional<std::string> PortModel::Answer(const Step& step, Player& player,
                                             const Outcome& outcome) const {
    const auto name = step["name"].get<std::string>();
    const auto differs = [&](const char* field, uint32_t expected) -> std::optional<std::string> {
        const uint32_t seen = outcome.Find(field).value_or(expected);
        if (seen == expected) {
            return std::nullopt;
        }
        return fmt::format("{} is 0x{:X} in place of 0x{:X}", field, seen, expected);
    };
    if (name == "CanCreateVideoPort") {
        const bool legal =
            IsLegal(RecordIn<DDVIDEOPORTDESC>(player, step["fields"]["lpDDVideoPortDesc"]));
        return differs("ddRVal", static_cast<uint32_t>(legal ? DD_OK : DDERR_INVALIDPARAMS));
    }
    if (display_.empty() || !on_ || player.Driver(display_)->VideoPortActive == 0) {
        return std::nullopt;
    }
    if (name == "GetVideoPortLine") {
        return differs("dwLine", line_);
    }
    if (name == "GetVideoPortFlipStatus") {
        return differs("ddRVal",
                       static_cast<uint32_t>(last_ == next_ ? DDERR_WASSTILLDRAWING : DD_OK));
    }
    return std::nullopt;
}

void PortModel::Run(Player& player, uint64_t until) {
    board::VideoSource* const source = player.Display(display_).videoSource.get();
    if (!plugged_ || source == nullptr) {
        return;
    }
    const auto description = std::bit_cast<DDVIDEOPORTDESC>(description_);
    const board::VideoSignal signal = source->Signal();
    const uint64_t each = uint64_t{signal.fieldsPerSecond} * signal.linesPerField;
    constexpr uint64_t kSecond = 1000000;
    // The lines that begin meanwhile. With each of them the one before is complete.
    for (uint64_t line = now_ * each / kSecond + 1; (line * kSecond + each - 1) / each <= until;
         ++line) {
        const uint64_t before = line - 1;
        if (filled_) {
            Store(*source, before / signal.linesPerField,
                  static_cast<uint32_t>(before % signal.linesPerField), description.dwFieldWidth);
        }
        if (!on_ || !Understands(signal)) {
            filled_.reset();
            continue;
        }
        line_ = static_cast<uint32_t>(line % signal.linesPerField);
        const bool second = ((line / signal.linesPerField) & 1) != uint64_t{Inverted()};
        if (line_ == 0 && !((flags_ & DDVP_INTERLEAVE) != 0 && second)) {
            filled_ = last_ = next_;
        }
    }
}

void PortModel::Store(board::VideoSource& source, uint64_t field, uint32_t line, uint32_t width) {
    const auto description = std::bit_cast<DDVIDEOPORTDESC>(description_);
    if (line < kBlankLines || line >= kBlankLines + description.dwFieldHeight ||
        *filled_ >= buffers_.size()) {
        return;
    }
    uint32_t row = line - kBlankLines;
    if (row % (1u << scaleY_) != 0) {
        return;
    }
    row >>= scaleY_;
    if ((flags_ & DDVP_MIRRORUPDOWN) != 0) {
        row = lines_ - 1 - row;
    }
    if ((flags_ & DDVP_INTERLEAVE) != 0) {
        row = 2 * row + ((field & 1) != uint64_t{Inverted()} ? 1 : 0);
    }
    std::vector<uint16_t> sent;
    source.Line(field, line, sent);
    const bool marked = (description.VideoPortType.dwFlags & DDVPCONNECT_VACT) != 0;
    const uint32_t first = marked ? 0 : kBlankPixels;
    const uint32_t columns = width >> scaleX_;
    std::vector<uint32_t>& pixels = buffers_[*filled_].pixels;
    for (uint32_t x = 0; x < columns; ++x) {
        const uint32_t from = (flags_ & DDVP_MIRRORLEFTRIGHT) != 0 ? columns - 1 - x : x;
        // Light of the pixel itself, colour of the left one of its pair, U at even places.
        const uint32_t pair = first + ((from & ~1u) << scaleX_);
        const uint32_t light = sent.at(first + (from << scaleX_)) & 0xFFu;
        pixels.at(size_t{row} * columns + x) = light | (sent.at(pair + x % 2) & 0xFF00u);
    }
}

} // namespace korv::random
