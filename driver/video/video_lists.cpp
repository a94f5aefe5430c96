// What the video port can take and give: connections, formats, bandwidth.
#include "driver/video/video.h"

namespace {

constexpr uint32_t kConnectionCount = 8;

constexpr DDVIDEOPORTCONNECT Connection(const GUID& type, DWORD portWidth) {
    return {sizeof(DDVIDEOPORTCONNECT), portWidth, type,
            DDVPCONNECT_VACT | DDVPCONNECT_DISCARDSVREFDATA | DDVPCONNECT_INTERLACED};
}

constexpr DDVIDEOPORTCONNECT kConnections[kConnectionCount] = {
    Connection(DDVPTYPE_E_HREFH_VREFH, 8), Connection(DDVPTYPE_E_HREFH_VREFH, 16),
    Connection(DDVPTYPE_E_HREFH_VREFL, 8), Connection(DDVPTYPE_E_HREFH_VREFL, 16),
    Connection(DDVPTYPE_E_HREFL_VREFH, 8), Connection(DDVPTYPE_E_HREFL_VREFH, 16),
    Connection(DDVPTYPE_E_HREFL_VREFL, 8), Connection(DDVPTYPE_E_HREFL_VREFL, 16),
};

constexpr DWORD kYUY2 = MAKEFOURCC('Y', 'U', 'Y', '2');

constexpr DDPIXELFORMAT kFormat = {sizeof(DDPIXELFORMAT), DDPF_FOURCC,  kYUY2,        {16},
                                   {0xFFFFFFFF},          {0xFFFFFFFF}, {0xFFFFFFFF}, {0}};

} // namespace

DWORD KORV_STDCALL GetVideoPortBandwidth32(DDHAL_GETVPORTBANDWIDTHDATA* data) {
    data->ddRVal = DD_OK;
    return DDHAL_DRIVER_HANDLED;
}

DWORD KORV_STDCALL GetVideoPortInputFormats32(DDHAL_GETVPORTINPUTFORMATDATA* data) {
    data->dwNumFormats = 1;
    if (data->lpddpfFormat != nullptr) {
        *data->lpddpfFormat = kFormat;
    }
    data->ddRVal = DD_OK;
    return DDHAL_DRIVER_HANDLED;
}

DWORD KORV_STDCALL GetVideoPortOutputFormats32(DDHAL_GETVPORTOUTPUTFORMATDATA* data) {
    const DDPIXELFORMAT& input = *data->lpddpfInputFormat;
    if ((input.dwFlags & DDPF_FOURCC) != 0 && input.dwFourCC == kYUY2) {
        data->dwNumFormats = 1;
        if (data->lpddpfOutputFormats != nullptr) {
            *data->lpddpfOutputFormats = kFormat;
        }
    }
    data->ddRVal = DD_OK;
    return DDHAL_DRIVER_HANDLED;
}

DWORD KORV_STDCALL GetVideoPortConnectInfo32(DDHAL_GETVPORTCONNECTDATA* data) {
    data->dwNumEntries = kConnectionCount;
    if (data->lpConnect != nullptr) {
        for (uint32_t i = 0; i < kConnectionCount; ++i) {
            data->lpConnect[i] = kConnections[i];
        }
    }
    data->ddRVal = DD_OK;
    return DDHAL_DRIVER_HANDLED;
}
