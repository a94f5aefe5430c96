#include "tools/korv/reference/reference.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <stdexcept>

namespace korv::reference {

namespace {

double Channel(uint32_t color, int shift) {
    return (color >> shift) & 0xFF;
}

Channels Rgb(uint32_t color) {
    return {Channel(color, 16), Channel(color, 8), Channel(color, 0)};
}

// The screen-door patterns of stippled alpha by density in sixteenths, row by row.
constexpr uint8_t kScreenDoor[16][4] = {
    {0x00, 0x00, 0x00, 0x00}, {0x88, 0x00, 0x22, 0x00}, {0xAA, 0x00, 0x22, 0x00},
    {0xAA, 0x00, 0xAA, 0x00}, {0xAA, 0x44, 0xAA, 0x00}, {0xAA, 0x44, 0xAA, 0x11},
    {0xAA, 0x55, 0xAA, 0x11}, {0xAA, 0x55, 0xAA, 0x55}, {0xEE, 0x55, 0xAA, 0x55},
    {0xEE, 0x55, 0xBB, 0x55}, {0xFF, 0x55, 0xBB, 0x55}, {0xFF, 0x55, 0xFF, 0x55},
    {0xFF, 0xDD, 0xFF, 0x55}, {0xFF, 0xDD, 0xFF, 0x77}, {0xFF, 0xFF, 0xFF, 0x77},
    {0xFF, 0xFF, 0xFF, 0xFF}};

bool Passes(uint32_t function, double fresh, double stored) {
    switch (function) {
    case D3DCMP_NEVER:
        return false;
    case D3DCMP_LESS:
        return fresh < stored;
    case D3DCMP_EQUAL:
        return fresh == stored;
    case D3DCMP_LESSEQUAL:
        return fresh <= stored;
    case D3DCMP_GREATER:
        return fresh > stored;
    case D3DCMP_NOTEQUAL:
        return fresh != stored;
    case D3DCMP_GREATEREQUAL:
        return fresh >= stored;
    default:
        return true;
    }
}

// A blend factor for one channel.
double Factor(uint32_t code, double source, double dest, double alpha) {
    switch (code) {
    case D3DBLEND_ZERO:
        return 0;
    case D3DBLEND_ONE:
        return 1;
    case D3DBLEND_SRCCOLOR:
        return source / 255;
    case D3DBLEND_INVSRCCOLOR:
        return 1 - source / 255;
    case D3DBLEND_SRCALPHA:
        return alpha;
    case D3DBLEND_INVSRCALPHA:
        return 1 - alpha;
    case D3DBLEND_DESTCOLOR:
        return dest / 255;
    case D3DBLEND_INVDESTCOLOR:
        return 1 - dest / 255;
    default:
        throw std::invalid_argument("reference: a factor that reads the target's alpha");
    }
}

// Twice the area of the triangle that two corners make with a point, positive for clockwise on a
// screen whose rows grow downwards.
class Edge {
  public:
    Edge(const Vertex& from, const Vertex& to)
        : x_(from.x), y_(from.y), dx_(double(to.x) - from.x), dy_(double(to.y) - from.y) {}
    double operator()(double x, double y) const { return dx_ * (y - y_) - dy_ * (x - x_); }
    double Length() const { return std::hypot(dx_, dy_); }

