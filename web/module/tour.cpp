#include "web/module/tour.h"

#include "chip/devices.h"
#include "chip/words.h"
#include "host/display/display.h"
#include "stream/board_state.h"
#include "stream/explain.h"
#include "stream/pixel_moment.h"
#include "stream/primitives.h"
#include "tools/korv/base/errors.h"
#include "tools/korv/images/patterns.h"
#include "tools/korv/painting/canvas.h"
#include "tools/korv/painting/screen_batch.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <map>

namespace web {

namespace {

constexpr D3DCOLOR kBackground = 0xFF202830, kStripe = 0xFF5A6B7C, kFog = 0xFF98A8B8,
                   kBar = 0xFFD8B060;
constexpr uint32_t kTexels = 32;

D3DCOLOR ColourOf(const Json& vertex) {
    const std::string text = vertex.value("colour", "#FFFFFF");
    uint32_t colour = 0;
    if (text.size() != 7 || std::sscanf(text.c_str(), "#%6x", &colour) != 1) {
        throw korv::UserError(fmt::format("bad colour '{}': expected #RRGGBB", text));
    }
    return colour;
}

double Within(const Json& vertex, const char* name, double usual, double least, double most) {
    const double value = vertex.value(name, usual);
    if (!(value >= least && value <= most)) {
        throw korv::UserError(
            fmt::format("bad {} {}: expected a number from {} to {}", name, value, least, most));
    }
    return value;
}

uint32_t Byte(double part) {
    return static_cast<uint32_t>(part * 255 + 0.5);
}

D3DTLVERTEX VertexOf(const Json& told) {
    D3DTLVERTEX vertex{};
    vertex.sx = static_cast<float>(Within(told, "x", 0, 0, Tour::kWidth));
    vertex.sy = static_cast<float>(Within(told, "y", 0, 0, Tour::kHeight));
    vertex.sz = static_cast<float>(Within(told, "z", 0.5, 0, 1));
    vertex.rhw = 1;
    vertex.color = ColourOf(told) | Byte(Within(told, "alpha", 1, 0, 1)) << 24;
    vertex.specular = Byte(Within(told, "fog", 1, 0, 1)) << 24;
    vertex.tu = static_cast<float>(Within(told, "u", 0, -8, 8));
    vertex.tv = static_cast<float>(Within(told, "v", 0, -8, 8));
    return vertex;
}

Json VertexToJson(const D3DTLVERTEX& vertex) {
    std::array<uint32_t, sizeof vertex / 4> words;
    std::memcpy(words.data(), &vertex, sizeof vertex);
    return {{"words", words}};
}

// Sets states, and keeps them for telling.
class States {
  public:
    explicit States(korv::Painter& painter) : painter_(painter) {}
    void Set(D3DRENDERSTATETYPE type, const char* name, DWORD value, const std::string& text) {
        painter_.State(type, value);
        told_.push_back({{"name", name}, {"value", value}, {"text", text}});
    }
    void Switch(D3DRENDERSTATETYPE type, const char* name, bool on) {
        Set(type, name, on ? 1 : 0, on ? "on" : "off");
    }
    Json Told() const { return told_; }

