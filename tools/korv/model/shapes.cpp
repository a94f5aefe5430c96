#include "tools/korv/model/shapes.h"

#include <algorithm>
#include <functional>
#include <map>
#include <numbers>
#include <utility>

namespace korv {

namespace {

constexpr double kTurn = 2 * std::numbers::pi;
constexpr Vec3 kWhite{1, 1, 1};

// A closed tube: `at(i, j)` gives vertex j of ring i. Both ways wrap around, with vertices of
// their own at the seam. The texture goes `uRepeat` times along and once around.
Mesh Tube(int along, int around, int uRepeat, const std::function<Vertex(int, int)>& at) {
    Mesh mesh;
    for (int i = 0; i <= along; ++i) {
        for (int j = 0; j <= around; ++j) {
            Vertex vertex = at(i % along, j % around);
            vertex.u = 1.0 * uRepeat * i / along;
            vertex.v = 1.0 * j / around;
            mesh.vertices.push_back(vertex);
        }
    }
    const auto index = [&](int i, int j) { return static_cast<uint32_t>(i * (around + 1) + j); };
    for (int i = 0; i < along; ++i) {
        for (int j = 0; j < around; ++j) {
            const uint32_t a = index(i, j), b = index(i + 1, j), c = index(i + 1, j + 1),
                           d = index(i, j + 1);
            mesh.triangles.push_back({a, b, c});
            mesh.triangles.push_back({a, c, d});
        }
    }
    return mesh;
}

// A grid of quads over (u, v) in -1 to 1: front faces are seen from where u to v runs
// counter-clockwise. The texture lies upright over all of it.
void AddGrid(Mesh& mesh, int cells, const std::function<Vertex(double, double)>& at) {
    const auto first = static_cast<uint32_t>(mesh.vertices.size());
    for (int j = 0; j <= cells; ++j) {
        for (int i = 0; i <= cells; ++i) {
            Vertex vertex = at(2.0 * i / cells - 1, 2.0 * j / cells - 1);
            vertex.u = 1.0 * i / cells;
            vertex.v = 1 - 1.0 * j / cells;
            mesh.vertices.push_back(vertex);
        }
    }
    const auto index = [&](int i, int j) {
        return first + static_cast<uint32_t>(j * (cells + 1) + i);
    };
    for (int j = 0; j < cells; ++j) {
        for (int i = 0; i < cells; ++i) {
            mesh.triangles.push_back({index(i, j), index(i + 1, j), index(i + 1, j + 1)});
            mesh.triangles.push_back({index(i, j), index(i + 1, j + 1), index(i, j + 1)});
        }
    }
}

constexpr Shape kShapes[] = {
    {"torus-knot", "a (2, 3) torus knot, 160 by 16 quads",
     [] { return TorusKnot(2, 3, 0.35, 160, 16); }},
    {"torus", "a ring, 48 by 24 quads", [] { return Torus(1.0, 0.4, 48, 24); }},
    {"icosphere", "a sphere of 1280 triangles", [] { return Icosphere(3); }},
    {"cube", "a cube of six colours, 8 by 8 quads a side", [] { return Cube(8); }},
    {"ripples", "a square sheet with round waves, 48 by 48 quads", [] { return Ripples(48); }},
};

} // namespace

Mesh TorusKnot(int p, int q, double tube, int along, int around) {
    const auto curve = [&](double t) {
        const double r = 2 + std::cos(q * t);
        return Vec3{r * std::cos(p * t), r * std::sin(p * t), -std::sin(q * t)};
    };
    return Tube(along, around, 4 * p, [&](int i, int j) {
        constexpr double kStep = 1e-4;
        const double t = kTurn * i / along, angle = kTurn * j / around;
        const Vec3 centre = curve(t);
        const Vec3 forward = Normalised(curve(t + kStep) - curve(t - kStep));
        // The knot never runs along its own radius, so that this frame closes after a round.
        const Vec3 outward = Normalised({centre.x, centre.y, 0});
        const Vec3 side = Normalised(Cross(forward, outward));
        const Vec3 up = Cross(side, forward);
        const Vec3 normal = up * std::cos(angle) - side * std::sin(angle);
        return Vertex{centre + normal * tube, normal, kWhite};
    });
}

Mesh Torus(double major, double minor, int along, int around) {
    return Tube(along, around, 3, [&](int i, int j) {
        const double t = kTurn * i / along, angle = kTurn * j / around;
        const Vec3 outward{std::cos(t), std::sin(t), 0};
        const Vec3 normal = outward * std::cos(angle) + Vec3{0, 0, std::sin(angle)};
        return Vertex{outward * major + normal * minor, normal, kWhite};
    });
}

Mesh Icosphere(int splits) {
    const double g = std::numbers::phi;
    const Vec3 corners[12] = {{-1, g, 0}, {1, g, 0}, {-1, -g, 0}, {1, -g, 0},
                              {0, -1, g}, {0, 1, g}, {0, -1, -g}, {0, 1, -g},
                              {g, 0, -1}, {g, 0, 1}, {-g, 0, -1}, {-g, 0, 1}};
    Mesh mesh;
    const auto add = [&](const Vec3& direction) {
        const Vec3 p = Normalised(direction);
        // From the z axis downwards, and around it once there and once back: no seam.
        const double u = std::abs(std::atan2(p.x, -p.y)) / std::numbers::pi;
        const double v = std::acos(std::clamp(p.z, -1.0, 1.0)) / std::numbers::pi;
        mesh.vertices.push_back({p, p, kWhite, u, v});
        return static_cast<uint32_t>(mesh.vertices.size() - 1);
    };
    for (const Vec3& corner : corners) {
        add(corner);
    }
    mesh.triangles = {{0, 11, 5}, {0, 5, 1},  {0, 1, 7},   {0, 7, 10}, {0, 10, 11},
                      {1, 5, 9},  {5, 11, 4}, {11, 10, 2}, {10, 7, 6}, {7, 1, 8},
                      {3, 9, 4},  {3, 4, 2},  {3, 2, 6},   {3, 6, 8},  {3, 8, 9},
                      {4, 9, 5},  {2, 4, 11}, {6, 2, 10},  {8, 6, 7},  {9, 8, 1}};
    for (int split = 0; split < splits; ++split) {
        std::map<std::pair<uint32_t, uint32_t>, uint32_t> middles;
        const auto middle = [&](uint32_t a, uint32_t b) {
            const auto [found, isNew] = middles.try_emplace(std::minmax(a, b), 0);
            if (isNew) {
                found->second = add(mesh.vertices[a].position + mesh.vertices[b].position);
            }
            return found->second;
        };
        std::vector<std::array<uint32_t, 3>> finer;
        for (const auto& [a, b, c] : mesh.triangles) {
            const uint32_t ab = middle(a, b), bc = middle(b, c), ca = middle(c, a);
            finer.insert(finer.end(), {{a, ab, ca}, {b, bc, ab}, {c, ca, bc}, {ab, bc, ca}});
        }
        mesh.triangles = std::move(finer);
    }
    return mesh;
}

Mesh Cube(int cells) {
    struct Side {
        Vec3 u, v, colour;
    };
    // u, v and the outward normal u x v.
    const Side sides[6] = {
        {{0, 1, 0}, {0, 0, 1}, {0.9, 0.3, 0.25}},  {{0, 0, 1}, {0, 1, 0}, {0.3, 0.8, 0.85}},
        {{0, 0, 1}, {1, 0, 0}, {0.35, 0.8, 0.35}}, {{1, 0, 0}, {0, 0, 1}, {0.85, 0.4, 0.8}},
        {{1, 0, 0}, {0, 1, 0}, {0.3, 0.45, 0.95}}, {{0, 1, 0}, {1, 0, 0}, {0.95, 0.85, 0.3}}};
    Mesh mesh;
    for (const Side& side : sides) {
        const Vec3 normal = Cross(side.u, side.v);
        AddGrid(mesh, cells, [&](double u, double v) {
            return Vertex{side.u * u + side.v * v + normal, normal, side.colour};
        });
    }
    return mesh;
}

Mesh Ripples(int cells) {
    constexpr double kHeight = 0.12, kWaves = 3 * std::numbers::pi;
    Mesh mesh;
    AddGrid(mesh, cells, [&](double u, double v) {
        const double r = std::hypot(u, v);
        // d/dr of the height, divided by r; it tends to -kHeight * kWaves^2 in the middle.
        const double slope =
            r > 0 ? -kHeight * kWaves * std::sin(kWaves * r) / r : -kHeight * kWaves * kWaves;
        return Vertex{{u, v, kHeight * std::cos(kWaves * r)},
                      Normalised({-slope * u, -slope * v, 1}),
                      {0.35 + 0.25 * (u + 1), 0.6, 0.4 + 0.25 * (v + 1)}};
    });
    return mesh;
}

std::span<const Shape> NamedShapes() {
    return kShapes;
}

const Shape* FindShape(std::string_view name) {
    const auto found = std::ranges::find(kShapes, name, &Shape::name);
    return found == std::end(kShapes) ? nullptr : found;
}

} // namespace korv
