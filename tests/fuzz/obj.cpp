// Wavefront models with their materials. An input: the model, then behind a line "#MTL" what m.mtl
// holds.
#include "tools/korv/model/obj.h"

#include "tests/fuzz/target.h"
#include "tools/korv/base/errors.h"
#include "tools/korv/model/camera.h"
#include "tools/korv/painting/pipeline.h"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <unistd.h>

namespace fuzz {

namespace {

constexpr std::string_view kMaterials = "#MTL\n";
constexpr size_t kMostTriangles = 2000;

// A folder with m.mtl in it, for as long as the process lives.
class Folder {
  public:
    Folder()
        : path_(std::filesystem::temp_directory_path() /
                ("korv-fuzz-" + std::to_string(getpid()))) {
        std::filesystem::create_directories(path_);
    }
    ~Folder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    const std::filesystem::path& Path() const { return path_; }
    void Set(std::string_view text) {
        if (text != text_ || text.empty()) {
            text_ = text;
            std::ofstream(path_ / "m.mtl", std::ios::binary) << text_;
        }
    }

  private:
    std::filesystem::path path_;
    std::string text_;
};

} // namespace

void RunObj(Bytes bytes) {
    static Folder folder;
    const std::string_view all(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    const size_t materials = all.find(kMaterials);
    folder.Set(materials == all.npos ? "" : all.substr(materials + kMaterials.size()));
    korv::ObjModel model;
    try {
        model = korv::ParseObj(all.substr(0, materials), folder.Path(), {});
    } catch (const korv::UserError& error) {
        Expect(std::string_view(error.what()).find('\n') == std::string_view::npos,
               "a complaint of several lines");
        return;
    }
    const korv::Mesh& mesh = model.mesh;
    Expect(mesh.imageOf.size() == mesh.triangles.size(), "triangles without a place for an image");
    for (const auto& triangle : mesh.triangles) {
        for (const uint32_t vertex : triangle) {
            Expect(vertex < mesh.vertices.size(), "a triangle of vertices that are not there");
        }
    }
    if (mesh.triangles.size() > kMostTriangles) {
        return;
    }
    constexpr korv::Extent kExtent{64, 48};
    const korv::Camera camera = korv::FitCamera(korv::BoundingSphere(mesh), {}, kExtent);
    korv::DrawOptions options;
    options.fog = korv::Fog{camera.nearPlane, camera.farPlane, 0};
    options.backToFront = bytes.size() % 2 != 0;
    for (const korv::Batch& batch : korv::Process(mesh, camera, kExtent, options)) {
        for (const D3DTRIANGLE& triangle : batch.triangles) {
            Expect(triangle.v1 < batch.vertices.size() && triangle.v2 < batch.vertices.size() &&
                       triangle.v3 < batch.vertices.size(),
                   "a batch of vertices that are not there");
        }
    }
    std::ostringstream written;
    korv::WriteObj(written, mesh, "fuzzer");
}

} // namespace fuzz
