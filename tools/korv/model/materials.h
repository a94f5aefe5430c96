#pragma once
// Material files of Wavefront models.
#include "tools/korv/model/vec.h"

#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace korv {

struct Material {
    Vec3 diffuse;      // red, green, blue, 0 to 1
    std::string image; // path of its diffuse image, empty for none
};

// The materials of a model whose files are in one folder.
class MaterialLibrary {
  public:
    explicit MaterialLibrary(std::filesystem::path folder) : folder_(std::move(folder)) {}

    // Adds what the files of a line behind 'mtllib' say. A file that cannot be read is one more
    // line of `warnings`.
    void Load(std::string_view files, std::vector<std::string>& warnings);
    // Its number among All(), or -1.
    int Find(std::string_view name) const;
    const std::vector<Material>& All() const { return materials_; }

  private:
    std::filesystem::path folder_;
    std::vector<Material> materials_;
    std::map<std::string, int, std::less<>> numbers_;
};

} // namespace korv