  private:
    korv::Painter& painter_;
    Json told_ = Json::array();
};

// What the triangle is drawn on, and hides behind.
void DrawGround(korv::Painter& painter, bool depth) {
    painter.Clear(kBackground);
    for (int32_t x = 8; x < Tour::kWidth; x += 16) {
        painter.Fill({x, 0, x + 8, Tour::kHeight}, kStripe);
    }
    if (depth) {
        korv::ScreenBatch bar;
        bar.Rectangle(0, 30, Tour::kWidth, 34, kBar, 0.4);
        painter.State(D3DRENDERSTATE_ZENABLE, 1);
        bar.Draw(painter);
    }
}

void SetStates(States& states, korv::Painter& painter, const Json& wanted) {
    const bool texture = wanted.value("texture", false), fog = wanted.value("fog", false),
               blend = wanted.value("blend", false), depth = wanted.value("depth", true),
               smooth = wanted.value("smooth", true);
    states.Set(D3DRENDERSTATE_SHADEMODE, "SHADEMODE", smooth ? D3DSHADE_GOURAUD : D3DSHADE_FLAT,
               smooth ? "Gouraud" : "flat");
    states.Switch(D3DRENDERSTATE_ZENABLE, "ZENABLE", depth);
    if (depth) {
        states.Set(D3DRENDERSTATE_ZFUNC, "ZFUNC", D3DCMP_LESSEQUAL, "nearer or as near");
    }
    states.Switch(D3DRENDERSTATE_FOGENABLE, "FOGENABLE", fog);
    if (fog) {
        states.Set(D3DRENDERSTATE_FOGCOLOR, "FOGCOLOR", kFog,
                   fmt::format("#{:06X}", kFog & 0xFFFFFF));
    }
    states.Switch(D3DRENDERSTATE_ALPHABLENDENABLE, "ALPHABLENDENABLE", blend);
    if (blend) {
        states.Set(D3DRENDERSTATE_SRCBLEND, "SRCBLEND", D3DBLEND_SRCALPHA, "the triangle's alpha");
        states.Set(D3DRENDERSTATE_DESTBLEND, "DESTBLEND", D3DBLEND_INVSRCALPHA,
                   "what alpha leaves");
    }
    if (texture) {
        const korv::TextureHandle handle =
            painter.MakeTexture({.image = korv::LetterTile(kTexels)});
        states.Set(D3DRENDERSTATE_TEXTUREHANDLE, "TEXTUREHANDLE", handle,
                   "a letter F of 32×32 texels");
        states.Set(D3DRENDERSTATE_TEXTUREMAPBLEND, "TEXTUREMAPBLEND", D3DTBLEND_MODULATE,
                   "texel times colour");
        states.Set(D3DRENDERSTATE_TEXTUREMAG, "TEXTUREMAG", D3DFILTER_NEAREST, "nearest");
        states.Set(D3DRENDERSTATE_TEXTUREMIN, "TEXTUREMIN", D3DFILTER_NEAREST, "nearest");
    }
}

// Writing this register draws more rows of the primitive before.
bool GoesOn(uint32_t number) {
    return number == tag::Continue || number == tag::ContinueNewSub ||
           number == tag::ContinueNewDom;
}

Json SetupToJson(const board::SetupReport& setup) {
    constexpr const char* kNames[] = {"red",   "green", "blue", "alpha", "fog",
                                      "depth", "s",     "t",    "q",     "ks"};
    static_assert(std::size(kNames) == std::tuple_size_v<decltype(setup.values)>);
    const auto edge = [](const board::SetupReport::Edge& one) {
        return Json{one.position, one.step};
    };
    Json values = Json::array();
    for (size_t i = 0; i < setup.values.size(); ++i) {
        const board::SetupReport::Value& one = setup.values[i];
        if (one.set) {
            values.push_back(
                {{"name", kNames[i]}, {"start", one.start}, {"dx", one.dx}, {"dyDom", one.dyDom}});
        }
    }
    return {{"firstRow", setup.firstRow},   {"upperRows", setup.upperRows},
            {"lowerRows", setup.lowerRows}, {"dominant", edge(setup.dominant)},
            {"upper", edge(setup.upper)},   {"lower", edge(setup.lower)},
            {"values", std::move(values)}};
}

} // namespace

void Tour::OnSurface(host::Display& display, const host::Surface&) {
    display.Board().SetProbe(this);
}

bool Tour::Wants(const board::PixelRow& row) {
    if (!Watching()) {
        return false;
    }
    rows_.push_back({row.y, row.left, row.right, words_.size() - 1});
    return true;
}

void Tour::OnSetup(const board::SetupReport& setup) {
    if (Watching()) {
        setup_ = setup;
    }
}

void Tour::OnPixel(const board::PixelReport& pixel) {
    if (Watching()) {
        pixels_.push_back(pixel);
    }
}

Json Tour::WordsToJson(std::optional<ChipModel> chip) const {
    stream::Explainer explainer(chip);
    std::map<uint32_t, uint32_t> held; // by tag
    Json list = Json::array();
    for (size_t i = 0; i < words_.size(); ++i) {
        if (i < *first_) {
            if (const auto write = explainer.Follow(words_[i])) {
                held[write->tag] = write->data;
            }
            continue;
        }
        const bool data = explainer.ExpectsData();
        const uint32_t tag = data ? explainer.NextRegister() : 0;
        const stream::Reading reading = explainer.CurrentReading();
        Json word{{"word", i},
                  {"raw", words_[i]},
                  {"text", explainer.Explain(words_[i])},
                  {"data", data}};
        if (data) {
            const auto view = [&](uint32_t value) {
                return stream::ToJson(stream::View(MappedOffset(tag), value, reading));
            };
            const auto before = held.find(tag);
            word["before"] = before != held.end() ? view(before->second) : Json();
            word["after"] = view(words_[i]);
            word["command"] = stream::BeginsPrimitive(tag) || GoesOn(tag);
            held[tag] = words_[i];
        }
        list.push_back(std::move(word));
    }
    return list;
}

Json Tour::Draw(const Json& request, host::Picture& picture) {
    const korv::ChipChoice& chip = korv::ChipByName(request.at("chip").get<std::string>());
    const Json& told = request.at("vertices");
    if (!told.is_array() || told.size() != 3) {
        throw korv::UserError("a triangle has three vertices");
    }
    std::array<D3DTLVERTEX, 3> vertices;
    std::ranges::transform(told, vertices.begin(), VertexOf);
    const Json wanted = request.value("states", Json::object());

    korv::Settings settings;
    settings.size = {kWidth, kHeight};
    settings.fifo = true;
    korv::Canvas canvas(chip, settings, this);
    DrawGround(canvas, wanted.value("depth", true));
    States states(canvas);
    SetStates(states, canvas, wanted);
    first_ = words_.size();
    const D3DTRIANGLE triangle{{0}, {1}, {2}, D3DTRIFLAG_EDGEENABLETRIANGLE};
    canvas.Triangles(vertices, {&triangle, 1});
    const size_t end = words_.size();
    const auto pixels = std::exchange(pixels_, {});
    const auto rows = std::exchange(rows_, {});
    picture = canvas.Finish();
    words_.resize(end);

    Json json{{"setupUnit", chip.setupUnit || FindDevice(chip.deviceId)->setupUnit},
              {"faults", canvas.Faults()}};
    json["vertices"] = Json::array();
    for (const D3DTLVERTEX& vertex : vertices) {
        json["vertices"].push_back(VertexToJson(vertex));
    }
    json["states"] = states.Told();
    json["words"] = WordsToJson(FindDevice(chip.deviceId)->model);
    json["rows"] = Json::array();
    for (const Row& row : rows) {
        json["rows"].push_back(
            {{"y", row.y}, {"left", row.left}, {"right", row.right}, {"word", row.word}});
    }
    json["setup"] = setup_ ? SetupToJson(*setup_) : Json();
    json["pixels"] = Json::array();
    json["pixel"] = nullptr;
    const Json at = request.value("pixel", Json::array({-1, -1}));
    for (const board::PixelReport& pixel : pixels) {
        json["pixels"].push_back(
            {pixel.x, pixel.y, pixel.Passed(), pixel.colour.before, pixel.colour.after});
        if (pixel.x == at.at(0) && pixel.y == at.at(1)) {
            json["pixel"] = stream::ToJson(pixel);
        }
    }
    return json;
}

} // namespace web
