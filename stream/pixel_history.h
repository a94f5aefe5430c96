#pragma once
// The life of a pixel: everything that touched it, what stopped it or let it pass, and what it was
// before and after.
#include "stream/entry_places.h"
#include "stream/player.h"
#include "stream/surfaces.h"

#include <set>
#include <string>
#include <vector>

namespace stream {

// Where the bits of a pixel lie.
struct PixelPlace {
    Memory memory = Memory::FrameBuffer;
    uint32_t byte = 0;  // of the first; in Memory::Host a bus address
    uint32_t bytes = 0; // 1 to 4
    uint32_t shift = 0, bits = 0;

    bool operator==(const PixelPlace&) const = default;
};
// Of pixel (x, y) of a surface, inside it.
PixelPlace PlaceOf(const SurfaceLayout& surface, uint32_t x, uint32_t y);

// Something that touched the pixel.
struct PixelMoment {
    enum class What : uint8_t {
        Drawn,  // a pixel of a primitive or the like, as far as it came
        Cut,    // one that scissor or memory left out beforehand
        Stored, // the processor stored there
        Moved,  // the surface has come to lie there, `place`; or nowhere
    };
    What what = What::Drawn;
    Position at; // before the event in which it happened
    // The value of the pixel. None: it lies nowhere.
    std::optional<uint32_t> before, after;
    // Of Drawn and Cut, but not of video.
    EntryPlace by;
    board::PrimitiveKind primitive{};
    bool inPrimitive = false; // else a word of texture data, or video
    board::PixelReport pixel; // of Cut way, place and tests alone
    // Of Stored: the call under way.
    std::optional<uint64_t> call;
    // Of Moved.
    std::optional<PixelPlace> place;
    MarkKind cause{};

    // Where the one stands whose doing it is. Its call may have returned long before.
    Position From() const;
    // Whether a word of the stream stands there.
    bool AtWord() const { return HasCommand() && by.word; }

  private:
    bool HasCommand() const { return (what == What::Drawn || what == What::Cut) && by.known; }
};

class PixelHistory final : public board::PixelProbe {
  public:
    // Pixel (x, y) of the surface of this name, from when it is there until it goes; without a name
    // of what the monitor shows. The player stands at the start and must outlive this.
    PixelHistory(Player& player, std::string surface, uint32_t x, uint32_t y);
    ~PixelHistory() override;

    // The screen of raw words, which have no marks.
    void SetScreen(const SurfaceLayout& screen) { rawScreen_ = screen; }
    // Plays up to `to`, and keeps what happens from `from` on. False if the stream ends before one
    // of them.
    bool Run(const Place& from, const Place& to);

    const std::vector<PixelMoment>& Moments() const { return moments_; }
    const EntryPlaces& Entries() const { return entries_; }
    // The surface, as it was last; none: there was none. Whether it ever had such a pixel, and one
    // that lay in a memory.
    uint32_t X() const { return x_; }
    uint32_t Y() const { return y_; }
    const std::optional<SurfaceLayout>& Surface() const { return surface_; }
    bool Inside() const { return inside_; }
    bool Placed() const { return placed_; }
    // The pixel's value; none while it lies nowhere.
    std::optional<uint32_t> Value() const;
    // Names of calls and steps, by number.
    const std::string& CallName(uint64_t call) const { return NameIn(callNames_, call); }
    const std::string& StepName(uint64_t step) const { return NameIn(stepNames_, step); }

    bool Wants(const board::PixelRow& row) override;
    void OnEnter(board::RegisterWrite write) override { entries_.OnEnter(write); }
    void OnExecute(board::RegisterWrite write) override { entries_.OnExecute(write); }
    void OnPrimitive(board::PrimitiveKind kind) override { primitive_ = kind; }
    void OnPixel(const board::PixelReport& pixel) override;
    void OnCut(const board::CutPixels& run) override;

  private:
    static const std::string& NameIn(const std::vector<const std::string*>& names, uint64_t number);
    const std::string* Kept(const std::string& name) { return &*names_.insert(name).first; }
    void FollowMark(const Mark& mark);
    // Finds the pixel anew: at the start, behind marks, and when the monitor may show another
    // image.
    void Locate(MarkKind cause);
    // The place's bytes; null if it lies outside the memory.
    const uint8_t* Bytes(const PixelPlace& place) const;
    bool Overlaps(Memory memory, int64_t byte, size_t count) const;
    bool Touches(const board::PixelElement& element) const;
    // The pixel's own bytes of what is written from a byte of its memory on.
    void Write(int64_t byte, std::span<const uint8_t> bytes);
    void Write(const board::PixelElement& element);
    // A pixel of the run would lie there; its x.
    std::optional<int64_t> Found(const board::CutPixels& run, const board::Plane* plane,
                                 bool local) const;
    PixelMoment Begin(PixelMoment::What what) const;
    void Keep(PixelMoment moment);

    Player& player_;
    const std::string name_;
    const uint32_t x_, y_;
    std::optional<SurfaceLayout> rawScreen_;
    Surfaces surfaces_;
    std::optional<SurfaceLayout> surface_;
    std::optional<PixelPlace> place_;
    uint32_t held_ = 0; // the bytes at the place
    EntryPlaces entries_;
    board::PrimitiveKind primitive_{};
    bool inside_ = false, placed_ = false, keeping_ = false;
    Position at_;
    std::set<std::string> names_;
    std::vector<const std::string*> callNames_, stepNames_;
    std::vector<PixelMoment> moments_;
};

} // namespace stream
