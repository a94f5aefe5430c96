#pragma once
// A capture of one display: what its board did, and marks of what the host did meanwhile.
#include "host/inspect/contexts.h"
#include "host/observe/observer.h"
#include "stream/capture_recorder.h"
#include "tools/korv/base/files.h"

#include <map>
#include <memory>
#include <set>
#include <string>

namespace korv {

// Takes the next display that is switched on. The file appears at Commit().
class Capture final : public host::Observer {
  public:
    // Opens the file. UserError if it cannot be written.
    explicit Capture(const std::filesystem::path& path);
    ~Capture() override;

    // The capture ends here; all is written, but not in place yet. UserError if it cannot be.
    void Close();
    void Commit();

    void OnBoard(host::Display& display, host::WatchedMemory& frameBuffer,
                 host::WatchedMemory* localBuffer) override;
    void OnBoardGone(host::Display& display) override;
    void OnAgpMemory(host::Display& display, uint32_t busAddress,
                     host::WatchedMemory& memory) override;
    void OnMode(host::Display& display) override;
    void OnSurface(host::Display& display, const host::Surface& surface) override;
    void OnSurfaceGone(host::Display& display, const host::Surface& surface) override;
    void OnSurfaceName(host::Display& display, const host::Surface& surface,
                       const std::string& name) override;
    void OnContext(host::Display& display, uint32_t handle, const host::Surface& target,
                   const host::Surface* zBuffer) override;
    void OnContextGone(host::Display& display, uint32_t handle) override;
    void OnCall(const char* name, const host::CallFields& fields) override;
    void OnCallEnd() override;
    void OnFlip(host::Display& display, const host::Surface& current,
                const host::Surface& target) override;
    void OnFrame(host::Display& display) override;
    void OnPicture(host::Display& display, const host::Surface& surface,
                   const std::string& name) override;
    void OnStep(uint32_t number, const std::string& kind) override;

  private:
    struct Agp {
        uint32_t busAddress;
        host::WatchedMemory* memory;
    };
    struct Known {
        int64_t id;
        std::string name;
    };

    bool Follows(const host::Display& display) const {
        return recorder_ != nullptr && display_ == &display;
    }
    void FindStores();
    void FindQueued();
    const Known* Find(const host::Surface& surface) const;
    std::string NewName(const host::Surface& surface);
    // "memory" and "offset" of a surface in one of the board's memories or in AGP memory.
    void AddPlace(stream::Mark& mark, const host::Surface& surface) const;
    void End();

    OutputFile file_;
    std::unique_ptr<stream::CaptureRecorder> recorder_; // while there is a display to follow
    host::Display* display_ = nullptr;
    bool ended_ = false;
    host::WatchedMemory* frameBuffer_ = nullptr;
    host::WatchedMemory* localBuffer_ = nullptr;
    std::optional<Agp> agp_;
    std::map<const void*, Known> surfaces_; // by their local records
    std::set<std::string> names_;           // that have been given
    int64_t nextId_ = 1;
    int64_t frame_ = 0;
    std::map<uint32_t, host::WritePlace> writePlaces_; // when the call under way began
    host::QueueWatch queue_;
    bool inCall_ = false;
};

} // namespace korv
