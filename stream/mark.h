#pragma once
// Marks for people: what the board knows nothing of.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace stream {

// The numbers are those of the file format. docs/capture.md tells the fields of each.
enum class MarkKind : uint32_t {
    Display = 1,     // a display has been switched on
    Mode = 2,        // it has a new mode
    Surface = 3,     // a surface was made
    SurfaceName = 4, // it got another name
    SurfaceGone = 5,
    Context = 6, // a Direct3D context was made
    ContextGone = 7,
    Call = 8,        // the driver is called
    CallEnd = 9,     // it has returned
    Words = 10,      // words of a call follow
    Primitives = 11, // they end here: which words each primitive was made of
    Batch = 12,      // a DMA transfer begins, or words of a call by FIFO
    Flip = 13,       // surfaces have changed places
    Frame = 14,      // a frame ends
    Picture = 15,    // somebody reads a picture
    Step = 16,       // a step of a script begins
    End = 17,        // of the capture
};

// Null for a number that stands for nothing known.
const char* NameOf(MarkKind kind);

struct MarkField {
    std::string name;
    std::variant<int64_t, std::string> value;
    bool operator==(const MarkField&) const = default;
};

struct Mark {
    MarkKind kind{};
    std::string name; // of the thing that it is about; may be empty
    std::vector<MarkField> fields;

    Mark() = default;
    explicit Mark(MarkKind markKind, std::string markName = {})
        : kind(markKind), name(std::move(markName)) {}
    Mark& Add(std::string field, int64_t value) {
        fields.push_back({std::move(field), value});
        return *this;
    }
    Mark& Add(std::string field, std::string value) {
        fields.push_back({std::move(field), std::move(value)});
        return *this;
    }
    // Nothing if there is no such field, or one of the other type.
    std::optional<int64_t> Number(std::string_view field) const;
    const std::string* Text(std::string_view field) const;
    bool operator==(const Mark&) const = default;
};

} // namespace stream
