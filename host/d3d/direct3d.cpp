#include "host/d3d/direct3d.h"

#include "driver/d3d/dcontext.h"
#include "host/driver_module.h"
#include "host/observe/observer.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace host {

namespace {

// Vertices that 16-bit indices can reach.
constexpr size_t kMaxVertices = 0x10000;
constexpr size_t kMaxRecords = 0xFFFF;
constexpr uint32_t kBufferStep = 4096;

const D3DHAL_CALLBACKS& CallbacksOf(DirectDraw& directDraw) {
    const D3DHAL_CALLBACKS* callbacks = directDraw.TheDisplay().Driver()->D3DCallbacks;
    if (callbacks == nullptr) {
        throw ResultError("the driver has no Direct3D side", DDERR_UNSUPPORTED);
    }
    return *callbacks;
}

} // namespace

Device3D::Device3D(DirectDraw& directDraw, Surface& target, Surface* zBuffer, uint32_t processId)
    : directDraw_(directDraw), target_(target) {
    D3DHAL_CONTEXTCREATEDATA data{};
    data.lpDDGbl = directDraw.Global();
    data.lpDDS = target.Interface();
    data.lpDDSZ = zBuffer != nullptr ? zBuffer->Interface() : nullptr;
    data.dwPID = processId;
    CallDriver(CallbacksOf(directDraw).ContextCreate, &data);
    Check("Direct3D context", data.ddrval);
    handle_ = data.dwhContext;
    live_ = true;
    Tell(&Observer::OnContext, directDraw_.TheDisplay(), handle_, target, zBuffer);
}

Device3D::~Device3D() {
    if (live_) {
        Destroy();
    }
    for (Surface* buffer : {executeBuffer_, vertexBuffer_}) {
        if (buffer != nullptr) {
            directDraw_.Destroy(*buffer);
        }
    }
}

D3DContext* Device3D::Context() const {
    return live_ && TheDriverModule().linked ? ContextSlots[handle_] : nullptr;
}

void Device3D::SetState(D3DRENDERSTATETYPE type, uint32_t value) {
    D3DSTATE state{};
    state.drstRenderStateType = type;
    state.dwArg[0] = value;
    states_.push_back(state);
}

void Device3D::SetState(D3DRENDERSTATETYPE type, float value) {
    SetState(type, std::bit_cast<uint32_t>(value));
}

// Puts bytes at the start of one of the device's system-memory buffers.
void Device3D::FillBuffer(Surface*& buffer, const void* bytes, size_t count) {
    const auto needed = static_cast<uint32_t>(std::max<size_t>(count, 1));
    if (buffer == nullptr || buffer->Pitch() * buffer->Height() < needed) {
        if (buffer != nullptr) {
            directDraw_.Destroy(*buffer);
        }
        const uint32_t lines = (needed + kBufferStep - 1) / kBufferStep;
        buffer =
            &directDraw_.CreateSystem(kBufferStep, lines, PaletteFormat(8), DDSCAPS_EXECUTEBUFFER);
    }
    std::copy_n(static_cast<const uint8_t*>(bytes), count, buffer->Bytes());
}

HRESULT Device3D::CallRenderState(uint32_t offset, uint32_t count) {
    D3DHAL_RENDERSTATEDATA data{};
    data.dwhContext = handle_;
    data.dwOffset = offset;
    data.dwCount = count;
    data.lpExeBuf = executeBuffer_->Interface();
    CallDriver(CallbacksOf(directDraw_).RenderState, &data);
    return data.ddrval;
}

HRESULT Device3D::FlushStates() {
    if (states_.empty()) {
        return DD_OK;
    }
    FillBuffer(executeBuffer_, states_.data(), states_.size() * sizeof(D3DSTATE));
    const auto count = static_cast<uint32_t>(states_.size());
    states_.clear();
    return CallRenderState(0, count);
}

HRESULT Device3D::BeginScene() {
    D3DHAL_SCENECAPTUREDATA data{};
    data.dwhContext = handle_;
    data.dwFlag = D3DHAL_SCENE_CAPTURE_START;
    CallDriver(CallbacksOf(directDraw_).SceneCapture, &data);
    inScene_ = data.ddrval == DD_OK;
    return data.ddrval;
}

