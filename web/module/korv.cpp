#include "web/module/korv.h"

#include "host/patience.h"
#include "tools/korv/base/errors.h"
#include "tools/korv/chips/chips.h"
#include "tools/korv/scenes/scene.h"
#include "web/module/files.h"
#include "web/module/inspector.h"
#include "web/module/laboratory.h"
#include "web/module/tour.h"

#include <fmt/format.h>

#include <cstdlib>
#include <string>

#define KORV_EXPORT extern "C" __attribute__((used, visibility("default")))

namespace {

using web::Json;

constexpr uint64_t kPatience = 10'000'000; // microseconds of the board's clock

std::string answer;
host::Picture picture;

web::Laboratory& TheLaboratory() {
    static auto& laboratory = *new web::Laboratory;
    return laboratory;
}

std::unique_ptr<web::Inspector>& TheInspector() {
    static auto& inspector = *new std::unique_ptr<web::Inspector>;
    return inspector;
}

web::Inspector& Opened() {
    if (TheInspector() == nullptr) {
        throw korv::UserError("no capture is open");
    }
    return *TheInspector();
}

// Bytes that are no UTF-8, as in the marks of a damaged capture, are replaced.
const char* Tell(const Json& json) {
    answer = json.dump(-1, ' ', false, Json::error_handler_t::replace);
    return answer.c_str();
}

// What a function gives, or why it gives nothing.
template <class Function>
const char* Answer(const Function& function) {
    try {
        return Tell(function());
    } catch (const std::exception& error) {
        return Tell({{"error", error.what()}});
    }
}

Json SizeOf(host::Picture taken) {
    picture = std::move(taken);
    return {{"width", picture.width}, {"height", picture.height}};
}

// One of several names; none where the request has no such state.
template <class Value>
std::optional<Value> Choice(const Json& states, const char* name,
                            std::initializer_list<std::pair<const char*, Value>> choices) {
    const auto found = states.find(name);
    if (found == states.end() || found->is_null()) {
        return {};
    }
    std::string known;
    for (const auto& [text, value] : choices) {
        if (*found == text) {
            return value;
        }
        known += fmt::format("{}{}", known.empty() ? "" : ", ", text);
    }
    throw korv::UserError(
        fmt::format("bad state {} of '{}': expected one of {}", found->dump(), name, known));
}

double Within(const Json& request, const char* name, double usual, double least, double most) {
    const double value = request.value(name, usual);
    if (!(value >= least && value <= most)) {
        throw korv::UserError(
            fmt::format("bad {} {}: expected a number from {} to {}", name, value, least, most));
    }
    return value;
}

web::View ViewOf(const Json& request) {
    web::View view;
    view.walk = {Within(request, "yaw", 0, -1e6, 1e6), Within(request, "pitch", 0, -360, 360),
                 Within(request, "zoom", 1, 0.1, 100)};
    const Json states = request.value("states", Json::object());
    using Blend = web::View::Blend;
    view.depthTest = Choice<bool>(states, "depth", {{"on", true}, {"off", false}});
    view.fog = Choice<bool>(states, "fog", {{"on", true}, {"off", false}});
    view.blend = Choice<Blend>(states, "blend",
                               {{"off", Blend::Off}, {"mix", Blend::Mix}, {"add", Blend::Add}});
    view.filter = Choice<DWORD>(states, "filter",
                                {{"nearest", D3DFILTER_NEAREST}, {"linear", D3DFILTER_LINEAR}});
    view.shade =
        Choice<DWORD>(states, "shade", {{"flat", D3DSHADE_FLAT}, {"gouraud", D3DSHADE_GOURAUD}});
    view.fill = Choice<DWORD>(
        states, "fill",
        {{"solid", D3DFILL_SOLID}, {"wireframe", D3DFILL_WIREFRAME}, {"points", D3DFILL_POINT}});
    view.cull = Choice<DWORD>(states, "cull",
                              {{"none", D3DCULL_NONE}, {"cw", D3DCULL_CW}, {"ccw", D3DCULL_CCW}});
    return view;
}

web::Bench BenchOf(const Json& request) {
    web::Bench bench;
    bench.chip = &korv::ChipByName(request.at("chip").get<std::string>());
    bench.scene = request.value("scene", "");
    bench.settings.size = {static_cast<int>(Within(request, "width", 640, 1, 8191)),
                           static_cast<int>(Within(request, "height", 480, 1, 2048))};
    bench.settings.depth = static_cast<int>(Within(request, "depth", 16, 8, 32));
    bench.settings.fifo = request.value("fifo", false);
    if (bench.settings.depth != 8 && bench.settings.depth != 16 && bench.settings.depth != 32) {
        throw korv::UserError(
            fmt::format("bad depth {}: expected 8, 16 or 32 bits a pixel", bench.settings.depth));
    }
    return bench;
}

std::optional<web::RawScreen> RawOf(const char* text) {
    if (*text == 0) {
        return std::nullopt;
    }
    const Json request = Json::parse(text);
    web::RawScreen raw;
    raw.chip = request.at("chip").get<std::string>();
    raw.width = static_cast<uint32_t>(Within(request, "width", 640, 1, 8191));
    raw.height = static_cast<uint32_t>(Within(request, "height", 480, 1, 2048));
    raw.bits = static_cast<uint32_t>(Within(request, "bits", 16, 8, 32));
    raw.base = static_cast<uint32_t>(Within(request, "base", 0, 0, 0x7FFFFFFF));
    if (raw.bits != 8 && raw.bits != 16 && raw.bits != 32) {
        throw korv::UserError(fmt::format("bad bits {}: expected 8, 16 or 32 a pixel", raw.bits));
    }
    return raw;
}

Json Catalogue() {
    Json chips = Json::array(), scenes = Json::array();
    for (const korv::ChipChoice& chip : korv::Chips()) {
        chips.push_back({{"name", chip.name},
                         {"about", chip.about},
                         {"setupUnit", chip.setupUnit},
                         {"textures", chip.drawsTextures},
                         {"video", HasVideoPort(chip)}});
    }
    for (const korv::Scene& scene : korv::Scenes()) {
        Json able = Json::array();
        for (const korv::ChipChoice& chip : korv::Chips()) {
            if (CanDraw(chip, scene)) {
                able.push_back(chip.name);
            }
        }
        scenes.push_back({{"name", scene.name},
                          {"about", scene.about},
                          {"film", scene.flips},
                          {"chips", std::move(able)}});
    }
    return {{"version", KORV_VERSION}, {"chips", std::move(chips)}, {"scenes", std::move(scenes)}};
}

Json Model(const char* name) {
    const std::vector<std::string> warnings = TheLaboratory().TakeModel(name);
    const korv::Mesh& model = TheLaboratory().Model();
    return {{"vertices", model.vertices.size()},
            {"triangles", model.triangles.size()},
            {"images", model.images.size()},
            {"warnings", warnings}};
}

Json Draw(const char* text) {
    const Json request = Json::parse(text);
    web::Laboratory& laboratory = TheLaboratory();
    host::SetPatience(kPatience, [](const std::string& wait) {
        throw korv::UserError("the driver hangs: " + wait);
    });
    laboratory.Draw(BenchOf(request), ViewOf(request));
    picture = laboratory.Picture();
    return {{"words", laboratory.Words().size()}, {"frameStart", laboratory.FrameStart()},
            {"calls", laboratory.FrameCalls()},   {"width", picture.width},
            {"height", picture.height},           {"faults", laboratory.Faults()}};
}

} // namespace

