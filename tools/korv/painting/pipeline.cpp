#include "tools/korv/painting/pipeline.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace korv {

namespace {

// Both a batch's vertices and its triangles are counted in 16 bits.
constexpr size_t kMaxBatch = 0xFFFF;

constexpr uint32_t kNoIndex = ~0u;

Vec3 Lit(const Vec3& colour, const Vec3& normal, const Light& light) {
    const double lambert = std::max(0.0, Dot(normal, Normalised(light.towards)));
    return colour * (light.ambient + light.diffuse * lambert);
}

double Highlight(const Vec3& position, const Vec3& normal, const Vec3& eye, const Light& light) {
    if (light.gloss == 0) {
        return 0;
    }
    const Vec3 half = Normalised(Normalised(light.towards) + Normalised(eye - position));
    return light.gloss * std::pow(std::max(0.0, Dot(normal, half)), light.shininess);
}

double Visibility(double distance, const std::optional<Fog>& fog) {
    return fog ? std::clamp((fog->end - distance) / (fog->end - fog->start), 0.0, 1.0) : 1.0;
}

class BatchBuilder {
  public:
    BatchBuilder(size_t vertices, Extent extent) : extent_(extent), places_(vertices) {
        std::ranges::fill(places_, kNoIndex);
    }

    // A triangle inside the view. Vertices with the same `sources` are sent once when `share`.
    void Add(const std::array<ClipVertex, 3>& corners, const std::array<uint32_t, 3>& sources,
             bool share) {
        MakeRoom(3, 1);
        std::array<WORD, 3> indices;
        for (int corner = 0; corner < 3; ++corner) {
            uint32_t& place = places_[sources[corner]];
            if (!share || place == kNoIndex) {
                place = Append(corners[corner]);
            }
            indices[corner] = static_cast<WORD>(place);
        }
        AppendTriangle(indices[0], indices[1], indices[2]);
    }

    // A convex polygon, as a fan about its first vertex.
    void AddPolygon(const std::vector<ClipVertex>& polygon) {
        MakeRoom(polygon.size(), polygon.size());
        std::vector<WORD> indices;
        for (const ClipVertex& vertex : polygon) {
            indices.push_back(static_cast<WORD>(Append(vertex)));
        }
        for (size_t i = 2; i < indices.size(); ++i) {
            AppendTriangle(indices[0], indices[i - 1], indices[i]);
        }
    }

    std::vector<Batch> Take() { return std::move(batches_); }

  private:
    void MakeRoom(size_t vertices, size_t triangles) {
        if (!batches_.empty() && batches_.back().vertices.size() + vertices <= kMaxBatch &&
            batches_.back().triangles.size() + triangles <= kMaxBatch) {
            return;
        }
        batches_.emplace_back();
        std::ranges::fill(places_, kNoIndex);
    }
    uint32_t Append(const ClipVertex& vertex) {
        batches_.back().vertices.push_back(Project(vertex, extent_));
        return static_cast<uint32_t>(batches_.back().vertices.size() - 1);
    }
    void AppendTriangle(WORD v1, WORD v2, WORD v3) {
        batches_.back().triangles.push_back({{v1}, {v2}, {v3}, D3DTRIFLAG_EDGEENABLETRIANGLE});
    }

    Extent extent_;
    std::vector<uint32_t> places_; // of each vertex in the batch under way
    std::vector<Batch> batches_;
};

// Drawing order of the triangles: the farther middle first.
std::vector<uint32_t> BackToFront(const Mesh& mesh, const std::vector<ClipVertex>& vertices) {
    std::vector<double> distance;
    for (const auto& [a, b, c] : mesh.triangles) {
        distance.push_back(vertices[a].position.w + vertices[b].position.w +
                           vertices[c].position.w);
    }
    std::vector<uint32_t> order(mesh.triangles.size());
    std::iota(order.begin(), order.end(), 0);
    std::ranges::stable_sort(order,
                             [&](uint32_t a, uint32_t b) { return distance[a] > distance[b]; });
    return order;
}

} // namespace

D3DCOLOR PackColour(const Vec3& colour, double alpha) {
    const auto byte = [](double channel) {
        return static_cast<D3DCOLOR>(std::lround(std::clamp(channel, 0.0, 1.0) * 255));
    };
    return byte(alpha) << 24 | byte(colour.x) << 16 | byte(colour.y) << 8 | byte(colour.z);
}

