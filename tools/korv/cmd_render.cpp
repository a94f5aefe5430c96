#include <memory>

#include <fmt/format.h>
#include <fmt/ostream.h>

#include "tools/korv/commands.h"
#include "tools/korv/errors.h"
#include "tools/korv/obj.h"
#include "tools/korv/pipeline.h"
#include "tools/korv/png.h"

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
    DrawArguments draw;
};

DWORD CullMode(const std::string& name) {
    return name == "cw" ? D3DCULL_CW : name == "ccw" ? D3DCULL_CCW : D3DCULL_NONE;
}

void Render(const RenderArguments& arguments, Console& console) {
    const Settings settings = arguments.draw.ToSettings();
    const ChipChoice& chip = DrawingChipByName(arguments.chip);
    std::error_code ignored;
    if (std::filesystem::equivalent(arguments.model, arguments.output, ignored))
        throw UserError(fmt::format("'{}' is the model itself, expected another name for the "
                                    "picture",
                                    arguments.output));
    const Mesh mesh = LoadObj(arguments.model);
    const Camera camera = FitCamera(BoundingSphere(mesh), arguments.orbit, settings.size);
    DrawOptions options;
    options.shading = arguments.shade == "flat" ? Shading::Flat : Shading::Gouraud;
    options.backToFront = !arguments.zBuffer;
    if (arguments.fog)
        options.fog = Fog{camera.nearPlane, camera.farPlane, kBackground};

    Recording recording(arguments.draw.record);
    Canvas canvas(chip, settings, recording);
    canvas.Clear(kBackground);
    canvas.State(D3DRENDERSTATE_ZENABLE, arguments.zBuffer);
    canvas.State(D3DRENDERSTATE_CULLMODE, CullMode(arguments.cull));
    DrawMesh(canvas, mesh, camera, options);
    WritePng(arguments.output, canvas.Finish());
    recording.Commit();
    WarnOfFaults(console, arguments.output, canvas.Faults());
    fmt::print(console.out, "{}: {} triangles of {} on {}\n", arguments.output,
               mesh.triangles.size(), arguments.model, chip.about);
}

constexpr const char* kFooter =
    R"(Front faces run counter-clockwise, so '--cull cw' drops what faces away. Without
--zbuffer the triangles are drawn from back to front.

Examples:
  korv render scenes/torus-knot.obj --chip tx --zbuffer -o knot.png
  korv render scenes/icosphere.obj --chip permedia --shade flat --cull cw -o ball.png
  korv render scenes/cube.obj --chip sx --fog --yaw 50 --words cube.bin -o cube.png
)";

} // namespace

void AddRender(CLI::App& app, Console& console) {
    auto arguments = std::make_shared<RenderArguments>();
    CLI::App* command = app.add_subcommand("render", "Draw a Wavefront OBJ model into a PNG");
    command->add_option("MODEL", arguments->model, "The model, a Wavefront OBJ file")
        ->type_name("")
        ->required();
    command->add_option("-o,--output", arguments->output, "The picture")
        ->type_name("OUT.png")
        ->required();
    command->add_option("--chip", arguments->chip, "The chip: " + ChipNames(true))
        ->type_name("CHIP")
        ->required();
    command->add_option("--shade", arguments->shade, "flat or gouraud (default gouraud)")
        ->type_name("HOW")
        ->check(CLI::IsMember({"flat", "gouraud"}).description(""));
    command->add_flag("--zbuffer", arguments->zBuffer, "Test and write depth");
    command->add_flag("--fog", arguments->fog, "Fade into the background with the distance");
    command
        ->add_option("--cull", arguments->cull,
                     "Drop triangles by their turn: none, cw or ccw (default none)")
        ->type_name("TURN")
        ->check(CLI::IsMember({"none", "cw", "ccw"}).description(""));
    command
        ->add_option("--yaw", arguments->orbit.yaw,
                     "Walk around the model, in degrees (default 30)")
        ->type_name("DEG")
        ->check(CLI::Range(-360.0, 360.0).description(""));
    command
        ->add_option("--pitch", arguments->orbit.pitch,
                     "Height of the eye above the model, in degrees (default 25)")
        ->type_name("DEG")
        ->check(CLI::Range(-90.0, 90.0).description(""));
    command
        ->add_option("--zoom", arguments->orbit.zoom,
                     "Enlarge; the model fits the picture at 1 (default 1)")
        ->type_name("FACTOR")
        ->check(CLI::Range(0.1, 100.0).description(""));
    AddDrawArguments(*command, arguments->draw);
    command->footer(kFooter);
    command->callback([arguments, &console] { Render(*arguments, console); });
}

} // namespace korv
