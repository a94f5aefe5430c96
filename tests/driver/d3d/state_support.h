#pragma once
// A context whose state words, register copies and dirty flags are watched whole: what a case does
// not mention must not change.
#include "driver/d3d/statepm.h"
#include "driver/d3d/statesx.h"
#include "tests/support/rig.h"
#include "tests/support/tag_names.h"
#include "tests/support/words.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace test {

// Values that a state may be set to: all that mean something, and some that do not.
inline constexpr uint32_t kValues[] = {0, 1, 2,  3,  4,  5,   6,          7,
                                       8, 9, 10, 11, 12, 255, 0x80000000, 0xFFFFFFFF};

struct StateChip {
    const char* name;
    uint32_t device;
    bool delta;

    bool IsGlint() const { return device == DeviceSX || device == DeviceTX || device == DeviceMX; }
    bool IsFirst() const { return device == 4 || device == 0x3D04; }
    bool IsP2() const { return device == 7 || device == 0x3D07; }
};

inline void PrintTo(const StateChip& chip, std::ostream* out) {
    *out << chip.name;
}

inline const std::vector<StateChip> kPermediaChips = {{"Permedia", 4, false},
                                                      {"PermediaDelta", 4, true},
                                                      {"PermediaSecondId", 0x3D04, false},
                                                      {"PermediaSecondIdDelta", 0x3D04, true},
                                                      {"Permedia2", 7, true},
                                                      {"Permedia2SecondId", 0x3D07, true}};
inline const std::vector<StateChip> kGlintChips = {{"SX", 1, false}, {"SXDelta", 1, true},
                                                   {"TX", 2, false}, {"TXDelta", 2, true},
                                                   {"MX", 6, false}, {"MXDelta", 6, true}};

inline std::vector<StateChip> AllStateChips() {
    std::vector<StateChip> all = kPermediaChips;
    all.insert(all.end(), kGlintChips.begin(), kGlintChips.end());
    return all;
}

inline RigOptions OptionsFor(const StateChip& chip) {
    RigOptions options;
    options.deviceId = chip.device;
    options.dmaBufferBytes = 0x10000;
    return options;
}

// Where two contexts differ, apart from their streams; empty if nowhere.
inline std::string Difference(const D3DContext& have, const D3DContext& want) {
    const auto* a = reinterpret_cast<const uint8_t*>(&have);
    const auto* b = reinterpret_cast<const uint8_t*>(&want);
    constexpr size_t kFrom = offsetof(D3DContext, Stream);
    constexpr size_t kTo = kFrom + sizeof(CommandStream);
    for (size_t at = 0; at < sizeof(D3DContext); at += 4) {
        if (at >= kFrom && at < kTo) {
            continue;
        }
        uint32_t x;
        uint32_t y;
        std::memcpy(&x, a + at, 4);
        std::memcpy(&y, b + at, 4);
        if (x != y) {
            char text[96];
            std::snprintf(text, sizeof(text), "word at byte %u: have %08X, want %08X",
                          static_cast<unsigned>(at), x, y);
            return text;
        }
    }
    return {};
}

inline uint32_t WithBits(uint32_t word, uint32_t clear, uint32_t set) {
    return (word & ~clear) | set;
}

using RegisterCopies = decltype(D3DContext::Copies);

class WatchedContext {
  public:
    explicit WatchedContext(const StateChip& chip, bool dma = true)
        : chip(chip), rig(OptionsFor(chip)) {
        rig.Ready();
        ctx = rig.PlainContext(dma);
        ctx->UseDelta = chip.delta;
        ctx->FillMode = D3DFILL_SOLID;
        ctx->ProcessStates = chip.IsGlint() ? ProcessGlintStates : ProcessPermediaStates;
        ctx->HandleDirtyState = chip.IsGlint() ? HandleDirtyGlintState : HandleDirtyPermediaState;
        target = &rig.MakeSurface(320, 200, DDSCAPS_3DDEVICE, PixelSize16, 0x20000);
        zbuffer = &rig.MakeSurface(320, 200, DDSCAPS_ZBUFFER, PixelSize16, 0x80000);
        ctx->RenderTargetSurface = &target->local;
        // No flush in the middle of a case.
        ctx->Stream.SubBufferFlushWords = ctx->Stream.SubBufferWords;
    }

    // All register copies hold `word`.
    void FillCopies(uint32_t word) {
        auto* copy = reinterpret_cast<uint32_t*>(&ctx->Copies);
        for (size_t i = 0; i != sizeof(ctx->Copies) / 4; ++i) {
            copy[i] = word;
        }
    }

    // The words written since the last call.
    Words Take() {
        Words words;
        if (ctx->Stream.CommandMode == kCommandModeDMA) {
            words = Rig::Pending(ctx);
            ctx->Stream.WritePointer = ctx->Stream.Current().Linear;
        } else {
            words = rig.bus->FifoWords();
            rig.bus->Clear();
        }
        return words;
    }

