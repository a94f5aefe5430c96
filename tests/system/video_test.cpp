// Video from a source that sends known fields, through the port's entries and the blit that
// converts it, to what the monitor shows. The board's clock moves only when a test says so: 50
// fields of 100 lines a second, 20000 microseconds a field, 200 a line. What should arrive is
// worked out from the source's own pixels with the standard conversion.
#include "board/video/video_source.h"
#include "host/ddraw/ddraw.h"
#include "host/ddraw/video_port.h"
#include "host/display/display.h"
#include "host/picture.h"
#include "tests/support_host/configs.h"
#include "tests/support_host/started_display.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <ostream>

namespace {

using test::kStillDrawing;
constexpr HRESULT kNotActive = static_cast<HRESULT>(0x887602B7);
constexpr uint64_t kFieldTime = 20000, kLineTime = 200;
// Fields are counted from this one on, when the display has been through a vertical blank.
constexpr uint64_t kFirstField = 2;
constexpr uint32_t kFirstLine = 17, kFirstPixel = 155;

// --- the source ---

struct Texel {
    int y, u, v;
};

// Sends fields of noise. What it sends at a place is a function of field and place.
class Camera : public board::VideoSource {
  public:
    Camera(uint32_t width, uint32_t height) : width_(width), height_(height) {}

    board::VideoSignal Signal() const override { return signal; }
    void Line(uint64_t field, uint32_t line, std::vector<uint16_t>& pixels) override {
        constexpr uint16_t kBlack = 0x8010;
        if (!marksPixels) {
            pixels.assign(kFirstPixel, kBlack);
        }
        for (uint32_t x = 0; x < width_; ++x) {
            if (line < kFirstLine || line >= kFirstLine + height_) {
                pixels.push_back(kBlack);
                continue;
            }
            const Texel texel = At(field - kFirstField, x, line - kFirstLine);
            pixels.push_back(
                static_cast<uint16_t>(texel.y | (x % 2 == 0 ? texel.u : texel.v) << 8));
        }
        if (!marksPixels) {
            pixels.insert(pixels.end(), 9, kBlack);
        }
    }
    // Pixel of the picture, with the colour of its pair.
    static Texel At(uint64_t field, uint32_t x, uint32_t y) {
        return {Noise(field * 3, x, y), Noise(field * 3 + 1, x / 2, y),
                Noise(field * 3 + 2, x / 2, y)};
    }

    board::VideoSignal signal{.fieldsPerSecond = 50, .linesPerField = 100};
    bool marksPixels = false;

  private:
    static int Noise(uint64_t seed, uint32_t x, uint32_t y) {
        uint32_t n = static_cast<uint32_t>(seed) * 0x9E3779B9 + x * 0x85EBCA6B + y * 0xC2B2AE35;
        n = (n ^ n >> 15) * 0x2C1B3C6D;
        return static_cast<int>((n ^ n >> 13) >> 8 & 0xFF);
    }

