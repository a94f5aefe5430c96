#pragma once
// Word forms of the command stream. A plain pair is the hold form with count 1, that is, the bare
// tag.
#include "chip/registers.h"

#include <cstdint>

// Bit 15 of a tag word tells the indexed form from the hold form.
inline constexpr uint32_t kIndexedForm = 0x8000;
// The low bits of a tag word that carry the tag, or the group with its low four bits clear.
inline constexpr uint32_t kTagMask = 0x3FF;

// Tag word of a hold burst: `count` data words follow, all to `tagNumber`. count is 1 to 65536.
constexpr uint32_t HoldTag(uint32_t tagNumber, uint32_t count) {
    return ((count - 1) << 16) | tagNumber;
}

// Tag word of an indexed burst: one data word per set bit of `mask`, lowest first, bit i going to
// register `group` + i. `group` is a multiple of 16.
constexpr uint32_t IndexedTag(uint32_t group, uint32_t mask) {
    return (mask << 16) | kIndexedForm | group;
}

// The indexed bursts in use.
namespace burst {
inline constexpr uint32_t Trapezoid = IndexedTag(tag::StartXDom, 0x00FF);
// Edges without steps in x.
inline constexpr uint32_t Rectangle = IndexedTag(tag::StartXDom, 0x00F5);
inline constexpr uint32_t NextSubEdge = IndexedTag(tag::StartXDom, 0x040C);
inline constexpr uint32_t AreaStipple = IndexedTag(tag::AreaStipplePattern0, 0x00FF);
inline constexpr uint32_t TextureST = IndexedTag(tag::TextureAddressMode, 0x007E);
inline constexpr uint32_t TextureSTQ = IndexedTag(tag::TextureAddressMode, 0x03FE);
inline constexpr uint32_t Fog = IndexedTag(0x0D0, 0x0070);
inline constexpr uint32_t ColourRGB = IndexedTag(tag::RStart, 0x01FF);
inline constexpr uint32_t ColourRGBA = IndexedTag(tag::RStart, 0x0FFF);
inline constexpr uint32_t Depth = IndexedTag(tag::Window, 0x0FC0);
// Of a walk along one edge: no sub edge, no step in x.
inline constexpr uint32_t Edge = IndexedTag(tag::StartXDom, 0x00F3);
inline constexpr uint32_t EdgeColourRGB = IndexedTag(tag::RStart, 0x016D);
inline constexpr uint32_t EdgeDepth = IndexedTag(tag::Window, 0x0CC0);
} // namespace burst
