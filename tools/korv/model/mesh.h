#pragma once
// Triangle meshes in model space.
#include "tools/korv/model/vec.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace korv {

struct Vertex {
    Vec3 position;
    Vec3 normal;          // length 1
    Vec3 colour{1, 1, 1}; // red, green, blue, 0 to 1
    double u = 0, v = 0;  // texture coordinates: 0 to 1 across the image, v downwards
};

// Front faces run counter-clockwise seen from outside.
struct Mesh {
    std::vector<Vertex> vertices;
    std::vector<std::array<uint32_t, 3>> triangles;
    // What a model file may add: whether it gives texture coordinates to every vertex, the image
    // files of its materials, and each triangle's among them, -1 for none.
    bool hasCoordinates = false;
    std::vector<std::string> images;
    std::vector<int> imageOf;
};

struct Sphere {
    Vec3 centre;
    double radius = 0;
};

// The sphere about the centre of the mesh's bounding box that holds every vertex that a triangle
// uses.
Sphere BoundingSphere(const Mesh& mesh);

// Normal of a triangle's plane, length 1; (0, 0, 0) for a triangle without area.
Vec3 FaceNormal(const Mesh& mesh, const std::array<uint32_t, 3>& triangle);

// Sets each vertex's normal to the mean of its triangles' normals, weighted by area. Vertices at
// the same place count as one, so that seams stay smooth.
void SmoothNormals(Mesh& mesh);

} // namespace korv
