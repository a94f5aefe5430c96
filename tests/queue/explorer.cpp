#include "tests/queue/explorer.h"

#include "driver/core/chipbus.h"
#include "driver/core/tags.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <unordered_map>

namespace queue {

namespace {

constexpr uint32_t kDriver = 0, kHandler = 1;
constexpr uint32_t kMaxTransfers = 8;
constexpr uint32_t kBufferedStores = 8;
constexpr uint64_t kMaxStates = 4'000'000;

// A processor's stores on their way to memory, oldest first.
struct StoreBuffer {
    uint32_t count = 0;
    struct {
        uint32_t offset, value;
    } stores[kBufferedStores] = {};
};

struct Chip {
    uint32_t address = 0;   // DMAAddress
    uint32_t wordsLeft = 0; // DMACount
    bool sync = false;      // a Sync is behind all words
    bool answered = false;  // and its tag in the output FIFO
    uint32_t enable = 0, flags = 0, errors = 0;
    bool line = false; // an edge asks for the handler
};

// All that is not a processor's own.
struct World {
    uint32_t words[kSharedWords] = {};
    StoreBuffer buffers[2];
    Chip chip;
    uint32_t handed = 0, started = 0, done = 0;
    uint32_t onTheirWay = 0; // of the handed ones: their call has not returned
    Transfer transfers[kMaxTransfers] = {};
    bool handlerRuns = false;
};

struct Point {
    World world;
    ProcessorState processors[2];
    std::vector<uint8_t> memory;
};

enum class Move : uint8_t {
    DriverSteps,
    HandlerSteps,
    HandlerIsCalled,
    ChipFinishes,
    ChipAnswersSync,
    DriversStoreLands,
    HandlersStoreLands,
};

class Explorer : public SharedWords {
  public:
    Explorer(const Scenario& scenario, const Options& options)
        : scenario_(scenario), options_(options) {}

    Report Run();

    bool NeedsStop(uint32_t processor, uint32_t offset, bool writes) const override;
    uint32_t Load(uint32_t processor, uint32_t offset) override;
    void Store(uint32_t processor, uint32_t offset, uint32_t value, bool locked) override;
    bool NeedsStopAtRegister(uint32_t offset) const override;
    uint32_t ReadChip(uint32_t processor, uint32_t offset) override;
    void WriteChip(uint32_t processor, uint32_t offset, uint32_t value) override;
    // The other processor's stores land: it passes a barrier too.
    void Barrier(uint32_t) override {
        Drain(kDriver);
        Drain(kHandler);
    }

    void HandingOver(Transfer transfer) {
        point_.world.transfers[point_.world.handed++] = transfer;
        ++point_.world.onTheirWay;
    }
    void HandedOver() { point_.world.onTheirWay = 0; }
    void ExpectDone(const char* where);

  private:
    struct Node {
        Point point;
        uint32_t id = 0;
        std::vector<Move> moves;
        size_t next = 0;
    };

    void Wrong(const std::string& what) {
        if (wrong_.empty()) {
            wrong_ = what;
        }
    }
    // Of what earlier calls handed over something is not done.
    bool Busy() const {
        const World& world = point_.world;
        return world.chip.wordsLeft != 0 || world.done + world.onTheirWay < world.handed;
    }
    void Drain(uint32_t processor);
    void Land(uint32_t processor);
    void Raise(const Field& flag);
    bool LineIsUp() const;
    std::vector<Move> Moves() const;
    void Make(Move move);
    std::string Told(Move move) const;
    bool AtEnd() const;
    uint64_t Digest() const;
    // The number of the present state; `isNew` when it was not seen before.
    uint32_t Number(bool& isNew);
    void Keep(Point& to) const;
    void Restore(const Point& from);
    void FindDeadEnds(Report& report) const;

