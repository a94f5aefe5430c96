#include "host/display/display.h"

#include "board/threaded_board.h"
#include "driver/heap/surface.h"
#include "host/display/config_check.h"
#include "host/display/context_table.h"
#include "host/display/known_device.h"
#include "host/driver_module.h"
#include "host/observe/observer.h"
#include "host/observe/watched_memory.h"
#include "host/patience.h"
#include "host/remote/program_board.h"
#include "host/vdd/minivdd.h"
#include "host/win32/clock.h"
#include "host/win32/registry.h"

#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <type_traits>

namespace host {

namespace {

constexpr uint32_t kDmaBusBase = 0x40000000, kDmaBusStep = 0x01000000;
constexpr uint32_t kHeapAlignment = 256;

// FBModeSel's depth by PixelSize, on boards of the Glint family.
constexpr uint32_t kDepthOfMode[] = {2, 1, 0};

static_assert(static_cast<int>(board::Chip::SX) == static_cast<int>(ChipModel::SX) &&
              static_cast<int>(board::Chip::Permedia2) == static_cast<int>(ChipModel::Permedia2));

board::Config BoardConfig(const DisplayConfig& config) {
    board::Config result;
    const DeviceRow& device = KnownDevice(config.deviceId);
    result.chip = static_cast<board::Chip>(device.model);
    result.setupUnit = config.delta || device.setupUnit;
    result.frameBufferBytes = config.frameBufferBytes;
    result.localBufferBytes = device.HasLocalBuffer() ? config.localBufferBytes : 0;
    result.refreshRate = config.refreshRate;
    result.timing = config.timing;
    return result;
}

std::string KeyPath(const DisplayConfig& config) {
    return "SOFTWARE\\" + config.registryName + "\\DirectX";
}

// A DLL waits in plain loops over shared memory, in which this board's clock does not move. So the
// board must do by itself, or within the access that asks for it, what the DLL may wait for.
void CheckTimingForDll(const DisplayConfig& config) {
    const board::Timing& timing = config.timing;
    const bool atOnce =
        timing.dmaWordsPerTick == 0 && timing.PipelineAtOnce() && timing.interruptLatency == 0;
    if (!config.dmaThread && !atOnce) {
        throw std::invalid_argument("a driver DLL needs a board with a DMA thread, or one that "
                                    "drains its FIFO, moves DMA and interrupts at once");
    }
}

// `Kind` is what the board is: its accesses are then no virtual calls, unless it is a base of what
// the board is. What waits there is watched.
template <class Kind>
class WatchedBus final : public patience::Bus {
  public:
    WatchedBus(Kind& board, const ChipInfo* chip) : Bus(chip), board_(board) {}
    ~WatchedBus() { patience::Forget(this); }

    uint32_t Tick() const override { return board_.Configuration().timing.microsecondsPerTick; }
    bool AtRest(uint64_t ticksWaited) const override {
        return ticksWaited > board_.Configuration().timing.fifoReportLag && board_.AtRest();
    }

    static ChipBus Of(WatchedBus* self) {
        ChipBus bus;
        bus.self = self;
        bus.Read = [](void* self, uint32_t offset) { return To(self).Read(offset); };
        bus.Write = [](void* self, uint32_t offset, uint32_t value) {
            To(self).Write(offset, value);
        };
        bus.Words = [](void* self, const uint32_t* words, uint32_t count) {
            To(self).Words(words, count);
        };
        bus.Idle = [](void* self, uint32_t rounds) { To(self).Idle(rounds); };
        return bus;
    }

  private:
    static constexpr bool kIs = !std::is_abstract_v<Kind>;

    static WatchedBus& To(void* self) { return *static_cast<WatchedBus*>(self); }

