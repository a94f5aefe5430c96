// Contexts, states, textures, primitives.
#include "tools/korv/random/grammar.h"

#include <iterator>

namespace korv::random {

namespace {

constexpr size_t kMostContexts = 4;

struct StateChoice {
    const char* name;
    uint32_t low, high;
};
constexpr StateChoice kStates[] = {
    {"SHADEMODE", 1, 2},
    {"CULLMODE", 1, 3},
    {"FILLMODE", 1, 3},
    {"SPECULARENABLE", 0, 1},
    {"ZENABLE", 0, 1},
    {"ZWRITEENABLE", 0, 1},
    {"ZFUNC", 1, 8},
    {"BLENDENABLE", 0, 1},
    {"SRCBLEND", 1, 13},
    {"DESTBLEND", 1, 10},
    {"FOGENABLE", 0, 1},
    {"DITHERENABLE", 0, 1},
    {"TEXTUREPERSPECTIVE", 0, 1},
    {"TEXTUREMAPBLEND", 1, 8},
    {"TEXTUREMAG", 1, 2},
    {"TEXTUREMIN", 1, 6},
    {"TEXTUREADDRESS", 1, 3},
    {"LASTPIXEL", 0, 1},
    {"SUBPIXEL", 0, 1},
    {"MONOENABLE", 0, 1},
    {"STIPPLEENABLE", 0, 1},
    {"ROP2", 1, 16},
    {"WRAPU", 0, 1},
    {"WRAPV", 0, 1},
    {"ANTIALIAS", 0, 0},
    {"COLORKEYENABLE", 0, 1},
    {"ALPHATESTENABLE", 0, 0},
    {"STIPPLEDALPHA", 0, 1},
};

} // namespace

bool Grammar::MakeContext() {
    const MadeSurface* target = Any([](const MadeSurface& one) {
        return one.kind == Kind::Target || one.kind == Kind::Primary;
    });
    if (target == nullptr || contexts_.size() >= kMostContexts) {
        return false;
    }
    const MadeSurface* depth = Any([&](const MadeSurface& one) {
        return one.kind == Kind::Depth && one.display == target->display &&
               one.shape.width == target->shape.width && one.shape.height == target->shape.height &&
               !Used(one.name);
    });
    // A back buffer is drawn to as often as the screen.
    std::string name = target->name;
    if (target->chain != 0 && dice_.Chance(60)) {
        name += ".1";
    }
    MadeContext made{Name("c"),
                     name,
                     depth != nullptr ? depth->name : "",
                     target->display,
                     dice_.From(1, 3),
                     false,
                     false,
                     {}};
    Step step{{"do", "context"},
              {"display", displays_[made.display].name},
              {"name", made.name},
              {"target", made.target},
              {"process", made.process}};
    if (depth != nullptr) {
        step["zBuffer"] = made.depth;
    }
    Add(step);
    contexts_.push_back(made);
    Add({{"do", "states"},
         {"context", made.name},
         {"states",
          Step::array({Step::array({"CULLMODE", 1}), Step::array({"ZENABLE", depth != nullptr}),
                       Step::array({"ZWRITEENABLE", true})})}});
    return true;
}

void Grammar::DropContext(size_t place) {
    MadeContext& context = contexts_[place];
    Quiet(context.display);
    Add({{"do", "destroyContext"}, {"context", context.name}});
    goneContexts_.push_back(context.name);
    contexts_.erase(contexts_.begin() + static_cast<ptrdiff_t>(place));
}

bool Grammar::EndContext() {
    if (contexts_.empty()) {
        return false;
    }
    if (dice_.Chance(20)) {
        const uint32_t process = dice_.Of(contexts_).process;
        const size_t display = dice_.Of(contexts_).display;
        for (size_t one = 0; one < displays_.size(); ++one) {
            Quiet(one);
        }
        Add({{"do", "destroyProcess"}, {"display", displays_[display].name}, {"process", process}});
        // Contexts of all displays stand in one table.
        std::erase_if(contexts_, [&](const MadeContext& one) { return one.process == process; });
        return true;
    }
    DropContext(dice_.From(0, static_cast<uint32_t>(contexts_.size()) - 1));
    return true;
}

bool Grammar::Scene() {
    MadeContext* context = AnyContext();
    if (context == nullptr) {
        return false;
    }
    if (context->inScene) {
        Add({{"do", "endScene"}, {"context", context->name}});
        context->inScene = false;
    } else {
        OpenScene(*context);
    }
    return true;
}

void Grammar::OpenScene(MadeContext& context) {
    if (!context.inScene) {
        Quiet(context.display);
        Add({{"do", "beginScene"}, {"context", context.name}});
        context.inScene = true;
    }
    displays_[context.display].busy = true;
}

Step Grammar::StatePairs(const MadeContext& context) {
    Step states = Step::array();
    for (uint32_t i = dice_.From(1, 5); i-- > 0;) {
        if (dice_.Chance(8)) {
            states.push_back({"FOGCOLOR", dice_.Word()});
            continue;
        }
        if (dice_.Chance(5)) {
            states.push_back({"PLANEMASK", dice_.Chance(80) ? ~0u : dice_.Word()});
            continue;
        }
        if (dice_.Chance(5)) {
            states.push_back(
                {"STIPPLEPATTERN" + std::string(dice_.Chance(50) ? "00" : "07"), dice_.Word()});
            continue;
        }
        const StateChoice& choice = dice_.Of(kStates);
        const MadeDisplay& on = displays_[context.display];
        if (std::string(choice.name) == "STIPPLEDALPHA" && on.glint && on.slowFifo) {
            continue; // host/inspect/unwaited.h
        }
        if (std::string(choice.name) == "ZENABLE" && context.depth.empty()) {
            continue;
        }
        states.push_back({choice.name, dice_.From(choice.low, choice.high)});
    }
    if (states.empty()) {
        states.push_back({"SHADEMODE", 2});
    }
    return states;
}

bool Grammar::SetStates() {
    MadeContext* context = AnyContext();
    if (context == nullptr) {
        return false;
    }
    Add({{"do", "states"}, {"context", context->name}, {"states", StatePairs(*context)}});
    return true;
}

bool Grammar::MakeTexture() {
    MadeContext* context = AnyContext();
    if (context == nullptr) {
        return false;
    }
    const MadeSurface* surface = Any([&](const MadeSurface& one) {
        return one.kind == Kind::Texture && !one.system && one.display == context->display;
    });
    if (surface == nullptr) {
        return false;
    }
    AddTexture(*context, surface->name);
    return UseTexture();
}

void Grammar::AddTexture(MadeContext& context, const std::string& surface) {
    context.textures.push_back({Name("h"), surface});
    Add({{"do", "texture"},
         {"name", context.textures.back().name},
         {"context", context.name},
         {"surface", surface}});
}

bool Grammar::UseTexture() {
    MadeContext* context = AnyContext();
    if (context == nullptr || context->textures.empty()) {
        return false;
    }
    Step states = StatePairs(*context);
    if (dice_.Chance(15)) {
        states.push_back({"TEXTUREHANDLE", 0});
        context->textureBound = false;
    } else if (context->textures.size() > 1 && dice_.Chance(15)) {
        Add({{"do", "swapTextures"},
             {"context", context->name},
             {"texture", context->textures[0].name},
             {"with", context->textures[1].name}});
        std::swap(context->textures[0].surface, context->textures[1].surface);
    } else {
        states.push_back({"TEXTUREHANDLE", {{"texture", dice_.Of(context->textures).name}}});
        context->textureBound = true;
    }
    Add({{"do", "states"}, {"context", context->name}, {"states", states}});
    return true;
}

bool Grammar::EndTexture() {
    MadeContext* context = AnyContext();
    if (context == nullptr || context->textures.empty()) {
        return false;
    }
    Quiet(context->display);
    Add({{"do", "states"},
         {"context", context->name},
         {"states", Step::array({Step::array({"TEXTUREHANDLE", 0})})}});
    Add({{"do", "destroyTexture"},
         {"context", context->name},
         {"texture", context->textures.back().name}});
    goneTextures_.push_back(context->textures.back().name);
    context->textures.pop_back();
    return true;
}

Step Grammar::Vertex(const MadeContext& context, const Shape& target) {
    const bool setUp = displays_[context.display].setUp;
    double x = 0, y = 0;
    if (dice_.Chance(80)) { // on the target
        x = dice_.From(0, target.width * 16) / 16.0;
        y = dice_.From(0, target.height * 16) / 16.0;
    } else if (setUp) {
        x = dice_.Quarter(-2000, 4000);
        y = dice_.Quarter(-2000, 4000);
    } else {
        x = dice_.Quarter(0, 2047);
        y = dice_.Quarter(0, 2047);
    }
    static constexpr double kRhw[] = {1, 1, 1, 0.5, 0.03125, 2, 0.001953125};
    Step vertex = Step::array(
        {x, y, dice_.From(0, 4096) / 4096.0, dice_.Of(kRhw), dice_.Word(), dice_.Word()});
    const int range = dice_.Chance(85) ? 1 : 8;
    vertex.push_back(dice_.From(0, 1024) / 1024.0 * 2 * range - (range - 1));
    vertex.push_back(dice_.From(0, 1024) / 1024.0 * 2 * range - (range - 1));
    return vertex;
}

Step Grammar::Vertices(const MadeContext& context, uint32_t count) {
    const MadeSurface* target = Find(context.target.substr(0, context.target.find('.')));
    Step vertices = Step::array();
    for (uint32_t i = 0; i < count; ++i) {
        if (i != 0 && dice_.Chance(5)) {
            vertices.push_back(vertices[i - 1]); // no length, no area
        } else {
            vertices.push_back(Vertex(context, target->shape));
        }
    }
    return vertices;
}

bool Grammar::Triangles() {
    MadeContext* context = AnyContext();
    if (context == nullptr) {
        return MakeContext();
    }
    OpenScene(*context);
    const uint32_t corners = dice_.From(3, 9);
    Step step{
        {"do", "triangles"}, {"context", context->name}, {"vertices", Vertices(*context, corners)}};
    Step list = Step::array();
    const uint32_t count = dice_.Chance(5) ? dice_.From(100, 400) : dice_.From(1, 8);
    for (uint32_t i = 0; i < count; ++i) {
        Step one = Step::array();
        for (int corner = 0; corner < 3; ++corner) {
            one.push_back(dice_.From(0, corners - 1));
        }
        // Edges, and how strips and fans go on.
        one.push_back(dice_.Chance(70) ? 0x700 : dice_.From(0, 7) << 8);
        list.push_back(one);
    }
    step["triangles"] = list;
    Add(step);
    return true;
}

bool Grammar::Lines() {
    MadeContext* context = AnyContext();
    if (context == nullptr) {
        return false;
    }
    OpenScene(*context);
    Step list = Step::array();
    for (uint32_t i = dice_.From(1, 6); i-- > 0;) {
        list.push_back({dice_.From(0, 4), dice_.From(0, 4)});
    }
    Add({{"do", "lines"},
         {"context", context->name},
         {"vertices", Vertices(*context, 5)},
         {"lines", list}});
    return true;
}

bool Grammar::Points() {
    MadeContext* context = AnyContext();
    if (context == nullptr) {
        return false;
    }
    OpenScene(*context);
    const uint32_t count = dice_.From(1, 6), first = dice_.From(0, 2);
    Add({{"do", "points"},
         {"context", context->name},
         {"vertices", Vertices(*context, count + first)},
         {"points", {{count, first}}}});
    return true;
}

bool Grammar::Execute() {
    MadeContext* context = AnyContext();
    if (context == nullptr) {
        return false;
    }
    OpenScene(*context);
    Step instructions = Step::array();
    for (uint32_t i = dice_.From(1, 4); i-- > 0;) {
        Step one;
        switch (dice_.From(0, 3)) {
        case 0:
            one["states"] = StatePairs(*context);
            break;
        case 1:
            one["triangles"] = {{0, 1, 2}, {2, 1, 3}};
            break;
        case 2:
            one["lines"] = {{0, 3}, {1, 2}};
            break;
        default:
            one["points"] = {{2, 1}};
        }
        instructions.push_back(one);
    }
    instructions.push_back({{"exit", true}});
    Add({{"do", "execute"},
         {"context", context->name},
         {"vertices", Vertices(*context, 4)},
         {"instructions", instructions}});
    return true;
}

void Grammar::End() {
    for (size_t i = 0; i < displays_.size(); ++i) {
        Quiet(i);
    }
    while (!contexts_.empty()) {
        DropContext(contexts_.size() - 1);
    }
    EndPort();
    for (const auto& [display, block] : blocks_) {
        FreeBlock(display, block);
    }
    for (size_t i = surfaces_.size(); i-- > 0;) {
        if (!surfaces_[i].system) {
            Add({{"do", "finish"}, {"surface", surfaces_[i].name}});
        }
    }
}

} // namespace korv::random
