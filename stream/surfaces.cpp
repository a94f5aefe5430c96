#include "stream/surfaces.h"

#include <charconv>

namespace stream {

namespace {

uint32_t Word(const Mark& mark, const char* field) {
    return static_cast<uint32_t>(mark.Number(field).value_or(0));
}

std::string TextOr(const Mark& mark, const char* field) {
    const std::string* text = mark.Text(field);
    return text != nullptr ? *text : std::string();
}

std::vector<uint8_t> PaletteOf(const std::string& hex) {
    std::vector<uint8_t> bytes;
    for (size_t i = 0; i + 2 <= hex.size(); i += 2) {
        uint8_t byte = 0;
        std::from_chars(hex.data() + i, hex.data() + i + 2, byte, 16);
        bytes.push_back(byte);
    }
    return bytes;
}

} // namespace

SurfaceLayout ScreenLayout(uint32_t width, uint32_t height, uint32_t bits, uint32_t pitch) {
    SurfaceLayout screen;
    screen.name = "the screen";
    screen.width = width;
    screen.height = height;
    screen.bits = bits;
    screen.pitch = static_cast<int32_t>(pitch);
    screen.format = bits == 8 ? "indexed" : "rgb";
    if (bits == 16) {
        screen.red = 0x7C00, screen.green = 0x03E0, screen.blue = 0x001F;
    } else if (bits > 16) {
        screen.red = 0xFF0000, screen.green = 0xFF00, screen.blue = 0xFF;
    }
    return screen;
}

void Surfaces::Follow(const Mark& mark) {
    const int64_t id = mark.Number("id").value_or(0);
    switch (mark.kind) {
    case MarkKind::Mode:
        screen_ = ScreenLayout(Word(mark, "width"), Word(mark, "height"), Word(mark, "bits"),
                               Word(mark, "pitch"));
        break;
    case MarkKind::Surface: {
        const std::string memory = TextOr(mark, "memory");
        SurfaceLayout& surface = surfaces_[id];
        surface.name = mark.name;
        surface.memory = memory == "local"  ? Memory::LocalBuffer
                         : memory == "host" ? Memory::Host
                                            : Memory::FrameBuffer;
        surface.offset = Word(mark, "offset");
        surface.pitch = static_cast<int32_t>(Word(mark, "pitch"));
        surface.width = Word(mark, "width");
        surface.height = Word(mark, "height");
        surface.bits = Word(mark, "bits");
        surface.format = TextOr(mark, "format");
        surface.red = Word(mark, "red");
        surface.green = Word(mark, "green");
        surface.blue = Word(mark, "blue");
        surface.alpha = Word(mark, "alpha");
        break;
    }
    case MarkKind::SurfaceName:
        if (const auto found = surfaces_.find(id); found != surfaces_.end()) {
            found->second.name = mark.name;
        }
        break;
    case MarkKind::SurfaceGone:
        surfaces_.erase(id);
        break;
    case MarkKind::Context:
        target_ = TextOr(mark, "target");
        zBuffer_ = TextOr(mark, "zBuffer");
        break;
    case MarkKind::Picture:
        pictured_ = TextOr(mark, "surface");
        palette_ = PaletteOf(TextOr(mark, "palette"));
        break;
    default:
        break;
    }
}

const SurfaceLayout* Surfaces::Find(const std::string& name) const {
    for (const auto& [id, surface] : surfaces_) {
        if (surface.name == name) {
            return &surface;
        }
    }
    return nullptr;
}

std::vector<const SurfaceLayout*> Surfaces::All() const {
    std::vector<const SurfaceLayout*> all;
    for (const auto& [id, surface] : surfaces_) {
        all.push_back(&surface);
    }
    return all;
}

std::optional<SurfaceLayout> Surfaces::Screen(uint32_t shownBase) const {
    std::optional<SurfaceLayout> screen = screen_;
    if (screen) {
        screen->offset = shownBase;
    }
    return screen;
}

} // namespace stream
