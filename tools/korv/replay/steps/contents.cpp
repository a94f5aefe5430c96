// What the processor writes into surfaces: pixels, words, patterns, pictures.
#include "tools/korv/base/errors.h"
#include "tools/korv/images/png.h"
#include "tools/korv/images/texels.h"
#include "tools/korv/replay/step.h"

#include <fmt/format.h>

#include <cstring>
#include <memory>

namespace korv {

namespace {

using Write = std::function<void(Player&, host::Surface&)>;

uint32_t MostOf(const host::Surface& surface) {
    return surface.Bits() >= 32 ? ~0u : (1u << surface.Bits()) - 1;
}

void CheckPixel(const Node& node, uint32_t pixel, const host::Surface& surface) {
    if (pixel > MostOf(surface)) {
        node.Fail(fmt::format("0x{:X} does not fit a pixel of {} bits", pixel, surface.Bits()));
    }
}

Write ReadValue(const Node& node) {
    return [node, pixel = node.Word()](Player&, host::Surface& surface) {
        CheckPixel(node, pixel, surface);
        for (uint32_t y = 0; y < surface.Height(); ++y) {
            for (uint32_t x = 0; x < surface.Width(); ++x) {
                surface.SetPixel(x, y, pixel);
            }
        }
    };
}

// Rows of pixels from a place on.
Write ReadRows(const Node& node, Fields& fields) {
    const uint32_t left = fields.Has("x") ? fields["x"].Number(0, 0xFFFF) : 0;
    const uint32_t top = fields.Has("y") ? fields["y"].Number(0, 0xFFFF) : 0;
    std::vector<std::vector<std::pair<Node, uint32_t>>> rows;
    for (const Node& row : node.List()) {
        rows.emplace_back();
        for (const Node& pixel : row.List()) {
            rows.back().emplace_back(pixel, pixel.Word());
        }
    }
    return [=](Player&, host::Surface& surface) {
        for (size_t y = 0; y < rows.size(); ++y) {
            for (size_t x = 0; x < rows[y].size(); ++x) {
                const auto& [place, pixel] = rows[y][x];
                if (left + x >= surface.Width() || top + y >= surface.Height()) {
                    place.Fail(fmt::format("a surface of {} by {} has no pixel {},{}",
                                           surface.Width(), surface.Height(), left + x, top + y));
                }
                CheckPixel(place, pixel, surface);
                surface.SetPixel(left + x, top + y, pixel);
            }
        }
    };
}

// 32-bit words from a byte offset on, as they lie in memory.
Write ReadWords(const Node& node, Fields& fields, const Names& names) {
    const uint32_t offset = fields.Has("offset") ? fields["offset"].Number(0, ~0u) : 0;
    std::vector<Bits> words;
    for (const Node& word : node.List()) {
        words.push_back(ReadWordOrAddress(word, names));
    }
    return [=](Player& player, host::Surface& surface) {
        const size_t bytes = size_t(surface.Pitch()) * surface.Height();
        if (offset > bytes || words.size() > (bytes - offset) / 4) {
            node.Fail(fmt::format("{} words from byte {} on do not fit {} bytes", words.size(),
                                  offset, bytes));
        }
        for (size_t i = 0; i < words.size(); ++i) {
            const uint32_t bits = words[i](player);
            std::memcpy(surface.Bytes() + offset + 4 * i, &bits, 4);
        }
    };
}

// Pixel by pixel, rows from the top, the upper bits of a linear congruential sequence.
Write Noise(uint32_t seed) {
    return [seed](Player&, host::Surface& surface) {
        uint32_t state = seed;
        const uint32_t bits = surface.Bits();
        for (uint32_t y = 0; y < surface.Height(); ++y) {
            for (uint32_t x = 0; x < surface.Width(); ++x) {
                state = state * 1664525 + 1013904223;
                surface.SetPixel(x, y, state >> (32 - bits));
            }
        }
    };
}

// Squares of `side` pixels, the first value in the upper left one.
Write ReadChecker(const Node& node, Fields& fields) {
    const std::vector<Node> values = node.List();
    if (values.size() != 2) {
        node.Fail("expected two pixel values");
    }
    const uint32_t side = fields.Has("side") ? fields["side"].Number(1, 0xFFFF) : 8;
    return [=, even = values[0].Word(), odd = values[1].Word()](Player&, host::Surface& surface) {
        CheckPixel(values[0], even, surface);
        CheckPixel(values[1], odd, surface);
        for (uint32_t y = 0; y < surface.Height(); ++y) {
            for (uint32_t x = 0; x < surface.Width(); ++x) {
                surface.SetPixel(x, y, (x / side + y / side) % 2 == 0 ? even : odd);
            }
        }
    };
}

Write ReadPattern(const Node& node) {
    Fields fields(node);
    Write write;
    if (const auto seed = fields.Find("seed")) {
        write = Noise(seed->Word());
    } else {
        write = ReadChecker(fields["checker"], fields);
    }
    fields.Done();
    return write;
}

// A picture of the surface's size; an indexed surface gets a palette that is made for it.
Write ReadPicture(const Node& node, const std::string& name) {
    std::shared_ptr<host::Picture> picture;
    try {
        picture = std::make_shared<host::Picture>(
            ReadPng(node.File().Path().parent_path() / node.Name()));
    } catch (const UserError& error) {
        node.Fail(error.what());
    }
    return [=](Player& player, host::Surface& surface) {
        if (picture->width != surface.Width() || picture->height != surface.Height()) {
            node.Fail(fmt::format("the picture has {} by {} pixels, the surface {} by {}",
                                  picture->width, picture->height, surface.Width(),
                                  surface.Height()));
        }
        if ((surface.Format().dwFlags & DDPF_RGB) == 0) {
            node.Fail("a surface of this format takes no colours");
        }
        const TexelEncoder encode(surface.Format(), *picture, {});
        if (!encode.Palette().empty()) {
            player.DisplayOf(name).directDraw->SetPalette(surface, encode.Palette());
        }
        for (uint32_t y = 0; y < surface.Height(); ++y) {
            for (uint32_t x = 0; x < surface.Width(); ++x) {
                surface.SetPixel(x, y, encode(picture->At(x, y)));
            }
        }
    };
}

StepPlan ReadWrite(Fields& fields, Names& names) {
    const std::string name = names.Refer(NameKind::Surface, fields["surface"]);
    Write write;
    if (const auto value = fields.Find("value")) {
        write = ReadValue(*value);
    } else if (const auto words = fields.Find("words")) {
        write = ReadWords(*words, fields, names);
    } else if (const auto pattern = fields.Find("pattern")) {
        write = ReadPattern(*pattern);
    } else if (const auto file = fields.Find("file")) {
        write = ReadPicture(*file, name);
    } else if (const auto rows = fields.Find("rows")) {
        write = ReadRows(*rows, fields);
    } else {
        fields.Object().Fail("expected one of 'value', 'rows', 'words', 'pattern' and 'file'");
    }
    return {[=](Player& player, Outcome&) { write(player, player.SurfaceWithPixels(name)); },
            Only({})};
}

constexpr StepKind kContentSteps[] = {{"write", ReadWrite}};

} // namespace

std::span<const StepKind> ContentSteps() {
    return kContentSteps;
}

} // namespace korv
