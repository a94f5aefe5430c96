#include "tools/korv/model/mesh.h"

#include <algorithm>
#include <map>
#include <tuple>

namespace korv {

namespace {

// Twice the area long, along the normal.
Vec3 AreaVector(const Mesh& mesh, const std::array<uint32_t, 3>& triangle) {
    const Vec3& a = mesh.vertices[triangle[0]].position;
    return Cross(mesh.vertices[triangle[1]].position - a, mesh.vertices[triangle[2]].position - a);
}

} // namespace

Sphere BoundingSphere(const Mesh& mesh) {
    if (mesh.triangles.empty()) {
        return {};
    }
    Vec3 low = mesh.vertices[mesh.triangles[0][0]].position, high = low;
    for (const auto& triangle : mesh.triangles) {
        for (uint32_t index : triangle) {
            const Vec3& p = mesh.vertices[index].position;
            low = {std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z)};
            high = {std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z)};
        }
    }
    Sphere sphere{(low + high) * 0.5, 0};
    for (const auto& triangle : mesh.triangles) {
        for (uint32_t index : triangle) {
            sphere.radius =
                std::max(sphere.radius, Length(mesh.vertices[index].position - sphere.centre));
        }
    }
    return sphere;
}

Vec3 FaceNormal(const Mesh& mesh, const std::array<uint32_t, 3>& triangle) {
    return Normalised(AreaVector(mesh, triangle));
}

void SmoothNormals(Mesh& mesh) {
    const auto place = [&](uint32_t index) {
        const Vec3& p = mesh.vertices[index].position;
        return std::tuple(p.x, p.y, p.z);
    };
    std::map<std::tuple<double, double, double>, Vec3> sums;
    for (const auto& triangle : mesh.triangles) {
        const Vec3 area = AreaVector(mesh, triangle);
        for (uint32_t index : triangle) {
            Vec3& sum = sums[place(index)];
            sum = sum + area;
        }
    }
    for (uint32_t index = 0; index < mesh.vertices.size(); ++index) {
        if (const auto found = sums.find(place(index)); found != sums.end()) {
            mesh.vertices[index].normal = Normalised(found->second);
        }
    }
}

} // namespace korv
