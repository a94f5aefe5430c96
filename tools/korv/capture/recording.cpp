#include "tools/korv/capture/recording.h"

#include "chip/devices.h"
#include "tools/korv/capture/trace_client.h"

#include <set>

namespace korv {

namespace {

std::filesystem::path Suffixed(const std::filesystem::path& path, const std::string& suffix) {
    if (path.empty() || TargetOf(path).IsSpecial()) {
        return path;
    }
    return path.parent_path() / (path.stem().string() + "-" + suffix + path.extension().string());
}

std::set<Recording*>& TheRecordings() {
    static std::set<Recording*> recordings;
    return recordings;
}

} // namespace

RecordPaths RecordPaths::With(const std::string& suffix) const {
    return {Suffixed(words, suffix), Suffixed(events, suffix), Suffixed(capture, suffix)};
}

bool RecordPaths::SharesWith(const RecordPaths& other) const {
    const auto same = [](const std::filesystem::path& a, const std::filesystem::path& b) {
        return !a.empty() && a == b;
    };
    return same(words, other.words) || same(events, other.events) || same(capture, other.capture);
}

Recording::Recording(const RecordPaths& paths) : trace_(trace::NewTap()) {
    if (!paths.words.empty()) {
        words_.emplace(paths.words);
    }
    if (!paths.events.empty()) {
        events_.emplace(paths.events);
    }
    if (!paths.capture.empty()) {
        capture_.emplace(paths.capture);
    }
    // Only a whole one can be committed: an output that cannot be opened throws above.
    TheRecordings().insert(this);
}

void Recording::SetDevice(uint32_t deviceId) {
    const DeviceRow* device = FindDevice(deviceId);
    if (events_ && device != nullptr) {
        events_->recorder.SetChip(device->model);
    }
}

void Recording::Close() {
    if (words_) {
        words_->file.Close();
    }
    if (events_) {
        events_->file.Close();
    }
    if (capture_) {
        capture_->Close();
    }
}

Recording::~Recording() {
    TheRecordings().erase(this);
}

void Recording::CommitAll() {
    for (Recording* one : TheRecordings()) {
        one->Commit();
    }
}

void Recording::Commit() {
    Close();
    if (words_) {
        words_->file.Commit();
    }
    if (events_) {
        events_->file.Commit();
    }
    if (capture_) {
        capture_->Commit();
    }
}

void Recording::OnRead(uint32_t offset, uint32_t value) {
    if (events_) {
        events_->recorder.OnRead(offset, value);
    }
}

void Recording::OnWrite(uint32_t offset, uint32_t value) {
    if (events_) {
        events_->recorder.OnWrite(offset, value);
    }
    if (trace_) {
        trace_->OnWrite(offset, value);
    }
}

void Recording::OnFifoWord(uint32_t word) {
    if (words_) {
        words_->recorder.OnFifoWord(word);
    }
    if (events_) {
        events_->recorder.OnFifoWord(word);
    }
    if (trace_) {
        trace_->OnFifoWord(word);
    }
}

void Recording::OnDmaWord(uint32_t word) {
    if (words_) {
        words_->recorder.OnDmaWord(word);
    }
    if (events_) {
        events_->recorder.OnDmaWord(word);
    }
    if (trace_) {
        trace_->OnDmaWord(word);
    }
}

} // namespace korv
