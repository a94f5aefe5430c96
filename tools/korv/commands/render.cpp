#include "tools/korv/base/errors.h"
#include "tools/korv/commands/cli/command.h"
#include "tools/korv/commands/cli/draw_options.h"
#include "tools/korv/commands/cli/texture_options.h"
#include "tools/korv/images/png.h"
#include "tools/korv/model/obj.h"
#include "tools/korv/painting/canvas.h"
#include "tools/korv/painting/pipeline.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <fmt/ostream.h>

#include <memory>

namespace korv {

namespace {

constexpr D3DCOLOR kBackground = 0xFF202830;

struct RenderArguments {
    std::string model, output;
    std::string chip;
    std::string shade = "gouraud";
    std::string cull = "none";
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

// The triangles that show image `image`, -1 for none.
Mesh PartOf(const Mesh& mesh, int image) {
    Mesh part;
    part.vertices = mesh.vertices;
    for (size_t i = 0; i < mesh.triangles.size(); ++i) {
        if (mesh.imageOf[i] == image) {
            part.triangles.push_back(mesh.triangles[i]);
        }
    }
    return part;
}

void DrawTextured(Canvas& canvas, const Mesh& mesh, const Camera& camera,
                  const DrawOptions& options, const TextureArguments& texture) {
    std::vector<TextureHandle> handles;
    for (const std::string& image : mesh.images) {
        handles.push_back(canvas.MakeTexture(texture.Request(image)));
    }
    for (int image = -1; image < static_cast<int>(handles.size()); ++image) {
        const Mesh part = PartOf(mesh, image);
        if (part.triangles.empty()) {
            continue;
        }
        if (image < 0) {
            ClearTexture(canvas);
        } else {
            TextureState state = texture.State();
            state.texture = handles[image];
            SetTexture(canvas, state);
        }
        DrawMesh(canvas, part, camera, options);
    }
}

void Render(const RenderArguments& arguments, Console& console) {
    const Settings settings = arguments.draw.ToSettings();
    const ChipChoice& chip = ChipByName(arguments.chip);
    std::error_code ignored;
    if (std::filesystem::equivalent(arguments.model, arguments.output, ignored)) {
        throw UserError(fmt::format("'{}' is the model itself, expected another name for the "
                                    "picture",
                                    arguments.output));
    }
    Mesh mesh = LoadObj(arguments.model);
    ChooseImages(mesh, arguments.texture, chip, arguments.model);
    const Camera camera = FitCamera(BoundingSphere(mesh), arguments.orbit, settings.size);
    DrawOptions options;
    options.shading = arguments.shade == "flat" ? Shading::Flat : Shading::Gouraud;
    // Parts with textures of their own cannot be sorted among each other.
    const bool zBuffer = arguments.zBuffer || mesh.images.size() > 1;
    options.backToFront = !zBuffer;
    if (arguments.fog) {
        options.fog = Fog{camera.nearPlane, camera.farPlane, kBackground};
    }

    Recording recording(arguments.draw.record);
    Canvas canvas(chip, settings, recording);
    canvas.Clear(kBackground);
    canvas.State(D3DRENDERSTATE_ZENABLE, zBuffer);
    canvas.State(D3DRENDERSTATE_CULLMODE, CullMode(arguments.cull));
    if (mesh.images.empty()) {
        DrawMesh(canvas, mesh, camera, options);
    } else {
        DrawTextured(canvas, mesh, camera, options, arguments.texture);
    }
    WritePng(arguments.output, canvas.Finish());
    recording.Commit();
    WarnOfFaults(console, arguments.output, canvas.Faults());
    fmt::print(console.out, "{}: {} triangles of {} on {}\n", arguments.output,
               mesh.triangles.size(), arguments.model, chip.about);
}

constexpr const char* kRenderFooter =
    R"(Front faces run counter-clockwise, so '--cull cw' drops what faces away. Without
--zbuffer the triangles are drawn from back to front; models with several textures
always have a depth buffer.

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
    command.add_option("-o,--output", arguments->output, "The picture")
        ->type_name("OUT.png")
        ->required();
    command.add_option("--chip", arguments->chip, "The chip: " + ChipNames())
        ->type_name("CHIP")
        ->required();
    command.add_option("--shade", arguments->shade, "flat or gouraud (default gouraud)")
        ->type_name("HOW")
        ->check(CLI::IsMember({"flat", "gouraud"}).description(""));
    command.add_flag("--zbuffer", arguments->zBuffer, "Test and write depth");
    command.add_flag("--fog", arguments->fog, "Fade into the background with the distance");
    command
        .add_option("--cull", arguments->cull,
                    "Drop triangles by their turn: none, cw or ccw (default none)")
        ->type_name("TURN")
        ->check(CLI::IsMember({"none", "cw", "ccw"}).description(""));
    command
        .add_option("--yaw", arguments->orbit.yaw, "Walk around the model, in degrees (default 30)")
        ->type_name("DEG")
        ->check(CLI::Range(-360.0, 360.0).description(""));
    command
        .add_option("--pitch", arguments->orbit.pitch,
                    "Height of the eye above the model, in degrees (default 25)")
        ->type_name("DEG")
        ->check(CLI::Range(-90.0, 90.0).description(""));
    command
        .add_option("--zoom", arguments->orbit.zoom,
                    "Enlarge; the model fits the picture at 1 (default 1)")
        ->type_name("FACTOR")
        ->check(CLI::Range(0.1, 100.0).description(""));
    AddTextureArguments(command, arguments->texture);
    AddDrawArguments(command, arguments->draw);
    command.footer(kRenderFooter);
    command.callback([arguments, &console] { Render(*arguments, console); });
}

} // namespace

extern const Command kRenderCommand{"render", CommandGroup::Draw,
                                    "Draw a Wavefront OBJ model into a PNG", SetUpRender};

} // namespace korv
