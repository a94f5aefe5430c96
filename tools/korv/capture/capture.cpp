#include "tools/korv/capture/capture.h"

#include "host/ddraw/surface.h"
#include "host/display/display.h"
#include "host/observe/watched_memory.h"

#include <fmt/format.h>

namespace korv {

namespace {

constexpr const char* kMaker = "korv " KORV_VERSION;

// What people call a surface that has no name.
const char* KindOf(const host::Surface& surface) {
    const uint32_t caps = surface.Caps();
    constexpr struct {
        uint32_t caps;
        const char* name;
    } kKinds[] = {{DDSCAPS_PRIMARYSURFACE, "screen"},
                  {DDSCAPS_BACKBUFFER, "back"},
                  {DDSCAPS_ZBUFFER, "depth"},
                  {DDSCAPS_TEXTURE, "texture"},
                  {DDSCAPS_3DDEVICE, "target"}};
    for (const auto& kind : kKinds) {
        if ((caps & kind.caps) != 0) {
            return kind.name;
        }
    }
    return "surface";
}

void AddFormat(stream::Mark& mark, const host::Surface& surface) {
    const DDPIXELFORMAT& format = surface.Format();
    mark.Add("bits", surface.Bits());
    if ((format.dwFlags & DDPF_ZBUFFER) != 0) {
        mark.Add("format", "depth");
    } else if ((format.dwFlags & DDPF_FOURCC) != 0) {
        mark.Add("format", "fourcc").Add("fourcc", format.dwFourCC);
    } else if ((format.dwFlags & (DDPF_PALETTEINDEXED8 | DDPF_PALETTEINDEXED4)) != 0) {
        mark.Add("format", "indexed");
    } else {
        mark.Add("format", "rgb");
        mark.Add("red", format.dwRBitMask).Add("green", format.dwGBitMask);
        mark.Add("blue", format.dwBBitMask);
        mark.Add("alpha", (format.dwFlags & DDPF_ALPHAPIXELS) != 0 ? format.dwRGBAlphaBitMask : 0);
    }
}

// Red, green and blue of each entry, in hex.
std::string PaletteText(const PALETTEENTRY* palette, uint32_t bits) {
    std::string text;
    for (uint32_t i = 0; i < 1u << bits; ++i) {
        text += fmt::format("{:02X}{:02X}{:02X}", palette[i].peRed, palette[i].peGreen,
                            palette[i].peBlue);
    }
    return text;
}

} // namespace

Capture::Capture(const std::filesystem::path& path) : file_(path) {}

Capture::~Capture() = default;

void Capture::End() {
    if (recorder_ != nullptr) {
        recorder_->Finish();
        recorder_.reset();
    }
    ended_ = true;
    display_ = nullptr;
}

void Capture::Close() {
    End();
    file_.Close();
}

void Capture::Commit() {
    Close();
    file_.Commit();
}

void Capture::OnBoard(host::Display& display, host::WatchedMemory& frameBuffer,
                      host::WatchedMemory* localBuffer) {
    if (display_ != nullptr || ended_) {
        return;
    }
    display_ = &display;
    frameBuffer_ = &frameBuffer;
    localBuffer_ = localBuffer;
    recorder_ = std::make_unique<stream::CaptureRecorder>(display.Board(), file_.Stream(), kMaker);
    recorder_->SetStores([this] {
        FindStores();
        FindQueued();
    });
    recorder_->SetActed([this] {
        frameBuffer_->BoardHasStored();
        if (localBuffer_ != nullptr) {
            localBuffer_->BoardHasStored();
        }
    });
    const host::DisplayConfig& config = display.Config();
    stream::Mark mark(stream::MarkKind::Display);
    mark.Add("device", config.deviceId).Add("number", config.number);
    mark.Add("chip", DeviceOf(display.Board().Configuration().chip).name);
    mark.Add("setupUnit", display.Board().Configuration().setupUnit ? 1 : 0);
    recorder_->Put(std::move(mark));
}

void Capture::FindStores() {
    using stream::Memory;
    const auto from = [this](Memory memory, uint32_t base) {
        return [this, memory, base](uint32_t offset, std::span<const uint8_t> bytes) {
            recorder_->Store(memory, base + offset, bytes);
        };
    };
    frameBuffer_->Collect(from(Memory::FrameBuffer, 0));
    if (localBuffer_ != nullptr) {
        localBuffer_->Collect(from(Memory::LocalBuffer, 0));
    }
    if (agp_) {
        agp_->memory->Collect(from(Memory::Host, agp_->busAddress));
    }
}

// What a call has put into the queue since the chip was accessed last is its own, as far as it is
// nobody's: a sub-buffer may begin with words of earlier calls.
void Capture::FindQueued() {
    for (const auto& entry : queue_.New(display_->Chip())) {
        if (inCall_) {
            recorder_->OwnRest(entry.address, entry.address + entry.words * 4);
        }
    }
}

void Capture::OnBoardGone(host::Display& display) {
    if (Follows(display)) {
        End();
    }
}

void Capture::OnAgpMemory(host::Display& display, uint32_t busAddress,
                          host::WatchedMemory& memory) {
    if (Follows(display)) {
        agp_ = Agp{busAddress, &memory};
    }
}

void Capture::OnMode(host::Display& display) {
    if (!Follows(display)) {
        return;
    }
    const host::DisplayConfig& config = display.Config();
    stream::Mark mark(stream::MarkKind::Mode);
    mark.Add("width", config.width).Add("height", config.height).Add("bits", config.bits);
    mark.Add("pitch", display.Pitch()).Add("refreshRate", config.refreshRate);
    recorder_->Put(std::move(mark));
}

const Capture::Known* Capture::Find(const host::Surface& surface) const {
    const auto found = surfaces_.find(surface.Local());
    return found != surfaces_.end() ? &found->second : nullptr;
}

std::string Capture::NewName(const host::Surface& surface) {
    const std::string kind = KindOf(surface);
    std::string name = kind;
    for (int number = 2; names_.contains(name); ++number) {
        name = fmt::format("{}-{}", kind, number);
    }
    names_.insert(name);
    return name;
}

void Capture::AddPlace(stream::Mark& mark, const host::Surface& surface) const {
    const auto within = [&](const uint8_t* start, size_t bytes, const char* memory, uint32_t base) {
        const auto offset = static_cast<size_t>(surface.Bytes() - start);
        if (offset < bytes) {
            mark.Add("memory", memory).Add("offset", int64_t{base} + static_cast<int64_t>(offset));
        }
        return offset < bytes;
    };
    if (within(frameBuffer_->ProcessorView(), frameBuffer_->BoardView().size(), "frame", 0) ||
        (localBuffer_ != nullptr &&
         within(localBuffer_->ProcessorView(), localBuffer_->BoardView().size(), "local", 0))) {
        return;
    }
    if (agp_) {
        within(agp_->memory->ProcessorView(), agp_->memory->BoardView().size(), "host",
               agp_->busAddress);
    }
}

void Capture::OnSurface(host::Display& display, const host::Surface& surface) {
    if (!Follows(display) || (surface.Caps() & DDSCAPS_SYSTEMMEMORY) != 0) {
        return;
    }
    Known& known = surfaces_[surface.Local()];
    if (known.id == 0) {
        known = {nextId_++, NewName(surface)};
    }
    stream::Mark mark(stream::MarkKind::Surface, known.name);
    mark.Add("id", known.id);
    AddPlace(mark, surface);
    mark.Add("pitch", surface.Pitch()).Add("width", surface.Width());
    mark.Add("height", surface.Height());
    AddFormat(mark, surface);
    mark.Add("caps", surface.Caps());
    recorder_->Put(std::move(mark));
}

void Capture::OnSurfaceGone(host::Display& display, const host::Surface& surface) {
    if (const Known* known = Find(surface); Follows(display) && known != nullptr) {
        stream::Mark mark(stream::MarkKind::SurfaceGone, known->name);
        mark.Add("id", known->id);
        recorder_->Put(std::move(mark));
        surfaces_.erase(surface.Local());
    }
}

void Capture::OnSurfaceName(host::Display& display, const host::Surface& surface,
                            const std::string& name) {
    if (const Known* known = Find(surface); Follows(display) && known != nullptr) {
        surfaces_[surface.Local()].name = name;
        names_.insert(name);
        stream::Mark mark(stream::MarkKind::SurfaceName, name);
        mark.Add("id", known->id);
        recorder_->Put(std::move(mark));
    }
}

void Capture::OnContext(host::Display& display, uint32_t handle, const host::Surface& target,
                        const host::Surface* zBuffer) {
    if (!Follows(display)) {
        return;
    }
    stream::Mark mark(stream::MarkKind::Context);
    mark.Add("handle", handle);
    if (const Known* known = Find(target)) {
        mark.Add("target", known->name);
    }
    if (const Known* known = zBuffer != nullptr ? Find(*zBuffer) : nullptr) {
        mark.Add("zBuffer", known->name);
    }
    recorder_->Put(std::move(mark));
}

void Capture::OnContextGone(host::Display& display, uint32_t handle) {
    if (Follows(display)) {
        recorder_->Put(stream::Mark(stream::MarkKind::ContextGone).Add("handle", handle));
    }
}

void Capture::OnCall(const char* name, const host::CallFields& fields) {
    if (recorder_ == nullptr) {
        return;
    }
    stream::Mark mark(stream::MarkKind::Call, host::CallName(name));
    for (const host::CallField& field : fields) {
        if (const auto* number = std::get_if<int64_t>(&field.value)) {
            mark.Add(field.name, *number);
        } else {
            const auto found =
                surfaces_.find(std::get<const DDRAWI_DDRAWSURFACE_LCL*>(field.value));
            mark.Add(field.name, found != surfaces_.end() ? found->second.name : std::string("-"));
        }
    }
    recorder_->BeginCall(std::move(mark));
    inCall_ = true;
    writePlaces_ = host::WritePlaces(display_->Chip());
    for (const auto& [handle, place] : writePlaces_) {
        recorder_->DisownWords(place.next, place.end);
    }
}

void Capture::OnCallEnd() {
    if (recorder_ == nullptr) {
        return;
    }
    FindQueued();
    // What it has not sent yet.
    for (const auto& [handle, place] : host::WritePlaces(display_->Chip())) {
        const auto before = writePlaces_.find(handle);
        const bool same = before != writePlaces_.end() &&
                          before->second.subBuffer == place.subBuffer &&
                          before->second.next <= place.next;
        recorder_->OwnWords(same ? before->second.next : place.subBuffer, place.next);
    }
    recorder_->EndCall();
    inCall_ = false;
}

void Capture::OnFlip(host::Display& display, const host::Surface& current,
                     const host::Surface& target) {
    if (!Follows(display)) {
        return;
    }
    recorder_->Put(stream::Mark(stream::MarkKind::Flip));
    // They have changed memories.
    OnSurface(display, current);
    OnSurface(display, target);
}

void Capture::OnFrame(host::Display& display) {
    if (Follows(display)) {
        recorder_->Put(stream::Mark(stream::MarkKind::Frame).Add("number", frame_++), true);
    }
}

void Capture::OnPicture(host::Display& display, const host::Surface& surface,
                        const std::string& name) {
    const Known* known = Find(surface);
    if (!Follows(display) || known == nullptr) {
        return;
    }
    stream::Mark mark(stream::MarkKind::Picture, name);
    mark.Add("surface", known->name);
    if (surface.Palette() != nullptr && surface.Bits() <= 8) {
        mark.Add("palette", PaletteText(surface.Palette(), surface.Bits()));
    }
    recorder_->Put(std::move(mark), true);
}

void Capture::OnStep(uint32_t number, const std::string& kind) {
    if (recorder_ != nullptr) {
        recorder_->Put(stream::Mark(stream::MarkKind::Step, kind).Add("number", number), true);
    }
}

} // namespace korv
