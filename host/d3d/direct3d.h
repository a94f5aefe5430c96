#pragma once
// The Direct3D runtime's side of one rendering device: a context of the driver, its batched render
// states, its execute and vertex buffers.
#include "host/d3d/execute_buffer.h"
#include "host/ddraw/ddraw.h"

#include <cstdint>
#include <span>
#include <vector>

struct D3DContext;

namespace host {

class Device3D {
  public:
    // Creates a context on `target`, with or without a Z buffer. Throws ResultError.
    Device3D(DirectDraw& directDraw, Surface& target, Surface* zBuffer = nullptr,
             uint32_t processId = 1);
    ~Device3D(); // destroys the context if it is still there
    Device3D(const Device3D&) = delete;
    Device3D& operator=(const Device3D&) = delete;

    uint32_t Handle() const { return handle_; }
    // The linked driver's record, for inspection; null once destroyed, and with a driver DLL.
    D3DContext* Context() const;

    // Adds a state to the batch. The batch goes to the driver before the next primitive.
    void SetState(D3DRENDERSTATETYPE type, uint32_t value);
    void SetState(D3DRENDERSTATETYPE type, float value);
    // Hands the batched states to the driver.
    HRESULT FlushStates();

    HRESULT BeginScene();
    HRESULT EndScene();

    // One drawing instruction each; indices count into `vertices`. The result is the driver's.
    HRESULT Triangles(std::span<const D3DTLVERTEX> vertices, std::span<const D3DTRIANGLE> records);
    HRESULT Lines(std::span<const D3DTLVERTEX> vertices, std::span<const D3DLINE> records);
    HRESULT Points(std::span<const D3DTLVERTEX> vertices, std::span<const D3DPOINT> records);
    // Three vertices, all edges on.
    HRESULT Triangle(const D3DTLVERTEX& a, const D3DTLVERTEX& b, const D3DTLVERTEX& c);
    // Every three vertices are a triangle, cut into as many instructions as indices need.
    HRESULT TriangleList(std::span<const D3DTLVERTEX> vertices);

    // Walks a buffer up to D3DOP_EXIT or its end: state instructions go to RenderState, drawing
    // instructions one by one to RenderPrimitive. Stops at the first failure. Opcodes that the
    // hardware level has no part in give DDERR_UNSUPPORTED; records that are cut short or name
    // vertices that are not there, DDERR_INVALIDPARAMS.
    HRESULT Execute(const ExecuteBuffer& buffer, std::span<const D3DTLVERTEX> vertices);

    // Makes a texture of the surface; its handle, for D3DRENDERSTATE_TEXTUREHANDLE. Throws.
    uint32_t CreateTexture(Surface& surface);
    HRESULT DestroyTexture(uint32_t texture);
    HRESULT SwapTextures(uint32_t first, uint32_t second);
    // The local surface object behind a texture, or null.
    DDRAWI_DDRAWSURFACE_LCL* TextureSurface(uint32_t texture, HRESULT* result = nullptr);

    // Ends an open scene, and waits until every word has been executed.
    void Finish();
    // Destroys the context. The driver's result.
    HRESULT Destroy();
    // Tells the driver of one display that a process has died with contexts open.
    static HRESULT DestroyAll(DirectDraw& directDraw, uint32_t processId);

    // dwStatus as the last drawing instruction left it; what the next one starts with.
    uint32_t status = 0;

  private:
    HRESULT Draw(D3DINSTRUCTION instruction, uint32_t offset);
    HRESULT DrawRecords(uint8_t opcode, uint8_t recordBytes, const void* records, size_t count,
                        std::span<const D3DTLVERTEX> vertices);
    HRESULT CallRenderState(uint32_t offset, uint32_t count);
    void FillBuffer(Surface*& buffer, const void* bytes, size_t count);

    DirectDraw& directDraw_;
    Surface& target_;
    uint32_t handle_ = 0;
    bool live_ = false;
    bool inScene_ = false;
    std::vector<D3DSTATE> states_;
    Surface* executeBuffer_ = nullptr; // system memory, grown as needed
    Surface* vertexBuffer_ = nullptr;
};

} // namespace host
