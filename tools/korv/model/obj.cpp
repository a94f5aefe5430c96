#include "tools/korv/model/obj.h"

#include "tools/korv/base/errors.h"
#include "tools/korv/base/files.h"
#include "tools/korv/base/text.h"
#include "tools/korv/model/materials.h"
#include "tools/korv/model/obj_lines.h"
#include "tools/korv/model/triangulate.h"

#include <fmt/format.h>
#include <fmt/ostream.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <map>
#include <optional>
#include <unordered_map>

namespace korv {

namespace {

// What the mesh has where the file says nothing.
constexpr Vec3 kDefaultColour{0.85, 0.75, 0.6};

// A model larger than this would not fit a 32-bit process beside everything else.
constexpr size_t kMaxFileBytes = size_t{512} << 20;

constexpr std::string_view kBlanks = " \t\v\f";
constexpr size_t kLinesBetweenReports = 1 << 14;

// The next word of `rest`, which it leaves; empty at the end.
std::string_view TakeWord(std::string_view& rest) {
    const size_t begin = std::min(rest.find_first_not_of(kBlanks), rest.size());
    const size_t end = std::min(rest.find_first_of(kBlanks, begin), rest.size());
    const std::string_view word = rest.substr(begin, end - begin);
    rest.remove_prefix(end);
    return word;
}

std::string_view Trimmed(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

std::optional<float> NumberIn(std::string_view word) {
    if (word.starts_with('+')) {
        word.remove_prefix(1);
    }
    double value = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    const auto number = static_cast<float>(value);
    if (error != std::errc() || end != word.data() + word.size() || !std::isfinite(number)) {
        return {};
    }
    return number;
}

// One corner of a face: numbers from 0; -1 where the face says nothing.
struct Corner {
    int position = -1, coordinate = -1, normal = -1, material = -1;
    bool operator==(const Corner&) const = default;
};

struct HashOfCorner {
    size_t operator()(const Corner& c) const {
        size_t hash = 0;
        for (const int part : {c.position, c.coordinate, c.normal, c.material}) {
            hash = hash * 0x9E3779B1u + static_cast<size_t>(part);
        }
        return hash;
    }
};

class Parser {
  public:
    Parser(const std::filesystem::path& folder, Up up) : up_(up), materials_(folder) {}

    // Takes one line. UserError, without a line number, for what is wrong.
    void Take(std::string_view rest) {
        if (rest.find('\0') != rest.npos) {
            throw UserError("not text, expected a Wavefront OBJ model");
        }
        const std::string_view keyword = TakeWord(rest);
        if (keyword == "v") {
            TakePosition(rest);
        } else if (keyword == "vn") {
            TakeNumbers(keyword, rest, 3);
            normals_.push_back(Turned(numbers_));
        } else if (keyword == "vt") {
            const size_t count = TakeNumbers(keyword, rest, 1);
            // Files count v upwards.
            coordinates_.push_back({numbers_[0], 1 - (count > 1 ? numbers_[1] : 0.0F)});
        } else if (keyword == "f") {
            TakeFace(rest);
        } else if (keyword == "mtllib") {
            materials_.Load(Trimmed(rest), model_.warnings);
        } else if (keyword == "usemtl") {
            material_ = materials_.Find(Trimmed(rest));
        }
    }

    bool HasFace() const { return !model_.mesh.triangles.empty(); }

    ObjModel Finish() {
        Mesh& mesh = model_.mesh;
        mesh.hasCoordinates = hasAllCoordinates_;
        // Colours count if all positions have one.
        for (const uint32_t vertex : uncoloured_) {
            const auto place = static_cast<size_t>(positionOf_[vertex]);
            mesh.vertices[vertex].colour =
                colours_.size() == positions_.size() ? colours_[place] : kDefaultColour;
        }
        if (!hasAllNormals_) {
            SmoothNormals(mesh);
        }
        return std::move(model_);
    }

  private:
    struct Coordinate {
        double u, v;
    };

    // From the file's axes to those of meshes.
    Vec3 Turned(const std::vector<float>& n) const {
        // Not -z, which would make a zero negative.
        return up_ == Up::Y ? Vec3{n[0], 0.0 - n[2], n[1]} : Vec3{n[0], n[1], n[2]};
    }

    // Fills numbers_ with all of them. Returns how many there are, `least` or more.
    size_t TakeNumbers(std::string_view keyword, std::string_view rest, size_t least) {
        numbers_.clear();
        for (auto word = TakeWord(rest); !word.empty(); word = TakeWord(rest)) {
            const auto number = NumberIn(word);
            if (!number) {
                throw UserError(fmt::format("'{}' after '{}', expected a number", word, keyword));
            }
            numbers_.push_back(*number);
        }
        if (numbers_.size() < least) {
            throw UserError(fmt::format("'{}' has {}, expected {}", keyword,
                                        Count(numbers_.size(), "number"), least));
        }
        return numbers_.size();
    }

    void TakePosition(std::string_view rest) {
        constexpr size_t kWithColour = 6;
        const size_t count = TakeNumbers("v", rest, 3);
        positions_.push_back(Turned(numbers_));
        if (count >= kWithColour) {
            colours_.push_back({numbers_[3], numbers_[4], numbers_[5]});
        }
    }

    void TakeFace(std::string_view rest) {
        corners_.clear();
        places_.clear();
        for (auto word = TakeWord(rest); !word.empty(); word = TakeWord(rest)) {
            corners_.push_back(CornerIn(word));
            places_.push_back(positions_[static_cast<size_t>(corners_.back().position)]);
        }
        if (corners_.size() < 3) {
            throw UserError(
                fmt::format("face has {}, expected 3 or more", Count(corners_.size(), "corner")));
        }
        const int image =
            material_ < 0 ? -1 : ImageOf(materials_.All()[static_cast<size_t>(material_)]);
        for (const auto& [a, b, c] : Triangulate(places_)) {
            const uint32_t first = VertexOf(corners_[a]), second = VertexOf(corners_[b]);
            model_.mesh.triangles.push_back({first, second, VertexOf(corners_[c])});
            model_.mesh.imageOf.push_back(image);
        }
    }

    // Number of an element from 0: 1 is the file's first, -1 the latest of `count`.
    static int IndexIn(std::string_view word, size_t count, const char* element) {
        long index = 0;
        const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), index);
        if (error != std::errc() || end != word.data() + word.size() || index == 0) {
            throw UserError(
                fmt::format("'{}' in a face, expected the number of a {}", word, element));
        }
        const auto all = static_cast<long>(count);
        if (index > all || index < -all) {
            throw UserError(
                fmt::format("face uses {} {}, but only {} came before it", element, index, count));
        }
        return static_cast<int>(index > 0 ? index - 1 : all + index);
    }