  private:
    double x_, y_, dx_, dy_;
};

// The level that a triangle takes.
const Texture& LevelOf(const Texture& texture, const Triangle3& triangle, Levels levels) {
    if (texture.smaller.empty() || levels == Levels::Largest) {
        return texture;
    }
    const double detail = DetailOf(triangle);
    const double level = levels == Levels::Nearest ? std::round(detail) : std::floor(detail);
    if (!(level >= 1)) {
        return texture;
    }
    const auto last = static_cast<double>(texture.smaller.size());
    return *texture.smaller[static_cast<size_t>(std::min(level, last)) - 1];
}

// Texture and light together: the colour and the alpha, all from 0 to 255.
Texel Textured(uint32_t blend, const Texel& texel, const Texel& light) {
    Texel out = light;
    for (int i = 0; i < 3; ++i) {
        switch (blend) {
        case D3DTBLEND_DECAL:
        case D3DTBLEND_COPY:
            out[i] = texel[i];
            break;
        case D3DTBLEND_DECALALPHA:
            out[i] = light[i] + texel[3] / 255 * (texel[i] - light[i]);
            break;
        default:
            out[i] = light[i] * texel[i] / 255;
            break;
        }
    }
    if (blend == D3DTBLEND_DECAL || blend == D3DTBLEND_COPY) {
        out[3] = texel[3];
    } else if (blend != D3DTBLEND_DECALALPHA) {
        out[3] = light[3] * texel[3] / 255;
    }
    return out;
}

} // namespace

double Brightened(uint32_t channel, int shift) {
    if (channel == 0) {
        return 0;
    }
    const double root = std::floor(std::sqrt(255.0 * channel));
    return shift == 16 ? std::min(255.0, root + 1) : shift == 8 ? root - 1 : root;
}

double DetailOf(const Triangle3& triangle) {
    const Vertex &a = triangle.a, &b = triangle.b, &c = triangle.c;
    const Texture& texture = *triangle.state.texture;
    const double texels =
        ((double(b.u) - a.u) * (double(c.v) - a.v) - (double(b.v) - a.v) * (double(c.u) - a.u)) *
        texture.width * texture.height;
    return std::log2(std::abs(texels / Edge(a, b)(c.x, c.y))) / 2;
}

void TakeShortWay(float first, float& second, float& third) {
    second -= std::nearbyint(second - first);
    third -= std::nearbyint(third - first);
}

Reference::Reference(uint32_t width, uint32_t height, uint32_t background, const ChipTraits& traits)
    : width_(width), height_(height), traits_(traits),
      colour_(width * height * kScale * kScale, Rgb(background)), depth_(colour_.size(), 1e9),
      layers_(colour_.size()) {}

Reference::Reference(const Image& background, const ChipTraits& traits)
    : Reference(background.width, background.height, 0, traits) {
    for (uint32_t y = 0; y < height_ * kScale; ++y) {
        for (uint32_t x = 0; x < width_ * kScale; ++x) {
            const uint8_t* pixel = background.At(x / kScale, y / kScale);
            const size_t at = size_t{y} * width_ * kScale + x;
            colour_[at] = {double(pixel[0]), double(pixel[1]), double(pixel[2])};
            // Each pixel is a layer of its own.
            layers_[at] = ~(uint64_t{y / kScale} << 32 | x / kScale);
        }
    }
}

void Reference::Draw(const Triangle3& triangle, double apron) {
    Vertex a = triangle.a, b = triangle.b, c = triangle.c;
    const DrawState& state = triangle.state;
    ++drawn_;
    const Edge bc(b, c), ca(c, a), ab(a, b);
    const double area = ab(c.x, c.y);
    if (area == 0 || (state.cull == D3DCULL_CCW && area < 0) ||
        (state.cull == D3DCULL_CW && area > 0)) {
        return;
    }
    // Stippled alpha takes the pattern of one vertex.
    const Vertex* chosen = &a;
    for (const Vertex* other : {&b, &c}) {
        if (!traits_.stipplesByFirst && std::nearbyint(other->y) > std::nearbyint(chosen->y)) {
            chosen = other;
        }
    }
    const uint8_t* door = kScreenDoor[chosen->color >> 28];

    const Texture* texture = state.texture.get();
    if (texture != nullptr) {
        texture = &LevelOf(*texture, triangle, traits_.levels);
        if (state.wrapU) {
            TakeShortWay(a.u, b.u, c.u);
        }
        if (state.wrapV) {
            TakeShortWay(a.v, b.v, c.v);
        }
    }
    const bool brightens =
        texture != nullptr && (state.gouraud ? traits_.brightensGouraud : traits_.brightensFlat);
    // Without a texture the specular colour is added to the vertices' own.
    const bool addsAtVertices = state.specular && texture == nullptr;

    // The vertices' own light.
    Channels lights[3];
    const Vertex* vertices[] = {&a, &b, &c};
    for (int corner = 0; corner < 3; ++corner) {
        for (int i = 0; i < 3; ++i) {
            const int shift = 16 - 8 * i;
            const Vertex& v = *vertices[corner];
            double value =
                brightens ? Brightened(v.color >> shift & 0xFF, shift) : Channel(v.color, shift);
            if (addsAtVertices) {
                value = std::min(255.0, value + Channel(v.specular, shift));
            }
            lights[corner][i] = value;
        }
    }

    const auto sampleOf = [](double v) { return static_cast<int>(std::floor(v * kScale)); };
    const int x0 = std::max(0, sampleOf(std::min({a.x, b.x, c.x}) - apron));
    const int x1 =
        std::min(int(width_ * kScale) - 1, sampleOf(std::max({a.x, b.x, c.x}) + apron) + 1);
    const double shift = traits_.rowShift;
    const int y0 = std::max(0, sampleOf(std::min({a.y, b.y, c.y}) - shift - apron));
    const int y1 = std::min(int(height_ * kScale) - 1,
                            sampleOf(std::max({a.y, b.y, c.y}) - shift + apron) + 1);
    // The corners' weights on the apron's rim.
    const auto rim = [&](const Edge& edge) { return -apron * edge.Length() / std::abs(area); };
    const double leastA = rim(bc), leastB = rim(ca), leastC = rim(ab);
    for (int y = y0; y <= y1; ++y) {
        for (int x = x0; x <= x1; ++x) {
            const double px = (x + 0.5) / kScale;
            const double py = (y + 0.5) / kScale + shift;
            const double wa = bc(px, py) / area;
            const double wb = ca(px, py) / area;
            const double wc = ab(px, py) / area;
            if (wa < leastA || wb < leastB || wc < leastC) {
                continue;
            }
            if (state.stippledAlpha && (door[y / kScale & 3] >> (x / kScale & 7) & 1) == 0) {
                continue;
            }
            const size_t at = size_t(y) * width_ * kScale + x;
            const auto mix = [&](double va, double vb, double vc) {
                return wa * va + wb * vb + wc * vc;
            };
            const double z = mix(a.z, b.z, c.z);
            if (state.zEnable && !Passes(state.zFunc, z, depth_[at])) {
                continue;
            }
            Channels colour;
            for (int i = 0; i < 3; ++i) {
                colour[i] =
                    state.gouraud ? mix(lights[0][i], lights[1][i], lights[2][i]) : lights[0][i];
            }
            double alpha = (state.gouraud ? mix(Channel(a.color, 24), Channel(b.color, 24),
                                                Channel(c.color, 24))
                                          : Channel(a.color, 24)) /
                           255;
            uint64_t texelNumber = 0;
            if (texture != nullptr) {
                double u = mix(a.u, b.u, c.u), v = mix(a.v, b.v, c.v);
                if (state.perspective) {
                    const double q = mix(a.rhw, b.rhw, c.rhw);
                    u = mix(double(a.u) * a.rhw, double(b.u) * b.rhw, double(c.u) * c.rhw) / q;
                    v = mix(double(a.v) * a.rhw, double(b.v) * b.rhw, double(c.v) * c.rhw) / q;
                }
                const bool linear = state.filter == D3DFILTER_LINEAR;
                const int s = Floor(u * texture->width);
                const int t = Floor(v * texture->height);
                if (!linear) {
                    // Other texels are other layers: their edges are as sharp as a triangle's.
                    texelNumber = (static_cast<uint64_t>(static_cast<uint32_t>(t)) << 32 |
                                   static_cast<uint32_t>(s)) *
                                  0xD6E8FEB86659FD93u;
                }
                const Texel texel = linear ? SampleLinear(*texture, u, v, state.address)
                                           : SampleNearest(*texture, u, v, state.address);
                if (texture->KeyedAt(Addressed(s, texture->width, state.address),
                                     Addressed(t, texture->height, state.address))) {
                    layers_[at] = layers_[at] * 31 + texelNumber;
                    continue;
                }
                const Texel lit = Textured(state.textureBlend, texel,
                                           {colour[0], colour[1], colour[2], alpha * 255});
                colour = {lit[0], lit[1], lit[2]};
                alpha = lit[3] / 255;
                if (state.specular && !traits_.losesTexturedSpecular) {
                    for (int i = 0; i < 3; ++i) {
                        const int shift = 16 - 8 * i;
                        const double added = state.gouraud ? mix(Channel(a.specular, shift),
                                                                 Channel(b.specular, shift),
                                                                 Channel(c.specular, shift))
                                                           : Channel(a.specular, shift);
                        colour[i] = std::min(255.0, colour[i] + added);
                    }
                }
            }
            if (state.fog) {
                const double f =
                    mix(Channel(a.specular, 24), Channel(b.specular, 24), Channel(c.specular, 24)) /
                    255;
                const Channels fogColour = Rgb(state.fogColor);
                for (int i = 0; i < 3; ++i) {
                    colour[i] = fogColour[i] + f * (colour[i] - fogColour[i]);
                }
            }
            if (state.blend) {
                for (int i = 0; i < 3; ++i) {
                    const double dest = colour_[at][i];
                    colour[i] =
                        std::min(255.0, colour[i] * Factor(state.source, colour[i], dest, alpha) +
                                            dest * Factor(state.dest, colour[i], dest, alpha));
                }
            }
            colour_[at] = colour;
            if (state.zEnable && state.zWrite) {
                depth_[at] = z;
            }
            layers_[at] =
                (state.blend ? layers_[at] * 0x9E3779B97F4A7C15u : 0) + drawn_ + texelNumber;
        }
    }
}

namespace {

void Note(Verdict& verdict, uint32_t x, uint32_t y, const uint8_t* seen, const Channels& expected) {
    if (verdict.bad++ == 0) {
        char text[160];
        std::snprintf(text, sizeof(text), "first at %u,%u: seen %u %u %u, reference %.1f %.1f %.1f",
                      x, y, seen[0], seen[1], seen[2], expected[0], expected[1], expected[2]);
        verdict.first = text;
    }
}

} // namespace

Verdict CompareWithinOnePixel(const Image& picture, const Reference& reference, double tolerance,
                              std::span<const Reference> others) {
    std::vector<const Reference*> all{&reference};
    for (const Reference& other : others) {
        all.push_back(&other);
    }
    Verdict verdict;
    constexpr int kScale = Reference::kScale;
    const int width = int(reference.Width());
    const int height = int(reference.Height());
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            ++verdict.compared;
            const uint8_t* seen = picture.At(x, y);
            Channels least = reference.At(x, y);
            Channels most = least;
            const auto good = [&] {
                for (int i = 0; i < 3; ++i) {
                    if (seen[i] < least[i] - tolerance || seen[i] > most[i] + tolerance) {
                        return false;
                    }
                }
                return true;
            };
            if (good()) {
                continue;
            }
            const int x1 = std::min(width, x + 2) * kScale;
            const int y1 = std::min(height, y + 2) * kScale;
            for (int sy = std::max(0, y - 1) * kScale; sy < y1; ++sy) {
                for (int sx = std::max(0, x - 1) * kScale; sx < x1; ++sx) {
                    for (const Reference* one : all) {
                        for (int i = 0; i < 3; ++i) {
                            const double near = one->Sample(sx, sy)[i];
                            least[i] = std::min(least[i], near);
                            most[i] = std::max(most[i], near);
                        }
                    }
                }
            }
            if (!good()) {
                Note(verdict, x, y, seen, reference.At(x, y));
            }
        }
    }
    return verdict;
}

