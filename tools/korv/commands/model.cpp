#include "tools/korv/base/errors.h"
#include "tools/korv/base/files.h"
#include "tools/korv/base/text.h"
#include "tools/korv/commands/cli/command.h"
#include "tools/korv/model/obj.h"
#include "tools/korv/model/shapes.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <fmt/ostream.h>

#include <memory>

namespace korv {

namespace {

struct ModelArguments {
    std::string name, output;
};

std::string ShapeNames(const char* between) {
    std::string names;
    for (const Shape& shape : NamedShapes()) {
        names += fmt::format("{}{}", names.empty() ? "" : between, shape.name);
    }
    return names;
}

void Model(const ModelArguments& arguments, Console& console) {
    const Shape* shape = FindShape(arguments.name);
    if (shape == nullptr) {
        throw UserError(fmt::format("unknown model '{}': expected one of {}", arguments.name,
                                    ShapeNames(", ")));
    }
    const Mesh mesh = shape->make();
    OutputFile file(arguments.output);
    WriteObj(file.Stream(), mesh, fmt::format("{}, by korv model", shape->about));
    file.Commit();
    fmt::print(console.Report(), "{}: {}, {}\n", Printable(arguments.output), shape->about,
               Count(mesh.triangles.size(), "triangle"));
}

std::string ModelFooter() {
    std::string text = "Models:\n";
    for (const Shape& shape : NamedShapes()) {
        text += fmt::format("  {:<12}{}\n", shape.name, shape.about);
    }
    return text + R"(
The y axis of the file points upwards.

Example:
  korv model torus-knot -o torus-knot.obj
)";
}

void SetUpModel(CLI::App& command, Console& console) {
    auto arguments = std::make_shared<ModelArguments>();
    command.add_option("NAME", arguments->name, "The model")
        ->type_name(ShapeNames("|"))
        ->required();
    command.add_option("-o,--output", arguments->output, "The file; - for standard output")
        ->type_name("FILE.obj")
        ->required();
    command.footer(ModelFooter());
    command.callback([arguments, &console] { Model(*arguments, console); });
}

} // namespace

extern const Command kModelCommand{"model", CommandGroup::Draw,
                                   "Write one of the built-in models as Wavefront OBJ", SetUpModel};

} // namespace korv