    Corner CornerIn(std::string_view word) const {
        Corner corner;
        corner.material = material_;
        const size_t slash = word.find('/');
        corner.position = IndexIn(word.substr(0, slash), positions_.size(), "vertex");
        if (slash == word.npos) {
            return corner;
        }
        const std::string_view rest = word.substr(slash + 1);
        const size_t second = rest.find('/');
        if (const auto coordinate = rest.substr(0, second); !coordinate.empty()) {
            corner.coordinate = IndexIn(coordinate, coordinates_.size(), "texture coordinate");
        }
        if (second != rest.npos) {
            corner.normal = IndexIn(rest.substr(second + 1), normals_.size(), "normal");
        }
        return corner;
    }

    uint32_t VertexOf(const Corner& corner) {
        Mesh& mesh = model_.mesh;
        const auto [found, isNew] =
            known_.try_emplace(corner, static_cast<uint32_t>(mesh.vertices.size()));
        if (!isNew) {
            return found->second;
        }
        Vertex vertex;
        vertex.position = positions_[static_cast<size_t>(corner.position)];
        if (corner.normal >= 0) {
            vertex.normal = Normalised(normals_[static_cast<size_t>(corner.normal)]);
        } else {
            hasAllNormals_ = false;
        }
        if (corner.coordinate >= 0) {
            const Coordinate& at = coordinates_[static_cast<size_t>(corner.coordinate)];
            vertex.u = at.u;
            vertex.v = at.v;
        } else {
            hasAllCoordinates_ = false;
        }
        if (corner.material >= 0) {
            vertex.colour = materials_.All()[static_cast<size_t>(corner.material)].diffuse;
        } else {
            uncoloured_.push_back(found->second);
        }
        mesh.vertices.push_back(vertex);
        positionOf_.push_back(corner.position);
        return found->second;
    }

