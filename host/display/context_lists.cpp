#include "host/display/context_lists.h"

#include "driver/core/chipinfo.h"
#include "driver/core/registers.h"
#include "driver/core/tags.h"

#include <algorithm>

namespace host {

namespace {

// Writing one of these does something, or takes part in something under way.
constexpr uint32_t kCommands[] = {
    tag::Render,
    tag::ContinueNewLine,
    tag::ContinueNewDom,
    tag::ContinueNewSub,
    tag::Continue,
    tag::FlushSpan,
    tag::BitMaskPattern,
    tag::WaitForCompletion,
    tag::Color,
    tag::TextureData,
    tag::FBColor,
    tag::ResetPickResult,
    tag::PickResult,
    tag::Sync,
    tag::TexelLUTTransfer,
    tag::SuspendUntilFrameBlank,
    tag::DrawTriangle,
    tag::RepeatTriangle,
    tag::DrawLine01,
    tag::DrawLine10,
};

// Halves of FBBlockColor, which sets both.
constexpr uint32_t kAliases[] = {tag::FBBlockColorU, tag::FBBlockColorL};

// Contexts change between drawing instructions, and each instruction loads its vertices anew. Alpha
// alone may stay from an earlier one.
constexpr uint32_t kVertexStoreFirst = tag::V0Fixed, kVertexStoreLast = tag::V2Float + 15;
constexpr uint32_t kVertexAlphas[] = {tag::V0Fixed + 8, tag::V1Fixed + 8, tag::V2Fixed + 8};

template <size_t N>
bool IsIn(const uint32_t (&list)[N], uint32_t tagNumber) {
    return std::find(std::begin(list), std::end(list), tagNumber) != std::end(list);
}

bool IsBetween(uint32_t tagNumber, uint32_t first, uint32_t last) {
    return tagNumber >= first && tagNumber <= last;
}

bool IsGlintTexture(uint32_t t) {
    return IsBetween(t, tag::GlintTextureReadMode, tag::TextureCacheControl) ||
           IsBetween(t, tag::TextureFilterMode, tag::TextureBaseAddr11);
}

bool IsPermediaTexture(uint32_t t) {
    return IsBetween(t, tag::TextureBaseAddress, tag::TextureDataFormat) ||
           IsBetween(t, tag::TextureReadMode, tag::TexelLUTMode) ||
           IsBetween(t, tag::YUVMode, tag::ChromaLowerBound);
}

bool IsLookupTable(uint32_t t) {
    return t == tag::TexelLUTIndex || t == tag::TexelLUTAddress ||
           IsBetween(t, tag::TexelLUT0, tag::TexelLUT15);
}

bool IsInterpolant(uint32_t t) {
    return IsBetween(t, tag::StartXDom, tag::Count) || IsBetween(t, tag::SStart, tag::dLodyDom) ||
           IsBetween(t, tag::FStart, tag::dKddyDom) || IsBetween(t, tag::RStart, tag::dAdyDom) ||
           IsBetween(t, tag::ZStartU, tag::dZdyDomL);
}

bool IsPermedia2(uint32_t deviceId) {
    return deviceId == DevicePermedia2 || deviceId == DevicePermedia2Second;
}

bool Has(uint32_t deviceId, uint32_t t) {
    const bool glint = deviceId == DeviceSX || deviceId == DeviceTX || deviceId == DeviceMX;
    if (IsGlintTexture(t)) {
        return glint && deviceId != DeviceSX;
    }
    if (IsPermediaTexture(t)) {
        return !glint;
    }
    if (IsLookupTable(t)) {
        return deviceId != DeviceSX;
    }
    return true;
}

void Add(std::vector<uint16_t>& list, uint32_t tagNumber) {
    list.push_back(static_cast<uint16_t>(MappedOffset(tagNumber)));
}

} // namespace

std::vector<uint16_t> StateRegisters(uint32_t deviceId, bool delta) {
    std::vector<uint16_t> list;
    for (const RegisterName& name : kRegisterNames) {
        if (!IsIn(kCommands, name.tag) && !IsIn(kAliases, name.tag) &&
            !IsBetween(name.tag, kVertexStoreFirst, kVertexStoreLast) && Has(deviceId, name.tag)) {
            Add(list, name.tag);
        }
    }
    // Behind AStart, which sets all three.
    if (delta || IsPermedia2(deviceId)) {
        for (const uint32_t alpha : kVertexAlphas) {
            Add(list, alpha);
        }
    }
    // Last, as this one fills the lookup table again from where the registers before it say.
    if (deviceId == DeviceMX || IsPermedia2(deviceId)) {
        Add(list, tag::TexelLUTTransfer);
    }
    return list;
}

std::vector<uint16_t> ScreenRegisters(uint32_t deviceId, bool delta) {
    std::vector<uint16_t> list = StateRegisters(deviceId, delta);
    std::erase_if(
        list, [](uint16_t offset) { return IsInterpolant((offset - reg::MappedRegisters) / 8); });
    return list;
}

} // namespace host
