#include "tools/korv/replay/player.h"

#include "host/display/machine.h"
#include "host/inspect/contexts.h"
#include "host/observe/observer.h"

#include <fmt/format.h>

#include <algorithm>

namespace korv {

namespace {

template <class Map>
auto& Named(Map& map, const char* kind, const std::string& name) {
    const auto found = map.find(name);
    if (found == map.end()) {
        throw NotThereError(fmt::format("{} '{}' is not there", kind, name));
    }
    return found->second;
}

} // namespace

void StepTap::OnRead(uint32_t offset, uint32_t value) {
    recording.OnRead(offset, value);
}

void StepTap::OnWrite(uint32_t offset, uint32_t value) {
    writes.push_back({offset, value});
    recording.OnWrite(offset, value);
}

void StepTap::OnFifoWord(uint32_t word) {
    words.push_back(word);
    recording.OnFifoWord(word);
}

void StepTap::OnDmaWord(uint32_t word) {
    words.push_back(word);
    recording.OnDmaWord(word);
}

Player::Player(PlayOptions options) : options_(std::move(options)) {
    host::PowerCycle();
}

Player::~Player() {
    for (auto& [name, one] : displays_) {
        one.display->Board().SetRecorder(nullptr);
    }
    contexts.clear();
    for (auto& [name, one] : displays_) {
        one.directDraw.reset();
    }
}

PlayedDisplay& Player::Display(const std::string& name) {
    return Named(displays_, "display", name);
}

host::DirectDraw& Player::DirectDraw(const std::string& display) {
    PlayedDisplay& one = Display(display);
    if (!one.directDraw) {
        throw NotThereError(fmt::format("display '{}' has not been started", display));
    }
    return *one.directDraw;
}

DriverData* Player::Driver(const std::string& display) {
    return Display(display).display->Driver();
}

host::Surface& Player::Surface(const std::string& name) {
    return *Named(surfaces_, "surface", name).surface;
}

host::Surface& Player::SurfaceWithMemory(const std::string& name) {
    host::Surface& surface = Surface(name);
    if (surface.Lost()) {
        throw NotThereError(fmt::format("surface '{}' has lost its memory", name));
    }
    return surface;
}

host::Surface& Player::SurfaceWithPixels(const std::string& name) {
    host::Surface& surface = SurfaceWithMemory(name);
    const uint32_t bits = surface.Bits();
    if (bits > 32) {
        throw NotThereError(
            fmt::format("surface '{}' has pixels of {} bits: expected at most 32", name, bits));
    }
    if (!HoldsPixels(surface, surface.Whole(), bits)) {
        throw NotThereError(
            fmt::format("surface '{}' is not all in memory: {} rows, {} bytes from one to the next",
                        name, surface.Height(), surface.Pitch()));
    }
    return surface;
}

host::Surface& Player::SurfaceOn(const std::string& display, const std::string& name) {
    if (DisplayOf(name).name != display) {
        throw NotThereError(fmt::format("surface '{}' is not of display '{}'", name, display));
    }
    return Surface(name);
}

PlayedDisplay& Player::DisplayOf(const std::string& surface) {
    return Display(Named(surfaces_, "surface", surface).display);
}

host::Device3D& Player::Device(const std::string& context) {
    return *Named(contexts, "context", context).device;
}

const D3DContext* Player::ContextRecord(const std::string& context) {
    const PlayedContext& one = Named(contexts, "context", context);
    return host::ContextRecord(Driver(one.display)->ChipInfo, one.device->Handle());
}

uint32_t Player::Texture(const std::string& name) {
    return Named(textures, "texture", name);
}

std::vector<uint32_t>& Player::Memory(const std::string& name) {
    return Named(memory, "memory", name);
}

uint32_t Player::Value(const std::string& name) {
    return Named(values, "value", name);
}

void Player::AddDisplay(const std::string& name, host::DisplayConfig config) {
    if (options_.fifo) {
        config.registry["Direct3DHAL.NoDMA"] = std::string("1");
    }
    if (options_.subBuffers != 0) {
        config.registry["Direct3DHAL.SubBuffers"] = fmt::to_string(options_.subBuffers);
    }
    config.program = options_.program;
    PlayedDisplay one;
    one.name = name;
    one.tap = std::make_unique<StepTap>(options_.displays > 1 ? options_.record.With(name)
                                                              : options_.record);
    one.tap->recording.SetDevice(config.deviceId);
    one.display = std::make_unique<host::Display>(std::move(config));
    one.display->Board().SetRecorder(one.tap.get());
    displays_.emplace(name, std::move(one));
}

void Player::AddSurface(const std::string& name, const std::string& display,
                        host::Surface& surface) {
    if (surfaces_.contains(name)) {
        DirectDraw(display).Destroy(surface);
        throw NotThereError(fmt::format("there is a surface '{}' already", name));
    }
    const auto add = [&](const std::string& called, host::Surface& one) {
        surfaces_[called] = {display, &one};
        Tell(&host::Observer::OnSurfaceName, *Display(display).display, one, called);
    };
    add(name, surface);
    for (size_t i = 0; i < surface.Chain().size(); ++i) {
        add(fmt::format("{}.{}", name, i + 1), *surface.Chain()[i]);
    }
}

void Player::DestroySurface(const std::string& name) {
    host::Surface& surface = Surface(name);
    for (const auto& [context, one] : contexts) {
        for (const std::string& used : {one.target, one.zBuffer}) {
            if (one.live && !used.empty() && &Surface(used) == &surface) {
                throw NotThereError(
                    fmt::format("context '{}' still uses surface '{}'", context, name));
            }
        }
    }
    const std::vector<host::Surface*> chain = surface.Chain();
    DirectDraw(surfaces_[name].display).Destroy(surface);
    std::erase_if(surfaces_, [&](const auto& one) {
        return one.second.surface == &surface ||
               std::find(chain.begin(), chain.end(), one.second.surface) != chain.end();
    });
}

void Player::AddContext(const std::string& name, PlayedContext context) {
    const auto found = contexts.find(name);
    if (found != contexts.end() && found->second.live) {
        throw NotThereError(fmt::format("there is a context '{}' already", name));
    }
    contexts[name] = std::move(context);
}

void* Player::Scratch(size_t bytes) {
    return scratch_.emplace_back(bytes).data();
}

std::vector<Player::NamedMemory> Player::Memories() {
    std::vector<NamedMemory> all;
    for (const auto& [name, one] : surfaces_) {
        if (const std::span<const uint8_t> bytes = one.surface->SystemMemory(); !bytes.empty()) {
            all.push_back({fmt::format("surface '{}'", name), bytes.data(), bytes.size()});
        }
    }
    for (const auto& [name, words] : memory) {
        all.push_back({fmt::format("memory '{}'", name), words.data(), words.size() * 4});
    }
    for (const auto& [name, one] : displays_) {
        all.push_back({fmt::format("frame buffer of '{}'", name), one.display->FrameBuffer(),
                       one.display->Board().FrameBuffer().size()});
        all.push_back({fmt::format("local buffer of '{}'", name), one.display->LocalBuffer(),
                       one.display->Board().LocalBuffer().size()});
        if (one.directDraw && !one.directDraw->AgpMemory().empty()) {
            const std::span<const uint8_t> agp = one.directDraw->AgpMemory();
            all.push_back({fmt::format("AGP memory of '{}'", name), agp.data(), agp.size()});
        }
        for (uint32_t i = 0; i < one.display->Config().dmaBufferCount; ++i) {
            all.push_back({fmt::format("DMA buffer {} of '{}'", i, name), one.display->DmaBuffer(i),
                           one.display->Config().dmaBufferBytes});
        }
    }
    return all;
}

std::vector<Player::NamedMemory> Player::NamedMemories() {
    std::vector<NamedMemory> all;
    for (const auto& [name, one] : surfaces_) {
        if (!one.surface->Lost() && one.surface->SystemMemory().empty()) {
            all.push_back({fmt::format("surface '{}'", name), one.surface->Bytes(),
                           size_t(one.surface->Pitch()) * one.surface->Height()});
        }
    }
    std::ranges::move(Memories(), std::back_inserter(all));
    return all;
}

const host::Surface* Player::SurfaceAt(uint32_t address) {
    for (const auto& [name, one] : surfaces_) {
        if (address == AddressOf(one.surface->Local()) ||
            address == AddressOf(one.surface->Interface())) {
            return one.surface;
        }
    }
    return nullptr;
}

bool Player::IsLocalObject(uint32_t address) const {
    return std::ranges::any_of(displays_, [&](const auto& one) {
        return one.second.directDraw && address == AddressOf(one.second.directDraw->Local());
    });
}

DriverData* Player::DriverOfSurfaceAt(uint32_t address) {
    for (const auto& [name, one] : surfaces_) {
        if (address == AddressOf(one.surface->Local()) ||
            address == AddressOf(one.surface->Interface())) {
            return Driver(one.display);
        }
    }
    return nullptr;
}

DriverData* Player::StartedDriver(DriverData* driver) {
    for (const auto& [name, one] : displays_) {
        const bool meant =
            driver != nullptr ? one.display->Driver() == driver : one.display->Config().primary;
        if (one.directDraw && meant) {
            return one.display->Driver();
        }
    }
    return nullptr;
}

bool Player::Holds(uint32_t address, size_t bytes) {
    const auto within = [&](const void* start, size_t size) {
        const uint32_t offset = address - AddressOf(start);
        return offset <= size && size - offset >= bytes;
    };
    return std::ranges::any_of(
               Memories(), [&](const NamedMemory& one) { return within(one.start, one.bytes); }) ||
           std::ranges::any_of(scratch_, [&](const std::vector<uint8_t>& one) {
               return within(one.data(), one.size());
           });
}

bool Player::HoldsPixels(const host::Surface& surface, const RECT& rect, uint32_t bits) {
    if (rect.left >= rect.right || rect.top >= rect.bottom) {
        return true;
    }
    const int64_t pitch = surface.Pitch();
    const int64_t top = pitch * rect.top, bottom = pitch * (rect.bottom - 1);
    const int64_t start = AddressOf(surface.Bytes()) + std::min(top, bottom);
    const int64_t bytes = std::abs(bottom - top) + (int64_t{rect.right} * bits + 7) / 8;
    return start >= 0 && start + bytes <= UINT32_MAX &&
           Holds(static_cast<uint32_t>(start), static_cast<size_t>(bytes));
}

std::string Player::DescribeAddress(uint32_t address) {
    if (address == 0) {
        return "null";
    }
    for (const NamedMemory& one : NamedMemories()) {
        const uint32_t offset = address - AddressOf(one.start);
        if (offset < one.bytes) {
            return offset == 0 ? one.name : fmt::format("{} + 0x{:X}", one.name, offset);
        }
    }
    for (const auto& [name, one] : displays_) {
        for (uint32_t i = 0; i < one.display->Config().dmaBufferCount; ++i) {
            if (const uint32_t offset = address - host::Display::DmaBusAddress(i);
                offset < one.display->Config().dmaBufferBytes) {
                return fmt::format("bus address of DMA buffer {} of '{}' + 0x{:X}", i, name,
                                   offset);
            }
        }
    }
    return "an address that has no name here";
}

std::string Player::DescribeObject(uint32_t address) {
    if (address == 0) {
        return "null";
    }
    for (const auto& [name, one] : surfaces_) {
        if (address == AddressOf(one.surface->Local()) ||
            address == AddressOf(one.surface->Interface())) {
            return fmt::format("surface '{}'", name);
        }
    }
    for (const auto& [name, one] : displays_) {
        if (address == AddressOf(one.display->Driver()) ||
            (one.directDraw && (address == AddressOf(one.directDraw->Global()) ||
                                address == AddressOf(one.directDraw->Local())))) {
            return fmt::format("display '{}'", name);
        }
    }
    return "an object that has no name here";
}

void Player::CommitRecordings() {
    for (auto& [name, one] : displays_) {
        one.tap->recording.Commit();
    }
}

} // namespace korv