HRESULT Device3D::EndScene() {
    const HRESULT flushed = FlushStates();
    D3DHAL_SCENECAPTUREDATA data{};
    data.dwhContext = handle_;
    data.dwFlag = D3DHAL_SCENE_CAPTURE_END;
    CallDriver(CallbacksOf(directDraw_).SceneCapture, &data);
    inScene_ = false;
    return flushed != DD_OK ? flushed : data.ddrval;
}

HRESULT Device3D::Draw(D3DINSTRUCTION instruction, uint32_t offset) {
    D3DHAL_RENDERPRIMITIVEDATA data{};
    data.dwhContext = handle_;
    data.dwOffset = offset;
    data.dwStatus = status;
    data.lpExeBuf = executeBuffer_->Interface();
    data.dwTLOffset = 0;
    data.lpTLBuf = vertexBuffer_->Interface();
    data.diInstruction = instruction;
    CallDriver(CallbacksOf(directDraw_).RenderPrimitive, &data);
    status = data.dwStatus;
    return data.ddrval;
}

HRESULT Device3D::DrawRecords(uint8_t opcode, uint8_t recordBytes, const void* records,
                              size_t count, std::span<const D3DTLVERTEX> vertices) {
    if (count > kMaxRecords || vertices.size() > kMaxVertices) {
        return DDERR_INVALIDPARAMS;
    }
    if (const HRESULT flushed = FlushStates(); flushed != DD_OK) {
        return flushed;
    }
    FillBuffer(executeBuffer_, records, count * recordBytes);
    FillBuffer(vertexBuffer_, vertices.data(), vertices.size_bytes());
    return Draw({opcode, recordBytes, static_cast<WORD>(count)}, 0);
}

HRESULT Device3D::Triangles(std::span<const D3DTLVERTEX> vertices,
                            std::span<const D3DTRIANGLE> records) {
    return DrawRecords(D3DOP_TRIANGLE, sizeof(D3DTRIANGLE), records.data(), records.size(),
                       vertices);
}

HRESULT Device3D::Lines(std::span<const D3DTLVERTEX> vertices, std::span<const D3DLINE> records) {
    return DrawRecords(D3DOP_LINE, sizeof(D3DLINE), records.data(), records.size(), vertices);
}

HRESULT Device3D::Points(std::span<const D3DTLVERTEX> vertices, std::span<const D3DPOINT> records) {
    return DrawRecords(D3DOP_POINT, sizeof(D3DPOINT), records.data(), records.size(), vertices);
}

HRESULT Device3D::Triangle(const D3DTLVERTEX& a, const D3DTLVERTEX& b, const D3DTLVERTEX& c) {
    const D3DTLVERTEX vertices[] = {a, b, c};
    return TriangleList(vertices);
}

HRESULT Device3D::TriangleList(std::span<const D3DTLVERTEX> vertices) {
    constexpr size_t kBatch = kMaxVertices / 3 * 3;
    for (size_t first = 0; first + 3 <= vertices.size(); first += kBatch) {
        const size_t count = std::min(kBatch, (vertices.size() - first) / 3 * 3);
        std::vector<D3DTRIANGLE> records(count / 3);
        for (size_t i = 0; i < records.size(); ++i) {
            records[i].v1 = static_cast<WORD>(3 * i);
            records[i].v2 = static_cast<WORD>(3 * i + 1);
            records[i].v3 = static_cast<WORD>(3 * i + 2);
            records[i].wFlags = D3DTRIFLAG_EDGEENABLETRIANGLE;
        }
        if (const HRESULT result = Triangles(vertices.subspan(first, count), records);
            result != DD_OK) {
            return result;
        }
    }
    return DD_OK;
}

