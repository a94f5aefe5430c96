#include "host/ddraw/video_port.h"

#include "host/ddraw/runtime.h"
#include "host/driver_module.h"

namespace host {

namespace {

// How often a field is looked for, and for how long.
constexpr uint64_t kLookMicroseconds = 50;
constexpr int kLooks = 20000;

const VideoPortEntries& Entries() {
    const VideoPortEntries* const entries = TheDriverModule().videoPort;
    if (entries == nullptr) {
        throw ResultError("video port of a driver DLL", DDERR_UNSUPPORTED);
    }
    return *entries;
}

} // namespace

DDVIDEOPORTDESC DescribeVideoPort(uint32_t fieldWidth, uint32_t fieldHeight) {
    DDVIDEOPORTDESC description{};
    description.dwSize = sizeof(description);
    description.dwFieldWidth = fieldWidth;
    description.dwFieldHeight = fieldHeight;
    description.VideoPortType.dwSize = sizeof(description.VideoPortType);
    description.VideoPortType.dwPortWidth = 8;
    description.VideoPortType.guidTypeID = DDVPTYPE_E_HREFH_VREFH;
    return description;
}

std::vector<Surface*> CreateVideoBuffers(DirectDraw& directDraw, uint32_t width, uint32_t height,
                                         uint32_t count) {
    SurfaceRequest request;
    request.caps = DDSCAPS_OFFSCREENPLAIN | DDSCAPS_VIDEOPORT;
    request.width = width;
    request.height = height;
    request.format = FourCCFormat(MAKEFOURCC('Y', 'U', 'Y', '2'), 16);
    request.backBuffers = count - 1;
    Surface* front;
    Check("video buffers", directDraw.CreateSurface(request, &front));
    std::vector<Surface*> buffers = {front};
    buffers.insert(buffers.end(), front->Chain().begin(), front->Chain().end());
    return buffers;
}

HRESULT VideoPort::CanCreate(DirectDraw& directDraw, const DDVIDEOPORTDESC& description) {
    DDVIDEOPORTDESC copy = description;
    DDHAL_CANCREATEVPORTDATA data{};
    data.lpDD = directDraw.Local();
    data.lpDDVideoPortDesc = &copy;
    data.CanCreateVideoPort = Entries().CanCreateVideoPort;
    const HalAnswer answer = CallHal(data.CanCreateVideoPort, data);
    return answer.handled ? answer.result : DDERR_UNSUPPORTED;
}

VideoPort::VideoPort(DirectDraw& directDraw, const DDVIDEOPORTDESC& description)
    : directDraw_(directDraw) {
    Check("video port", CanCreate(directDraw, description));
    local_.lpDD = directDraw.Local();
    local_.ddvpDesc = description;
    local_.dwRefCnt = 1;
    auto data = DataOf<DDHAL_CREATEVPORTDATA>();
    data.lpDDVideoPortDesc = &local_.ddvpDesc;
    data.CreateVideoPort = Entries().CreateVideoPort;
    // Handled or not, the driver may refuse.
    Check("video port", CallHal(data.CreateVideoPort, data).result);
}

VideoPort::~VideoPort() {
    auto data = DataOf<DDHAL_DESTROYVPORTDATA>();
    data.DestroyVideoPort = Entries().DestroyVideoPort;
    CallHal(data.DestroyVideoPort, data);
}

template <class Record>
Record VideoPort::DataOf() {
    Record data{};
    data.lpDD = directDraw_.Local();
    data.lpVideoPort = &local_;
    return data;
}

HalAnswer VideoPort::CallUpdate(uint32_t flags, const std::vector<Surface*>& buffers,
                                const DDVIDEOPORTINFO& info) {
    if (!buffers.empty()) {
        buffers_ = buffers;
        flipInterfaces_.clear();
        for (Surface* buffer : buffers) {
            flipInterfaces_.push_back(buffer->Interface());
        }
        local_.lpSurface = flipInterfaces_.front();
        local_.lpFlipInts = flipInterfaces_.data();
        local_.ddvpInfo = info;
        local_.ddvpInfo.dwSize = sizeof(info);
        const bool autoflip = (info.dwVPFlags & DDVP_AUTOFLIP) != 0;
        local_.dwNumAutoflip = autoflip ? static_cast<DWORD>(buffers.size()) : 0;
    }
    auto data = DataOf<DDHAL_UPDATEVPORTDATA>();
    data.lplpDDSurface = local_.lpFlipInts;
    data.lpVideoInfo = &local_.ddvpInfo;
    data.dwFlags = flags;
    data.dwNumAutoflip = local_.dwNumAutoflip;
    data.UpdateVideoPort = Entries().UpdateVideoPort;
    return CallHal(data.UpdateVideoPort, data);
}

HalAnswer VideoPort::Start(const std::vector<Surface*>& buffers, const DDVIDEOPORTINFO& info) {
    return CallUpdate(DDRAWI_VPORTSTART, buffers, info);
}

HalAnswer VideoPort::Update(const std::vector<Surface*>& buffers, const DDVIDEOPORTINFO& info) {
    return CallUpdate(DDRAWI_VPORTUPDATE, buffers, info);
}

HalAnswer VideoPort::Stop() {
    return CallUpdate(DDRAWI_VPORTSTOP, {}, {});
}

HalAnswer VideoPort::Flip() {
    auto data = DataOf<DDHAL_FLIPVPORTDATA>();
    if (local_.lpSurface != nullptr) {
        data.lpSurfCurr = data.lpSurfTarg = local_.lpSurface->lpLcl;
    }
    data.FlipVideoPort = Entries().FlipVideoPort;
    return CallHal(data.FlipVideoPort, data);
}

HalAnswer VideoPort::FlipStatus() {
    DDHAL_GETVPORTFLIPSTATUSDATA data{};
    data.lpDD = directDraw_.Local();
    data.fpSurface = local_.lpSurface != nullptr ? local_.lpSurface->lpLcl->lpGbl->fpVidMem : 0;
    data.GetVideoPortFlipStatus = Entries().GetVideoPortFlipStatus;
    return CallHal(data.GetVideoPortFlipStatus, data);
}

Surface* VideoPort::NextField() {
    const DriverData* driver = directDraw_.TheDisplay().Driver();
    const uint32_t end = driver->VideoStartLine + driver->VideoHeight;
    bool begun = false;
    uint32_t before = 0;
    for (int i = 0; i < kLooks; ++i) {
        uint32_t line;
        if (!Line(&line).Done()) {
            return nullptr;
        }
        begun = begun || line < before;
        if (begun && line >= end && FlipStatus().result == DDERR_WASSTILLDRAWING) {
            Surface* const whole = buffers_.at(driver->VideoCurrentBuffer);
            Flip();
            return whole;
        }
        before = line;
        directDraw_.TheDisplay().Board().Advance(kLookMicroseconds);
    }
    return nullptr;
}

HalAnswer VideoPort::SignalStatus(uint32_t* status) {
    auto data = DataOf<DDHAL_GETVPORTSIGNALDATA>();
    data.GetVideoSignalStatus = Entries().GetVideoSignalStatus;
    const HalAnswer answer = CallHal(data.GetVideoSignalStatus, data);
    *status = data.dwStatus;
    return answer;
}

HalAnswer VideoPort::Line(uint32_t* line) {
    auto data = DataOf<DDHAL_GETVPORTLINEDATA>();
    data.GetVideoPortLine = Entries().GetVideoPortLine;
    const HalAnswer answer = CallHal(data.GetVideoPortLine, data);
    *line = data.dwLine;
    return answer;
}

HalAnswer VideoPort::Field(bool* field) {
    auto data = DataOf<DDHAL_GETVPORTFIELDDATA>();
    data.GetVideoPortField = Entries().GetVideoPortField;
    const HalAnswer answer = CallHal(data.GetVideoPortField, data);
    *field = data.bField != 0;
    return answer;
}

HalAnswer VideoPort::WaitForSync(uint32_t flags) {
    auto data = DataOf<DDHAL_WAITFORVPORTSYNCDATA>();
    data.dwFlags = flags;
    data.WaitForVideoPortSync = Entries().WaitForVideoPortSync;
    return CallHal(data.WaitForVideoPortSync, data);
}

HalAnswer VideoPort::Bandwidth() {
    auto data = DataOf<DDHAL_GETVPORTBANDWIDTHDATA>();
    DDPIXELFORMAT format = FourCCFormat(MAKEFOURCC('Y', 'U', 'Y', '2'), 16);
    data.lpddpfFormat = &format;
    data.dwWidth = local_.ddvpDesc.dwFieldWidth;
    data.dwHeight = local_.ddvpDesc.dwFieldHeight;
    data.GetVideoPortBandwidth = Entries().GetVideoPortBandwidth;
    return CallHal(data.GetVideoPortBandwidth, data);
}

std::vector<DDVIDEOPORTCONNECT> VideoPort::Connections(DirectDraw& directDraw) {
    DDHAL_GETVPORTCONNECTDATA data{};
    data.lpDD = directDraw.Local();
    data.GetVideoPortConnectInfo = Entries().GetVideoPortConnectInfo;
    Check("video port connections", CallHal(data.GetVideoPortConnectInfo, data).result);
    std::vector<DDVIDEOPORTCONNECT> connections(data.dwNumEntries);
    data.lpConnect = connections.data();
    Check("video port connections", CallHal(data.GetVideoPortConnectInfo, data).result);
    return connections;
}

std::vector<DDPIXELFORMAT> VideoPort::InputFormats() {
    auto data = DataOf<DDHAL_GETVPORTINPUTFORMATDATA>();
    data.GetVideoPortInputFormats = Entries().GetVideoPortInputFormats;
    Check("video input formats", CallHal(data.GetVideoPortInputFormats, data).result);
    std::vector<DDPIXELFORMAT> formats(data.dwNumFormats);
    data.lpddpfFormat = formats.data();
    Check("video input formats", CallHal(data.GetVideoPortInputFormats, data).result);
    return formats;
}

std::vector<DDPIXELFORMAT> VideoPort::OutputFormats(const DDPIXELFORMAT& input) {
    auto data = DataOf<DDHAL_GETVPORTOUTPUTFORMATDATA>();
    DDPIXELFORMAT from = input;
    data.lpddpfInputFormat = &from;
    data.GetVideoPortOutputFormats = Entries().GetVideoPortOutputFormats;
    Check("video output formats", CallHal(data.GetVideoPortOutputFormats, data).result);
    std::vector<DDPIXELFORMAT> formats(data.dwNumFormats);
    data.lpddpfOutputFormats = formats.data();
    Check("video output formats", CallHal(data.GetVideoPortOutputFormats, data).result);
    return formats;
}

} // namespace host
