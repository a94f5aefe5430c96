#pragma once
// A client of the exported services, as another driver of the board is one: it knows the driver by
// its exports alone, and shares the chip with the display and with Direct3D under a hardware
// context of its own.
//
// It sends words of the chip's stream by DMA, in the buffer that the driver gave it, or where there
// is none through the FIFO window, and touches video memory by hand under the driver's lock.
#include "host/client/exports.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace host {

struct ClientOptions {
    bool fifo = false;                 // ask for no DMA buffer
    DCISURFACEINFO* surface = nullptr; // locks go by DCI on this surface, where the board has DCI
};

// What KORV_GetDriverLock answers.
enum class LockAnswer : int32_t { Taken = 0, MemoryLost = 6, Refused = -1 };

class ServiceClient {
  public:
    // Connects to a display; null stands for the primary. Throws std::runtime_error, naming the
    // call, when the driver does not take the client.
    explicit ServiceClient(DriverData* display, const ClientOptions& options = {});
    // Waits for its words, then gives context and buffer back.
    ~ServiceClient();
    ServiceClient(const ServiceClient&) = delete;
    ServiceClient& operator=(const ServiceClient&) = delete;

    const ServiceInfo& Info() const { return info_; }
    uint32_t Context() const { return context_; } // the hardware context's id
    bool ByDma() const { return bufferIndex_.has_value(); }
    uint32_t SubBuffers() const { return subBuffers_; } // 1 without DMA
    bool IsPermedia() const;

    // --- Stream words ---

    // Room for `words` more in one piece, at which the caller writes them. Sends what is there when
    // the sub-buffer is full, and waits for the chip to have read one before it is filled again.
    // std::length_error for more than one sub-buffer holds.
    uint32_t* Reserve(uint32_t words);
    // Takes over words that were written there.
    void Commit(uint32_t words);
    // Hands the chip what was committed, under the driver's lock. The words are dropped if the lock
    // is not given; the answer tells of all words since the last Send.
    LockAnswer Send();
    // Sends, and blocks until the chip has executed everything of this client.
    LockAnswer Finish();

    // --- Video memory ---

    // Takes `bytes` of video memory that a mode change may take away. Its place in bytes from the
    // start of the frame buffer, or none. `wholeLines`: from the start of a line of the screen.
    std::optional<uint32_t> Allocate(uint32_t bytes, bool wholeLines = false);
    void Free(uint32_t offset);
    // Copies to `rect` of the image at `destOffset` from the same place of the one at
    // `sourceOffset`; both have the screen's pitch, offsets count pixels of the screen.
    void Copy(const RECTL& rect, uint32_t destOffset, uint32_t sourceOffset);
    uint8_t* FrameBuffer() const { return info_.FrameBuffer; }

    // --- The lock ---

    // Asks for the lock; `rect` (null: all) is what a lock by DCI covers.
    LockAnswer Lock(const RECT* rect = nullptr);
    void Unlock();

  private:
    void TakeBuffer();
    LockAnswer SendWords();
    void StartDma(uint32_t words);
    void WriteFifo(uint32_t words);

    Exports exports_;
    DriverData* display_;
    DCISURFACEINFO* surface_;
    ServiceInfo info_{};
    std::optional<int32_t> bufferIndex_;
    ServiceDMABuffer buffer_{};
    std::vector<uint32_t> own_; // where words wait without DMA
    uint32_t context_ = 0;
    uint32_t subBuffers_ = 1;
    uint32_t subBufferWords_ = 0;
    uint32_t subBuffer_ = 0;                 // the one being filled
    uint32_t filled_ = 0;                    // words in it
    uint32_t underWay_ = 0;                  // sub-buffers that the chip may still be reading
    LockAnswer dropped_ = LockAnswer::Taken; // why words were dropped since the last Send()
    bool locked_ = false;                    // by Lock()
};

} // namespace host