    const Scenario& scenario_;
    const Options& options_;
    std::unique_ptr<Machine> machine_;
    Point point_;
    std::string wrong_;
    std::unordered_map<uint64_t, uint32_t> numbers_;
    std::vector<std::pair<uint32_t, uint32_t>> arrows_;
    std::vector<bool> ends_;
};

Explorer* exploring = nullptr;

// The words that driver and handler both use.
bool IsShared(uint32_t offset) {
    return offset == offsetof(ChipInfo, Flags) || offset == offsetof(ChipInfo, DMAState) ||
           (offset >= offsetof(ChipInfo, QueueHead) && offset <= offsetof(ChipInfo, QueueEnd)) ||
           (offset >= offsetof(ChipInfo, QueueAddress) &&
            offset <= offsetof(ChipInfo, QueueRunning));
}

// A load of a word that nobody else stores makes no difference to anybody. The handler stores tail
// and running, and the driver all else.
bool Explorer::NeedsStop(uint32_t processor, uint32_t offset, bool writes) const {
    const bool handlersToo =
        offset == offsetof(ChipInfo, QueueTail) || offset == offsetof(ChipInfo, QueueRunning);
    return IsShared(offset) && offset != offsetof(ChipInfo, Flags) &&
           (writes || processor != kDriver || handlersToo);
}

uint32_t Explorer::Load(uint32_t processor, uint32_t offset) {
    const StoreBuffer& buffer = point_.world.buffers[processor];
    for (uint32_t i = buffer.count; i-- != 0;) {
        if (buffer.stores[i].offset == offset) {
            return buffer.stores[i].value;
        }
    }
    return point_.world.words[offset / 4];
}

void Explorer::Store(uint32_t processor, uint32_t offset, uint32_t value, bool locked) {
    if (locked || options_.handler == Handler::OnSameProcessor || !IsShared(offset)) {
        Drain(processor);
        point_.world.words[offset / 4] = value;
        return;
    }
    StoreBuffer& buffer = point_.world.buffers[processor];
    if (buffer.count == kBufferedStores) {
        Land(processor);
    }
    buffer.stores[buffer.count++] = {offset, value};
}

void Explorer::Land(uint32_t processor) {
    StoreBuffer& buffer = point_.world.buffers[processor];
    point_.world.words[buffer.stores[0].offset / 4] = buffer.stores[0].value;
    --buffer.count;
    for (uint32_t i = 0; i < buffer.count; ++i) {
        buffer.stores[i] = buffer.stores[i + 1];
    }
    buffer.stores[buffer.count] = {};
}

void Explorer::Drain(uint32_t processor) {
    while (point_.world.buffers[processor].count != 0) {
        Land(processor);
    }
}

bool Explorer::NeedsStopAtRegister(uint32_t offset) const {
    return offset == reg::DMAAddress || offset == reg::DMACount || offset == reg::IntFlags ||
           offset == reg::IntEnable || offset == reg::OutFIFOWords || offset == reg::OutFIFOWord;
}

void Explorer::Raise(const Field& flag) {
    Chip& chip = point_.world.chip;
    if ((chip.enable & flag.Mask()) != 0) {
        chip.line = true;
    }
    chip.flags |= flag.Mask();
}

bool Explorer::LineIsUp() const {
    const Chip& chip = point_.world.chip;
    return options_.line == Line::Edge ? chip.line : (chip.flags & chip.enable) != 0;
}

uint32_t Explorer::ReadChip(uint32_t processor, uint32_t offset) {
    Drain(processor); // the aperture is not cached
    Chip& chip = point_.world.chip;
    switch (offset) {
    case reg::DMACount:
        return chip.wordsLeft;
    case reg::IntFlags:
        return chip.flags;
    case reg::IntEnable:
        return chip.enable;
    case reg::InFIFOSpace:
        return 16;
    case reg::OutFIFOWords:
        return chip.answered ? 1 : 0;
    case reg::OutFIFOWord:
        if (chip.answered) {
            chip.answered = false;
            return tag::Sync;
        }
        chip.errors |= field::ErrorFlags_OutputFIFO.Mask();
        Raise(field::IntFlags_Error);
        return 0;
    default:
        if (offset >= reg::MappedRegisters && Busy()) {
            Wrong("a context's registers are saved while its transfers run");
        }
        return 0;
    }
}

void Explorer::WriteChip(uint32_t processor, uint32_t offset, uint32_t value) {
    Drain(processor);
    World& world = point_.world;
    Chip& chip = world.chip;
    switch (offset) {
    case reg::DMAAddress:
        chip.address = value;
        return;
    case reg::DMACount: {
        const Transfer transfer{value, chip.address};
        if (chip.wordsLeft != 0) {
            Wrong("a transfer is started over a running one");
        } else if (world.started >= world.handed) {
            Wrong(fmt::format("{} words at {:x} are started, and all handed over were before",
                              value, chip.address));
        } else if (transfer != world.transfers[world.started]) {
            const Transfer& due = world.transfers[world.started];
            Wrong(fmt::format("{} words at {:x} are started, where {} at {:x} are due", value,
                              chip.address, due.words, due.physical));
        }
        ++world.started;
        chip.wordsLeft = value;
        return;
    }
    case reg::ErrorFlags:
        chip.errors &= ~value;
        return;
    case reg::IntFlags:
        chip.flags &= ~value;
        return;
    case reg::IntEnable:
        chip.enable = value;
        return;
    default:
        if (offset == MappedOffset(tag::Sync)) {
            chip.sync = true;
        } else if (offset >= reg::MappedRegisters && Busy()) {
            Wrong("a context's registers are loaded while transfers run");
        }
    }
}

void Explorer::ExpectDone(const char* where) {
    const World& world = point_.world;
    if (world.done != world.handed) {
        Wrong(fmt::format("{} with {} of {} transfers done", where, world.done, world.handed));
    }
}

std::vector<Move> Explorer::Moves() const {
    const World& world = point_.world;
    std::vector<Move> moves;
    const bool stands = options_.handler == Handler::OnSameProcessor && world.handlerRuns;
    if (!stands && point_.processors[kDriver].next.kind != Access::Kind::Nothing) {
        moves.push_back(Move::DriverSteps);
    }
    if (world.handlerRuns) {
        moves.push_back(Move::HandlerSteps);
    } else if (LineIsUp()) {
        moves.push_back(Move::HandlerIsCalled);
    }
    if (world.chip.wordsLeft != 0) {
        moves.push_back(Move::ChipFinishes);
    } else if (world.chip.sync) {
        moves.push_back(Move::ChipAnswersSync);
    }
    for (const uint32_t processor : {kDriver, kHandler}) {
        if (world.buffers[processor].count != 0) {
            moves.push_back(processor == kDriver ? Move::DriversStoreLands
                                                 : Move::HandlersStoreLands);
        }
    }
    return moves;
}

void Explorer::Make(Move move) {
    World& world = point_.world;
    switch (move) {
    case Move::DriverSteps:
        machine_->Step(kDriver, point_.processors[kDriver]);
        return;
    case Move::HandlerSteps:
        machine_->Step(kHandler, point_.processors[kHandler]);
        break;
    case Move::HandlerIsCalled:
        world.chip.line = false;
        world.handlerRuns = true;
        point_.processors[kHandler] = machine_->Begin(kHandler, scenario_.handler);
        break;
    case Move::ChipFinishes:
        world.chip.wordsLeft = 0;
        ++world.done;
        Raise(field::IntFlags_DMA);
        return;
    case Move::ChipAnswersSync:
        world.chip.sync = false;
        world.chip.answered = true;
        return;
    case Move::DriversStoreLands:
        Land(kDriver);
        return;
    case Move::HandlersStoreLands:
        Land(kHandler);
        return;
    }
    if (point_.processors[kHandler].next.kind == Access::Kind::Nothing) {
        world.handlerRuns = false;
        point_.processors[kHandler] = {};
        // A return from an interrupt passes a barrier.
        Drain(kHandler);
    }
}

std::string Word(uint32_t offset) {
    const auto entry = [&](const char* name, size_t first) {
        return fmt::format("{}[{}]", name, (offset - first) / 4);
    };
    switch (offset) {
    case offsetof(ChipInfo, Flags):
        return "Flags";
    case offsetof(ChipInfo, DMAState):
        return "DMAState";
    case offsetof(ChipInfo, QueueHead):
        return "QueueHead";
    case offsetof(ChipInfo, QueueTail):
        return "QueueTail";
    case offsetof(ChipInfo, QueueEnd):
        return "QueueEnd";
    case offsetof(ChipInfo, QueueRunning):
        return "QueueRunning";
    default:
        return offset < offsetof(ChipInfo, QueueCount)
                   ? entry("QueueAddress", offsetof(ChipInfo, QueueAddress))
                   : entry("QueueCount", offsetof(ChipInfo, QueueCount));
    }
}

std::string Explorer::Told(Move move) const {
    const auto access = [](const char* who, const Access& next) -> std::string {
        switch (next.kind) {
        case Access::Kind::Load:
            return fmt::format("{} loads {}", who, Word(next.offset));
        case Access::Kind::Store:
        case Access::Kind::LockedStore:
            return fmt::format("{} stores {}", who, Word(next.offset));
        case Access::Kind::ReadChip:
            return fmt::format("{} reads register {:04x}", who, next.offset);
        case Access::Kind::WriteChip:
            return fmt::format("{} writes {:x} to register {:04x}", who, next.value, next.offset);
        default:
            return fmt::format("{} passes a barrier", who);
        }
    };
    switch (move) {
    case Move::DriverSteps:
        return access("driver", point_.processors[kDriver].next);
    case Move::HandlerSteps:
        return access("handler", point_.processors[kHandler].next);
    case Move::HandlerIsCalled:
        return "the handler is called";
    case Move::ChipFinishes:
        return "chip finishes the transfer";
    case Move::ChipAnswersSync:
        return "chip answers the Sync";
    case Move::DriversStoreLands:
        return fmt::format("driver's {} lands",
                           Word(point_.world.buffers[kDriver].stores[0].offset));
    case Move::HandlersStoreLands:
        return fmt::format("handler's {} lands",
                           Word(point_.world.buffers[kHandler].stores[0].offset));
    }
    return {};
}

bool Explorer::AtEnd() const {
    const World& world = point_.world;
    return point_.processors[kDriver].next.kind == Access::Kind::Nothing && !world.handlerRuns &&
           !LineIsUp() && world.chip.wordsLeft == 0 && world.buffers[kDriver].count == 0;
}

// Numbers of 64 bits for some million states: that two fall together is a chance of one in a
// million.
uint64_t Explorer::Digest() const {
    uint64_t digest = 0xCBF29CE484222325ull;
    const auto mix = [&](uint32_t word) {
        digest = (digest ^ word) * 0x9E3779B97F4A7C15ull;
        digest ^= digest >> 32;
    };
    const World& world = point_.world;
    for (const uint32_t word : world.words) {
        mix(word);
    }
    for (const StoreBuffer& buffer : world.buffers) {
        mix(buffer.count);
        for (uint32_t i = 0; i < buffer.count; ++i) {
            mix(buffer.stores[i].offset);
            mix(buffer.stores[i].value);
        }
    }
    const Chip& chip = world.chip;
    for (const uint32_t word :
         {chip.address, chip.wordsLeft, chip.sync + 2u * chip.answered, chip.enable, chip.flags,
          chip.errors, uint32_t{chip.line}, world.handed, world.started, world.done,
          world.onTheirWay, uint32_t{world.handlerRuns}}) {
        mix(word);
    }
    for (const ProcessorState& processor : point_.processors) {
        mix(static_cast<uint32_t>(processor.next.kind));
        mix(static_cast<uint32_t>(processor.digest));
        mix(static_cast<uint32_t>(processor.digest >> 32));
    }
    for (const PrivateMemory& memory : scenario_.memory) {
        for (size_t i = 0; i < memory.count / 4; ++i) {
            mix(static_cast<const uint32_t*>(memory.bytes)[i]);
        }
    }
    return digest;
}

uint32_t Explorer::Number(bool& isNew) {
    const auto [at, added] = numbers_.try_emplace(Digest(), static_cast<uint32_t>(numbers_.size()));
    isNew = added;
    return at->second;
}

void Explorer::Keep(Point& to) const {
    to = point_;
    to.memory.clear();
    for (const PrivateMemory& memory : scenario_.memory) {
        const auto* first = static_cast<const uint8_t*>(memory.bytes);
        to.memory.insert(to.memory.end(), first, first + memory.count);
    }
}

void Explorer::Restore(const Point& from) {
    point_ = from;
    const uint8_t* at = from.memory.data();
    for (const PrivateMemory& memory : scenario_.memory) {
        std::memcpy(memory.bytes, at, memory.count);
        at += memory.count;
    }
}

// States from which no way leads to the end: somebody waits for what will never come.
void Explorer::FindDeadEnds(Report& report) const {
    const auto states = static_cast<uint32_t>(ends_.size());
    std::vector<std::vector<uint32_t>> before(states);
    for (const auto& [from, to] : arrows_) {
        before[to].push_back(from);
    }
    std::vector<bool> reaches = ends_;
    std::vector<uint32_t> open;
    for (uint32_t state = 0; state < states; ++state) {
        if (ends_[state]) {
            open.push_back(state);
        }
    }
    while (!open.empty()) {
        const uint32_t state = open.back();
        open.pop_back();
        for (const uint32_t from : before[state]) {
            if (!reaches[from]) {
                reaches[from] = true;
                open.push_back(from);
            }
        }
    }
    const auto dead =
        static_cast<uint32_t>(std::find(reaches.begin(), reaches.end(), false) - reaches.begin());
    if (dead != states) {
        report.wrong = "the driver waits for ever";
    }
}

Report Explorer::Run() {
    exploring = this;
    ChipInfo start;
    std::memset(static_cast<void*>(&start), 0, sizeof(start));
    scenario_.start(start);
    std::memcpy(point_.world.words, &start, sizeof(start));
    machine_ = std::make_unique<Machine>(*this);
    Point begin;
    Keep(begin);

    Report report;
    point_.processors[kDriver] = machine_->Begin(kDriver, scenario_.driver);
    std::vector<std::unique_ptr<Node>> way;
    const auto enter = [&] {
        bool isNew;
        const uint32_t number = Number(isNew);
        if (!way.empty()) {
            arrows_.emplace_back(way.back()->id, number);
        }
        if (isNew) {
            ends_.push_back(AtEnd());
            if (ends_.back() && point_.world.started != point_.world.handed) {
                Wrong(fmt::format("{} of {} transfers were never started",
                                  point_.world.handed - point_.world.started, point_.world.handed));
            }
            auto node = std::make_unique<Node>();
            Keep(node->point);
            node->id = number;
            node->moves = Moves();
            way.push_back(std::move(node));
        }
    };
    enter();
    while (!way.empty() && wrong_.empty()) {
        Node& node = *way.back();
        if (node.next == node.moves.size()) {
            way.pop_back();
            continue;
        }
        Restore(node.point);
        Make(node.moves[node.next++]);
        ++report.moves;
        if (wrong_.empty()) {
            enter();
        }
        if (numbers_.size() > kMaxStates) {
            Wrong("too many states");
        }
    }
    report.states = numbers_.size();
    report.wrong = wrong_;
    if (!wrong_.empty()) {
        for (const auto& node : way) {
            Restore(node->point);
            if (node->next != 0) {
                report.steps.push_back(Told(node->moves[node->next - 1]));
            }
        }
    } else {
        FindDeadEnds(report);
    }
    Restore(begin);
    exploring = nullptr;
    return report;
}

} // namespace

void HandingOver(Transfer transfer) {
    exploring->HandingOver(transfer);
}

void HandedOver() {
    exploring->HandedOver();
}

void ExpectAllDone(const char* where) {
    exploring->ExpectDone(where);
}

Report Explore(const Scenario& scenario, const Options& options) {
    return Explorer(scenario, options).Run();
}

} // namespace queue