KORV_EXPORT const char* korv_catalogue() {
    return Answer(Catalogue);
}

KORV_EXPORT void* korv_memory(size_t bytes) {
    return std::malloc(bytes != 0 ? bytes : 1);
}

KORV_EXPORT void korv_release(void* memory) {
    std::free(memory);
}

KORV_EXPORT void korv_file(const char* name, const void* bytes, size_t count) {
    web::KeepFile(name, std::string(static_cast<const char*>(bytes), count));
}

KORV_EXPORT void korv_forget_files() {
    web::ForgetFiles();
}

KORV_EXPORT const char* korv_model(const char* name) {
    return Answer([&] { return Model(name); });
}

KORV_EXPORT const char* korv_draw(const char* request) {
    return Answer([&] { return Draw(request); });
}

KORV_EXPORT const char* korv_calls() {
    return Answer([] { return TheLaboratory().Calls(); });
}

KORV_EXPORT const char* korv_words(uint32_t first, uint32_t most) {
    return Answer([&] { return TheLaboratory().Explain(first, most); });
}

KORV_EXPORT const char* korv_find(const char* text, uint32_t first) {
    return Answer([&] {
        const auto found = TheLaboratory().Find(text, first);
        return Json{{"word", found ? Json(*found) : Json()}};
    });
}

