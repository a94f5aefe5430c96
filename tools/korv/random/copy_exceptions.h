#pragma once
// Copies that the driver is meant to do otherwise than a processor would.
#include "host/ddraw/surface.h"
#include "host/display/display.h"

#include <span>

namespace korv::random {

struct Rectangle {
    uint32_t left, top, right, bottom; // pixels; right and bottom are behind it
};

struct CopyCase {
    const host::DisplayConfig& display;
    const host::Surface &to, &from;
    Rectangle rect, source;
    bool mirrored;
};

struct CopyException {
    const char* reason;
    bool (*holds)(const CopyCase& copy);
};
std::span<const CopyException> CopyExceptions();

} // namespace korv::random