Verdict CompareInteriors(const Image& picture, const Reference& reference, double tolerance) {
    Verdict verdict;
    constexpr uint32_t kScale = Reference::kScale;
    const uint32_t width = reference.Width(), height = reference.Height();
    // The layers of each pixel, and the pixels whose samples, and those of two on either side in
    // the row, are all of them.
    std::vector<uint64_t> layers(size_t(width) * height);
    std::vector<uint8_t> alike(layers.size());
    for (uint32_t y = 0; y < height; ++y) {
        uint32_t run = 0;
        for (uint32_t x = 0; x < width; ++x) {
            const size_t pixel = size_t(y) * width + x;
            layers[pixel] = reference.LayersOf(x * kScale, y * kScale);
            bool even = true;
            for (uint32_t i = 1; i < kScale * kScale; ++i) {
                even &= reference.LayersOf(x * kScale + i % kScale, y * kScale + i / kScale) ==
                        layers[pixel];
            }
            const bool goesOn = run != 0 && layers[pixel] == layers[pixel - 1];
            run = !even ? 0 : goesOn ? run + 1 : 1;
            if (run >= 5) {
                alike[pixel - 2] = 1;
            }
        }
    }
    for (uint32_t y = 2; y + 2 < height; ++y) {
        for (uint32_t x = 2; x + 2 < width; ++x) {
            const size_t pixel = size_t(y) * width + x;
            bool inside = true;
            for (size_t near = pixel - 2 * width; near <= pixel + 2 * width; near += width) {
                inside &= alike[near] != 0 && layers[near] == layers[pixel];
            }
            if (!inside) {
                continue;
            }
            ++verdict.compared;
            const uint8_t* seen = picture.At(x, y);
            const Channels& expected = reference.At(x, y);
            for (int i = 0; i < 3; ++i) {
                if (std::abs(seen[i] - expected[i]) > tolerance) {
                    Note(verdict, x, y, seen, expected);
                    break;
                }
            }
        }
    }
    return verdict;
}

} // namespace korv::reference