    // Runs one state. `edit` makes of a copy of the context what is expected, and returns the
    // words expected. On Permedia the image of the states is expected to follow by itself.
    using Edit = std::function<Words(D3DContext&)>;
    void Expect(uint32_t state, uint32_t value, const Edit& edit) {
        SCOPED_TRACE(std::string(chip.name) + " state " + std::to_string(state) + " value " +
                     std::to_string(value));
        D3DContext want;
        std::memcpy(static_cast<void*>(&want), ctx, sizeof(want));
        if (!chip.IsGlint() && state < 256) {
            want.RenderStates[state] = value;
        }
        const Words words = edit(want);
        Run(state, value);
        EXPECT_EQ(Take(), words);
        EXPECT_EQ(Difference(*ctx, want), "");
    }
    // Over all values and backgrounds: the state sets the bits of `mask` in the copy of a register
    // to what `field` says, and the copy is sent.
    void ExpectField(uint32_t state, uint32_t RegisterCopies::*copy, uint32_t tagNumber,
                     uint32_t mask, const std::function<uint32_t(uint32_t value)>& field) {
        OverBackgrounds([&] {
            for (uint32_t value : kValues) {
                Expect(state, value, [&](D3DContext& w) {
                    uint32_t& word = w.Copies.*copy;
                    word = WithBits(word, mask, field(value));
                    return Words{tagNumber, word};
                });
            }
        });
    }
    // Over all values: the state sets this bit of RenderFlags while its value is not 0, and
    // `dirty`.
    void ExpectFlag(uint32_t state, uint32_t bit, uint32_t dirty = 0) {
        for (uint32_t value : kValues) {
            for (uint32_t flags : {0u, 0x7FFFu}) {
                ctx->RenderFlags = flags;
                ctx->DirtyFlags = 0;
                Expect(state, value, [&](D3DContext& w) {
                    w.RenderFlags = WithBits(flags, bit, value != 0 ? bit : 0);
                    w.DirtyFlags = dirty;
                    return Words{};
                });
            }
        }
    }
    void ExpectNothing(uint32_t state, uint32_t value) {
        Expect(state, value, [](D3DContext&) { return Words{}; });
    }
    void Run(uint32_t state, uint32_t value) {
        const uint32_t pair[2] = {state, value};
        EXPECT_EQ(ctx->ProcessStates(ctx, 1, pair), 0u);
    }

    // Calls the body with all copies at one word after another.
    void OverBackgrounds(const std::function<void()>& body) {
        for (uint32_t word : {0u, 0xFFFFFFFFu, 0xA5A5A5A5u, 0x5A5A5A5Au}) {
            SCOPED_TRACE("copies at " + std::to_string(word));
            FillCopies(word);
            body();
        }
    }

    StateChip chip;
    Rig rig;
    D3DContext* ctx;
    RigSurface* target;
    RigSurface* zbuffer;
};

// Turns the texture units of Glint off in the copies; the words that say so.
inline Words GlintUnitsOff(RegisterCopies& r) {
    r.GlintTextureAddressMode &= ~1u;
    r.GlintTextureReadMode &= ~1u;
    r.GlintTextureFilterMode &= ~1u;
    return Pairs({{t::TextureAddressMode, r.GlintTextureAddressMode},
                  {t::GlintTextureReadMode, r.GlintTextureReadMode},
                  {t::TextureFilterMode, r.GlintTextureFilterMode}});
}

class StateTest : public testing::TestWithParam<StateChip> {};

inline std::string ChipName(const testing::TestParamInfo<StateChip>& info) {
    return info.param.name;
}

// States 19 and 20 write the source's and the destination's field of AlphaBlendMode: the field by
// the state's value, -1 where it is kept.
using BlendFields = std::array<int, 13>;
inline void ExpectBlendFactors(WatchedContext& c, const BlendFields& source,
                               const BlendFields& dest) {
    const auto edit = [](uint32_t value, uint32_t flags, const BlendFields& fields, uint32_t mask,
                         uint32_t shift) {
        return [=](D3DContext& w) {
            if (value < fields.size() && fields[value] >= 0) {
                w.Copies.AlphaBlendMode = WithBits(w.Copies.AlphaBlendMode, mask,
                                                   static_cast<uint32_t>(fields[value]) << shift);
            }
            w.DirtyFlags = flags != 0 ? 2 : 0;
            return Words{};
        };
    };
    c.OverBackgrounds([&] {
        for (const uint32_t value : kValues) {
            for (const uint32_t flags : {0u, 0x40u}) {
                c.ctx->RenderFlags = flags;
                c.ctx->DirtyFlags = 0;
                c.Expect(19, value, edit(value, flags, source, 0x1E, 1));
                c.ctx->DirtyFlags = 0;
                c.Expect(20, value, edit(value, flags, dest, 0xE0, 5));
            }
        }
    });
}