HRESULT Device3D::Execute(const ExecuteBuffer& buffer, std::span<const D3DTLVERTEX> vertices) {
    const std::span<const uint8_t> bytes = buffer.Bytes();
    if (vertices.size() > kMaxVertices) {
        return DDERR_INVALIDPARAMS;
    }
    if (const HRESULT flushed = FlushStates(); flushed != DD_OK) {
        return flushed;
    }
    FillBuffer(executeBuffer_, bytes.data(), bytes.size());
    FillBuffer(vertexBuffer_, vertices.data(), vertices.size_bytes());
    size_t at = 0;
    while (at + sizeof(D3DINSTRUCTION) <= bytes.size()) {
        D3DINSTRUCTION instruction;
        std::memcpy(&instruction, &bytes[at], sizeof(instruction));
        at += sizeof(instruction);
        const size_t length = size_t{instruction.bSize} * instruction.wCount;
        if (length > bytes.size() - at) {
            return DDERR_INVALIDPARAMS;
        }
        HRESULT result = DD_OK;
        switch (instruction.bOpcode) {
        case D3DOP_EXIT:
            return DD_OK;
        case D3DOP_STATERENDER:
            if (instruction.bSize != sizeof(D3DSTATE)) {
                return DDERR_INVALIDPARAMS;
            }
            result = CallRenderState(static_cast<uint32_t>(at), instruction.wCount);
            break;
        case D3DOP_TRIANGLE:
        case D3DOP_LINE:
        case D3DOP_POINT: {
            const auto reached = VerticesReached(instruction, bytes.subspan(at, length));
            if (!reached || *reached > vertices.size()) {
                return DDERR_INVALIDPARAMS;
            }
            result = Draw(instruction, static_cast<uint32_t>(at));
            break;
        }
        default:
            return DDERR_UNSUPPORTED;
        }
        if (result != DD_OK) {
            return result;
        }
        at += length;
    }
    return DD_OK;
}

uint32_t Device3D::CreateTexture(Surface& surface) {
    const D3DHAL_CALLBACKS& callbacks = CallbacksOf(directDraw_);
    if (callbacks.TextureCreate == nullptr) {
        throw ResultError("texture", DDERR_UNSUPPORTED);
    }
    D3DHAL_TEXTURECREATEDATA data{};
    data.dwhContext = handle_;
    data.lpDDS = surface.Interface();
    CallDriver(callbacks.TextureCreate, &data);
    Check("texture", data.ddrval);
    return data.dwHandle;
}

HRESULT Device3D::DestroyTexture(uint32_t texture) {
    const D3DHAL_CALLBACKS& callbacks = CallbacksOf(directDraw_);
    if (callbacks.TextureDestroy == nullptr) {
        return DDERR_UNSUPPORTED;
    }
    D3DHAL_TEXTUREDESTROYDATA data{};
    data.dwhContext = handle_;
    data.dwHandle = texture;
    CallDriver(callbacks.TextureDestroy, &data);
    return data.ddrval;
}

HRESULT Device3D::SwapTextures(uint32_t first, uint32_t second) {
    const D3DHAL_CALLBACKS& callbacks = CallbacksOf(directDraw_);
    if (callbacks.TextureSwap == nullptr) {
        return DDERR_UNSUPPORTED;
    }
    D3DHAL_TEXTURESWAPDATA data{};
    data.dwhContext = handle_;
    data.dwHandle1 = first;
    data.dwHandle2 = second;
    CallDriver(callbacks.TextureSwap, &data);
    return data.ddrval;
}

DDRAWI_DDRAWSURFACE_LCL* Device3D::TextureSurface(uint32_t texture, HRESULT* result) {
    const D3DHAL_CALLBACKS& callbacks = CallbacksOf(directDraw_);
    D3DHAL_TEXTUREGETSURFDATA data{};
    data.ddrval = DDERR_UNSUPPORTED;
    if (callbacks.TextureGetSurf != nullptr) {
        data.dwhContext = handle_;
        data.dwHandle = texture;
        CallDriver(callbacks.TextureGetSurf, &data);
    }
    if (result != nullptr) {
        *result = data.ddrval;
    }
    return data.ddrval == DD_OK ? reinterpret_cast<DDRAWI_DDRAWSURFACE_LCL*>(data.lpDDS) : nullptr;
}

void Device3D::Finish() {
    if (inScene_) {
        Check("end of a scene", EndScene());
    } else {
        Check("render states", FlushStates());
    }
    directDraw_.Finish(target_);
}

HRESULT Device3D::Destroy() {
    D3DHAL_CONTEXTDESTROYDATA data{};
    data.dwhContext = handle_;
    CallDriver(CallbacksOf(directDraw_).ContextDestroy, &data);
    live_ = false;
    inScene_ = false;
    Tell(&Observer::OnContextGone, directDraw_.TheDisplay(), handle_);
    return data.ddrval;
}

HRESULT Device3D::DestroyAll(DirectDraw& directDraw, uint32_t processId) {
    D3DHAL_CONTEXTDESTROYALLDATA data{};
    data.dwPID = processId;
    CallDriver(CallbacksOf(directDraw).ContextDestroyAll, &data);
    return data.ddrval;
}

} // namespace host