KORV_EXPORT const char* korv_open(const void* bytes, size_t count, const char* raw) {
    return Answer([&] {
        web::StreamBytes stream{std::string(static_cast<const char*>(bytes), count), RawOf(raw)};
        auto opened = std::make_unique<web::Inspector>(std::move(stream));
        TheInspector() = std::move(opened);
        return TheInspector()->About();
    });
}

KORV_EXPORT const char* korv_timeline() {
    return Answer([] { return Opened().Timeline(); });
}

KORV_EXPORT const char* korv_go(const char* place) {
    return Answer([&] {
        Opened().Go(place);
        return Opened().Here();
    });
}

KORV_EXPORT const char* korv_checkpoints() {
    return Answer([] { return Opened().Checkpoints(); });
}

KORV_EXPORT const char* korv_state() {
    return Answer([] { return Opened().State(); });
}

KORV_EXPORT const char* korv_checksums() {
    return Answer([] { return Opened().Checksums(); });
}

KORV_EXPORT const char* korv_surface(const char* name) {
    return Answer([&] { return SizeOf(Opened().Picture(name, false)); });
}

KORV_EXPORT const char* korv_depth() {
    return Answer([] { return SizeOf(Opened().Picture("", true)); });
}

KORV_EXPORT const char* korv_overdraw(const char* surface, const char* from) {
    return Answer([&] { return SizeOf(Opened().Overdraw(surface, from)); });
}

KORV_EXPORT const char* korv_wires(const char* surface, const char* from) {
    return Answer([&] { return SizeOf(Opened().Wires(surface, from)); });
}

KORV_EXPORT const char* korv_part(const char* memory, uint32_t offset, int32_t pitch,
                                  uint32_t width, uint32_t height, const char* format) {
    return Answer(
        [&] { return SizeOf(Opened().Memory(memory, offset, pitch, width, height, format)); });
}

KORV_EXPORT const char* korv_text(const char* from, const char* to) {
    return Answer([&] { return Opened().Text(from, to); });
}

KORV_EXPORT const char* korv_why(const char* surface, uint32_t x, uint32_t y) {
    return Answer([&] { return Opened().Why(surface, x, y); });
}

KORV_EXPORT const char* korv_list(const char* only, uint32_t changes) {
    return Answer([&] { return Opened().List(only, changes != 0); });
}

KORV_EXPORT const char* korv_rows(uint32_t first, uint32_t most) {
    return Answer([&] { return Opened().Rows(first, most); });
}

KORV_EXPORT const char* korv_row_here() {
    return Answer([] { return Opened().RowHere(); });
}

KORV_EXPORT const char* korv_find_row(const char* text, uint32_t first, uint32_t backwards) {
    return Answer([&] { return Opened().FindRow(text, first, backwards != 0); });
}

KORV_EXPORT const char* korv_tour(const char* request) {
    return Answer([&] {
        Json told = web::Tour().Draw(Json::parse(request), picture);
        told["width"] = picture.width;
        told["height"] = picture.height;
        return told;
    });
}

KORV_EXPORT const uint8_t* korv_picture() {
    return picture.rgba.data();
}

KORV_EXPORT uint32_t korv_picture_width() {
    return picture.width;
}

KORV_EXPORT uint32_t korv_picture_height() {
    return picture.height;
}

KORV_EXPORT const uint32_t* korv_raw_words() {
    return TheLaboratory().Words().data();
}

KORV_EXPORT size_t korv_raw_word_count() {
    return TheLaboratory().Words().size();
}