    uint32_t width_, height_;
};

using Colour = std::array<double, 3>;

// CCIR 601, Y from 16 to 235, U and V from 16 to 240.
Colour StandardRGB(const Texel& texel) {
    const double y = (texel.y - 16) * 255.0 / 219, u = (texel.u - 128) * 255.0 / 224,
                 v = (texel.v - 128) * 255.0 / 224;
    const auto held = [](double channel) { return std::clamp(channel, 0.0, 255.0); };
    return {held(y + 1.402 * v), held(y - 0.344136 * u - 0.714136 * v), held(y + 1.772 * u)};
}

// --- the machine ---

struct VideoMode {
    const char* name;
    uint32_t deviceId;
    uint32_t bits;
    double tolerance; // of 255
};

void PrintTo(const VideoMode& mode, std::ostream* out) {
    *out << mode.name;
}

// 5:5:5 pixels are dithered: up to a step of 255 / 31 off.
constexpr VideoMode kVideoModes[] = {
    {"PermediaAt32", DevicePermedia, 32, 2},
    {"Permedia2At32", DevicePermedia2, 32, 2},
    {"PermediaAt16", DevicePermedia, 16, 10.3},
    {"Permedia2At16", DevicePermedia2, 16, 10.3},
};

constexpr uint32_t kFieldWidth = 96, kFieldHeight = 64;

struct VideoOptions {
    uint32_t buffers = 2;
    uint32_t fieldHeight = kFieldHeight;
    uint32_t portWidth = 8;
    GUID connection = DDVPTYPE_E_HREFH_VREFH;
    uint32_t connectFlags = 0;
    uint32_t bufferWidth = kFieldWidth, bufferHeight = kFieldHeight;
    bool filter = false;
};

class VideoMachine {
  public:
    explicit VideoMachine(const VideoMode& mode, const VideoOptions& options = {})
        : camera(kFieldWidth, options.fieldHeight), machine_(ConfigOf(mode, options)),
          primary(directDraw.CreatePrimary()),
          buffers(host::CreateVideoBuffers(directDraw, options.bufferWidth, options.bufferHeight,
                                           options.buffers)),
          port(directDraw, Describe(options)), tolerance_(mode.tolerance) {
        camera.signal.portWidth = options.portWidth;
        camera.marksPixels = (options.connectFlags & DDVPCONNECT_VACT) != 0;
        Plug();
        GoTo(0, 0);
        EXPECT_TRUE(directDraw.ColorFill(primary, {0, 0, 320, 200}, 0).Done());
    }
    ~VideoMachine() { EXPECT_EQ(machine_.Faults(), ""); }

    void Plug() { display.Board().SetVideoSource(&camera); }
    void Unplug() { display.Board().SetVideoSource(nullptr); }

    // First microsecond of a line of a field.
    void GoTo(uint64_t field, uint64_t line) {
        const uint64_t now = display.Board().Microseconds();
        const uint64_t then = (field + kFirstField) * kFieldTime + line * kLineTime;
        ASSERT_LE(now, then);
        display.Board().Advance(then - now);
    }
    void Start(uint32_t flags, const DDVIDEOPORTINFO& more = {}) {
        DDVIDEOPORTINFO info = more;
        info.dwVPFlags = flags;
        EXPECT_TRUE(port.Start(buffers, info).Done());
    }

    // From a whole buffer to the rectangle on the screen.
    HRESULT Show(uint32_t buffer, const RECT& to) {
        host::Surface& from = *buffers.at(buffer);
        const host::HalAnswer answer = directDraw.Blt(
            primary, to, from,
            {0, 0, static_cast<LONG>(from.Width()), static_cast<LONG>(from.Height())});
        EXPECT_TRUE(answer.handled);
        return answer.result;
    }
    // The same pixel by pixel, from the corner on.
    HRESULT Show(uint32_t buffer) {
        return Show(buffer, {0, 0, static_cast<LONG>(buffers.at(buffer)->Width()),
                             static_cast<LONG>(buffers.at(buffer)->Height())});
    }
    // What the monitor shows there, against the source's pixels as `texel` picks them; black
    // around.
    void ExpectShown(const RECT& area, const std::function<Texel(uint32_t x, uint32_t y)>& texel) {
        directDraw.Finish(primary);
        const host::Picture picture = host::ReadScreen(display);
        double worst = 0;
        for (LONG y = 0; y < 200; ++y) {
            for (LONG x = 0; x < 320; ++x) {
                const bool inside =
                    x >= area.left && x < area.right && y >= area.top && y < area.bottom;
                const Colour want = inside ? StandardRGB(texel(static_cast<uint32_t>(x - area.left),
                                                               static_cast<uint32_t>(y - area.top)))
                                           : Colour{};
                for (int channel = 0; channel < 3; ++channel) {
                    const double off = std::abs(picture.At(x, y)[channel] - want[channel]);
                    ASSERT_LE(off, inside ? tolerance_ : 0) << x << "," << y << "." << channel;
                    worst = std::max(worst, off);
                }
            }
        }
        EXPECT_GT(worst, 0); // the conversion is no copy
    }
    void ExpectShown(uint64_t field) {
        ExpectShown({0, 0, kFieldWidth, kFieldHeight},
                    [field](uint32_t x, uint32_t y) { return Camera::At(field, x, y); });
    }
    // A buffer's memory, against the field.
    void ExpectBuffer(uint32_t buffer, uint64_t field) {
        for (uint32_t y = 0; y < kFieldHeight; ++y) {
            for (uint32_t x = 0; x < kFieldWidth; ++x) {
                const Texel want = Camera::At(field, x, y);
                const int colour = x % 2 == 0 ? want.u : want.v;
                ASSERT_EQ(buffers.at(buffer)->Pixel(x, y),
                          static_cast<uint32_t>(want.y | colour << 8))
                    << buffer << ": " << x << "," << y;
            }
        }
    }
    uint32_t Line() {
        uint32_t line = 9999;
        EXPECT_TRUE(port.Line(&line).Done());
        return line;
    }
    uint32_t Signal() {
        uint32_t status = 0;
        EXPECT_TRUE(port.SignalStatus(&status).Done());
        return status;
    }

