#pragma once
// A painter that draws nothing and keeps what it was told.
#include "tools/korv/painting/painter.h"

#include <algorithm>
#include <vector>

namespace korv {

struct RecordingPainter : Painter {
    explicit RecordingPainter(Extent size, bool allFactors = true)
        : size(size), allFactors(allFactors) {}

    Extent Size() const override { return size; }
    bool HasAllBlendFactors() const override { return allFactors; }
    std::vector<std::string> TextureFormats() const override { return formats; }
    TextureHandle MakeTexture(const TextureRequest& request) override {
        textures.push_back(request);
        return static_cast<TextureHandle>(textures.size());
    }
    void Clear(D3DCOLOR colour) override { clears.push_back(colour); }
    void State(D3DRENDERSTATETYPE type, DWORD value) override { states.push_back({type, value}); }
    void Triangles(std::span<const D3DTLVERTEX> newVertices,
                   std::span<const D3DTRIANGLE> triangles) override {
        ++calls;
        largestCall = std::max({largestCall, newVertices.size(), triangles.size()});
        for (const D3DTRIANGLE& t : triangles) {
            for (const WORD index : {t.v1, t.v2, t.v3}) {
                if (index >= newVertices.size()) {
                    ++badIndices;
                } else {
                    corners.push_back(newVertices[index]);
                }
            }
        }
    }
    bool WouldShow(std::span<const D3DTLVERTEX> vertices,
                   std::span<const D3DTRIANGLE> triangles) override {
        for (const D3DTRIANGLE& t : triangles) {
            for (const WORD index : {t.v1, t.v2, t.v3}) {
                badIndices += index >= vertices.size();
            }
        }
        return ++questions % 2 != 0;
    }

    ImageHandle MakeImage(const host::Picture& picture) override {
        images.push_back(picture);
        return images.size() - 1;
    }
    void Blit(const RECT& to, ImageHandle image, const RECT& from,
              const BlitEffects& effects) override {
        blits.push_back({to, image, from, effects});
    }
    void Fill(const RECT& area, D3DCOLOR colour) override { fills.push_back({area, colour}); }
    host::ClientDrawing* Client() override { return nullptr; }
    void Flip() override { ++flips; }
    bool ShowsVideo() const override { return true; }
    void PlayVideo(board::VideoSource&, Extent, const VideoEffects& newEffects) override {
        videoEffects.push_back(newEffects);
    }
    void DrawField(const RECT& to) override { fields.push_back(to); }
    void StopVideo() override { ++videoStops; }

    struct BlitCall {
        RECT to;
        ImageHandle image;
        RECT from;
        BlitEffects effects;
    };
    struct FillCall {
        RECT area;
        D3DCOLOR colour;
    };
    struct StateChange {
        D3DRENDERSTATETYPE type;
        DWORD value;
        bool operator==(const StateChange&) const = default;
    };
    Extent size;
    bool allFactors;
    std::vector<std::string> formats{"rgb555", "pal4", "argb1555", "argb4444", "rgb565"};
    std::vector<TextureRequest> textures; // the first has handle 1
    std::vector<D3DCOLOR> clears;
    std::vector<StateChange> states;
    std::vector<D3DTLVERTEX> corners;  // three for each triangle, in drawing order
    size_t questions = 0;              // of which every other one has the answer yes
    std::vector<host::Picture> images; // by handle
    std::vector<BlitCall> blits;
    std::vector<FillCall> fills;
    size_t flips = 0;
    std::vector<VideoEffects> videoEffects; // each time that video was started
    std::vector<RECT> fields;
    size_t videoStops = 0;
    size_t calls = 0, largestCall = 0, badIndices = 0;
};

} // namespace korv
