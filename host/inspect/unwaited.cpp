#include "host/inspect/unwaited.h"

#include "chip/devices.h"
#include "chip/registers.h"

namespace host {

namespace {

// Places in a slot of the vertex store.
constexpr uint32_t kRed = 5, kGreen = 6, kBlue = 7, kAlpha = 8, kFog = 9;
constexpr uint32_t kX = 10, kY = 11, kZ = 12;

constexpr uint32_t kDeltaTriangle[] = {
    tag::V0Fixed + kRed,      tag::V0Fixed + kGreen,    tag::V0Fixed + kBlue,
    tag::V0Fixed + kAlpha,    tag::V0Fixed + kFog,      tag::V1Fixed + kRed,
    tag::V1Fixed + kGreen,    tag::V1Fixed + kBlue,     tag::V1Fixed + kAlpha,
    tag::V1Fixed + kFog,      tag::V2Fixed + kRed,      tag::V2Fixed + kGreen,
    tag::V2Fixed + kBlue,     tag::V2Fixed + kAlpha,    tag::V2Fixed + kFog,
    tag::V0Float + kX,        tag::V0Float + kY,        tag::V0Float + kZ,
    tag::V1Float + kX,        tag::V1Float + kY,        tag::V1Float + kZ,
    tag::V2Float + kX,        tag::V2Float + kY,        tag::V2Float + kZ,
    tag::ConstantColor,       tag::DrawTriangle,        tag::AreaStipplePattern0,
    tag::AreaStipplePattern1, tag::AreaStipplePattern2, tag::AreaStipplePattern3,
    tag::AreaStipplePattern4, tag::AreaStipplePattern5, tag::AreaStipplePattern6,
    tag::AreaStipplePattern7};
constexpr uint32_t kStippleRows[] = {tag::AreaStipplePattern4, tag::AreaStipplePattern5,
                                     tag::AreaStipplePattern6, tag::AreaStipplePattern7};
constexpr uint32_t kPermediaStretch[] = {tag::DitherMode, tag::TextureAddressMode,
                                         tag::TextureColorMode, tag::TextureReadMode, tag::YUVMode};
constexpr uint32_t kPermediaUnbinding[] = {tag::DeltaMode, tag::ColorDDAMode, tag::YUVMode};
constexpr uint32_t kMXStretch[] = {tag::dTdyDom,
                                   tag::StartXDom,
                                   tag::StartXSub,
                                   tag::StartY,
                                   tag::dY,
                                   tag::Count,
                                   tag::Render,
                                   tag::TextureAddressMode,
                                   tag::GlintTextureReadMode,
                                   tag::ChromaTestMode};

bool IsDelta(const board::Config& config) {
    return config.setupUnit && !DeviceOf(config.chip).setupUnit;
}
bool IsGlint(const board::Config& config) {
    return DeviceOf(config.chip).IsGlint();
}
bool IsPermedia(const board::Config& config) {
    return DeviceOf(config.chip).IsPermedia();
}
bool IsMX(const board::Config& config) {
    return config.chip == board::Chip::MX;
}

constexpr UnwaitedByDesign kList[] = {
    {"untextured triangles for a Delta",
     "6 entries are asked for three positions of 3, and 6 or 9 for three colours of 3 or 4",
     IsDelta, kDeltaTriangle, 6, tag::DrawTriangle},
    {"render state STIPPLEDALPHA on Glint",
     "the 8 rows come back on the 4 entries that are asked for before every state", IsGlint,
     kStippleRows, 4, tag::AreaStipplePattern7},
    {"stretches on Permedia", "15 and 11 entries are asked for, whatever key and formats add",
     IsPermedia, kPermediaStretch, 4, tag::dTdyDom},
    {"stretches on MX", "16 entries are asked for 22, or 26 with a colour key", IsMX, kMXStretch,
     10, tag::dTdyDom},
    {"end of texturing on Permedia",
     "5 entries are asked for; colours that come back behind copy mode and the end of a colour key "
     "add 3",
     IsPermedia, kPermediaUnbinding, 3, tag::TexelLUTTransfer},
};

} // namespace

std::span<const UnwaitedByDesign> AllUnwaitedByDesign() {
    return kList;
}

board::Faults UnexpectedFaults(const board::Board& board) {
    board::Faults faults = board.FaultReport();
    if (faults.unwaited.empty()) {
        return faults;
    }
    const board::EntryCounts entered = board.Entered();
    const auto unwaited = faults.unwaited; // what one entry explains another may share
    for (const UnwaitedByDesign& one : kList) {
        if (!one.has(board.Configuration())) {
            continue;
        }
        uint64_t sum = 0;
        for (const uint32_t number : one.registers) {
            const auto found = unwaited.find(number);
            sum += found == unwaited.end() ? 0 : found->second.entries;
        }
        if (sum <= one.missing * entered[one.per]) {
            for (const uint32_t number : one.registers) {
                faults.unwaited.erase(number);
            }
        }
    }
    return faults;
}

} // namespace host
