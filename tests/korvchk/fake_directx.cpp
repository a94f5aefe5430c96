#include "host/d3d/direct3d.h"
#include "tests/korvchk/fake_system.h"

#include <cstring>

namespace test {

namespace {

constexpr GUID kHardware = {0x84E63DE0, 0x46AA, 0x11CF, {0x81, 0x6F, 0, 0, 0xC0, 0x20, 0x15, 0x6E}};
constexpr GUID kEmulation = {
    0xA4665C60, 0x2673, 0x11CF, {0xA3, 0x1A, 0, 0xAA, 0, 0xB9, 0x33, 0x56}};

RECT WholeOf(const host::Surface& surface) {
    return {0, 0, static_cast<LONG>(surface.Width()), static_cast<LONG>(surface.Height())};
}

HRESULT ResultOf(const host::HalAnswer& answer) {
    return answer.handled ? answer.result : E_FAIL;
}

} // namespace

struct FakeDirectX::Parts {
    explicit Parts(FakeDirectX& owner, host::Display& onDisplay)
        : fake(owner), display(onDisplay), runtime(onDisplay), mode(onDisplay.Config()) {}
    FakeDirectX& fake;
    host::Display& display;
    host::DirectDraw runtime;
    host::DisplayConfig mode; // as it was
    HWND window = nullptr;
    DWORD level = 0;
    int live = 0;
    std::shared_ptr<IDirectDraw> directDraw;
};

namespace {

using Parts = FakeDirectX::Parts;

// Counts itself, and goes at its only release.
template <class Interface>
struct Object : Interface {
    explicit Object(Parts& owner) : parts(owner) { ++parts.live; }
    virtual ~Object() { --parts.live; }
    HRESULT KORV_STDCALL QueryInterface(const GUID&, void**) override { return E_NOTIMPL; }
    ULONG KORV_STDCALL Release() override {
        delete this;
        return 0;
    }
    Parts& parts;
};

struct Viewport final : Object<IDirect3DViewport> {
    using Object::Object;
    HRESULT KORV_STDCALL SetViewport(D3DVIEWPORT* viewport) override {
        set = viewport->dwSize == sizeof(D3DVIEWPORT) && viewport->dwWidth != 0;
        return set && added ? DD_OK : DDERR_INVALIDPARAMS;
    }
    bool set = false, added = false;
};

struct Buffer final : Object<IDirect3DExecuteBuffer> {
    Buffer(Parts& owner, uint32_t size) : Object(owner), bytes(size) {}
    HRESULT KORV_STDCALL Lock(D3DEXECUTEBUFFERDESC* desc) override {
        desc->lpData = bytes.data();
        return DD_OK;
    }
    HRESULT KORV_STDCALL Unlock() override { return DD_OK; }
    HRESULT KORV_STDCALL SetExecuteData(D3DEXECUTEDATA* given) override {
        data = *given;
        return data.dwSize == sizeof(data) ? DD_OK : DDERR_INVALIDPARAMS;
    }
    std::vector<uint8_t> bytes;
    D3DEXECUTEDATA data{};
};

struct Device final : Object<IDirect3DDevice> {
    Device(Parts& owner, host::Surface& target) : Object(owner), device(owner.runtime, target) {}
    HRESULT KORV_STDCALL CreateExecuteBuffer(D3DEXECUTEBUFFERDESC* desc,
                                             IDirect3DExecuteBuffer** out, IUnknown*) override {
        *out = new Buffer(parts, desc->dwBufferSize);
        return DD_OK;
    }
    HRESULT KORV_STDCALL AddViewport(IDirect3DViewport* viewport) override {
        static_cast<Viewport*>(viewport)->added = true;
        return DD_OK;
    }
    HRESULT KORV_STDCALL BeginScene() override { return device.BeginScene(); }
    HRESULT KORV_STDCALL EndScene() override { return device.EndScene(); }
    // Vertices are copied as they are, so the instruction that does it is left out.
    HRESULT KORV_STDCALL Execute(IDirect3DExecuteBuffer* given, IDirect3DViewport* viewport,
                                 DWORD) override {
        if (parts.fake.executeResult != DD_OK || !static_cast<Viewport*>(viewport)->set) {
            return parts.fake.executeResult;
        }
        const auto& buffer = *static_cast<Buffer*>(given);
        const D3DEXECUTEDATA& data = buffer.data;
        std::vector<D3DTLVERTEX> vertices(data.dwVertexCount);
        std::memcpy(vertices.data(), buffer.bytes.data() + data.dwVertexOffset,
                    vertices.size() * sizeof(D3DTLVERTEX));
        host::ExecuteBuffer commands;
        const uint8_t* at = buffer.bytes.data() + data.dwInstructionOffset;
        const uint8_t* end = at + data.dwInstructionLength;
        while (at < end) {
            D3DINSTRUCTION instruction;
            std::memcpy(&instruction, at, sizeof(instruction));
            const size_t bytes = size_t{instruction.bSize} * instruction.wCount;
            at += sizeof(instruction);
            if (instruction.bOpcode == D3DOP_TRIANGLE && (at - buffer.bytes.data()) % 8 != 0) {
                return DDERR_INVALIDPARAMS;
            }
            if (instruction.bOpcode != D3DOP_PROCESSVERTICES) {
                commands.Instruction(instruction.bOpcode, instruction.bSize, instruction.wCount,
                                     {at, bytes});
            }
            at += bytes;
        }
        return at == end ? device.Execute(commands, vertices) : DDERR_INVALIDPARAMS;
    }
    host::Device3D device;
};

struct FakeSurface final : Object<IDirectDrawSurface> {
    FakeSurface(Parts& owner, host::Surface& behind, bool first)
        : Object(owner), surface(behind), owns(first) {}
    ~FakeSurface() override {
        if (owns) {
            parts.runtime.Destroy(surface);
        }
    }
    HRESULT KORV_STDCALL QueryInterface(const GUID& id, void** out) override {
        if (!IsEqualGuid(id, kHardware)) {
            return E_NOTIMPL;
        }
        *out = static_cast<IDirect3DDevice*>(new Device(parts, surface));
        return DD_OK;
    }
    HRESULT KORV_STDCALL Blt(RECT* to, IDirectDrawSurface* source, RECT* from, DWORD flags,
                             DDBLTFX* fx) override {
        const RECT rect = to != nullptr ? *to : WholeOf(surface);
        return ResultOf(parts.runtime.Patiently([&] {
            if ((flags & DDBLT_COLORFILL) != 0) {
                return parts.runtime.ColorFill(surface, rect, fx->dwFillColor);
            }
            host::Surface& other = static_cast<FakeSurface*>(source)->surface;
            return parts.runtime.Blt(surface, rect, other,
                                     from != nullptr ? *from : WholeOf(other));
        }));
    }
    HRESULT KORV_STDCALL Flip(IDirectDrawSurface*, DWORD) override {
        return ResultOf(parts.runtime.Patiently(
            [&] { return parts.runtime.Flip(surface, *surface.Chain().at(0)); }));
    }
    HRESULT KORV_STDCALL GetAttachedSurface(DDSCAPS* caps, IDirectDrawSurface** out) override {
        if (surface.Chain().empty() || caps->dwCaps != DDSCAPS_BACKBUFFER) {
            return DDERR_INVALIDPARAMS;
        }
        *out = new FakeSurface(parts, *surface.Chain()[0], false);
        return DD_OK;
    }
    HRESULT KORV_STDCALL Lock(RECT*, DDSURFACEDESC* desc, DWORD, HANDLE) override {
        void* bytes = nullptr;
        const host::HalAnswer answer =
            parts.runtime.Patiently([&] { return parts.runtime.Lock(surface, &bytes); });
        // The runtime gives the memory itself where the driver leaves that to it.
        if (answer.handled && answer.result != DD_OK) {
            return answer.result;
        }
        desc->lpSurface = surface.Bytes();
        desc->lPitch = surface.Pitch();
        desc->ddpfPixelFormat = surface.Format();
        if (parts.fake.beforeReadBack) {
            parts.fake.beforeReadBack();
        }
        return DD_OK;
    }
    HRESULT KORV_STDCALL Unlock(void*) override { return DD_OK; }
    host::Surface& surface;
    const bool owns;
};

struct FakeDirect3D final : Object<IDirect3D> {
    using Object::Object;
    HRESULT KORV_STDCALL EnumDevices(LPD3DENUMDEVICESCALLBACK callback, void* context) override {
        char text[] = "";
        D3DDEVICEDESC none{};
        none.dwSize = sizeof(none);
        GUID id = kEmulation;
        D3DDEVICEDESC emulation = none;
        emulation.dcmColorModel = 2;
        callback(&id, text, text, &none, &emulation, context);
        if (const D3DHAL_GLOBALDRIVERDATA* global = parts.display.Driver()->D3DGlobalData) {
            id = kHardware;
            D3DDEVICEDESC hardware = global->hwCaps;
            hardware.dwSize = sizeof(hardware);
            callback(&id, text, text, &hardware, &none, context);
        }
        return DD_OK;
    }
    HRESULT KORV_STDCALL CreateViewport(IDirect3DViewport** out, IUnknown*) override {
        *out = new Viewport(parts);
        return DD_OK;
    }
};

struct FakeDirectDraw final : IDirectDraw {
    explicit FakeDirectDraw(Parts& owner) : parts(owner) {}
    virtual ~FakeDirectDraw() = default;
    HRESULT KORV_STDCALL QueryInterface(const GUID& id, void** out) override {
        if (parts.fake.noDirect3D || !IsEqualGuid(id, IID_IDirect3D)) {
            return 0x80004002; // no such interface
        }
        *out = static_cast<IDirect3D*>(new FakeDirect3D(parts));
        return DD_OK;
    }
    ULONG KORV_STDCALL Release() override { return 0; }
    HRESULT KORV_STDCALL CreateSurface(DDSURFACEDESC* desc, IDirectDrawSurface** out,
                                       IUnknown*) override {
        if (parts.level == 0 || parts.window == nullptr || desc->dwSize != sizeof(*desc)) {
            return DDERR_INVALIDPARAMS;
        }
        host::SurfaceRequest request;
        request.caps = desc->ddsCaps.dwCaps;
        if ((desc->dwFlags & DDSD_WIDTH) != 0) {
            request.width = desc->dwWidth;
            request.height = desc->dwHeight;
        }
        if ((desc->dwFlags & DDSD_BACKBUFFERCOUNT) != 0) {
            request.backBuffers = desc->dwBackBufferCount;
        }
        host::Surface* surface = nullptr;
        const HRESULT result = parts.runtime.CreateSurface(request, &surface);
        if (result == DD_OK) {
            *out = new FakeSurface(parts, *surface, true);
        }
        return result;
    }
    HRESULT KORV_STDCALL GetCaps(DDCAPS* hardware, DDCAPS*) override {
        *hardware = parts.runtime.HalInfo().ddCaps;
        hardware->dwVidMemTotal = parts.display.Config().frameBufferBytes;
        hardware->dwVidMemFree = parts.display.OffscreenBytes();
        if (parts.fake.noHardware) {
            hardware->dwCaps = 0x02000000;
        }
        return DD_OK;
    }
    HRESULT KORV_STDCALL GetDisplayMode(DDSURFACEDESC*) override { return E_NOTIMPL; }
    HRESULT KORV_STDCALL RestoreDisplayMode() override {
        parts.runtime.ChangeMode(parts.mode.width, parts.mode.height, parts.mode.bits);
        return DD_OK;
    }
    HRESULT KORV_STDCALL SetCooperativeLevel(HWND window, DWORD flags) override {
        parts.window = window;
        parts.level = flags;
        return DD_OK;
    }
    HRESULT KORV_STDCALL SetDisplayMode(DWORD width, DWORD height, DWORD bits) override {
        if (parts.level != (DDSCL_EXCLUSIVE | DDSCL_FULLSCREEN)) {
            return DDERR_INVALIDPARAMS;
        }
        if (parts.fake.modeResult == DD_OK) {
            parts.runtime.ChangeMode(width, height, bits);
        }
        return parts.fake.modeResult;
    }
    Parts& parts;
};

} // namespace

FakeDirectX::FakeDirectX(host::Display& display) : parts_(std::make_unique<Parts>(*this, display)) {
    parts_->directDraw = std::make_shared<FakeDirectDraw>(*parts_);
}

FakeDirectX::~FakeDirectX() = default;

IDirectDraw* FakeDirectX::Interface() {
    return parts_->directDraw.get();
}

host::DirectDraw& FakeDirectX::Runtime() {
    return parts_->runtime;
}

int FakeDirectX::LiveObjects() const {
    return parts_->live;
}

} // namespace test
