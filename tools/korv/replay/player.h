#pragma once
// What a script has made so far: displays, surfaces, contexts, textures, memory, by their names.
#include "board/recorder.h"
#include "board/video/video_source.h"
#include "host/d3d/direct3d.h"
#include "host/ddraw/ddraw.h"
#include "tools/korv/capture/recording.h"

#include <filesystem>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace korv {

// As records of the driver hold it.
inline uint32_t AddressOf(const void* object) {
    return reinterpret_cast<uintptr_t>(object);
}

// How a script is to be played.
struct PlayOptions {
    std::filesystem::path pictures; // folder for its pictures; empty: none are written
    RecordPaths record;
    size_t displays = 1;        // that the script has; more than one put their names into the
                                // names of recordings
    bool fifo = false;          // no DMA, whatever the script says
    int subBuffers = 0;         // of every DMA ring; 0 leaves it to the script
    host::BoardProgram program; // whose boards they are
};

// A step wants something that is no more, never came to be, or can't be had: `what()` names it.
struct NotThereError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct RegisterWrite {
    uint32_t offset, value;
};

// Passes bus events on to the recording and keeps those of the present step.
class StepTap : public board::BusRecorder {
  public:
    explicit StepTap(const RecordPaths& paths) : recording(paths) {}
    void OnRead(uint32_t offset, uint32_t value) override;
    void OnWrite(uint32_t offset, uint32_t value) override;
    void OnFifoWord(uint32_t word) override;
    void OnDmaWord(uint32_t word) override;

    Recording recording;
    std::vector<uint32_t> words; // of the stream
    std::vector<RegisterWrite> writes;
};

struct PlayedDisplay {
    std::string name;
    std::unique_ptr<StepTap> tap;
    std::unique_ptr<board::VideoSource> videoSource; // plugged in last
    std::unique_ptr<host::Display> display;
    std::unique_ptr<host::DirectDraw> directDraw; // once started
};

struct PlayedContext {
    std::string display, target, zBuffer; // names; no Z buffer: empty
    uint32_t process = 1;
    std::unique_ptr<host::Device3D> device;
    bool live = true; // until it is destroyed
};

class Player {
  public:
    // Switches the machine off and on. One player at a time.
    explicit Player(PlayOptions options);
    ~Player();
    Player(const Player&) = delete;
    Player& operator=(const Player&) = delete;

    const PlayOptions& Options() const { return options_; }

    // Each throws NotThereError.
    PlayedDisplay& Display(const std::string& name);
    host::DirectDraw& DirectDraw(const std::string& display); // of a display that has started
    DriverData* Driver(const std::string& display);
    host::Surface& Surface(const std::string& name);
    // A surface whose bytes can be read and written.
    host::Surface& SurfaceWithMemory(const std::string& name);
    // The same, where that is so of every pixel: a script may have changed the record that says
    // where they are.
    host::Surface& SurfaceWithPixels(const std::string& name);
    // A surface that lives on this display.
    host::Surface& SurfaceOn(const std::string& display, const std::string& name);
    // The display that a surface lives on.
    PlayedDisplay& DisplayOf(const std::string& surface);
    host::Device3D& Device(const std::string& context);
    // The driver's record of a context, or null once it is gone.
    const D3DContext* ContextRecord(const std::string& context);
    uint32_t Texture(const std::string& name);
    std::vector<uint32_t>& Memory(const std::string& name);
    uint32_t Value(const std::string& name);

    // Powers a board on with the options applied. std::invalid_argument if no board is like that.
    void AddDisplay(const std::string& name, host::DisplayConfig config);
    // Names a surface, and those behind it as "name.1", "name.2" and so on.
    // NotThereError if the name is in use.
    void AddSurface(const std::string& name, const std::string& display, host::Surface& surface);
    // NotThereError if a context still draws to it.
    void DestroySurface(const std::string& name);
    // NotThereError if there is a live context of that name.
    void AddContext(const std::string& name, PlayedContext context);
    // The surface whose record or interface lies there, or null.
    const host::Surface* SurfaceAt(uint32_t address);
    // Whether the local DirectDraw object of a started display lies there.
    bool IsLocalObject(uint32_t address) const;
    // The driver's record of the display whose surface has its record or interface there, or null.
    DriverData* DriverOfSurfaceAt(uint32_t address);
    // The display that an export reaches by `driver`, or by null: it has started. Null for none.
    DriverData* StartedDriver(DriverData* driver);
    // Whether so many bytes from an address on belong to something that a script can name, or to a
    // record or list of a step.
    bool Holds(uint32_t address, size_t bytes);
    std::map<std::string, PlayedContext> contexts;
    std::map<std::string, uint32_t> textures;
    std::map<std::string, std::vector<uint32_t>> memory;
    std::map<std::string, uint32_t> values;

    // `bytes` of zeroes that live as long as the player.
    void* Scratch(size_t bytes);

    // Of a surface's pixels, `bits` each, those of `rect` lie in memory as its record places them.
    bool HoldsPixels(const host::Surface& surface, const RECT& rect, uint32_t bits);

    // "surface 'back' + 16" or the like; addresses change from run to run.
    std::string DescribeAddress(uint32_t address);
    // "surface 'back'" for the address of a surface's record, and the like.
    std::string DescribeObject(uint32_t address);

    std::map<std::string, PlayedDisplay>& Displays() { return displays_; }
    void CommitRecordings();

  private:
    struct NamedMemory {
        std::string name; // as people are told
        const void* start;
        size_t bytes;
    };
    // All that a script's addresses can lie in.
    std::vector<NamedMemory> Memories();
    // And before that surfaces in memories of a board, where their records place them.
    std::vector<NamedMemory> NamedMemories();
    struct NamedSurface {
        std::string display;
        host::Surface* surface;
    };

    PlayOptions options_;
    std::map<std::string, PlayedDisplay> displays_;
    std::map<std::string, NamedSurface> surfaces_;
    std::vector<std::vector<uint8_t>> scratch_;
};

} // namespace korv
