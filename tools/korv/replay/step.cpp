#include "tools/korv/replay/step.h"

#include "host/ddraw/results.h"

#include <fmt/format.h>

#include <bit>
#include <cmath>
#include <cstring>

namespace korv {

namespace {

const char* KindName(NameKind kind) {
    switch (kind) {
    case NameKind::Display:
        return "display";
    case NameKind::Surface:
        return "surface";
    case NameKind::Context:
        return "context";
    case NameKind::Texture:
        return "texture";
    case NameKind::Memory:
        return "memory";
    case NameKind::Value:
        break;
    }
    return "value";
}

Bits Constant(uint32_t bits) {
    return [bits](Player&) { return bits; };
}

uint32_t WordUpTo(const Node& node, uint32_t most) {
    const uint32_t word = node.Word();
    if (word > most) {
        node.Fail(
            fmt::format("0x{:X} does not fit the field: expected at most 0x{:X}", word, most));
    }
    return word;
}

Bits ReadFloat(const Node& node) {
    return Constant(std::bit_cast<uint32_t>(node.Single()));
}

Bits ReadSurface(const Node& node, const Names& names, bool interface) {
    if (node.IsNull()) {
        return Constant(0);
    }
    return [name = names.Refer(NameKind::Surface, node), interface](Player& player) {
        host::Surface& surface = player.Surface(name);
        return interface ? AddressOf(surface.Interface()) : AddressOf(surface.Local());
    };
}

Bits ReadSurfaceList(const Node& node, const Names& names, bool interfaces) {
    std::vector<Bits> list;
    for (const Node& one : node.List()) {
        list.push_back(ReadSurface(one, names, interfaces));
    }
    return [list](Player& player) {
        auto* surfaces = static_cast<uint32_t*>(player.Scratch(list.size() * sizeof(uint32_t)));
        for (size_t i = 0; i < list.size(); ++i) {
            surfaces[i] = list[i](player);
        }
        return AddressOf(surfaces);
    };
}

// Fields of a record, plain or nested, as a script gives them.
void AddFields(const Node& node, const RecordType& type, const std::string& prefix,
               const Names& names, RecordValues& out) {
    Fields fields(node);
    for (const auto& [name, value] : fields.All()) {
        const std::string path = prefix.empty() ? name : prefix + "." + name;
        if (const auto place = FindField(type, path); place && place->kind == FieldKind::Present) {
            value.Fail(fmt::format("'{}' of {} cannot be given, only looked at", path, type.name));
        } else if (place) {
            out.emplace_back(*place, ReadBits(value, place->kind, names));
        } else if (value.IsObject()) {
            AddFields(value, type, path, names, out);
        } else {
            value.Fail(fmt::format("{} has no field '{}'", type.name, path));
        }
    }
}

Bits ReadDescription(const Node& node, const Names& names) {
    if (node.IsNull()) {
        return Constant(0);
    }
    return [fields = ReadRecord(node, RecordOf<DDSURFACEDESC>(), names)](Player& player) {
        auto* description = static_cast<DDSURFACEDESC*>(player.Scratch(sizeof(DDSURFACEDESC)));
        description->dwSize = sizeof(DDSURFACEDESC);
        WriteRecord(description, fields, player);
        return AddressOf(description);
    };
}

Bits ReadDisplay(const Node& node, const Names& names, FieldKind kind) {
    if (node.IsNull()) {
        return Constant(0);
    }
    return [name = names.Refer(NameKind::Display, node), kind](Player& player) {
        if (kind == FieldKind::Driver) {
            return AddressOf(player.Driver(name));
        }
        host::DirectDraw& directDraw = player.DirectDraw(name);
        return kind == FieldKind::Global ? AddressOf(directDraw.Global())
                                         : AddressOf(directDraw.Local());
    };
}

// The start of what an address is relative to.
Bits ReadBase(Fields& fields, const Names& names) {
    if (const auto surface = fields.Find("surface")) {
        return [name = names.Refer(NameKind::Surface, *surface)](Player& player) {
            return AddressOf(player.SurfaceWithMemory(name).Bytes());
        };
    }
    if (const auto memory = fields.Find("memory")) {
        return [name = names.Refer(NameKind::Memory, *memory)](Player& player) {
            return AddressOf(player.Memory(name).data());
        };
    }
    if (const auto display = fields.Find("frameBuffer")) {
        return [name = names.Refer(NameKind::Display, *display)](Player& player) {
            return AddressOf(player.Display(name).display->FrameBuffer());
        };
    }
    if (const auto display = fields.Find("localBuffer")) {
        return [name = names.Refer(NameKind::Display, *display)](Player& player) {
            return AddressOf(player.Display(name).display->LocalBuffer());
        };
    }
    for (const char* field : {"dmaBuffer", "dmaBus"}) {
        if (const auto index = fields.Find(field)) {
            const uint32_t number = index->Number(0, 9);
            const bool bus = field == std::string_view("dmaBus");
            return [name = names.DisplayOf(fields), number, bus, node = *index](Player& player) {
                host::Display& display = *player.Display(name).display;
                if (number >= display.Config().dmaBufferCount) {
                    throw NotThereError(
                        fmt::format("display '{}' has no DMA buffer {}", name, number));
                }
                return bus ? host::Display::DmaBusAddress(number)
                           : AddressOf(display.DmaBuffer(number));
            };
        }
    }
    fields.Object().Fail("expected one of 'surface', 'memory', 'frameBuffer', 'localBuffer', "
                         "'dmaBuffer' and 'dmaBus'");
}

} // namespace

std::string Names::Declare(NameKind kind, const Node& name) {
    const std::string text = name.Name();
    Declare(kind, text, name);
    return text;
}

void Names::Declare(NameKind kind, const std::string& name, const Node& place) {
    // Displays stay; the others may go and come again.
    if (!names_[kind].insert(name).second && kind == NameKind::Display) {
        place.Fail(fmt::format("there is a display '{}' already", name));
    }
}

const std::set<std::string>& Names::Of(NameKind kind) const {
    static const std::set<std::string> none;
    const auto found = names_.find(kind);
    return found == names_.end() ? none : found->second;
}

std::string Names::Refer(NameKind kind, const Node& name) const {
    const std::string text = name.Name();
    const std::set<std::string>& known = Of(kind);
    if (known.contains(text)) {
        return text;
    }
    // Chains get their names when they are made.
    const size_t dot = text.rfind('.');
    if (kind == NameKind::Surface && dot != std::string::npos &&
        known.contains(text.substr(0, dot))) {
        return text;
    }
    name.Fail(fmt::format("no step before this one makes a {} '{}'", KindName(kind), text));
}

std::string Names::DisplayOf(Fields& fields) const {
    if (const auto display = fields.Find("display")) {
        return Refer(NameKind::Display, *display);
    }
    const std::set<std::string>& displays = Of(NameKind::Display);
    if (displays.size() == 1) {
        return *displays.begin();
    }
    fields.Object().Fail(displays.empty() ? "no step before this one makes a display"
                                          : "'display' is missing: there is more than one");
}

Bits ReadAddress(const Node& node, const Names& names) {
    if (node.IsNull()) {
        return Constant(0);
    }
    if (node.IsText()) {
        const std::string name = node.Text();
        if (names.Of(NameKind::Memory).contains(name)) {
            return [name](Player& player) { return AddressOf(player.Memory(name).data()); };
        }
        return [name = names.Refer(NameKind::Surface, node)](Player& player) {
            return AddressOf(player.SurfaceWithMemory(name).Bytes());
        };
    }
    if (!node.IsObject()) {
        node.Fail("expected an address: null, a name, or an object that names one");
    }
    Fields fields(node);
    const uint32_t offset = fields.Has("offset") ? fields["offset"].Word() : 0;
    const Bits base = ReadBase(fields, names);
    fields.Done();
    return [base, offset](Player& player) { return base(player) + offset; };
}

Bits ReadWordOrAddress(const Node& node, const Names& names) {
    if (node.IsNull() || (node.IsObject() && !node.Contains("value")) ||
        (node.IsText() && (names.Of(NameKind::Memory).contains(node.Text()) ||
                           names.Of(NameKind::Surface).contains(node.Text())))) {
        return ReadAddress(node, names);
    }
    return ReadBits(node, FieldKind::Word, names);
}

Bits ReadBits(const Node& node, FieldKind kind, const Names& names) {
    switch (kind) {
    case FieldKind::Word8:
        return Constant(WordUpTo(node, 0xFF));
    case FieldKind::Word16:
        return Constant(WordUpTo(node, 0xFFFF));
    case FieldKind::Word:
    case FieldKind::Signed:
    case FieldKind::Result:
        if (node.IsObject()) { // a value that the driver gave before
            Fields fields(node);
            const std::string name = names.Refer(NameKind::Value, fields["value"]);
            fields.Done();
            return [name](Player& player) { return player.Value(name); };
        }
        return Constant(node.Word());
    case FieldKind::Float:
        return ReadFloat(node);
    case FieldKind::Flag:
    case FieldKind::Present:
        return Constant(node.Flag());
    case FieldKind::Address:
        return ReadAddress(node, names);
    case FieldKind::Global:
    case FieldKind::Local:
    case FieldKind::Driver:
        return ReadDisplay(node, names, kind);
    case FieldKind::SurfaceLocal:
        return ReadSurface(node, names, false);
    case FieldKind::SurfaceInterface:
        return ReadSurface(node, names, true);
    case FieldKind::SurfaceList:
        return ReadSurfaceList(node, names, false);
    case FieldKind::InterfaceList:
        return ReadSurfaceList(node, names, true);
    case FieldKind::Description:
        return ReadDescription(node, names);
    case FieldKind::Context:
        if (node.IsText()) {
            return [name = names.Refer(NameKind::Context, node)](Player& player) {
                return player.Device(name).Handle();
            };
        }
        return Constant(node.Number(0, 199));
    case FieldKind::Texture:
        if (node.IsText()) {
            return [name = names.Refer(NameKind::Texture, node)](Player& player) {
                return player.Texture(name);
            };
        }
        return Constant(node.Word());
    }
    node.Fail("a field of this kind cannot be given");
}

RecordValues ReadRecord(const Node& node, const RecordType& type, const Names& names) {
    RecordValues values;
    AddFields(node, type, "", names, values);
    return values;
}

void WriteRecord(void* record, const RecordValues& values, Player& player) {
    for (const auto& [place, bits] : values) {
        WriteField(record, place, bits(player));
    }
}

std::string ShowBits(Player& player, FieldKind kind, uint32_t bits) {
    switch (kind) {
    case FieldKind::Signed:
        return fmt::to_string(static_cast<int32_t>(bits));
    case FieldKind::Float:
        return fmt::format("{} (0x{:08X})", std::bit_cast<float>(bits), bits);
    case FieldKind::Flag:
    case FieldKind::Present:
        return bits != 0 ? "true" : "false";
    case FieldKind::Result:
        return host::ResultName(bits);
    case FieldKind::Address:
    case FieldKind::SurfaceList:
    case FieldKind::InterfaceList:
    case FieldKind::Description:
        return player.DescribeAddress(bits);
    case FieldKind::Global:
    case FieldKind::Local:
    case FieldKind::Driver:
    case FieldKind::SurfaceLocal:
    case FieldKind::SurfaceInterface:
        return player.DescribeObject(bits);
    default:
        return bits < 10 ? fmt::to_string(bits) : fmt::format("0x{:X} ({})", bits, bits);
    }
}

void Outcome::SetRecord(const RecordType& type, const void* record, const std::string& prefix) {
    const auto* bytes = static_cast<const uint8_t*>(record);
    records_.push_back({&type, prefix, {bytes, bytes + type.size}});
}

std::optional<uint32_t> Outcome::Find(const std::string& field) const {
    if (const auto found = values_.find(field); found != values_.end()) {
        return found->second;
    }
    for (const Record& record : records_) {
        if (field.starts_with(record.prefix)) {
            if (const auto place = FindField(*record.type, field.substr(record.prefix.size()))) {
                const uint32_t bits = ReadField(record.bytes.data(), *place);
                return place->kind == FieldKind::Present ? bits != 0 : bits;
            }
        }
    }
    return {};
}

std::function<std::optional<FieldKind>(const std::string&)> Only(FieldList fields) {
    return [list = std::vector(fields)](const std::string& name) -> std::optional<FieldKind> {
        for (const auto& [field, kind] : list) {
            if (name == field) {
                return kind;
            }
        }
        return {};
    };
}

} // namespace korv