// State 21: `edit` makes of a copy of the context what is expected of a value, besides the dirty
// flag, and returns the words expected.
inline void ExpectTextureBlend(WatchedContext& c,
                               const std::function<Words(D3DContext& w, uint32_t value)>& edit) {
    c.OverBackgrounds([&] {
        for (const uint32_t value : kValues) {
            c.ctx->DirtyFlags = 0;
            c.Expect(21, value, [&](D3DContext& w) {
                w.DirtyFlags = 8;
                return edit(w, value);
            });
        }
    });
}

// TextureColorMode with the colour field as that value of state 21 has it.
inline uint32_t WithColourField(uint32_t word, uint32_t value) {
    switch (value) {
    case 1:
    case 7:
        return WithBits(word, 0x0E, 0x06);
    case 2:
    case 4:
        return WithBits(word, 0x0E, 0);
    case 3:
        return WithBits(word, 0x0E, 0x02);
    default:
        return word;
    }
}

// State 26, with the switch for dithering and without it: whether the value is kept, and whether
// blending suspends it.
inline void ExpectDither(WatchedContext& c, bool keepsValue, bool blendSuspends) {
    for (const uint32_t always : {0u, 1u}) {
        DXGlobals.AlwaysDither = always;
        c.OverBackgrounds([&] {
            for (const uint32_t value : kValues) {
                for (const uint32_t flags : {0u, 0x40u}) {
                    c.ctx->RenderFlags = flags;
                    c.Expect(26, value, [&](D3DContext& w) {
                        uint32_t& word = w.Copies.DitherMode;
                        const bool off = flags != 0 && blendSuspends;
                        if (keepsValue) {
                            w.DitherEnabled = value != 0;
                        }
                        word = WithBits(word, 2, !off && (value != 0 || always != 0) ? 2 : 0);
                        return Words{t::DitherMode, word};
                    });
                }
            }
        });
    }
}

// State 29 in all flags: whether specular light is kept for later where textured fog is in its way.
inline void ExpectSpecular(WatchedContext& c, bool givesWay) {
    for (uint32_t flags = 0; flags != 0x40; ++flags) {
        for (const uint32_t value : {0u, 1u, 0xFFFFFFFFu}) {
            c.ctx->SpecularEnabled = 55; // left as it is by a chip that has both
            c.ctx->RenderFlags = flags;
            c.ctx->DirtyFlags = 0;
            c.Expect(29, value, [&](D3DContext& w) {
                bool on = value != 0;
                if (givesWay) {
                    w.SpecularEnabled = on;
                    on = on && (flags & 0x28) != 0x28;
                }
                w.RenderFlags = WithBits(flags, 4, on ? 4 : 0);
                w.DirtyFlags = 1;
                return Words{};
            });
        }
    }
}

// State 34: red and blue are exchanged; whether the colour is sent in fog alone.
inline void ExpectFogColour(WatchedContext& c, bool onlyInFog) {
    for (const uint32_t flags : {0u, 8u}) {
        c.ctx->RenderFlags = flags;
        c.Expect(34, 0x11223344, [&](D3DContext& w) {
            w.FogColor = 0x11443322;
            return onlyInFog && flags == 0 ? Words{} : Words{t::FogColor, 0x11443322};
        });
    }
}

// State 28 in all flags: whether fog drops the specular light of textures and gives it back, and
// whether the colour is sent at once.
inline void ExpectFogEnable(WatchedContext& c, bool dropsSpecular, bool sendsColour) {
    c.ctx->FogColor = 0x00332211;
    for (uint32_t flags = 0; flags != 0x40; ++flags) {
        for (const uint32_t specular : {0u, 1u}) {
            for (const uint32_t command : {0x10000u, 0x12001u, 0x16001u}) {
                for (const uint32_t value : {1u, 7u, 0u}) {
                    c.ctx->SpecularEnabled = specular;
                    c.ctx->RenderFlags = flags;
                    c.ctx->RenderCommand = command;
                    c.ctx->DirtyFlags = 0;
                    c.Expect(28, value, [&](D3DContext& w) {
                        const bool fog = value != 0;
                        w.RenderFlags = WithBits(flags, 8, fog ? 8 : 0);
                        w.RenderCommand = WithBits(command, 0x4000, fog ? 0x4000 : 0);
                        w.DirtyFlags = 9;
                        if (dropsSpecular && fog && (flags & 0x24) == 0x24) {
                            w.RenderFlags &= ~4u;
                        } else if (dropsSpecular && !fog && specular == 1) {
                            w.RenderFlags |= 4;
                        }
                        return !sendsColour ? Words{}
                                            : Words{t::FogColor, fog ? 0x00332211 : 0xFFFFFFFF};
                    });
                }
            }
        }
    }
}

} // namespace test
