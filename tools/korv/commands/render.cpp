#include "tools/korv/base/errors.h"
#include "tools/korv/base/files.h"
#include "tools/korv/base/progress.h"
#include "tools/korv/base/text.h"
#include "tools/korv/commands/cli/command.h"
#include "tools/korv/commands/cli/draw_options.h"
#include "tools/korv/commands/cli/texture_options.h"
#include "tools/korv/commands/cli/values.h"
#include "tools/korv/images/png.h"
#include "tools/korv/model/obj.h"
#include "tools/korv/painting/canvas.h"
#include "tools/korv/painting/pipeline.h"
#include "tools/korv/painting/textured_mesh.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <fmt/ostream.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <vector>

namespace korv {

namespace {

constexpr D3DCOLOR kBackground = 0xFF202830;

struct RenderArguments {
    std::string model, output;
    std::string chip;
    std::string shade = "gouraud";
    std::string cull = "none";
    std::string up = "y";
    bool zBuffer = false, fog = false;
    Orbit orbit;
    TextureArguments texture;
    DrawArguments draw;
};

DWORD CullMode(const std::string& name) {
    return name == "cw" ? D3DCULL_CW : name == "ccw" ? D3DCULL_CCW : D3DCULL_NONE;
}

// One image for the whole model, if one was asked for; else those of its materials, which a chip
// without textures leaves out.
void ChooseImages(Mesh& mesh, const TextureArguments& texture, const ChipChoice& chip,
                  const std::string& model) {
    const bool asked = !texture.image.empty() || texture.SaysHow();
    if (!chip.drawsTextures && asked) {
        throw UserError(fmt::format("{} ('{}') draws no textures: expected one of {}", chip.about,
                                    chip.name, TexturingChipNames()));
    }
    if (!chip.drawsTextures) {
        mesh.images.clear();
    }
    if (!texture.image.empty()) {
        mesh.images = {texture.image};
        mesh.imageOf.assign(mesh.triangles.size(), 0);
    }
    if (mesh.images.empty() && texture.SaysHow()) {
        throw UserError(fmt::format("'{}' names no image for its materials, expected --texture "
                                    "beside the options for textures",
                                    model));
    }
    if (!mesh.images.empty() && !mesh.hasCoordinates) {
        throw UserError(
            fmt::format("'{}' has no texture coordinates ('vt') for some of its faces", model));
    }
}

// Images of materials that cannot be read are left out, with a warning; the one that was asked for
// is not.
std::vector<std::optional<TextureRequest>>
ReadImages(const Mesh& mesh, const TextureArguments& texture, Console& console) {
    std::vector<std::optional<TextureRequest>> requests;
    for (const std::string& image : mesh.images) {
        try {
            requests.emplace_back(texture.Request(image));
        } catch (const SharedFileError&) {
            throw;
        } catch (const UserError& error) {
            if (!texture.image.empty()) {
                throw;
            }
            Warn(console, std::string(error.what()) + ", drawing without it");
            requests.emplace_back();
        }
    }
    return requests;
}

// How far the work is when the model has been read.
constexpr double kPartOfReading = 0.3;

Mesh ReadModel(const RenderArguments& arguments, Console& console, Progress& progress) {
    ObjOptions options;
    options.up = arguments.up == "z" ? Up::Z : Up::Y;
    options.progress = [&](size_t done, size_t all) {
        progress.At(kPartOfReading * static_cast<double>(done) / static_cast<double>(all),
                    "reading");
    };
    ObjModel model = ReadObjModel(arguments.model, options);
    for (const std::string& warning : model.warnings) {
        progress.Wipe();
        Warn(console, warning);
    }
    return std::move(model.mesh);
}

void Render(const RenderArguments& arguments, Console& console) {
    const Settings settings = arguments.draw.ToSettings();
    const ChipChoice& chip = ChipByName(arguments.chip);
    CheckPngName(arguments.output);
    arguments.texture.Check();
    // All outputs first: the model and its images must be none of them.
    OutputFile output(arguments.output);
    Recording recording(arguments.draw.record);
    Progress progress(console.err, 1);
    Mesh mesh = ReadModel(arguments, console, progress);
    ChooseImages(mesh, arguments.texture, chip, arguments.model);
    const auto images = ReadImages(mesh, arguments.texture, console);
    const Camera camera = FitCamera(BoundingSphere(mesh), arguments.orbit, settings.size);
    DrawOptions options;
    options.shading = arguments.shade == "flat" ? Shading::Flat : Shading::Gouraud;
    // Parts with textures of their own cannot be sorted among each other.
    const bool zBuffer = arguments.zBuffer || mesh.images.size() > 1;
    options.backToFront = !zBuffer;
    if (arguments.fog) {
        options.fog = Fog{camera.nearPlane, camera.farPlane, kBackground};
    }
    size_t drawn = 0;
    options.progress = [&](size_t done, size_t all) {
        const double part = static_cast<double>(drawn + done) /
                            static_cast<double>(std::max(mesh.triangles.size(), drawn + done));
        progress.At(kPartOfReading + (1 - kPartOfReading) * part, "drawing");
        drawn += done == all ? all : 0;
    };

    Canvas canvas(chip, settings, recording.ToldOf(chip.deviceId));
    canvas.Clear(kBackground);
    canvas.State(D3DRENDERSTATE_ZENABLE, zBuffer);
    canvas.State(D3DRENDERSTATE_CULLMODE, CullMode(arguments.cull));
    if (mesh.images.empty()) {
        DrawMesh(canvas, mesh, camera, options);
    } else {
        std::vector<TextureHandle> textures;
        for (const auto& image : images) {
            textures.push_back(image ? canvas.MakeTexture(*image) : kNoTexture);
        }
        DrawTextured(canvas, mesh, camera, options, textures, arguments.texture.State());
    }
    WritePng(output.Stream(), canvas.Finish());
    output.Close();
    recording.Commit();
    output.Commit();
    progress.Wipe();
    WarnOfFaults(console, arguments.output, canvas.Faults());
    fmt::print(console.Report(), "{}: {} of {} on {}\n", Printable(arguments.output),
               Count(mesh.triangles.size(), "triangle"), Printable(arguments.model), chip.about);
}

constexpr const char* kRenderFooter =
    R"(Front faces run counter-clockwise, so '--cull cw' drops what faces away. Without
--zbuffer the triangles are drawn from back to front; models with several textures
always have a depth buffer. Material files and their images that cannot be read are warned of
and left out.

Examples:
  korv render scenes/torus-knot.obj --chip tx --zbuffer -o knot.png
  korv render scenes/icosphere.obj --chip permedia --shade flat --cull cw -o ball.png
  korv render scenes/cube.obj --chip sx --fog --yaw 50 --words cube.bin -o cube.png
  korv render scenes/cube.obj --chip permedia --texture bricks.png --filter linear -o brick.png
)";

void SetUpRender(CLI::App& command, Console& console) {
    auto arguments = std::make_shared<RenderArguments>();
    command.add_option("MODEL", arguments->model, "The model, a Wavefront OBJ file")
        ->type_name("")
        ->required();
    command.add_option("-o,--output", arguments->output, "The picture; - for standard output")
        ->type_name("OUT.png")
        ->required();
    command.add_option("--chip", arguments->chip, "The chip: " + ChipNames())
        ->type_name("CHIP")
        ->required();
    AddChoice(command, "--shade", arguments->shade, {"flat", "gouraud"},
              "How light spreads over a triangle (default gouraud)");
    command.add_flag("--zbuffer", arguments->zBuffer, "Test and write depth");
    command.add_flag("--fog", arguments->fog, "Fade into the background with the distance");
    AddChoice(command, "--cull", arguments->cull, {"none", "cw", "ccw"},
              "Drop triangles by their turn (default none)");
    AddChoice(command, "--up", arguments->up, {"y", "z"},
              "The model's axis that points upwards (default y)");
    AddNumber(command, "--yaw", arguments->orbit.yaw, -360.0, 360.0,
              "Walk around the model, -360 to 360 degrees (default 30)")
        ->type_name("DEG");
    AddNumber(command, "--pitch", arguments->orbit.pitch, -90.0, 90.0,
              "Height of the eye above the model, -90 to 90 degrees (default 25)")
        ->type_name("DEG");
    AddNumber(command, "--zoom", arguments->orbit.zoom, 0.1, 100.0,
              "Enlarge, 0.1 to 100; the model fits the picture at 1 (default 1)")
        ->type_name("FACTOR");
    AddTextureArguments(command, arguments->texture);
    AddDrawArguments(command, arguments->draw);
    AddCaptureOption(command, arguments->draw.record.capture, "FILE",
                     "Also write all that a bare board needs to draw this again");
    command.footer(kRenderFooter);
    command.callback([arguments, &console] { Render(*arguments, console); });
}

} // namespace

extern const Command kRenderCommand{"render", CommandGroup::Draw,
                                    "Draw a Wavefront OBJ model into a PNG", SetUpRender};

} // namespace korv
