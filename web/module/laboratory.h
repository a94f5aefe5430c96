#pragma once
// A scene or a model on a board of one chip: the picture, what the driver was asked for it, and
// what went to the chip.
#include "board/recorder.h"
#include "host/observe/observer.h"
#include "stream/explain.h"
#include "tools/korv/model/mesh.h"
#include "tools/korv/painting/canvas.h"
#include "web/module/viewer.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace web {

using Json = nlohmann::ordered_json;

struct Bench {
    const korv::ChipChoice* chip = nullptr;
    korv::Settings settings;
    std::string scene; // empty: the model
};

class Laboratory final : public host::Observer, public board::BusRecorder {
  public:
    // Takes the model of that name among the files (web/module/files.h). What there is to warn of.
    // UserError for what is no model.
    std::vector<std::string> TakeModel(const std::string& name);
    const korv::Mesh& Model() const { return model_; }

    // Switches a board on and draws one frame. UserError for what it cannot draw.
    void Draw(const Bench& bench, const View& view);

    // Of the frame drawn last.
    const host::Picture& Picture() const { return picture_; }
    const std::string& Faults() const { return faults_; }
    // Words of the stream since power came on, and where those of the frame begin.
    std::span<const uint32_t> Words() const { return words_; }
    size_t FrameStart() const { return frameStart_; }
    size_t FrameCalls() const { return calls_.size() - firstCall_; }
    // Calls of the driver, in order: "name", "fields", "word" and "end" (the words that reached the
    // chip meanwhile), and "frame", false for those of setting up.
    Json Calls() const;
    // Words from `first` on, at most `most`: "word", "raw", "text" and "data", false for tag words.
    Json Explain(size_t first, size_t most) const;
    // The first word from `first` on whose text contains `text`, letters of either size; none if
    // there is none.
    std::optional<size_t> Find(const std::string& text, size_t first) const;

    bool WatchesMemories() const override { return false; }
    void OnBoard(host::Display&, host::WatchedMemory&, host::WatchedMemory*) override {}
    void OnBoardGone(host::Display&) override {}
    void OnAgpMemory(host::Display&, uint32_t, host::WatchedMemory&) override {}
    void OnMode(host::Display&) override {}
    void OnSurface(host::Display&, const host::Surface& surface) override;
    void OnSurfaceGone(host::Display&, const host::Surface&) override {}
    void OnSurfaceName(host::Display&, const host::Surface&, const std::string&) override {}
    void OnContext(host::Display&, uint32_t, const host::Surface&, const host::Surface*) override {}
    void OnContextGone(host::Display&, uint32_t) override {}
    void OnCall(const char* name, const host::CallFields& fields) override;
    void OnCallEnd() override;
    void OnFlip(host::Display&, const host::Surface&, const host::Surface&) override {}
    void OnFrame(host::Display&) override {}
    void OnPicture(host::Display&, const host::Surface&, const std::string&) override {}
    void OnStep(uint32_t, const std::string&) override {}

    void OnRead(uint32_t, uint32_t) override {}
    void OnWrite(uint32_t, uint32_t) override {}
    void OnFifoWord(uint32_t word) override { words_.push_back(word); }
    void OnDmaWord(uint32_t word) override { words_.push_back(word); }

  private:
    struct Call {
        std::string name;
        Json fields;
        size_t word, end;
    };
    void DrawModel(korv::Painter& painter) const;
    std::string SurfaceName(const DDRAWI_DDRAWSURFACE_LCL* surface) const;

    korv::Mesh model_;
    std::vector<std::optional<korv::TextureRequest>> images_; // of the model
    host::Picture picture_;
    std::string faults_;
    std::optional<ChipModel> chip_;
    std::vector<uint32_t> words_;
    std::vector<Call> calls_;
    std::vector<const DDRAWI_DDRAWSURFACE_LCL*> surfaces_; // in the order in which they were made
    size_t frameStart_ = 0, firstCall_ = 0;
    int depth_ = 0; // of calls
};

} // namespace web
