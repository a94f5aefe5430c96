#include "host/ddraw/results.h"

#include "driver/platform/d3dhal.h"

#include <fmt/format.h>

namespace host {

namespace {

struct NamedResult {
    HRESULT result;
    const char* name;
};

// DDERR_ALREADYINITIALIZED and the like never come from a driver; what is here does, or comes from
// the runtime in this directory.
constexpr NamedResult kResults[] = {
    {DD_OK, "DD_OK"},
    {DDERR_CURRENTLYNOTAVAIL, "DDERR_CURRENTLYNOTAVAIL"},
    {DDERR_GENERIC, "DDERR_GENERIC"},
    {DDERR_INVALIDCAPS, "DDERR_INVALIDCAPS"},
    {DDERR_INVALIDPARAMS, "DDERR_INVALIDPARAMS"},
    {DDERR_INVALIDPIXELFORMAT, "DDERR_INVALIDPIXELFORMAT"},
    {DDERR_NORASTEROPHW, "DDERR_NORASTEROPHW"},
    {DDERR_OUTOFMEMORY, "DDERR_OUTOFMEMORY"},
    {DDERR_OUTOFVIDEOMEMORY, "DDERR_OUTOFVIDEOMEMORY"},
    {DDERR_SURFACEBUSY, "DDERR_SURFACEBUSY"},
    {DDERR_SURFACELOST, "DDERR_SURFACELOST"},
    {DDERR_UNSUPPORTED, "DDERR_UNSUPPORTED"},
    {DDERR_VERTICALBLANKINPROGRESS, "DDERR_VERTICALBLANKINPROGRESS"},
    {DDERR_WASSTILLDRAWING, "DDERR_WASSTILLDRAWING"},
    {DDERR_VIDEONOTACTIVE, "DDERR_VIDEONOTACTIVE"},
    {E_NOTIMPL, "E_NOTIMPL"},
    {D3DHAL_CONTEXT_BAD, "D3DHAL_CONTEXT_BAD"},
    {D3DHAL_OUTOFCONTEXTS, "D3DHAL_OUTOFCONTEXTS"},
};

} // namespace

std::string ResultName(HRESULT result) {
    for (const NamedResult& named : kResults) {
        if (named.result == result) {
            return named.name;
        }
    }
    return fmt::format("0x{:08X}", result);
}

ResultError::ResultError(const std::string& what, HRESULT result)
    : std::runtime_error(what + ": " + ResultName(result)), result_(result) {}

void Check(const std::string& what, HRESULT result) {
    if (result != DD_OK) {
        throw ResultError(what, result);
    }
}

} // namespace host