    uint32_t Read(uint32_t offset) {
        const patience::Access access(this);
        const uint32_t value = kIs ? board_.Kind::Read(offset) : board_.Read(offset);
        patience::OnRead(offset, value);
        return value;
    }
    void Write(uint32_t offset, uint32_t value) {
        const patience::Access access(this);
        patience::GotOn();
        kIs ? board_.Kind::Write(offset, value) : board_.Write(offset, value);
    }
    void Words(const uint32_t* words, uint32_t count) {
        const patience::Access access(this);
        patience::GotOn();
        kIs ? board_.Kind::WriteFifo(words, count) : board_.WriteFifo(words, count);
    }
    void Idle(uint32_t rounds) {
        const patience::Access access(this);
        kIs ? board_.Kind::Idle(rounds) : board_.Idle(rounds);
        patience::OnIdle(rounds);
    }

    Kind& board_;
};

template <class Kind>
ChipBus BusOf(board::Board& board, const ChipInfo* chip, std::shared_ptr<void>& keep) {
    auto bus = std::make_shared<WatchedBus<Kind>>(static_cast<Kind&>(board), chip);
    keep = bus;
    return WatchedBus<Kind>::Of(bus.get());
}

std::vector<const Display*> displays; // of this machine

} // namespace

uint32_t ScreenPitchPixels(uint32_t deviceId, uint32_t width) {
    const DeviceRow& device = KnownDevice(deviceId);
    const uint32_t top = device.pitchTop, slots = device.pitchSlots;
    uint32_t products[4] = {};
    uint32_t used = width >> top;
    if (used > slots) {
        return 0;
    }
    for (uint32_t i = 0; i < used; ++i) {
        products[i] = 1u << top;
    }
    for (uint32_t bit = 5; bit < top; ++bit) {
        if ((width & (1u << bit)) != 0) {
            if (used < slots) {
                products[used] = 1u << bit;
            }
            ++used;
        }
    }
    // The screen's mode words have room for three.
    return products[0] + products[1] + products[2];
}

Display::Display(DisplayConfig config) : config_(std::move(config)) {
    CheckConfig(config_);
    for (const Display* other : displays) {
        CheckBeside(config_, other->config_);
    }
    if (!TheDriverModule().linked) {
        CheckTimingForDll(config_);
    }
    // Fields that nobody is said to fill hold nothing of use.
    driver_ = std::make_unique<Shared>();
    std::memset(static_cast<void*>(driver_.get()), 0, sizeof(Shared));
    board::LentMemories lent;
    if (MemoriesWatched()) {
        lent = WatchMemories();
    }
    ChipBus bus;
    if (config_.program.IsThere()) {
        if (config_.dmaThread) {
            throw std::invalid_argument("a board in another program has no DMA thread here");
        }
        auto board = StartBoard(BoardConfig(config_), config_.program);
        const auto noDma = config_.registry.find("Direct3DHAL.NoDMA");
        if (!board->DoesDma() && (noDma == config_.registry.end() || noDma->second != "1")) {
            throw std::runtime_error("board program '" + config_.program.command +
                                     "': it does no DMA, and the driver is not told to do without");
        }
        remote_ = board.get();
        board_ = std::move(board);
        bus = BusOf<ProgramBoard>(*board_, &driver_->chip, bus_);
    } else if (config_.dmaThread) {
        board_ = std::make_unique<board::ThreadedBoard>(BoardConfig(config_));
        bus = BusOf<board::ThreadedBoard>(*board_, &driver_->chip, bus_);
    } else {
        board_ = std::make_unique<board::Board>(BoardConfig(config_), lent);
        bus = BusOf<board::Board>(*board_, &driver_->chip, bus_);
    }
    if (watchedFrame_) {
        Tell(&Observer::OnBoard, *this, *watchedFrame_, watchedLocal_.get());
    }
    aperture_ = std::make_unique<AlignedAperture>();
    AttachChipBus(Aperture(), bus);
    watch_ = TheDriverModule().WatchAperture(Aperture(), bus);

    DriverData& data = driver_->data;
    data.RegisterBase = Aperture();
    data.FrameBufferBase =
        watchedFrame_ ? watchedFrame_->ProcessorView() : board_->FrameBuffer().data();
    data.LocalBufferBase = !IsGlint()      ? data.FrameBufferBase
                           : watchedLocal_ ? watchedLocal_->ProcessorView()
                                           : board_->LocalBuffer().data();
    data.ChipInfo = &driver_->chip;
    data.BoardFlags = config_.agp ? uint32_t{BoardOnAGP} : 0;

    for (uint32_t i = 0; i < config_.dmaBufferCount; ++i) {
        dmaBuffers_.push_back(NewBusMemory(config_.dmaBufferBytes));
        board_->MapMemory(DmaBusAddress(i), dmaBuffers_.back(), config_.dmaBufferBytes);
    }
    TheRegistry().CreateKey(KeyPath(config_));
    TheRegistry().SetText(KeyPath(config_), config_.registry);

    FillChipInfo();
    FillMode();
    TheDriverModule().heap.initialise(&data);

    clock::Follow(this, [this] { return board_->Microseconds(); });

    DmaQueueHandler& handler = TheMiniVdd().Attach(config_.number, &data);
    driver_->chip.ContextBlocks = TheMiniVdd().NewContextBlock(&driver_->chip);
    BuildContextTable(driver_->chip.ContextBlocks, config_.deviceId, config_.delta,
                      [this](uint16_t offset) { return board_->Read(offset); });
    // The 16-bit driver has drawn last.
    driver_->chip.CurrentContext = ContextScreen;
    board_->SetInterruptHandler([&handler] {
        const patience::Suspended suspended;
        handler.Interrupt();
    });
    if ((config_.chipFlags & VBlankByInterrupt) != 0) {
        board_->Write(reg::IntEnable,
                      board_->Read(reg::IntEnable) | field::IntEnable_Retrace.Mask());
    }
    displays.push_back(this);
}

Display::~Display() {
    std::erase(displays, this);
    Tell(&Observer::OnBoardGone, *this);
    clock::Unfollow(this);
    board_->SetInterruptHandler({});
    board_->Drain();
    DetachChipBus(Aperture());
    board_.reset();
    TheMiniVdd().Detach(&driver_->data);
}

uint8_t* Display::NewBusMemory(size_t bytes) {
    if (remote_ != nullptr) {
        return remote_->NewGuestMemory(bytes).data();
    }
    return busMemory_.emplace_back(std::make_unique<uint8_t[]>(bytes)).get();
}

WatchedMemory& Display::NewWatchedMemory(size_t bytes) {
    return *watchedBusMemory_.emplace_back(std::make_unique<WatchedMemory>(bytes));
}

board::LentMemories Display::WatchMemories() {
    if (config_.dmaThread || config_.program.IsThere()) {
        throw std::invalid_argument(config_.dmaThread
                                        ? "a board with a DMA thread cannot be captured"
                                        : "a board in another program cannot be captured");
    }
    const board::Config config = BoardConfig(config_);
    watchedFrame_ = std::make_unique<WatchedMemory>(config.frameBufferBytes);
    board::LentMemories lent{watchedFrame_->BoardView(), {}};
    if (config.localBufferBytes != 0) {
        watchedLocal_ = std::make_unique<WatchedMemory>(config.localBufferBytes);
        lent.localBuffer = watchedLocal_->BoardView();
    }
    return lent;
}

bool Display::IsGlint() const {
    return KnownDevice(config_.deviceId).IsGlint();
}

bool Display::HasLinearHeap() const {
    return !IsGlint() &&
           std::atoi(TheRegistry().Text(KeyPath(config_), "Direct3DHAL.RectAlloc").c_str()) != 1;
}

uint32_t Display::DmaBusAddress(uint32_t index) {
    return kDmaBusBase + index * kDmaBusStep;
}

bool Display::Start() {
    const DriverCall call("DriverInit");
    return TheDriverModule().driverInit(config_.number) == &driver_->data;
}

void Display::ChangeMode(uint32_t width, uint32_t height, uint32_t bits) {
    DisplayConfig changed = config_;
    changed.width = width;
    changed.height = height;
    changed.bits = bits;
    CheckMode(changed);
    config_ = std::move(changed);
    TheDriverModule().heap.uninitialise(&driver_->data);
    FillMode();
    TheDriverModule().heap.initialise(&driver_->data);
    driver_->data.ModeChanged = 1;
}

void Display::FillChipInfo() {
    struct ChipInfo& chip = driver_->chip;
    chip.Flags = config_.chipFlags | (config_.delta ? uint32_t{DeltaPresent} : 0);
    chip.FrameBufferSize = config_.frameBufferBytes;
    chip.LocalBufferSize = static_cast<uint32_t>(board_->LocalBuffer().size());
    chip.RefreshRate = static_cast<uint16_t>(config_.refreshRate);
    chip.PrimaryDisplay = config_.primary ? 1 : 0;
    chip.DeviceId = config_.deviceId;
    chip.Revision = config_.revision;
    chip.Family = KnownDevice(config_.deviceId).family;
    chip.DMAState = DMAIdle;
    chip.DMABufferSize = config_.dmaBufferBytes;
    chip.DMABufferCount = static_cast<uint16_t>(config_.dmaBufferCount);
    for (uint32_t i = 0; i < config_.dmaBufferCount; ++i) {
        chip.DMABufferPhysical[i] = DmaBusAddress(i);
        chip.DMABufferLinear[i] = reinterpret_cast<uintptr_t>(dmaBuffers_[i]);
    }
    chip.CurrentContext = kNoContext;
    chip.NoDCI = config_.noDCI ? 1 : 0;
    std::strcpy(chip.RegistryName, config_.registryName.c_str());
}

void Display::FillMode() {
    DriverData& data = driver_->data;
    data.ScreenWidth = config_.width;
    data.ScreenHeight = config_.height;
    data.ScissorWidth = config_.width;
    data.ScissorHeight = config_.height;
    data.PixelDepthBits = config_.bits;
    switch (config_.bits) {
    case 8:
        data.PixelSize = PixelSize8;
        data.PixelsPerWordShift = 2;
        data.PixelsPerWordMask = 3;
        break;
    case 16:
        data.PixelSize = PixelSize16;
        data.PixelsPerWordShift = 1;
        data.PixelsPerWordMask = 1;
        break;
    default:
        data.PixelSize = config_.bits == 24 ? PixelSize24 : PixelSize32;
        data.PixelsPerWordShift = 0;
        data.PixelsPerWordMask = 0;
        break;
    }
    pitch_ = ScreenPitchPixels(config_.deviceId, config_.width) * (config_.bits / 8);

    const bool linear = HasLinearHeap();
    const uint32_t base = reinterpret_cast<uintptr_t>(data.FrameBufferBase);
    const uint32_t behindScreen = (ScreenBytes() + kHeapAlignment - 1) & ~(kHeapAlignment - 1);
    data.HeapActive = linear ? 1 : 0;
    data.Heap.HeapStart =
        base + (linear ? behindScreen : config_.frameBufferBytes - kServiceHeapBytes);
    data.Heap.HeapEnd = base + config_.frameBufferBytes - 1;
    if (IsGlint()) {
        board_->Write(reg::FBModeSel, field::FBModeSel_Depth.Put(board_->Read(reg::FBModeSel),
                                                                 kDepthOfMode[data.PixelSize]));
    }
    Tell(&Observer::OnMode, *this);
}

uint32_t Display::OffscreenBytes() const {
    const DriverData& data = driver_->data;
    const uint32_t end =
        HasLinearHeap() ? ScreenBytes()
                        : data.Heap.HeapStart - reinterpret_cast<uintptr_t>(data.FrameBufferBase);
    return end - ScreenBytes();
}

} // namespace host
