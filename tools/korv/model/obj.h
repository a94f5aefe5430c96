#pragma once
// Wavefront OBJ models.
#include "tools/korv/model/mesh.h"

#include <filesystem>
#include <istream>
#include <ostream>
#include <string>

namespace korv {

// Reads the model at `path`: polygons are split into triangles; diffuse colours and images of
// materials, texture coordinates and vertex colours are taken; normals that the file lacks are
// made. UserError, with the line where there is one, for a file that cannot be read, is malformed
// or has no face.
Mesh LoadObj(const std::filesystem::path& path);

// The first thing wrong with an OBJ text, as "LINE: what is wrong"; empty if nothing is.
std::string CheckObj(std::istream& text);

// Writes `mesh` as OBJ text with normals, with texture coordinates if it has any but 0, and with
// vertex colours if it has any but white; `title` goes
// into its first line.
void WriteObj(std::ostream& out, const Mesh& mesh, const std::string& title);

} // namespace korv
