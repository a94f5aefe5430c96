#pragma once
// A started display with a Direct3D context of the linked driver or of the DLL, whose words go
// nowhere: only the driver's side is of interest.
#include "driver/core/records/d3d_context.h"
#include "host/d3d/direct3d.h"
#include "host/ddraw/ddraw.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace bench {

struct Chip {
    const char* name;
    uint32_t deviceId;
    bool delta = false; // a setup chip sits in front of the rasteriser
};

class Stage {
  public:
    // `dll`: the file of a KORV32.dll, or empty for the linked driver.
    Stage(const Chip& chip, const std::string& dll);

    D3DContext& Context() { return *ctx_; }
    board::Board& Board() { return display_->Board(); }
    const D3DHAL_CALLBACKS& Callbacks() { return *display_->Driver()->D3DCallbacks; }
    // A surface in system memory with these bytes.
    host::Surface& Buffer(const void* bytes, size_t count);
    // From now on words of the context are dropped, but for those that are kept.
    void DropWords();
    // The words that `work` makes.
    std::vector<uint32_t> WordsOf(const std::function<void()>& work);

    static const char* SideOf(const std::string& dll) { return dll.empty() ? "hosted" : "dll"; }

  private:
    std::unique_ptr<host::Display> display_;

  public:
    std::unique_ptr<host::DirectDraw> directDraw;
    std::unique_ptr<host::Device3D> device;

  private:
    D3DContext* ctx_ = nullptr;
};

} // namespace bench
