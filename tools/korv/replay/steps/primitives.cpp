// Triangles, lines, points, models and whole execute buffers.
#include "tools/korv/base/errors.h"
#include "tools/korv/model/obj.h"
#include "tools/korv/painting/pipeline.h"
#include "tools/korv/replay/steps/states.h"

#include <fmt/format.h>

namespace korv {

namespace {

constexpr uint32_t kMaxIndex = 0xFFFF;

// A list in the script, or the name of a JSON file beside it that holds one.
class ListSource {
  public:
    explicit ListSource(const Node& node) : node_(node) {
        if (!node.IsText()) {
            return;
        }
        const auto path = node.File().Path().parent_path() / node.Name();
        try {
            file_ = std::make_unique<ScriptFile>(path);
        } catch (const UserError& error) {
            node.Fail(error.what());
        }
    }
    std::vector<Node> List() const { return (file_ ? Node::RootOf(*file_) : node_).List(); }

  private:
    Node node_;
    std::unique_ptr<ScriptFile> file_;
};

// [sx, sy, sz, rhw, color, specular, tu, tv]; what is left out at the end is 0, but rhw 1, color
// white and specular 0xFF000000.
D3DTLVERTEX ReadVertex(const Node& node) {
    const std::vector<Node> parts = node.List();
    if (parts.size() < 2 || parts.size() > 8) {
        node.Fail("expected [sx, sy, sz, rhw, color, specular, tu, tv], from two parts up");
    }
    const auto real = [&](size_t i, float missing) {
        return i < parts.size() ? parts[i].Single() : missing;
    };
    const auto word = [&](size_t i, uint32_t missing) {
        return i < parts.size() ? parts[i].Word() : missing;
    };
    return {real(0, 0),          real(1, 0),          real(2, 0), real(3, 1),
            word(4, 0xFFFFFFFF), word(5, 0xFF000000), real(6, 0), real(7, 0)};
}

std::vector<D3DTLVERTEX> ReadVertices(const Node& node) {
    const ListSource source(node);
    std::vector<D3DTLVERTEX> vertices;
    for (const Node& vertex : source.List()) {
        vertices.push_back(ReadVertex(vertex));
    }
    if (vertices.size() > kMaxIndex + 1) {
        node.Fail(fmt::format("{} vertices are more than indices reach", vertices.size()));
    }
    return vertices;
}

std::vector<WORD> ReadWords(const Node& node, size_t low, size_t high, const char* form) {
    std::vector<WORD> words;
    for (const Node& part : node.List()) {
        const uint32_t word = part.Word();
        if (word > kMaxIndex) {
            part.Fail(fmt::format("{} does not fit 16 bits", word));
        }
        words.push_back(static_cast<WORD>(word));
    }
    if (words.size() < low || words.size() > high) {
        node.Fail(fmt::format("expected {}", form));
    }
    return words;
}

// Indices must lie in the vertices that are given, as the driver reads them unchecked.
void CheckIndex(const Node& node, WORD index, size_t vertices) {
    if (index >= vertices) {
        node.Fail(fmt::format("there is no vertex {}: {} are given", index, vertices));
    }
}

std::vector<D3DTRIANGLE> ReadTriangles(const Node& node, size_t vertices) {
    const ListSource source(node);
    std::vector<D3DTRIANGLE> triangles;
    for (const Node& one : source.List()) {
        const auto words = ReadWords(one, 3, 4, "[v1, v2, v3] or [v1, v2, v3, flags]");
        for (size_t i = 0; i < 3; ++i) {
            CheckIndex(one, words[i], vertices);
        }
        triangles.push_back({{words[0]},
                             {words[1]},
                             {words[2]},
                             words.size() > 3 ? words[3] : D3DTRIFLAG_EDGEENABLETRIANGLE});
    }
    return triangles;
}

std::vector<D3DLINE> ReadLines(const Node& node, size_t vertices) {
    std::vector<D3DLINE> lines;
    for (const Node& one : node.List()) {
        const auto words = ReadWords(one, 2, 2, "[v1, v2]");
        for (const WORD index : words) {
            CheckIndex(one, index, vertices);
        }
        lines.push_back({{words[0]}, {words[1]}});
    }
    return lines;
}

std::vector<D3DPOINT> ReadPoints(const Node& node, size_t vertices) {
    std::vector<D3DPOINT> points;
    for (const Node& one : node.List()) {
        const auto words = ReadWords(one, 2, 2, "[count, first]");
        if (size_t(words[0]) + words[1] > vertices) {
            one.Fail(fmt::format("{} vertices are given", vertices));
        }
        points.push_back({words[0], words[1]});
    }
    return points;
}

StepPlan Drawing(const std::string& context, std::function<HRESULT(host::Device3D&)> draw) {
    return {[=](Player& player, Outcome& outcome) {
                host::Device3D& device = player.Device(context);
                outcome.Set("result", draw(device));
                outcome.Set("status", device.status);
            },
            Only({{"result", FieldKind::Result}, {"status", FieldKind::Word}}), true};
}

// dwStatus that the instruction starts with.
std::function<void(host::Device3D&)> ReadStatus(Fields& fields) {
    const auto status = fields.Find("status");
    if (!status) {
        return [](host::Device3D&) {};
    }
    return [word = status->Word()](host::Device3D& device) { device.status = word; };
}

StepPlan ReadTrianglesStep(Fields& fields, Names& names) {
    const std::string context = names.Refer(NameKind::Context, fields["context"]);
    const auto setStatus = ReadStatus(fields);
    const auto vertices = ReadVertices(fields["vertices"]);
    std::vector<D3DTRIANGLE> records;
    if (const auto node = fields.Find("triangles")) {
        records = ReadTriangles(*node, vertices.size());
    } else {
        if (vertices.size() % 3 != 0) {
            fields["vertices"].Fail("without 'triangles' every three vertices are one");
        }
        for (size_t i = 0; i < vertices.size(); i += 3) {
            records.push_back({{static_cast<WORD>(i)},
                               {static_cast<WORD>(i + 1)},
                               {static_cast<WORD>(i + 2)},
                               D3DTRIFLAG_EDGEENABLETRIANGLE});
        }
    }
    return Drawing(context, [=](host::Device3D& device) {
        setStatus(device);
        return device.Triangles(vertices, records);
    });
}

StepPlan ReadLinesStep(Fields& fields, Names& names) {
    const std::string context = names.Refer(NameKind::Context, fields["context"]);
    const auto setStatus = ReadStatus(fields);
    const auto vertices = ReadVertices(fields["vertices"]);
    const auto records = ReadLines(fields["lines"], vertices.size());
    return Drawing(context, [=](host::Device3D& device) {
        setStatus(device);
        return device.Lines(vertices, records);
    });
}

StepPlan ReadPointsStep(Fields& fields, Names& names) {
    const std::string context = names.Refer(NameKind::Context, fields["context"]);
    const auto setStatus = ReadStatus(fields);
    const auto vertices = ReadVertices(fields["vertices"]);
    const auto records = ReadPoints(fields["points"], vertices.size());
    return Drawing(context, [=](host::Device3D& device) {
        setStatus(device);
        return device.Points(vertices, records);
    });
}

// A model in a Wavefront OBJ file, fitted to a picture of the size given.
StepPlan ReadModel(Fields& fields, Names& names) {
    const std::string context = names.Refer(NameKind::Context, fields["context"]);
    const Node file = fields["file"];
    ObjOptions how;
    if (const auto up = fields.Find("up")) {
        const std::string axis = up->Name();
        if (axis != "y" && axis != "z") {
            up->Fail(fmt::format("'{}' is no axis that points upwards: expected y or z", axis));
        }
        how.up = axis == "z" ? Up::Z : Up::Y;
    }
    Mesh mesh;
    try {
        mesh = ReadObjModel(file.File().Path().parent_path() / file.Name(), how).mesh;
    } catch (const UserError& error) {
        file.Fail(error.what());
    }
    const Extent extent{static_cast<int>(fields["width"].Number(1, 8191)),
                        static_cast<int>(fields["height"].Number(1, 2048))};
    Orbit orbit;
    const auto angle = [&](const char* name, double& out, double low, double high) {
        const auto node = fields.Find(name);
        if (!node) {
            return;
        }
        out = node->Real();
        if (out < low || out > high) {
            node->Fail(fmt::format("{} is out of range: expected {} to {}", out, low, high));
        }
    };
    angle("yaw", orbit.yaw, -360, 360);
    angle("pitch", orbit.pitch, -90, 90);
    angle("zoom", orbit.zoom, 0.1, 100);
    const Camera camera = FitCamera(BoundingSphere(mesh), orbit, extent);
    DrawOptions options;
    if (const auto flat = fields.Find("flat")) {
        options.shading = flat->Flag() ? Shading::Flat : Shading::Gouraud;
    }
    if (const auto sort = fields.Find("backToFront")) {
        options.backToFront = sort->Flag();
    }
    if (const auto fog = fields.Find("fog")) {
        if (fog->Flag()) {
            options.fog = Fog{camera.nearPlane, camera.farPlane, 0};
        }
    }
    angle("alpha", options.alpha, 0, 1);
    const std::vector<Batch> batches = Process(mesh, camera, extent, options);
    return Drawing(context, [batches](host::Device3D& device) {
        for (const Batch& batch : batches) {
            if (const HRESULT result = device.Triangles(batch.vertices, batch.triangles);
                result != DD_OK) {
                return result;
            }
        }
        return HRESULT{DD_OK};
    });
}

// An execute buffer: a list of instructions, each an object with one of "states", "triangles",
// "lines", "points", "exit", or with "opcode", "size", "count" and the records as "words".
using Instruction = std::function<void(host::ExecuteBuffer&, Player&)>;

Instruction ReadInstruction(const Node& node, size_t vertices, const Names& names) {
    Fields fields(node);
    Instruction instruction;
    if (const auto states = fields.Find("states")) {
        instruction = [list = ReadStates(*states, names)](host::ExecuteBuffer& buffer,
                                                          Player& player) {
            std::vector<host::RenderState> values;
            for (const StateValue& state : list) {
                values.push_back({state.type, state.value(player)});
            }
            buffer.States(values);
        };
    } else if (const auto triangles = fields.Find("triangles")) {
        instruction = [list = ReadTriangles(*triangles, vertices)](
                          host::ExecuteBuffer& buffer, Player&) { buffer.Triangles(list); };
    } else if (const auto lines = fields.Find("lines")) {
        instruction = [list = ReadLines(*lines, vertices)](host::ExecuteBuffer& buffer, Player&) {
            buffer.Lines(list);
        };
    } else if (const auto points = fields.Find("points")) {
        instruction = [list = ReadPoints(*points, vertices)](host::ExecuteBuffer& buffer, Player&) {
            buffer.Points(list);
        };
    } else if (fields.Has("exit")) {
        instruction = [](host::ExecuteBuffer& buffer, Player&) { buffer.Exit(); };
    } else {
        const auto opcode = static_cast<uint8_t>(fields["opcode"].Number(0, 255));
        const auto size = static_cast<uint8_t>(fields["size"].Number(0, 255));
        const auto count = static_cast<uint16_t>(fields["count"].Number(0, 0xFFFF));
        std::vector<uint32_t> words;
        if (const auto list = fields.Find("words")) {
            for (const Node& word : list->List()) {
                words.push_back(word.Word());
            }
        }
        if (words.size() * 4 != size_t{size} * count) {
            node.Fail(fmt::format("'words' has {} bytes, {} records of {} bytes have {}",
                                  words.size() * 4, count, size, size_t{size} * count));
        }
        instruction = [=](host::ExecuteBuffer& buffer, Player&) {
            buffer.Instruction(opcode, size, count,
                               {reinterpret_cast<const uint8_t*>(words.data()), words.size() * 4});
        };
    }
    fields.Done();
    return instruction;
}

StepPlan ReadExecute(Fields& fields, Names& names) {
    const std::string context = names.Refer(NameKind::Context, fields["context"]);
    const auto setStatus = ReadStatus(fields);
    std::vector<D3DTLVERTEX> vertices;
    if (const auto node = fields.Find("vertices")) {
        vertices = ReadVertices(*node);
    }
    std::vector<Instruction> instructions;
    for (const Node& node : fields["instructions"].List()) {
        instructions.push_back(ReadInstruction(node, vertices.size(), names));
    }
    return {[=](Player& player, Outcome& outcome) {
                host::ExecuteBuffer buffer;
                for (const Instruction& instruction : instructions) {
                    instruction(buffer, player);
                }
                host::Device3D& device = player.Device(context);
                setStatus(device);
                outcome.Set("result", device.Execute(buffer, vertices));
                outcome.Set("status", device.status);
            },
            Only({{"result", FieldKind::Result}, {"status", FieldKind::Word}}), true};
}

constexpr StepKind kPrimitiveSteps[] = {
    {"triangles", ReadTrianglesStep}, {"lines", ReadLinesStep},
    {"points", ReadPointsStep},       {"model", ReadModel},
    {"execute", ReadExecute},
};

} // namespace

std::span<const StepKind> PrimitiveSteps() {
    return kPrimitiveSteps;
}

} // namespace korv
