#pragma once
// Recording of what reaches the board: the words of the stream, all events as text, a capture; and
// what `korv trace` wants to know.
#include "board/recorder.h"
#include "stream/events.h"
#include "tools/korv/base/files.h"
#include "tools/korv/capture/capture.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace korv {

// Files to record to; empty paths record nothing.
struct RecordPaths {
    std::filesystem::path words;  // stream words, little-endian
    std::filesystem::path events; // event text
    std::filesystem::path capture;

    // The same names with "-" and `suffix` put before the extension. A name of what is no regular
    // file, as standard output, stays.
    RecordPaths With(const std::string& suffix) const;
    // One of the names is the same in both.
    bool SharesWith(const RecordPaths& other) const;
};

class Recording : public board::BusRecorder {
  public:
    // Opens the files. UserError if one cannot be written.
    explicit Recording(const RecordPaths& paths);
    ~Recording() override;
    Recording(const Recording&) = delete;
    Recording& operator=(const Recording&) = delete;

    // The board that is recorded has the device of this number: event text is explained for its
    // chip.
    void SetDevice(uint32_t deviceId);
    bool Wanted() const { return words_ || events_ || trace_; }
    // Both for a board: who is told of it, or null.
    board::BusRecorder* ToldOf(uint32_t deviceId) {
        SetDevice(deviceId);
        return Wanted() ? this : nullptr;
    }
    // All is written, but not in place yet. UserError if it cannot be.
    void Close();
    // Puts the files in place; without it they go away.
    void Commit();
    // The same of all that there are, for a program that ends at once.
    static void CommitAll();

    void OnRead(uint32_t offset, uint32_t value) override;
    void OnWrite(uint32_t offset, uint32_t value) override;
    void OnFifoWord(uint32_t word) override;
    void OnDmaWord(uint32_t word) override;

  private:
    template <typename Recorder>
    struct Sink {
        explicit Sink(const std::filesystem::path& path) : file(path), recorder(file.Stream()) {}
        OutputFile file;
        Recorder recorder;
    };
    std::optional<Sink<stream::RawWords>> words_;
    std::optional<Sink<stream::EventText>> events_;
    std::optional<Capture> capture_;            // takes the next display that comes
    std::unique_ptr<board::BusRecorder> trace_; // of a tool that traces this program
};

} // namespace korv
