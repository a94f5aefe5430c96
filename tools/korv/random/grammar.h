#pragma once
// The grammar of random sessions: what exists so far decides which step may come next.
#include "tools/korv/random/dice.h"
#include "tools/korv/random/known_states.h"
#include "tools/korv/random/session.h"

#include <string>
#include <utility>
#include <vector>

namespace korv::random {

enum class Kind { Primary, Plain, Target, Depth, Texture, Yuv };

inline constexpr size_t kMostSurfaces = 14; // so that 2 MB always hold them

struct Shape {
    uint32_t width, height; // pixels
    std::string format;     // empty: the display's
    uint32_t levels = 1;
};

struct MadeSurface {
    std::string name;
    Kind kind;
    Shape shape;
    bool system = false; // in memory of the host
    uint32_t chain = 0;  // back buffers behind it
    size_t display;
    bool agp = false;   // in AGP memory
    bool keyed = false; // has had a source key
};

struct MadeTexture {
    std::string name, surface;
};

struct MadeContext {
    std::string name, target, depth;
    size_t display;
    uint32_t process;
    bool inScene = false; // words may wait
    bool textureBound = false;
    std::vector<MadeTexture> textures;
};

struct MadeDisplay {
    std::string name, chip;
    bool glint, setUp, drawsTextures, keysTextures, stretches;
    uint32_t width = 0, height = 0, bits = 0;
    bool slowFifo = false;  // routines that ask for too little space would lose words
    bool busy = false;      // since the last quiet moment it was given something to do
    bool client = false;    // the exports' client has begun
    bool clientDma = false; // there are DMA buffers besides those of contexts
    bool agp = false;       // there is AGP memory
    // It takes video in. Its clock moves by steps alone, so that all roads see the same fields.
    bool video = false;
};

struct MadePort {
    std::string name, buffers;      // empty: there is none
    uint32_t width = 0, height = 0; // of a field, pixels
    uint32_t connection = 0, portWidth = 8;
    bool marksPixels = false, plugged = false, running = false;
};

// How a texture lies on triangles.
struct Mapping {
    double texels = 1;              // on a pixel's side
    uint32_t turn = 0;              // in twelfths
    double u = 0, v = 0;            // at a triangle's middle
    uint32_t width = 1, height = 1; // texels
};

class Grammar {
  public:
    Grammar(uint64_t seed, bool illegal) : dice_(seed), illegal_(illegal) {}
    Steps Make(size_t count);

  private:
    // A step that may come next, so often as `weight` says; false if there is nothing to do it to.
    struct Rule {
        uint32_t weight;
        bool (Grammar::*apply)();
    };

    // --- bring-up ---
    void AddDisplay(uint32_t ofDisplays);
    // One that no other display has: the table of primitives is filled for a mode, whatever the
    // chip (driver/blit/primitives.cpp, FollowModeChange).
    void PickMode(MadeDisplay& display);
    void SettleFlips(size_t display);
    // Waits until all that was handed in is done: what the processor does next it does to memory
    // that nobody writes.
    void Quiet(size_t display);
    // Before 2D work; what was drawn may still be under way.
    void EndScenes(size_t display);
    bool ChangeMode();
    bool PassTime();
    bool AskBeam();
    bool AskDriver();

    // --- surfaces ---
    bool MakeSurface();
    // `inVideo`: a texture that the chip can read.
    const MadeSurface& MakeSurfaceOf(Kind kind, size_t display, bool inVideo = false);
    bool MakePrimary(size_t display);
    bool LoseSurface();
    bool WriteSurface();
    bool LockSurface();
    bool LoadTexture();
    bool KeySurface();
    void Palette(const MadeSurface& surface);
    void Write(const MadeSurface& surface);
    void Drop(size_t surface); // with the textures made of it

    // --- blits and flips ---
    bool Fill();
    bool Copy();
    bool Flip();
    bool AskStatus();
    Step Rect(uint32_t left, uint32_t top, uint32_t width, uint32_t height);
    Step RectIn(const Shape& shape);

    // --- drawing ---
    bool MakeContext();
    bool EndContext();
    void DropContext(size_t context);
    bool Scene();
    // What is drawn is drawn in a scene, and there is one open at a time: in which order words of
    // several come is nobody's promise.
    void OpenScene(MadeContext& context);
    bool SetStates();
    bool MakeTexture();
    bool UseTexture();
    bool EndTexture();
    void AddTexture(MadeContext& context, const std::string& surface);
    bool Triangles();
    bool Lines();
    bool Points();
    bool Execute();
    Step Vertices(const MadeContext& context, uint32_t count);
    Step Vertex(const MadeContext& context, const Shape& target);
    Step StatePairs(const MadeContext& context);

    // --- what the reference rasteriser knows ---
    bool KnownTriangles();
    bool KnownTextured();
    // A context with a target to see something on; null: none.
    MadeContext* KnownContext();
    // The name of a texture's handle that the context has from then on; its contents may be new.
    // Empty: there is no room for one.
    std::string KnownTexture(MadeContext& context);
    void WriteTexture(MadeSurface& surface);
    void DrawKnown(MadeContext& context, const KnownState& known, Mapping mapping);

    // --- the video port, of the first display ---
    bool Video();
    bool MakePort();
    bool StartPort();
    void StopPort();
    void EndPort();
    void PlugSource();
    void RunVideo();
    void AskPort();
    void CallPort(const char* name, Step fields);
    std::string DescribePort(uint32_t width, uint32_t height, uint32_t connection,
                             uint32_t portWidth, uint32_t flags);

    // --- other clients of the chip ---
    bool ClientMemory();
    void FreeBlock(size_t display, const std::string& block);
    bool ClientLock();
    bool ClientContext();
    bool ClientBatch();
    bool ClientCopy();
    bool ClientLooks();

    // --- against the rules ---
    bool Break();

    // Ends all that lives, so that nothing may be left behind.
    void End();

    void Add(Step step) { steps_.push_back(std::move(step)); }
    std::string Name(const char* stem) { return stem + std::to_string(++names_); }
    MadeSurface* Find(const std::string& name);
    template <class Wanted>
    MadeSurface* Any(Wanted wanted) {
        std::vector<MadeSurface*> found;
        for (MadeSurface& one : surfaces_) {
            if (wanted(one)) {
                found.push_back(&one);
            }
        }
        return found.empty() ? nullptr : dice_.Of(found);
    }
    MadeContext* AnyContext() { return contexts_.empty() ? nullptr : &dice_.Of(contexts_); }
    bool Used(const std::string& surface) const;
    uint32_t BitsOf(const MadeSurface& surface) const;
    uint32_t PixelOf(const MadeSurface& surface);

    Dice dice_;
    const bool illegal_;
    Steps steps_;
    uint32_t names_ = 0;
    std::vector<MadeDisplay> displays_;
    std::vector<MadeSurface> surfaces_;
    std::vector<MadeContext> contexts_;
    std::vector<std::string> goneContexts_, goneTextures_;
    MadePort port_;
    // Of the exports' clients, by the steps' names.
    std::vector<std::pair<size_t, std::string>> blocks_; // display, saved address
};

} // namespace korv::random