D3DTLVERTEX Project(const ClipVertex& vertex, Extent extent) {
    const Vec4& p = vertex.position;
    const double inverse = 1 / p.w;
    // A vertex cut at the border of the view may miss it by a rounding.
    const auto onScreen = [](double unit, int size) {
        return static_cast<float>(std::clamp(unit * size, 0.0, static_cast<double>(size)));
    };
    return {onScreen((1 + p.x * inverse) / 2, extent.width),
            onScreen((1 - p.y * inverse) / 2, extent.height),
            static_cast<float>(std::clamp(p.z * inverse, 0.0, 1.0)),
            static_cast<float>(inverse),
            PackColour(vertex.colour, vertex.alpha),
            PackColour(Vec3{1, 1, 1} * vertex.highlight, vertex.visibility),
            static_cast<float>(vertex.u),
            static_cast<float>(vertex.v)};
}

std::vector<ClipVertex> Transform(const Mesh& mesh, const Camera& camera,
                                  const DrawOptions& options) {
    std::vector<ClipVertex> vertices;
    vertices.reserve(mesh.vertices.size());
    for (const Vertex& v : mesh.vertices) {
        const Vec4 clip = camera.modelToClip * Vec4{v.position.x, v.position.y, v.position.z, 1};
        vertices.push_back({clip, Lit(v.colour, v.normal, options.light), options.alpha,
                            Visibility(clip.w, options.fog), v.u, v.v,
                            Highlight(v.position, v.normal, camera.eye, options.light)});
    }
    return vertices;
}

std::vector<Batch> Process(const Mesh& mesh, const Camera& camera, Extent extent,
                           const DrawOptions& options) {
    const std::vector<ClipVertex> vertices = Transform(mesh, camera, options);
    std::vector<uint32_t> order;
    if (options.backToFront) {
        order = BackToFront(mesh, vertices);
    }

    const bool flat = options.shading == Shading::Flat;
    BatchBuilder builder(vertices.size(), extent);
    for (size_t i = 0; i < mesh.triangles.size(); ++i) {
        const auto& triangle = mesh.triangles[options.backToFront ? order[i] : i];
        std::array<ClipVertex, 3> corners{vertices[triangle[0]], vertices[triangle[1]],
                                          vertices[triangle[2]]};
        if (flat) {
            // The device takes a flat triangle's colour from its first vertex.
            const Vertex& first = mesh.vertices[triangle[0]];
            const Vec3 normal = FaceNormal(mesh, triangle);
            for (ClipVertex& corner : corners) {
                corner.colour = Lit(first.colour, normal, options.light);
                corner.highlight = Highlight(first.position, normal, camera.eye, options.light);
            }
        }
        const uint32_t codes[3] = {Outcode(corners[0].position), Outcode(corners[1].position),
                                   Outcode(corners[2].position)};
        if (codes[0] & codes[1] & codes[2]) {
            continue;
        }
        if ((codes[0] | codes[1] | codes[2]) == 0) {
            builder.Add(corners, triangle, !flat);
            continue;
        }
        const auto polygon = ClipTriangle(corners[0], corners[1], corners[2]);
        if (polygon.size() >= 3) {
            builder.AddPolygon(polygon);
        }
    }
    return builder.Take();
}

void SetLightStates(Painter& painter, const DrawOptions& options) {
    painter.State(D3DRENDERSTATE_SHADEMODE,
                  options.shading == Shading::Flat ? D3DSHADE_FLAT : D3DSHADE_GOURAUD);
    painter.State(D3DRENDERSTATE_FOGENABLE, options.fog.has_value());
    if (options.fog) {
        painter.State(D3DRENDERSTATE_FOGCOLOR, options.fog->colour);
    }
    painter.State(D3DRENDERSTATE_SPECULARENABLE, options.light.gloss > 0);
}

void DrawMesh(Painter& painter, const Mesh& mesh, const Camera& camera,
              const DrawOptions& options) {
    SetLightStates(painter, options);
    const std::vector<Batch> batches = Process(mesh, painter.Seen(camera), painter.Size(), options);
    size_t done = 0, all = 0;
    for (const Batch& batch : batches) {
        all += batch.triangles.size();
    }
    for (const Batch& batch : batches) {
        painter.Triangles(batch.vertices, batch.triangles);
        done += batch.triangles.size();
        if (options.progress) {
            options.progress(done, all);
        }
    }
}

} // namespace korv
