#pragma once
// One triangle on its way, from an application's vertices to pixels: what each stage is given, and
// what it makes of it.
#include "board/recorder.h"
#include "board/values/probe.h"
#include "host/observe/observer.h"
#include "host/picture.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace web {

using Json = nlohmann::ordered_json;

class Tour final : public host::Observer, public board::BusRecorder, public board::PixelProbe {
  public:
    // Draws on a small target by FIFO, so that words come while the call runs that makes them.
    // `request`: {"chip", "vertices": three of {"x", "y" (pixels), "z" (0 to 1), "colour"
    // ("#RRGGBB"), "alpha", "fog" (0 to 1; 1: none), "u", "v"}, "states": {"texture", "fog",
    // "blend", "depth", "smooth": true or false}, "pixel": [x, y]}.
    //
    // Gives {"setupUnit", "vertices": three of {"words": eight, as they lie in the record},
    // "states": [{"name", "value", "text"}] as they were set, "words": those of the triangle,
    // [{"word", "raw", "text", "data", "register", "unit", "before", "after" (registers as of `korv
    // state --json`), "command" (it draws)}], "rows": [{"y", "left", "right", "word" (that drew
    // it)}], "setup": what the setup unit made, else null: {"firstRow", "upperRows", "lowerRows",
    // "dominant", "upper", "lower": [x, step], "values": [{"name", "start", "dx", "dyDom"}]},
    // "pixels": [[x, y, passed, raw before, raw after]], "pixel": the one asked for, as `korv why
    // --json` tells it, null if nothing drew there}.
    Json Draw(const Json& request, host::Picture& picture);

    static constexpr int kWidth = 64, kHeight = 48;

    bool WatchesMemories() const override { return false; }
    void OnBoard(host::Display&, host::WatchedMemory&, host::WatchedMemory*) override {}
    void OnBoardGone(host::Display&) override {}
    void OnAgpMemory(host::Display&, uint32_t, host::WatchedMemory&) override {}
    void OnMode(host::Display&) override {}
    void OnSurface(host::Display& display, const host::Surface&) override;
    void OnSurfaceGone(host::Display&, const host::Surface&) override {}
    void OnSurfaceName(host::Display&, const host::Surface&, const std::string&) override {}
    void OnContext(host::Display&, uint32_t, const host::Surface&, const host::Surface*) override {}
    void OnContextGone(host::Display&, uint32_t) override {}
    void OnCall(const char*, const host::CallFields&) override {}
    void OnCallEnd() override {}
    void OnFlip(host::Display&, const host::Surface&, const host::Surface&) override {}
    void OnFrame(host::Display&) override {}
    void OnPicture(host::Display&, const host::Surface&, const std::string&) override {}
    void OnStep(uint32_t, const std::string&) override {}

    void OnRead(uint32_t, uint32_t) override {}
    void OnWrite(uint32_t, uint32_t) override {}
    void OnFifoWord(uint32_t word) override { words_.push_back(word); }
    void OnDmaWord(uint32_t word) override { words_.push_back(word); }

    bool Wants(const board::PixelRow& row) override;
    void OnSetup(const board::SetupReport& setup) override;
    void OnPixel(const board::PixelReport& pixel) override;

  private:
    struct Row {
        int64_t y, left, right;
        size_t word;
    };
    bool Watching() const { return first_ && words_.size() > *first_; }
    Json WordsToJson(std::optional<ChipModel> chip) const;

    std::vector<uint32_t> words_;
    std::optional<size_t> first_; // of the triangle's
    std::vector<Row> rows_;
    std::optional<board::SetupReport> setup_;
    std::vector<board::PixelReport> pixels_;
};

} // namespace web