    Camera camera;

  private:
    static host::DisplayConfig ConfigOf(const VideoMode& mode, const VideoOptions& options) {
        host::DisplayConfig config = test::ConfigFor(mode.deviceId);
        config.bits = mode.bits;
        config.width = 320;
        config.height = 200;
        config.timing.microsecondsPerTick = 0;
        if (options.filter) {
            config.registry["Direct3DHAL.FilterVideo"] = "1";
        }
        return config;
    }
    static DDVIDEOPORTDESC Describe(const VideoOptions& options) {
        DDVIDEOPORTDESC description = host::DescribeVideoPort(kFieldWidth, options.fieldHeight);
        description.VideoPortType.dwPortWidth = options.portWidth;
        description.VideoPortType.guidTypeID = options.connection;
        description.VideoPortType.dwFlags = options.connectFlags;
        return description;
    }
    test::StartedDisplay machine_;

  public:
    host::Display& display = machine_.display;
    host::DirectDraw& directDraw = machine_.directDraw;
    host::Surface& primary;
    std::vector<host::Surface*> buffers;
    host::VideoPort port;

  private:
    double tolerance_;
};

class Video : public testing::TestWithParam<VideoMode> {};

// --- pictures ---

TEST_P(Video, AFieldReachesTheScreenInItsColours) {
    VideoMachine m(GetParam());
    m.Start(DDVP_AUTOFLIP);
    m.GoTo(1, 90);
    EXPECT_TRUE(m.port.Flip().Done());
    EXPECT_EQ(m.Show(0), DD_OK);
    m.ExpectShown(1);
}

TEST_P(Video, ABufferIsShownStretched) {
    VideoMachine m(GetParam());
    m.Start(DDVP_AUTOFLIP);
    m.GoTo(1, 90);
    m.port.Flip();
    const RECT area = {40, 30, 40 + 2 * kFieldWidth, 30 + 2 * kFieldHeight};
    EXPECT_EQ(m.Show(0, area), DD_OK);
    m.ExpectShown(area, [](uint32_t x, uint32_t y) { return Camera::At(1, x / 2, y / 2); });
}

TEST_P(Video, TheFilterMixesOnlyWhereTexelsAreStretched) {
    for (const uint32_t scale : {1u, 2u}) {
        VideoMachine m(GetParam(), {.filter = true});
        m.Start(DDVP_AUTOFLIP);
        m.GoTo(1, 90);
        m.port.Flip();
        EXPECT_EQ(m.Show(0, {0, 0, static_cast<LONG>(scale * kFieldWidth),
                             static_cast<LONG>(scale * kFieldHeight)}),
                  DD_OK);
        if (scale == 1) {
            m.ExpectShown(1);
            continue;
        }
        // Between two texels Permedia 2 shows their mean, and Permedia the first of them.
        m.directDraw.Finish(m.primary);
        const host::Picture picture = host::ReadScreen(m.display);
        const bool mixes = GetParam().deviceId == DevicePermedia2;
        for (uint32_t y = 0; y < kFieldHeight; ++y) {
            for (uint32_t x = 0; x + 1 < kFieldWidth; ++x) {
                const Colour first = StandardRGB(Camera::At(1, x, y)),
                             second = StandardRGB(Camera::At(1, x + 1, y));
                for (int channel = 0; channel < 3; ++channel) {
                    const double want =
                        mixes ? (first[channel] + second[channel]) / 2 : first[channel];
                    ASSERT_NEAR(picture.At(2 * x + 1, 2 * y)[channel], want, GetParam().tolerance)
                        << x << "," << y << "." << channel;
                }
            }
        }
    }
}

TEST_P(Video, ThePictureCanBeTurnedAround) {
    for (const uint32_t flags :
         {DDVP_MIRRORLEFTRIGHT, DDVP_MIRRORUPDOWN, DDVP_MIRRORLEFTRIGHT | DDVP_MIRRORUPDOWN}) {
        VideoMachine m(GetParam());
        m.Start(DDVP_AUTOFLIP | flags);
        m.GoTo(1, 90);
        m.port.Flip();
        EXPECT_EQ(m.Show(0), DD_OK);
        m.ExpectShown({0, 0, kFieldWidth, kFieldHeight}, [flags](uint32_t x, uint32_t y) {
            return Camera::At(1, (flags & DDVP_MIRRORLEFTRIGHT) != 0 ? kFieldWidth - 1 - x : x,
                              (flags & DDVP_MIRRORUPDOWN) != 0 ? kFieldHeight - 1 - y : y);
        });
    }
}

TEST_P(Video, APortShrinksThePictureOnItsWay) {
    for (const bool upDown : {false, true}) {
        VideoMachine m(GetParam(),
                       {.bufferWidth = kFieldWidth / 2, .bufferHeight = kFieldHeight / 2});
        DDVIDEOPORTINFO info{};
        info.dwPrescaleWidth = kFieldWidth / 2;
        info.dwPrescaleHeight = kFieldHeight / 2;
        m.Start(DDVP_AUTOFLIP | DDVP_PRESCALE | (upDown ? DDVP_MIRRORUPDOWN : 0), info);
        m.GoTo(1, 90);
        m.port.Flip();
        EXPECT_EQ(m.Show(0), DD_OK);
        m.ExpectShown({0, 0, kFieldWidth / 2, kFieldHeight / 2}, [upDown](uint32_t x, uint32_t y) {
            // Every other pixel of every other line; a pair has the colour of its left one.
            const uint32_t line = 2 * (upDown ? kFieldHeight / 2 - 1 - y : y);
            const Texel pixel = Camera::At(1, 2 * x, line),
                        left = Camera::At(1, 2 * (x & ~1u), line);
            return Texel{pixel.y, left.u, left.v};
        });
    }
}

TEST_P(Video, PortsOf8And16BitsTakeTheSamePicture) {
    for (const uint32_t width : {8u, 16u}) {
        for (const uint32_t connectFlags : {DWORD{0}, DDVPCONNECT_VACT}) {
            VideoMachine m(GetParam(), {.portWidth = width, .connectFlags = connectFlags});
            m.Start(DDVP_AUTOFLIP);
            m.GoTo(1, 90);
            m.port.Flip();
            EXPECT_EQ(m.Show(0), DD_OK) << width;
            m.ExpectShown(1);
        }
    }
}

TEST_P(Video, EveryPolarityIsUnderstoodAndAnotherOneIsNot) {
    const GUID connections[] = {DDVPTYPE_E_HREFL_VREFL, DDVPTYPE_E_HREFL_VREFH,
                                DDVPTYPE_E_HREFH_VREFL, DDVPTYPE_E_HREFH_VREFH};
    for (uint32_t code = 0; code < 4; ++code) {
        VideoMachine m(GetParam(), {.connection = connections[code]});
        const uint32_t before = m.buffers[0]->Pixel(5, 5);
        m.camera.signal.lineReferenceHigh = (code & 2) == 0;
        m.camera.signal.fieldReferenceHigh = (code & 1) != 0;
        m.Plug();
        m.Start(DDVP_AUTOFLIP);
        m.GoTo(1, 90);
        EXPECT_EQ(m.Line(), 0u) << code;
        EXPECT_EQ(m.buffers[0]->Pixel(5, 5), before) << code;
        m.camera.signal.lineReferenceHigh = (code & 2) != 0;
        m.Plug();
        m.GoTo(2, 90);
        EXPECT_EQ(m.Line(), 90u) << code;
        m.ExpectBuffer(0, 2);
    }
}

TEST_P(Video, InterleavedFieldsMakeOneFrame) {
    VideoMachine m(GetParam(), {.fieldHeight = kFieldHeight / 2});
    m.Start(DDVP_AUTOFLIP | DDVP_INTERLEAVE);
    m.GoTo(3, 90);
    m.port.Flip();
    EXPECT_EQ(m.Show(0), DD_OK);
    m.ExpectShown({0, 0, kFieldWidth, kFieldHeight},
                  [](uint32_t x, uint32_t y) { return Camera::At(2 + y % 2, x, y / 2); });
}

// --- flips and questions ---

TEST_P(Video, WholeFieldsComeOneAfterTheOther) {
    VideoMachine m(GetParam(), {.buffers = 3});
    EXPECT_EQ(m.port.NextField(), nullptr); // not yet running
    m.GoTo(0, 40);
    m.Start(DDVP_AUTOFLIP);
    for (uint32_t field = 1; field <= 4; ++field) {
        EXPECT_EQ(m.port.NextField(), m.buffers[(field - 1) % 3]);
        m.ExpectBuffer((field - 1) % 3, field);
        EXPECT_EQ(m.Show((field - 1) % 3), DD_OK);
    }
    m.ExpectShown(4);
}

TEST_P(Video, EveryBufferGetsItsOwnField) {
    for (const bool autoflip : {true, false}) {
        // No port flips by itself to a single buffer.
        for (uint32_t count = autoflip ? 2 : 1; count <= 3; ++count) {
            VideoMachine m(GetParam(), {.buffers = count});
            m.Start(autoflip ? DDVP_AUTOFLIP : 0);
            for (uint32_t field = 1; field <= 2 * count; ++field) {
                m.GoTo(field, 90);
                m.ExpectBuffer((field - 1) % count, field);
                EXPECT_TRUE(m.port.Flip().Done());
            }
            // The latest round is still there.
            for (uint32_t buffer = 0; buffer < count; ++buffer) {
                m.ExpectBuffer(buffer, count + 1 + buffer);
            }
        }
    }
}

TEST_P(Video, AFlipIsDueAgainOnceItsBufferIsBeingFilled) {
    VideoMachine m(GetParam(), {.buffers = 3});
    EXPECT_EQ(m.port.FlipStatus().result, DD_OK); // not yet running
    m.Start(DDVP_AUTOFLIP);
    for (uint64_t field = 1; field < 6; ++field) {
        m.GoTo(field, 50);
        EXPECT_EQ(m.port.FlipStatus().result, kStillDrawing) << field;
        EXPECT_TRUE(m.port.Flip().Done());
        EXPECT_EQ(m.port.FlipStatus().result, DD_OK) << field;
        m.GoTo(field, 99);
        EXPECT_EQ(m.port.FlipStatus().result, DD_OK) << field;
        m.GoTo(field + 1, 0);
        EXPECT_EQ(m.port.FlipStatus().result, kStillDrawing) << field;
    }
}

TEST_P(Video, TheLineIsThatOfTheSource) {
    VideoMachine m(GetParam());
    uint32_t line = 0;
    EXPECT_EQ(m.port.Line(&line).result, kNotActive);
    m.Start(DDVP_AUTOFLIP);
    for (uint64_t at = 1; at < 3 * 100; at += 7) {
        m.GoTo(0, at);
        ASSERT_EQ(m.Line(), at % 100);
    }
    EXPECT_TRUE(m.port.Stop().Done());
    EXPECT_EQ(m.port.Line(&line).result, kNotActive);
}

TEST_P(Video, TheInterruptOfAFieldIsAnswered) {
    VideoMachine m(GetParam());
    m.Start(DDVP_AUTOFLIP);
    for (uint64_t field = 1; field < 4; ++field) {
        m.GoTo(field, 90);
        EXPECT_EQ(m.display.Board().Read(reg::IntFlags) & 0x200, 0u) << field;
    }
    EXPECT_EQ(m.display.Board().Read(reg::IntEnable) & 0x200, 0x200u);
}

TEST_P(Video, StoppingKeepsTheBuffersAsTheyAre) {
    VideoMachine m(GetParam());
    m.Start(DDVP_AUTOFLIP);
    m.GoTo(1, 90);
    EXPECT_TRUE(m.port.Stop().Done());
    m.GoTo(4, 10);
    m.ExpectBuffer(0, 1);
    EXPECT_EQ(m.Show(0), DD_OK); // nothing is being filled
    m.ExpectShown(1);
    // Started anew, the port goes on with the field that begins next.
    m.Start(DDVP_AUTOFLIP);
    m.GoTo(5, 90);
    m.ExpectBuffer(0, 5);
}

// --- the guard and the watchdog ---

TEST_P(Video, ABlitWaitsForTheBufferThatIsBeingWrittenAndGoesAfterTheField) {
    VideoMachine m(GetParam());
    host::Surface& plain = m.directDraw.CreateOffscreen(16, 16);
    m.Start(DDVP_AUTOFLIP);
    m.GoTo(1, 40);
    EXPECT_EQ(m.Show(0), kStillDrawing);
    EXPECT_EQ(m.Show(1), kStillDrawing); // whichever buffer it wants
    EXPECT_EQ(m.directDraw.ColorFill(*m.buffers[0], {0, 0, 4, 4}, 0).result, kStillDrawing);
    EXPECT_EQ(m.directDraw.Blt(m.primary, {0, 0, 16, 16}, plain, {0, 0, 16, 16}).result, DD_OK);
    EXPECT_TRUE(m.directDraw.ColorFill(m.primary, {0, 0, 320, 200}, 0).Done());
    m.port.Flip();
    m.GoTo(2, 30); // the other buffer is being filled
    EXPECT_EQ(m.Show(0), kStillDrawing);
    m.port.Flip();
    EXPECT_EQ(m.Show(0), DD_OK);
    m.ExpectShown(1);
}

TEST_P(Video, ASourceThatGoesAwayStopsThePortAfter51Samples) {
    VideoMachine m(GetParam());
    m.Start(DDVP_AUTOFLIP);
    m.GoTo(1, 90);
    EXPECT_EQ(m.Signal(), 2u);
    // While fields come in, no number of blits that wait stops the port.
    for (uint64_t i = 1; i <= 200; ++i) {
        m.display.Board().Advance(9403);
        ASSERT_EQ(m.Show(0), kStillDrawing) << i;
    }
    m.Unplug();
    EXPECT_EQ(m.Signal(), 2u); // takes a sample
    // 9400 microseconds are 470000 cycles: a sample is judged after that, by the next blit.
    m.display.Board().Advance(9400);
    EXPECT_EQ(m.Show(0), kStillDrawing);
    EXPECT_EQ(m.display.Driver()->VideoFailures, 0u);
    m.display.Board().Advance(1);
    for (int sample = 1; sample <= 50; ++sample) {
        ASSERT_EQ(m.Show(0), kStillDrawing) << sample; // judges
        ASSERT_EQ(m.Show(0), kStillDrawing) << sample; // takes a new one
        m.display.Board().Advance(9401);
    }
    EXPECT_EQ(m.display.Driver()->VideoFailures, 50u);
    EXPECT_EQ(m.display.Driver()->VideoPortActive, 1u);
    EXPECT_EQ(m.Show(0), DD_OK);
    EXPECT_EQ(m.display.Driver()->VideoPortActive, 0u);
    EXPECT_EQ(m.Signal(), 1u);
    uint32_t line;
    EXPECT_EQ(m.port.Line(&line).result, kNotActive);
    EXPECT_EQ(m.port.FlipStatus().result, DD_OK);
    m.ExpectBuffer(0, 95); // the last whole field
    m.ExpectShown(95);
    // The chip was left as it is set; with a new start all is well again.
    m.Plug();
    DDVIDEOPORTINFO info{};
    info.dwVPFlags = DDVP_AUTOFLIP;
    EXPECT_TRUE(m.port.Update(m.buffers, info).Done());
    m.GoTo(200, 90);
    EXPECT_EQ(m.Signal(), 2u);
    m.ExpectBuffer(0, 200);
}

// --- what the port says of itself ---

TEST_P(Video, DescriptionsAreRefusedBeforeAPortIsMade) {
    VideoMachine m(GetParam());
    DDVIDEOPORTDESC description = host::DescribeVideoPort(2048, 240);
    EXPECT_EQ(host::VideoPort::CanCreate(m.directDraw, description), DD_OK);
    description.dwFieldWidth = 2049;
    EXPECT_EQ(host::VideoPort::CanCreate(m.directDraw, description),
              static_cast<HRESULT>(0x80070057));
    EXPECT_THROW(host::VideoPort(m.directDraw, description), host::ResultError);
    EXPECT_EQ(m.display.Driver()->VideoPortCreated, 1u); // of the machine's own port
}

TEST_P(Video, ConnectionsAndFormatsAreListed) {
    VideoMachine m(GetParam());
    const auto connections = host::VideoPort::Connections(m.directDraw);
    ASSERT_EQ(connections.size(), 8u);
    for (const DDVIDEOPORTCONNECT& connection : connections) {
        DDVIDEOPORTDESC description = host::DescribeVideoPort(720, 240);
        description.VideoPortType = connection;
        EXPECT_EQ(host::VideoPort::CanCreate(m.directDraw, description), DD_OK);
    }
    const auto inputs = m.port.InputFormats();
    ASSERT_EQ(inputs.size(), 1u);
    EXPECT_EQ(inputs[0].dwFourCC, 0x32595559u);
    EXPECT_EQ(m.port.OutputFormats(inputs[0]).size(), 1u);
    DDPIXELFORMAT other = inputs[0];
    other.dwFourCC = 0x59565955;
    EXPECT_TRUE(m.port.OutputFormats(other).empty());
    bool field = false;
    EXPECT_TRUE(m.port.Field(&field).Done());
    EXPECT_FALSE(field);
    m.Start(DDVP_AUTOFLIP);
    EXPECT_TRUE(m.port.Field(&field).Done());
    EXPECT_TRUE(field);
    EXPECT_TRUE(m.port.Bandwidth().Done());
    EXPECT_EQ(m.port.WaitForSync(0).result, static_cast<HRESULT>(0x80004001));
}

INSTANTIATE_TEST_SUITE_P(Boards, Video, testing::ValuesIn(kVideoModes),
                         [](const auto& info) { return std::string(info.param.name); });

} // namespace
