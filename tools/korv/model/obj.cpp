#include "tools/korv/model/obj.h"

#include "tools/korv/base/errors.h"

#include <fmt/format.h>
#include <fmt/ostream.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <map>
#include <tuple>

// The bodies of the library, compiled here.
#define TINYOBJLOADER_IMPLEMENTATION
#include <tiny_obj_loader.h>

namespace korv {

namespace {

// What the mesh has where the file says nothing.
constexpr Vec3 kDefaultColour{0.85, 0.75, 0.6};

// A model larger than this would not fit a 32-bit process beside everything else.
constexpr std::uintmax_t kMaxFileBytes = 512u << 20;

void CheckFile(const std::filesystem::path& path) {
    std::error_code error;
    if (std::filesystem::is_directory(path, error)) {
        throw UserError(
            fmt::format("cannot read '{}': it is a folder, expected an OBJ model", path.string()));
    }
    errno = 0;
    std::ifstream text(path, std::ios::binary);
    if (!text) {
        throw UserError(fmt::format("cannot read '{}': {}", path.string(), std::strerror(errno)));
    }
    if (std::filesystem::file_size(path, error) > kMaxFileBytes && !error) {
        throw UserError(
            fmt::format("cannot read '{}': larger than {} MB", path.string(), kMaxFileBytes >> 20));
    }
    if (const std::string wrong = CheckObj(text); !wrong.empty()) {
        throw UserError(fmt::format("{}:{}", path.string(), wrong));
    }
}

} // namespace

Mesh LoadObj(const std::filesystem::path& path) {
    CheckFile(path);
    tinyobj::ObjReader reader;
    tinyobj::ObjReaderConfig config;
    config.triangulate = true;
    config.vertex_color = false; // no colours made up where the file has none
    config.mtl_search_path = path.parent_path().string();
    if (!reader.ParseFromFile(path.string(), config)) {
        std::string reason = reader.Error();
        reason = reason.substr(0, reason.find('\n'));
        throw UserError(fmt::format("cannot read '{}': {}", path.string(), reason));
    }
    const tinyobj::attrib_t& attrib = reader.GetAttrib();
    const auto triple = [](const std::vector<tinyobj::real_t>& values, int index) {
        return Vec3{values[3 * index], values[3 * index + 1], values[3 * index + 2]};
    };

    Mesh mesh;
    bool hasAllNormals = true;
    mesh.hasCoordinates = true;
    const bool hasColours = !attrib.colors.empty();
    std::vector<int> imageOfMaterial;
    for (const tinyobj::material_t& material : reader.GetMaterials()) {
        imageOfMaterial.push_back(-1);
        if (material.diffuse_texname.empty()) {
            continue;
        }
        const std::string image = (path.parent_path() / material.diffuse_texname).string();
        const auto found = std::ranges::find(mesh.images, image);
        imageOfMaterial.back() = static_cast<int>(found - mesh.images.begin());
        if (found == mesh.images.end()) {
            mesh.images.push_back(image);
        }
    }
    std::map<std::tuple<int, int, int, int>, uint32_t> known;
    for (const tinyobj::shape_t& shape : reader.GetShapes()) {
        const std::vector<tinyobj::index_t>& corners = shape.mesh.indices;
        for (size_t i = 0; i + 2 < corners.size(); i += 3) {
            const int material = shape.mesh.material_ids[i / 3];
            std::array<uint32_t, 3> triangle;
            for (int corner = 0; corner < 3; ++corner) {
                const tinyobj::index_t& index = corners[i + corner];
                const auto [found, isNew] = known.try_emplace(
                    {index.vertex_index, index.normal_index, index.texcoord_index, material},
                    static_cast<uint32_t>(mesh.vertices.size()));
                triangle[corner] = found->second;
                if (!isNew) {
                    continue;
                }
                Vertex vertex;
                vertex.position = triple(attrib.vertices, index.vertex_index);
                if (index.normal_index >= 0) {
                    vertex.normal = Normalised(triple(attrib.normals, index.normal_index));
                } else {
                    hasAllNormals = false;
                }
                if (index.texcoord_index >= 0) {
                    // Files count v upwards.
                    vertex.u = attrib.texcoords[2 * index.texcoord_index];
                    vertex.v = 1 - attrib.texcoords[2 * index.texcoord_index + 1];
                } else {
                    mesh.hasCoordinates = false;
                }
                if (material >= 0) {
                    const auto& diffuse = reader.GetMaterials()[material].diffuse;
                    vertex.colour = {diffuse[0], diffuse[1], diffuse[2]};
                } else {
                    vertex.colour =
                        hasColours ? triple(attrib.colors, index.vertex_index) : kDefaultColour;
                }
                mesh.vertices.push_back(vertex);
            }
            mesh.triangles.push_back(triangle);
            mesh.imageOf.push_back(material >= 0 ? imageOfMaterial[material] : -1);
        }
    }
    if (mesh.triangles.empty()) {
        throw UserError(fmt::format("'{}' has no face with an area", path.string()));
    }
    if (!hasAllNormals) {
        SmoothNormals(mesh);
    }
    return mesh;
}

void WriteObj(std::ostream& out, const Mesh& mesh, const std::string& title) {
    fmt::print(out, "# {}\n", title);
    // Never -0.00000.
    const auto tidy = [](double value) { return std::abs(value) < 5e-6 ? 0.0 : value; };
    const bool coloured = std::ranges::any_of(mesh.vertices, [](const Vertex& v) {
        return v.colour != Vec3{1, 1, 1};
    });
    for (const Vertex& v : mesh.vertices) {
        fmt::print(out, "v {:.5f} {:.5f} {:.5f}", tidy(v.position.x), tidy(v.position.y),
                   tidy(v.position.z));
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
        fmt::print(out, "vn {:.5f} {:.5f} {:.5f}\n", tidy(v.normal.x), tidy(v.normal.y),
                   tidy(v.normal.z));
    }
    for (const auto& [a, b, c] : mesh.triangles) {
        fmt::print(out,
                   fmt::runtime(mapped ? "f {0}/{0}/{0} {1}/{1}/{1} {2}/{2}/{2}\n"
                                       : "f {0}//{0} {1}//{1} {2}//{2}\n"),
                   a + 1, b + 1, c + 1);
    }
}

} // namespace korv
