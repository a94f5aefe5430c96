#include "host/client/client_drawing.h"

#include "driver/core/chipinfo.h"
#include "driver/core/tags.h"
#include "host/display/known_device.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <stdexcept>
#include <string>

namespace host {

namespace {

constexpr uint32_t kTrapezoid = field::Render_Primitive.Put(0, 1);
constexpr uint32_t kOneRow = 0x10000; // 16.16
constexpr uint32_t kFlat = field::ColorDDAMode_Enable.Mask();
constexpr uint32_t kGouraud = kFlat | field::ColorDDAMode_Gouraud.Mask();

// Units that the drawing here has no use for.
constexpr uint32_t kUnusedUnits[] = {
    tag::RasterizerMode, tag::AreaStippleMode, tag::LineStippleMode, tag::WindowOrigin,
    tag::FogMode,        tag::AlphaTestMode,   tag::AntialiasMode,   tag::AlphaBlendMode,
    tag::LogicalOpMode,  tag::LBReadMode,      tag::LBWriteMode,     tag::Window,
    tag::StencilMode,    tag::DepthMode,       tag::StatisticMode,   tag::FilterMode,
    tag::FBSourceOffset, tag::FBPixelOffset,   tag::ScissorMinXY,
};
constexpr uint32_t kUnusedPermediaUnits[] = {
    tag::TextureAddressMode, tag::TextureReadMode, tag::TextureColorMode,
    tag::TexelLUTMode,       tag::YUVMode,
};
constexpr uint32_t kUnusedTextureUnits[] = {
    // of TX and MX
    tag::RouterMode,
    tag::TextureAddressMode,
    tag::GlintTextureReadMode,
    tag::TextureColorMode,
};
constexpr uint32_t kUnusedMXUnits[] = {tag::TextureFilterMode, tag::ChromaTestMode};

// Words of one primitive or one piece of state, which stay together: gathered and then handed to
// the client.
class Words {
  public:
    void Pair(uint32_t tagNumber, uint32_t value) {
        Add(tagNumber);
        Add(value);
    }
    void Add(uint32_t word) { words_.at(count_++) = word; }
    void HandTo(ServiceClient& client) {
        std::copy_n(words_.begin(), count_, client.Reserve(count_));
        client.Commit(count_);
    }

  private:
    std::array<uint32_t, 32> words_;
    uint32_t count_ = 0;
};

template <size_t N>
void Zeros(ServiceClient& client, const uint32_t (&tags)[N]) {
    for (const uint32_t tagNumber : tags) {
        Words words;
        words.Pair(tagNumber, 0);
        words.HandTo(client);
    }
}

// Low nine bits of FBReadMode. The client's own arithmetic, as it knows nothing of the driver's.
uint32_t ProductsOf(uint32_t pitch, const DeviceRow& device) {
    uint32_t products = 0, shift = 0, rest = pitch;
    for (uint32_t power = 1u << device.pitchTop; power >= 32; power /= 2) {
        for (; rest >= power && shift < 9; shift += 3) {
            const auto code = static_cast<uint32_t>(std::countr_zero(power)) - 4;
            products |= code << shift;
            rest -= power;
        }
    }
    if (rest != 0 || pitch == 0) {
        throw std::invalid_argument("service client: no pitch of " + std::to_string(pitch) +
                                    " pixels on this chip");
    }
    return products;
}

uint32_t Fixed(double value, int fractionBits) {
    constexpr double kLimit = 0x7FFFFFFF;
    return static_cast<uint32_t>(
        std::llround(std::clamp(std::ldexp(value, fractionBits), -kLimit, kLimit)));
}

// Colour words have red in the low byte.
uint32_t ColourWord(uint32_t colour) {
    return 0xFF000000 | (colour & 0xFF) << 16 | (colour & 0xFF00) | (colour >> 16 & 0xFF);
}

double Channel(uint32_t colour, int channel) { // 0 is red
    return static_cast<double>(colour >> (16 - 8 * channel) & 0xFF);
}

// First row whose centre is at or below `y`.
int FirstRow(double y) {
    return static_cast<int>(std::ceil(y - 0.5));
}

// One side of a triangle, from its upper end. Its words depend on its two ends alone, so that
// neighbours agree on every pixel.
struct Side {
    Side(const ClientVertex& top, const ClientVertex& bottom)
        : firstRow(FirstRow(top.y)), endRow(FirstRow(bottom.y)),
          slope((double{bottom.x} - top.x) / std::max(double{bottom.y} - top.y, 1e-6)),
          start(top.x + (firstRow + 0.5 - top.y) * slope) {}
    bool Empty() const { return firstRow >= endRow; }
    uint32_t StartWord() const { return Fixed(start, 16); }
    uint32_t StepWord() const { return Fixed(slope, 16); }

