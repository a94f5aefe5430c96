#include "tools/korvchk/picture.h"

#include "tools/korvchk/system.h"
#include "tools/korvchk/text.h"

namespace chk {

namespace {

// All in pixels.
constexpr uint32_t kSide = 256;
constexpr uint32_t kWindowX = 64, kWindowY = 64;
constexpr uint32_t kScreenWidth = 640, kScreenHeight = 480, kScreenBits = 16;
constexpr uint32_t kScreenX = (kScreenWidth - kSide) / 2, kScreenY = (kScreenHeight - kSide) / 2;
constexpr uint32_t kShowMilliseconds = 2000;

struct Colour {
    uint32_t red, green, blue; // 0 to 255
};
constexpr Colour kBackground = {0, 0, 96};

// Corners in red, green and blue.
constexpr uint32_t kCorners[3][2] = {{32, 32}, {224, 32}, {128, 224}};

// Places to look at: weights of the corners in twelfths; all zeros for a place of its own outside.
struct Probe {
    const char* where;
    uint32_t weights[3];
    uint32_t x, y;
};
constexpr Probe kProbes[] = {
    {"near the red corner", {10, 1, 1}, 0, 0},
    {"near the green corner", {1, 10, 1}, 0, 0},
    {"near the blue corner", {1, 1, 10}, 0, 0},
    {"in the middle", {4, 4, 4}, 0, 0},
    {"left of it", {0, 0, 0}, 16, 128},
    {"right of it", {0, 0, 0}, 240, 128},
    {"above it", {0, 0, 0}, 128, 8},
    {"below it", {0, 0, 0}, 128, 248},
};
// Of 255 a channel: five bits and a dither.
constexpr uint32_t kTolerance = 24;

// Releases at the end of its block.
template <class Interface>
struct Held {
    Interface* object = nullptr;
    Held() = default;
    ~Held() {
        if (object != nullptr) {
            object->Release();
        }
    }
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;
    Interface* operator->() const { return object; }
    void** Any() { return reinterpret_cast<void**>(&object); }
};

uint32_t Code(HRESULT result) {
    return static_cast<uint32_t>(result);
}

// True for success; else tells which step failed.
bool Did(Report& report, const char* step, HRESULT result) {
    if (Code(result) == DD_OK) {
        return true;
    }
    report.Wrong(Line() << step << " failed: " << NameOfResult(Code(result)) << " ("
                        << Hex{Code(result)}
                        << "). Try again with Direct3DHAL.NoDMA at 1; if it fails then too, note "
                           "this line and the lines above for a report.");
    return false;
}

// One channel's place in a pixel.
uint32_t ShiftOf(uint32_t mask) {
    uint32_t shift = 0;
    while (mask != 0 && (mask & 1) == 0) {
        mask >>= 1;
        ++shift;
    }
    return shift;
}
uint32_t Put(uint32_t value, uint32_t mask) {
    const uint32_t shift = ShiftOf(mask), top = mask >> shift;
    return (value * top + 127) / 255 << shift;
}
uint32_t Get(uint32_t pixel, uint32_t mask) {
    const uint32_t shift = ShiftOf(mask), top = mask >> shift;
    return top == 0 ? 0 : ((pixel & mask) >> shift) * 255 / top;
}

Colour ColourOf(uint32_t pixel, const DDPIXELFORMAT& format) {
    return {Get(pixel, format.dwRBitMask), Get(pixel, format.dwGBitMask),
            Get(pixel, format.dwBBitMask)};
}

bool Near(uint32_t a, uint32_t b) {
    return a - b + kTolerance <= 2 * kTolerance;
}

Line& operator<<(Line& line, const Colour& colour) {
    return line << "red " << colour.red << " green " << colour.green << " blue " << colour.blue;
}

// An area of a surface whose upper left corner is (x, y).
struct Place {
    IDirectDrawSurface* surface;
    uint32_t x, y;
};

// Tells of the first place that is not as it should be; else how many are.
bool ReadBack(Report& report, const char* what, const Place& place) {
    DDSURFACEDESC desc{};
    desc.dwSize = sizeof(desc);
    if (!Did(report, "Locking the surface",
             place.surface->Lock(nullptr, &desc, DDLOCK_WAIT, nullptr))) {
        return false;
    }
    const DDPIXELFORMAT& format = desc.ddpfPixelFormat;
    const uint32_t bytes = format.dwRGBBitCount / 8;
    bool good = true;
    uint32_t right = 0;
    for (const Probe& probe : kProbes) {
        Colour expected = kBackground;
        uint32_t x = probe.x, y = probe.y;
        const uint32_t* w = probe.weights;
        if (w[0] != 0) {
            expected = {w[0] * 255 / 12, w[1] * 255 / 12, w[2] * 255 / 12};
            x = (w[0] * kCorners[0][0] + w[1] * kCorners[1][0] + w[2] * kCorners[2][0]) / 12;
            y = (w[0] * kCorners[0][1] + w[1] * kCorners[1][1] + w[2] * kCorners[2][1]) / 12;
        }
        const auto* at = static_cast<const uint8_t*>(desc.lpSurface) +
                         static_cast<int32_t>(place.y + y) * desc.lPitch + (place.x + x) * bytes;
        uint32_t pixel = 0;
        for (uint32_t i = bytes; i != 0; --i) {
            pixel = pixel << 8 | at[i - 1];
        }
        const Colour found = ColourOf(pixel, format);
        if (Near(found.red, expected.red) && Near(found.green, expected.green) &&
            Near(found.blue, expected.blue)) {
            ++right;
        } else if (good) {
            good = false;
            Line line;
            line << what << ", " << probe.where << ": read ";
            line << found << ", expected ";
            line << expected << '.';
            if (w[0] == 0) {
                line << " The fill by DirectDraw is wrong, or the triangle is too large: look "
                        "at the picture: a triangle in red, green and blue on dark blue?";
            } else {
                line << " The triangle is not drawn as it should be: try again with "
                        "Direct3DHAL.NoDMA at 1, and see the table of symptoms in README.TXT.";
            }
            report.Wrong(line);
        }
    }
    place.surface->Unlock(desc.lpSurface);
    report.Say(Line() << "  " << Column{what, 30} << right << " of "
                      << uint32_t{sizeof(kProbes) / sizeof(kProbes[0])}
                      << " places have the right colour");
    return good;
}

bool FillBackground(Report& report, const Place& place) {
    DDSURFACEDESC desc{};
    desc.dwSize = sizeof(desc);
    if (!Did(report, "Locking the surface",
             place.surface->Lock(nullptr, &desc, DDLOCK_WAIT, nullptr))) {
        return false;
    }
    place.surface->Unlock(desc.lpSurface);
    const DDPIXELFORMAT& format = desc.ddpfPixelFormat;
    if (format.dwRGBBitCount < 16) {
        report.Wrong(Line() << "The screen has " << static_cast<uint32_t>(format.dwRGBBitCount)
                            << " bits a pixel: set a mode of 16 bits or more for this test.");
        return false;
    }
    DDBLTFX fx{};
    fx.dwSize = sizeof(fx);
    fx.dwFillColor = Put(kBackground.red, format.dwRBitMask) |
                     Put(kBackground.green, format.dwGBitMask) |
                     Put(kBackground.blue, format.dwBBitMask);
    RECT rect = {static_cast<LONG>(place.x), static_cast<LONG>(place.y),
                 static_cast<LONG>(place.x + kSide), static_cast<LONG>(place.y + kSide)};
    return Did(report, "Filling a rectangle",
               place.surface->Blt(&rect, nullptr, nullptr, DDBLT_COLORFILL | DDBLT_WAIT, &fx));
}

// ---- The execute buffer

struct State {
    uint32_t type, value;
};
constexpr State kStates[2][4] = {
    {{D3DRENDERSTATE_TEXTUREHANDLE, 0},
     {D3DRENDERSTATE_ZENABLE, 0},
     {D3DRENDERSTATE_FILLMODE, D3DFILL_SOLID},
     {D3DRENDERSTATE_SHADEMODE, D3DSHADE_GOURAUD}},
    {{D3DRENDERSTATE_CULLMODE, D3DCULL_NONE},
     {D3DRENDERSTATE_BLENDENABLE, 0},
     {D3DRENDERSTATE_FOGENABLE, 0},
     {D3DRENDERSTATE_SPECULARENABLE, 0}},
};
constexpr uint32_t kVertices = 3;

// As it lies in memory. The triangle's record comes to lie at a multiple of 8 bytes, which the
// runtimes want: for that the states are in two instructions.
struct Commands {
    D3DTLVERTEX vertices[kVertices];
    D3DINSTRUCTION process;
    D3DPROCESSVERTICES processRecord;
    struct {
        D3DINSTRUCTION instruction;
        State states[4];
    } states[2];
    D3DINSTRUCTION draw;
    D3DTRIANGLE triangle;
    D3DINSTRUCTION exit;
};
static_assert(sizeof(D3DINSTRUCTION) == 4 && sizeof(D3DPROCESSVERTICES) == 16 &&
              sizeof(Commands) == 96 + 20 + 2 * 36 + 12 + 4);
static_assert(__builtin_offsetof(Commands, triangle) % 8 == 0);

void FillCommands(Commands& to, uint32_t left, uint32_t top) {
    to = {};
    for (uint32_t i = 0; i < kVertices; ++i) {
        D3DTLVERTEX& vertex = to.vertices[i];
        vertex.sx = static_cast<float>(left + kCorners[i][0]);
        vertex.sy = static_cast<float>(top + kCorners[i][1]);
        vertex.sz = 0.5f;
        vertex.rhw = 1.0f;
        vertex.color = 0xFF000000 | 0xFFu << (16 - i * 8);
    }
    to.process = {D3DOP_PROCESSVERTICES, sizeof(D3DPROCESSVERTICES), 1};
    to.processRecord.dwFlags = D3DPROCESSVERTICES_COPY;
    to.processRecord.dwCount = kVertices;
    for (uint32_t i = 0; i < 2; ++i) {
        to.states[i].instruction = {D3DOP_STATERENDER, sizeof(State), 4};
        for (uint32_t j = 0; j < 4; ++j) {
            to.states[i].states[j] = kStates[i][j];
        }
    }
    to.draw = {D3DOP_TRIANGLE, sizeof(D3DTRIANGLE), 1};
    to.triangle.v1 = 0;
    to.triangle.v2 = 1;
    to.triangle.v3 = 2;
    to.triangle.wFlags = D3DTRIFLAG_EDGEENABLETRIANGLE;
    to.exit = {D3DOP_EXIT, 0, 0};
}

bool Execute(Report& report, IDirect3DDevice* device, IDirect3DViewport* viewport,
             const Place& place) {
    D3DEXECUTEBUFFERDESC desc{};
    desc.dwSize = sizeof(desc);
    desc.dwFlags = D3DDEB_BUFSIZE | D3DDEB_CAPS;
    desc.dwCaps = D3DDEBCAPS_SYSTEMMEMORY;
    desc.dwBufferSize = sizeof(Commands);
    Held<IDirect3DExecuteBuffer> buffer;
    if (!Did(report, "Making an execute buffer",
             device->CreateExecuteBuffer(&desc, &buffer.object, nullptr)) ||
        !Did(report, "Locking the execute buffer", buffer->Lock(&desc))) {
        return false;
    }
    FillCommands(*static_cast<Commands*>(desc.lpData), place.x, place.y);
    buffer->Unlock();
    D3DEXECUTEDATA data{};
    data.dwSize = sizeof(data);
    data.dwVertexCount = kVertices;
    data.dwInstructionOffset = __builtin_offsetof(Commands, process);
    data.dwInstructionLength = sizeof(Commands) - data.dwInstructionOffset;
    return Did(report, "Describing the execute buffer", buffer->SetExecuteData(&data)) &&
           Did(report, "Beginning a scene", device->BeginScene()) &&
           Did(report, "Executing the buffer",
               device->Execute(buffer.object, viewport, D3DEXECUTE_UNCLIPPED)) &&
           Did(report, "Ending the scene", device->EndScene());
}

bool DrawTriangle(Report& report, IDirectDraw* directDraw, const HardwareDevice& hardware,
                  const Place& place, uint32_t width, uint32_t height) {
    Held<IDirect3D> direct3D;
    Held<IDirect3DDevice> device;
    Held<IDirect3DViewport> viewport;
    D3DVIEWPORT view{};
    view.dwSize = sizeof(view);
    view.dwWidth = width;
    view.dwHeight = height;
    view.dvScaleX = static_cast<float>(width) / 2;
    view.dvScaleY = static_cast<float>(height) / 2;
    view.dvMaxX = 1;
    view.dvMaxY = 1;
    view.dvMaxZ = 1;
    return FillBackground(report, place) &&
           Did(report, "Asking for Direct3D",
               directDraw->QueryInterface(IID_IDirect3D, direct3D.Any())) &&
           Did(report, "Making a Direct3D device",
               place.surface->QueryInterface(hardware.id, device.Any())) &&
           Did(report, "Making a viewport", direct3D->CreateViewport(&viewport.object, nullptr)) &&
           Did(report, "Adding the viewport", device->AddViewport(viewport.object)) &&
           Did(report, "Setting the viewport", viewport->SetViewport(&view)) &&
           Execute(report, device.object, viewport.object, place);
}

// ---- The two pictures

// An off-screen surface is drawn on, read, and copied to the screen, which is read too.
bool DrawInWindow(Report& report, IDirectDraw* directDraw, const HardwareDevice& device,
                  HWND window) {
    if (!Did(report, "Taking the screen as one of many",
             directDraw->SetCooperativeLevel(window, DDSCL_NORMAL))) {
        return false;
    }
    DDSURFACEDESC desc{};
    desc.dwSize = sizeof(desc);
    desc.dwFlags = DDSD_CAPS;
    desc.ddsCaps.dwCaps = DDSCAPS_PRIMARYSURFACE;
    Held<IDirectDrawSurface> screen, picture;
    if (!Did(report, "Reaching the screen",
             directDraw->CreateSurface(&desc, &screen.object, nullptr))) {
        return false;
    }
    desc.dwFlags = DDSD_CAPS | DDSD_WIDTH | DDSD_HEIGHT;
    desc.dwWidth = desc.dwHeight = kSide;
    desc.ddsCaps.dwCaps = DDSCAPS_OFFSCREENPLAIN | DDSCAPS_3DDEVICE | DDSCAPS_VIDEOMEMORY;
    if (!Did(report, "Making a surface in video memory",
             directDraw->CreateSurface(&desc, &picture.object, nullptr)) ||
        !DrawTriangle(report, directDraw, device, {picture.object, 0, 0}, kSide, kSide)) {
        return false;
    }
    const bool drawn = ReadBack(report, "off the screen", {picture.object, 0, 0});
    RECT to = {kWindowX, kWindowY, kWindowX + kSide, kWindowY + kSide};
    if (!Did(report, "Copying to the screen",
             screen->Blt(&to, picture.object, nullptr, DDBLT_WAIT, nullptr))) {
        return false;
    }
    const bool copied = ReadBack(report, "in a window", {screen.object, kWindowX, kWindowY});
    system::Pause(kShowMilliseconds);
    return drawn && copied;
}

// The back buffer is drawn on, and read when a flip has made it the front.
bool DrawFullScreen(Report& report, IDirectDraw* directDraw, const HardwareDevice& device,
                    HWND window) {
    if (!Did(report, "Taking the whole screen",
             directDraw->SetCooperativeLevel(window, DDSCL_EXCLUSIVE | DDSCL_FULLSCREEN)) ||
        !Did(report, "Setting a mode of 640 by 480 with 16 bits",
             directDraw->SetDisplayMode(kScreenWidth, kScreenHeight, kScreenBits))) {
        return false;
    }
    DDSURFACEDESC desc{};
    desc.dwSize = sizeof(desc);
    desc.dwFlags = DDSD_CAPS | DDSD_BACKBUFFERCOUNT;
    desc.dwBackBufferCount = 1;
    desc.ddsCaps.dwCaps = DDSCAPS_PRIMARYSURFACE | DDSCAPS_FLIP | DDSCAPS_COMPLEX |
                          DDSCAPS_3DDEVICE | DDSCAPS_VIDEOMEMORY;
    Held<IDirectDrawSurface> front, back;
    if (!Did(report, "Making two buffers to flip",
             directDraw->CreateSurface(&desc, &front.object, nullptr))) {
        return false;
    }
    DDSCAPS caps{};
    caps.dwCaps = DDSCAPS_BACKBUFFER;
    if (!Did(report, "Reaching the back buffer", front->GetAttachedSurface(&caps, &back.object)) ||
        !DrawTriangle(report, directDraw, device, {back.object, kScreenX, kScreenY}, kScreenWidth,
                      kScreenHeight) ||
        !Did(report, "Flipping", front->Flip(nullptr, DDFLIP_WAIT))) {
        return false;
    }
    const bool good = ReadBack(report, "full screen", {front.object, kScreenX, kScreenY});
    system::Pause(kShowMilliseconds);
    return good;
}

using Draw = bool (*)(Report& report, IDirectDraw* directDraw, const HardwareDevice& device,
                      HWND window);

bool WithWindow(Report& report, IDirectDraw* directDraw, const HardwareDevice& device, Draw draw,
                uint32_t side) {
    const HWND window = system::OpenWindow(kWindowX, kWindowY, side, side);
    if (window == nullptr) {
        report.Wrong(Line() << "No window could be opened: close other programs and try again.");
        return false;
    }
    const bool good = draw(report, directDraw, device, window);
    system::CloseWindow(window);
    return good;
}

} // namespace

void DrawPictures(Report& report, IDirectDraw* directDraw, const HardwareDevice& device) {
    report.Say("Picture: a triangle in red, green and blue on dark blue");
    const bool first = WithWindow(report, directDraw, device, DrawInWindow, kSide);
    const bool second = WithWindow(report, directDraw, device, DrawFullScreen, 0);
    directDraw->RestoreDisplayMode();
    directDraw->SetCooperativeLevel(nullptr, DDSCL_NORMAL);
    if (first && second) {
        report.Say("  Both pictures are right.");
    }
}

} // namespace chk
