#include "tools/korv/capture/trace_client.h"

#include "driver/core/registers.h"
#include "host/driver_module.h"
#include "host/trace/context_trace.h"
#include "host/win32/sync.h"

#include <iostream>
#include <stdexcept>

namespace korv::trace {

namespace {

Client* current;

std::shared_ptr<void> Mapped(const char* name) {
    auto memory = host::NamedMapping(name);
    if (memory == nullptr) {
        throw std::runtime_error("no trace tool has made '" + std::string(name) + "'");
    }
    return memory;
}

} // namespace

class Client::Tap : public board::BusRecorder {
  public:
    Tap(Client& client, uint8_t stream)
        : client_(client), origin_(static_cast<uint8_t>(stream << WordLog::kStreamShift)) {}

    void OnWrite(uint32_t offset, uint32_t value) override {
        if (offset == reg::DMAAddress) {
            client_.address_ = value;
        }
        if (offset == reg::DMACount) {
            // What an outgoing context sends past the trace comes before the batch.
            client_.transferStart_ = client_.log_->written;
            client_.transferred_ = true;
        }
    }
    void OnFifoWord(uint32_t word) override { Put(word, origin_); }
    void OnDmaWord(uint32_t word) override { Put(word, origin_ | WordLog::kByDma); }

  private:
    void Put(uint32_t word, uint8_t origin) {
        if (client_.Listening()) {
            client_.log_->Put(word, origin);
        }
    }

    Client& client_;
    const uint8_t origin_;
};

Client::Client()
    : recordMemory_(Mapped(kRecord)), logMemory_(Mapped(kWords)),
      record_(static_cast<DMATraceRecord*>(recordMemory_.get())),
      log_(static_cast<WordLog*>(logMemory_.get())) {
    current = this;
    host::SetAfterDriverCall([this] { FollowContexts(); });
}

Client::~Client() {
    host::SetAfterDriverCall({});
    host::SetSemaphoreHooks({});
    current = nullptr;
}

// Numbers come again after 128 boards, when the first ones are long gone.
std::unique_ptr<board::BusRecorder> Client::NewTap() {
    return std::make_unique<Tap>(*this, streams_++);
}

void Client::FollowContexts() {
    if (Listening() && host::TraceContexts() && !host::TraceIsOpen()) {
        Join();
    }
}

void Client::Join() {
    host::SetSemaphoreHooks({
        .idle =
            [this](const std::string& name) {
                if (name != kLeave) {
                    return;
                }
                underWay_ = true;
                transferred_ = false;
                host::SignalSemaphore(kAsk);
            },
        .release =
            [this](const std::string& name) {
                // The end of a context releases the same semaphore.
                if (name == kReport && underWay_) {
                    NoteReport();
                }
            },
        .makerLost =
            [this](const std::string&) {
                record_->Active = 0;
                std::cerr << "korv: the trace tool has gone, running on without it\n";
            },
    });
    host::OpenTrace();
}

void Client::NoteReport() {
    underWay_ = false;
    log_->batchStart = transferred_ ? transferStart_ : log_->written.load();
    log_->batchEnd = log_->written;
    log_->context = transferred_ ? host::TracedContextAt(address_) : 0;
    ++log_->reports;
}

std::unique_ptr<board::BusRecorder> NewTap() {
    return current != nullptr ? current->NewTap() : nullptr;
}

} // namespace korv::trace
