#pragma once
// Wavefront OBJ models.
#include "tools/korv/model/mesh.h"

#include <cstddef>
#include <filesystem>
#include <functional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace korv {

// Which axis points upwards in a model file. In meshes here it is z, and models face the -y side:
// the +z side of a file whose y points upwards.
enum class Up { Y, Z };

struct ObjOptions {
    Up up = Up::Y;
    // Called now and then with the bytes done and all of them.
    std::function<void(size_t done, size_t all)> progress;
};

struct ObjModel {
    Mesh mesh;
    std::vector<std::string> warnings; // one line each: material files that could not be read
};

// Reads the model at `path`: polygons, concave ones too, are split into triangles; diffuse colours
// and images of materials, texture coordinates and vertex colours are taken; normals that the file
// lacks are made. UserError, with the line where there is one, for a file that cannot be read, is
// malformed or has no face.
ObjModel ReadObjModel(const std::filesystem::path& path, const ObjOptions& options);

// The same, y upwards, without what there is to warn of.
Mesh LoadObj(const std::filesystem::path& path);

// The model of an OBJ text whose material files are in `folder`. UserError, as "LINE: what is
// wrong", for a text that is malformed or has no face.
ObjModel ParseObj(std::string_view text, const std::filesystem::path& folder,
                  const ObjOptions& options);

// Writes `mesh` as OBJ text, y upwards, with normals, with texture coordinates if it has any but 0,
// and with vertex colours if it has any but white; `title` goes into its first line.
void WriteObj(std::ostream& out, const Mesh& mesh, const std::string& title);

} // namespace korv