    // Number of its image among those of the mesh, or -1.
    int ImageOf(const Material& material) {
        if (material.image.empty()) {
            return -1;
        }
        std::vector<std::string>& images = model_.mesh.images;
        const auto found = std::ranges::find(images, material.image);
        const auto number = static_cast<int>(found - images.begin());
        if (found == images.end()) {
            images.push_back(material.image);
        }
        return number;
    }

    const Up up_;
    ObjModel model_;
    MaterialLibrary materials_;
    int material_ = -1;
    std::vector<Vec3> positions_, normals_, colours_;
    std::vector<Coordinate> coordinates_;
    std::unordered_map<Corner, uint32_t, HashOfCorner> known_;
    std::vector<int> positionOf_;      // of each vertex
    std::vector<uint32_t> uncoloured_; // vertices whose colour is their position's
    bool hasAllNormals_ = true, hasAllCoordinates_ = true;
    std::vector<float> numbers_;  // of the line
    std::vector<Corner> corners_; // of the face
    std::vector<Vec3> places_;
};

} // namespace

ObjModel ParseObj(std::string_view text, const std::filesystem::path& folder,
                  const ObjOptions& options) {
    Parser parser(folder, options.up);
    ObjLines lines(text);
    size_t taken = 0;
    for (std::string_view line; lines.Next(line);) {
        try {
            parser.Take(line);
        } catch (const UserError& error) {
            throw UserError(fmt::format("{}: {}", lines.Number(), error.what()));
        }
        if (options.progress && ++taken % kLinesBetweenReports == 0) {
            options.progress(lines.Done(), text.size());
        }
    }
    if (!parser.HasFace()) {
        throw UserError(fmt::format("{}: no face ('f') in the file", lines.Number()));
    }
    return parser.Finish();
}

ObjModel ReadObjModel(const std::filesystem::path& path, const ObjOptions& options) {
    std::error_code none;
    if (std::filesystem::is_directory(path, none)) {
        throw UserError(
            fmt::format("cannot read '{}': it is a folder, expected an OBJ model", path.string()));
    }
    const std::string text = ReadFile(path, kMaxFileBytes);
    try {
        return ParseObj(text, path.parent_path(), options);
    } catch (const UserError& error) {
        throw UserError(fmt::format("{}:{}", path.string(), error.what()));
    }
}

Mesh LoadObj(const std::filesystem::path& path) {
    return ReadObjModel(path, {}).mesh;
}

void WriteObj(std::ostream& out, const Mesh& mesh, const std::string& title) {
    fmt::print(out, "# {}\n", title);
    // Never -0.00000.
    const auto tidy = [](double value) { return std::abs(value) < 5e-6 ? 0.0 : value; };
    const auto upright = [&](const Vec3& v) { return Vec3{tidy(v.x), tidy(v.z), tidy(-v.y)}; };
    const bool coloured = std::ranges::any_of(mesh.vertices, [](const Vertex& v) {
        return v.colour != Vec3{1, 1, 1};
    });
    for (const Vertex& v : mesh.vertices) {
        const Vec3 position = upright(v.position);
        fmt::print(out, "v {:.5f} {:.5f} {:.5f}", position.x, position.y, position.z);
        if (coloured) {
            fmt::print(out, " {:.3f} {:.3f} {:.3f}", v.colour.x, v.colour.y, v.colour.z);
        }
        fmt::print(out, "\n");
    }
    const bool mapped =
        std::ranges::any_of(mesh.vertices, [](const Vertex& v) { return v.u != 0 || v.v != 0; });
    if (mapped) {
        for (const Vertex& v : mesh.vertices) {
            fmt::print(out, "vt {:.5f} {:.5f}\n", tidy(v.u), tidy(1 - v.v));
        }
    }
    for (const Vertex& v : mesh.vertices) {
        const Vec3 normal = upright(v.normal);
        fmt::print(out, "vn {:.5f} {:.5f} {:.5f}\n", normal.x, normal.y, normal.z);
    }
    for (const auto& [a, b, c] : mesh.triangles) {
        fmt::print(out,
                   fmt::runtime(mapped ? "f {0}/{0}/{0} {1}/{1}/{1} {2}/{2}/{2}\n"
                                       : "f {0}//{0} {1}//{1} {2}//{2}\n"),
                   a + 1, b + 1, c + 1);
    }
}

} // namespace korv
