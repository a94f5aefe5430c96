#include "tests/korvchk/windows_tables.h"

#include <array>
#include <unistd.h>

namespace test {

namespace {

constexpr size_t kMostMethods = 36;
using Table = std::array<void*, kMostMethods>;

// What the program holds.
template <class Interface>
struct Outside {
    void** table;
    Interface* inside;
};

void FOR_WINDOWS NotExpected() {
    _exit(96); // a method that korvchk does not use, or the wrong one
}

template <class Function>
void* Address(Function* function) {
    return reinterpret_cast<void*>(function);
}

template <class Interface>
Table& TableOf();

template <class Interface>
void* Wrap(Interface* inside) {
    return new Outside<Interface>{TableOf<Interface>().data(), inside};
}

template <class Interface>
ULONG FOR_WINDOWS Release(Outside<Interface>* self) {
    return self->inside->Release();
}

// Empty but for the methods of every object.
template <class Interface>
Table Common() {
    Table table;
    table.fill(Address(&NotExpected));
    table[2] = Address(&Release<Interface>);
    return table;
}

template <>
Table& TableOf<IDirect3DViewport>() {
    using Self = Outside<IDirect3DViewport>;
    static Table table = [] {
        Table t = Common<IDirect3DViewport>();
        t[5] = Address(+[](Self* self, D3DVIEWPORT* viewport)
                            FOR_WINDOWS { return self->inside->SetViewport(viewport); });
        return t;
    }();
    return table;
}

template <>
Table& TableOf<IDirect3DExecuteBuffer>() {
    using Self = Outside<IDirect3DExecuteBuffer>;
    static Table table = [] {
        Table t = Common<IDirect3DExecuteBuffer>();
        t[4] = Address(+[](Self* self, D3DEXECUTEBUFFERDESC* desc)
                            FOR_WINDOWS { return self->inside->Lock(desc); });
        t[5] = Address(+[](Self* self) FOR_WINDOWS { return self->inside->Unlock(); });
        t[6] = Address(+[](Self* self, D3DEXECUTEDATA* data)
                            FOR_WINDOWS { return self->inside->SetExecuteData(data); });
        return t;
    }();
    return table;
}

template <>
Table& TableOf<IDirect3DDevice>() {
    using Self = Outside<IDirect3DDevice>;
    using Buffer = Outside<IDirect3DExecuteBuffer>;
    using Viewport = Outside<IDirect3DViewport>;
    static Table table = [] {
        Table t = Common<IDirect3DDevice>();
        t[6] =
            Address(+[](Self* self, D3DEXECUTEBUFFERDESC* desc, void** out, IUnknown*) FOR_WINDOWS {
                IDirect3DExecuteBuffer* made = nullptr;
                const HRESULT result = self->inside->CreateExecuteBuffer(desc, &made, nullptr);
                *out = Wrap(made);
                return result;
            });
        t[8] =
            Address(+[](Self* self, Buffer* buffer, Viewport* viewport, DWORD flags) FOR_WINDOWS {
                return self->inside->Execute(buffer->inside, viewport->inside, flags);
            });
        t[9] = Address(+[](Self* self, Viewport* viewport)
                            FOR_WINDOWS { return self->inside->AddViewport(viewport->inside); });
        t[19] = Address(+[](Self* self) FOR_WINDOWS { return self->inside->BeginScene(); });
        t[20] = Address(+[](Self* self) FOR_WINDOWS { return self->inside->EndScene(); });
        return t;
    }();
    return table;
}

template <>
Table& TableOf<IDirect3D>() {
    using Self = Outside<IDirect3D>;
    static Table table = [] {
        Table t = Common<IDirect3D>();
        t[4] = Address(+[](Self* self, LPD3DENUMDEVICESCALLBACK callback, void* context)
                            FOR_WINDOWS { return self->inside->EnumDevices(callback, context); });
        t[7] = Address(+[](Self* self, void** out, IUnknown*) FOR_WINDOWS {
            IDirect3DViewport* made = nullptr;
            const HRESULT result = self->inside->CreateViewport(&made, nullptr);
            *out = Wrap(made);
            return result;
        });
        return t;
    }();
    return table;
}

template <>
Table& TableOf<IDirectDrawSurface>() {
    using Self = Outside<IDirectDrawSurface>;
    static Table table = [] {
        Table t = Common<IDirectDrawSurface>();
        t[0] = Address(+[](Self* self, const GUID* id, void** out) FOR_WINDOWS {
            IDirect3DDevice* device = nullptr;
            const HRESULT result =
                self->inside->QueryInterface(*id, reinterpret_cast<void**>(&device));
            *out = device != nullptr ? Wrap(device) : nullptr;
            return result;
        });
        t[5] = Address(+[](Self* self, RECT* to, Self* source, RECT* from, DWORD flags,
                           DDBLTFX* fx) FOR_WINDOWS {
            return self->inside->Blt(to, source != nullptr ? source->inside : nullptr, from, flags,
                                     fx);
        });
        t[11] = Address(+[](Self* self, Self*, DWORD flags)
                             FOR_WINDOWS { return self->inside->Flip(nullptr, flags); });
        t[12] = Address(+[](Self* self, DDSCAPS* caps, void** out) FOR_WINDOWS {
            IDirectDrawSurface* attached = nullptr;
            const HRESULT result = self->inside->GetAttachedSurface(caps, &attached);
            *out = Wrap(attached);
            return result;
        });
        t[25] = Address(+[](Self* self, RECT* rect, DDSURFACEDESC* desc, DWORD flags, HANDLE event)
                             FOR_WINDOWS { return self->inside->Lock(rect, desc, flags, event); });
        t[32] = Address(+[](Self* self, void* memory)
                             FOR_WINDOWS { return self->inside->Unlock(memory); });
        return t;
    }();
    return table;
}

template <>
Table& TableOf<IDirectDraw>() {
    using Self = Outside<IDirectDraw>;
    static Table table = [] {
        Table t = Common<IDirectDraw>();
        t[0] = Address(+[](Self* self, const GUID* id, void** out) FOR_WINDOWS {
            IDirect3D* direct3D = nullptr;
            const HRESULT result =
                self->inside->QueryInterface(*id, reinterpret_cast<void**>(&direct3D));
            *out = direct3D != nullptr ? Wrap(direct3D) : nullptr;
            return result;
        });
        t[6] = Address(+[](Self* self, DDSURFACEDESC* desc, void** out, IUnknown*) FOR_WINDOWS {
            IDirectDrawSurface* made = nullptr;
            const HRESULT result = self->inside->CreateSurface(desc, &made, nullptr);
            *out = Wrap(made);
            return result;
        });
        t[11] = Address(+[](Self* self, DDCAPS* hardware, DDCAPS* emulation)
                             FOR_WINDOWS { return self->inside->GetCaps(hardware, emulation); });
        t[19] = Address(+[](Self* self) FOR_WINDOWS { return self->inside->RestoreDisplayMode(); });
        t[20] = Address(+[](Self* self, HWND window, DWORD flags) FOR_WINDOWS {
            return self->inside->SetCooperativeLevel(window, flags);
        });
        t[21] = Address(+[](Self* self, DWORD width, DWORD height, DWORD bits) FOR_WINDOWS {
            return self->inside->SetDisplayMode(width, height, bits);
        });
        return t;
    }();
    return table;
}

} // namespace

void* ForWindows(IDirectDraw* directDraw) {
    return Wrap(directDraw);
}

} // namespace test