    int firstRow, endRow;
    double slope; // pixels a row
    double start; // x in the middle of the first row
};

} // namespace

ClientTarget TargetOf(const ServiceClient& client, Surface& surface) {
    return {.offset = static_cast<uint32_t>(surface.Bytes() - client.FrameBuffer()),
            .pitch = static_cast<uint32_t>(surface.Pitch()) * 8 / surface.Bits(),
            .width = surface.Width(),
            .height = surface.Height(),
            .bits = surface.Bits()};
}

ClientDrawing::ClientDrawing(ServiceClient& client, const ClientTarget& target)
    : client_(client), target_(target),
      products_(ProductsOf(target.pitch, KnownDevice(client.Info().DeviceId))) {}

void ClientDrawing::State() {
    const DeviceRow& device = KnownDevice(client_.Info().DeviceId);
    Zeros(client_, kUnusedUnits);
    if (client_.IsPermedia()) {
        Zeros(client_, kUnusedPermediaUnits);
    } else if (device.textures) {
        Zeros(client_, kUnusedTextureUnits);
    }
    if (device.model == ChipModel::MX) {
        Zeros(client_, kUnusedMXUnits);
    }
    Words words;
    words.Pair(tag::ScissorMode, field::ScissorMode_UserEnable.Mask());
    words.Pair(tag::ScissorMaxXY, target_.height << 16 | target_.width);
    words.Pair(tag::FBSoftwareWriteMask, 0xFFFFFFFF);
    words.Pair(tag::FBHardwareWriteMask, 0xFFFFFFFF);
    words.Pair(tag::FBReadMode, products_);
    words.Pair(tag::FBWindowBase, target_.offset / (target_.bits / 8));
    words.Pair(tag::FBWriteMode, field::FBWriteMode_Enable.Mask());
    words.Pair(tag::DitherMode,
               field::DitherMode_UnitEnable.Mask() | field::DitherMode_Enable.Mask() |
                   field::DitherMode_ColorFormat.Put(0, target_.bits == 16 ? 1 : 0) |
                   field::DitherMode_ColorOrder.Mask());
    if (client_.IsPermedia()) {
        words.Pair(tag::FBReadPixel, target_.bits == 16 ? 1 : target_.bits == 24 ? 4 : 2);
    } else {
        words.Pair(tag::PixelSize, target_.bits == 16 ? 1 : 0);
    }
    words.HandTo(client_);
}

void ClientDrawing::Rectangle(const RECT& area, uint32_t colour) {
    const LONG left = std::max(area.left, LONG{0}), top = std::max(area.top, LONG{0});
    const LONG right = std::min(area.right, static_cast<LONG>(target_.width));
    const LONG bottom = std::min(area.bottom, static_cast<LONG>(target_.height));
    if (left >= right || top >= bottom) {
        return;
    }
    Words words;
    words.Pair(tag::ColorDDAMode, kFlat);
    words.Pair(tag::ConstantColor, ColourWord(colour));
    words.Add(burst::Trapezoid);
    for (const uint32_t word :
         {static_cast<uint32_t>(left) << 16, 0u, static_cast<uint32_t>(right) << 16, 0u,
          static_cast<uint32_t>(top) << 16, kOneRow, static_cast<uint32_t>(bottom - top),
          kTrapezoid}) {
        words.Add(word);
    }
    words.HandTo(client_);
}

void ClientDrawing::Triangle(const ClientVertex& a, const ClientVertex& b, const ClientVertex& c) {
    const ClientVertex* v[] = {&a, &b, &c};
    std::ranges::stable_sort(v, {}, &ClientVertex::y);
    const double area = (double{v[1]->x} - v[0]->x) * (double{v[2]->y} - v[0]->y) -
                        (double{v[2]->x} - v[0]->x) * (double{v[1]->y} - v[0]->y);
    const Side dominant(*v[0], *v[2]), upper(*v[0], *v[1]), lower(*v[1], *v[2]);
    if (area == 0 || dominant.Empty()) {
        return;
    }

    Words words;
    words.Pair(tag::ColorDDAMode, kGouraud);
    words.Add(burst::ColourRGBA);
    for (int channel = 0; channel < 3; ++channel) {
        const double value = Channel(v[0]->colour, channel);
        const double to1 = Channel(v[1]->colour, channel) - value;
        const double to2 = Channel(v[2]->colour, channel) - value;
        const double dx = (to1 * (v[2]->y - v[0]->y) - to2 * (v[1]->y - v[0]->y)) / area;
        const double dy = (to2 * (v[1]->x - v[0]->x) - to1 * (v[2]->x - v[0]->x)) / area;
        const double start =
            value + dx * (dominant.start - v[0]->x) + dy * (dominant.firstRow + 0.5 - v[0]->y);
        // The second word is the step away from the dominant edge, to whichever side.
        const double across = area > 0 ? dx : -dx;
        for (const double word : {start, across, dy + dx * dominant.slope}) {
            words.Add(Fixed(word, 15));
        }
    }
    for (const uint32_t word : {255u << 15, 0u, 0u}) { // opaque
        words.Add(word);
    }

    const Side& first = upper.Empty() ? lower : upper;
    words.Add(burst::Trapezoid);
    for (const uint32_t word : {dominant.StartWord(), dominant.StepWord(), first.StartWord(),
                                first.StepWord(), static_cast<uint32_t>(dominant.firstRow) << 16,
                                kOneRow, static_cast<uint32_t>(first.endRow - first.firstRow),
                                kTrapezoid | field::Render_SubPixelCorrection.Mask()}) {
        words.Add(word);
    }
    if (!upper.Empty() && !lower.Empty()) {
        words.Add(burst::NextSubEdge);
        words.Add(lower.StartWord());
        words.Add(lower.StepWord());
        words.Add(static_cast<uint32_t>(lower.endRow - lower.firstRow));
    }
    words.HandTo(client_);
}

void ClientDrawing::Triangles(std::span<const ClientVertex> corners) {
    for (size_t i = 0; i + 2 < corners.size(); i += 3) {
        Triangle(corners[i], corners[i + 1], corners[i + 2]);
    }
}

void WritePixel(ServiceClient& client, const ClientTarget& target, uint32_t x, uint32_t y,
                uint32_t colour) {
    const uint32_t pixel =
        target.bits == 16 ? (colour >> 9 & 0x7C00) | (colour >> 6 & 0x3E0) | (colour >> 3 & 0x1F)
                          : colour & 0xFFFFFF;
    const uint32_t bytes = target.bits / 8;
    std::memcpy(client.FrameBuffer() + target.offset + (y * target.pitch + x) * bytes, &pixel,
                bytes);
}

} // namespace host
