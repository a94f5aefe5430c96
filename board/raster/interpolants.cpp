#include "board/raster/interpolants.h"

namespace board {

namespace {

// Start, dx and dyDom are three registers in a row.
Interpolant Triple(const RegisterFile& registers, uint32_t startTag) {
    return {Signed(registers[startTag]), Signed(registers[startTag + 1]),
            Signed(registers[startTag + 2])};
}

// 32.16 depth from its word pair; the fraction is the top half of the lower word.
int64_t DepthPair(const RegisterFile& registers, uint32_t upperTag) {
    return Signed(registers[upperTag]) * (int64_t{1} << kDepthFractionBits) +
           (registers[upperTag + 1] >> 16);
}

} // namespace

void Interpolants::Load(const RegisterFile& registers) {
    channels[Red] = Triple(registers, tag::RStart);
    channels[Green] = Triple(registers, tag::GStart);
    channels[Blue] = Triple(registers, tag::BStart);
    channels[Alpha] = Triple(registers, tag::AStart);
    channels[Fog] = Triple(registers, tag::FStart);
    channels[Depth] = {DepthPair(registers, tag::ZStartU), DepthPair(registers, tag::dZdxU),
                       DepthPair(registers, tag::dZdyDomU)};
    channels[S] = Triple(registers, tag::SStart);
    channels[T] = Triple(registers, tag::TStart);
    channels[Q] = Triple(registers, tag::QStart);
    channels[Ks] = Triple(registers, tag::KsStart);
    NewDominant(registers);
}

void Interpolants::NewDominant(const RegisterFile& registers) {
    dominantStep = Signed(registers[tag::dXDom]);
}

void Interpolants::StepRow() {
    for (Interpolant& channel : channels) {
        channel.value = WrapAdd(channel.value, channel.dyDom);
    }
}

void Interpolants::Visit(StateVisitor& visit) {
    constexpr std::array<const char*, kCount> kNames = {"red",   "green", "blue", "alpha", "fog",
                                                        "depth", "s",     "t",    "q",     "ks"};
    auto& [all, alongEdge] = *this;
    for (size_t i = 0; i < all.size(); ++i) {
        visit.Within(kNames[i], all[i]);
    }
    visit.Value("dominantStep", alongEdge);
}

} // namespace board
