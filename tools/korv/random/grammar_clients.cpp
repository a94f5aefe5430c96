// Other clients of the chip, by the exports, and what breaks the rules.
#include "chip/registers.h"
#include "tools/korv/random/grammar.h"

namespace korv::random {

// Memory of the heap for a client, and back.
bool Grammar::ClientMemory() {
    if (!blocks_.empty() && dice_.Chance(50)) {
        const auto [display, block] = blocks_.back();
        blocks_.pop_back();
        FreeBlock(display, block);
        return true;
    }
    if (blocks_.size() >= 6) {
        return false;
    }
    static constexpr uint32_t kFlags[] = {0x8, 0x0, 0x1, 0x9};
    const size_t display = dice_.From(0, static_cast<uint32_t>(displays_.size()) - 1);
    const std::string request = Name("request"), block = Name("block");
    // From the top a block that is smaller than its alignment may lie beside its stretch
    // (driver/heap/linalloc.cpp, Carve), and its address then frees another one.
    const bool video = displays_[display].video;
    const uint32_t alignment = 1u << dice_.From(video ? 3 : 2, 8);
    // A video port's bases count in 8 bytes, to which the heap aligns no surface
    // (driver/video/video_update.cpp, Start).
    const uint32_t unit = video ? ~7u : ~0u;
    Add({{"do", "memory"},
         {"name", request},
         {"record", "HeapRequest"},
         {"fields",
          {{"Size", 20},
           {"Flags", dice_.Of(kFlags)},
           {"Alignment", alignment},
           {"Bytes", dice_.From(alignment, 8000) & unit}}}});
    Add({{"do", "export"},
         {"name", "KORV_AllocateVideoMemory"},
         {"display", displays_[display].name},
         {"arguments", {{"request", request}}}});
    Add({{"do", "peek"}, {"at", request}, {"save", {{block, "16"}}}});
    blocks_.push_back({display, block});
    return true;
}

void Grammar::FreeBlock(size_t display, const std::string& block) {
    Add({{"do", "export"},
         {"name", "KORV_FreeVideoMemory"},
         {"display", displays_[display].name},
         {"arguments", {{"address", {{"value", block}}}}}});
}

bool Grammar::ClientLock() {
    const std::string& display = dice_.Of(displays_).name;
    Add({{"do", "export"},
         {"name", "KORV_GetDriverLock"},
         {"display", display},
         {"arguments", {{"surface", nullptr}, {"useDCI", dice_.From(0, 1)}, {"rect", nullptr}}}});
    if (dice_.Chance(50)) {
        Add({{"do", "export"}, {"name", "KORV_DriverIsLocked"}, {"display", display}});
    }
    Add({{"do", "export"},
         {"name", "KORV_FreeDriverLock"},
         {"display", display},
         {"arguments", {{"surface", nullptr}}}});
    return true;
}

// A hardware context of its own, a batch by DMA, and the end of both.
bool Grammar::ClientContext() {
    const std::string& display = dice_.Of(displays_).name;
    const std::string buffer = Name("buffer"), index = Name("index"), context = Name("client");
    Add({{"do", "memory"}, {"name", buffer}, {"record", "ServiceDMABuffer"}});
    Add({{"do", "export"},
         {"name", "KORV_GetDMABuffer"},
         {"display", display},
         {"arguments", {{"out", buffer}}},
         {"save", index}});
    Add({{"do", "export"},
         {"name", "KORV_CreateContext"},
         {"display", display},
         {"arguments", {{"subBuffers", dice_.From(1, 3)}}},
         {"save", context}});
    if (dice_.Chance(40)) {
        Add({{"do", "export"},
             {"name", "KORV_SwitchContext"},
             {"display", display},
             {"arguments", {{"id", {{"value", context}}}}}});
    }
    Add({{"do", "export"},
         {"name", "KORV_DeleteContext"},
         {"display", display},
         {"arguments", {{"id", {{"value", context}}}}}});
    Add({{"do", "export"},
         {"name", "KORV_FreeDMABuffer"},
         {"display", display},
         {"arguments", {{"index", {{"value", index}}}}}});
    return true;
}

// A batch of its own by DMA, between those of Direct3D: state that is nobody else's.
bool Grammar::ClientBatch() {
    const size_t display = dice_.From(0, static_cast<uint32_t>(displays_.size()) - 1);
    if (!displays_[display].clientDma) {
        return false;
    }
    const std::string& on = displays_[display].name;
    const std::string buffer = Name("buffer"), index = Name("index"), context = Name("client"),
                      physical = Name("physical"), linear = Name("linear");
    const auto call = [&](const char* name, Step arguments, const std::string& save = "") {
        Step step{{"do", "export"}, {"name", name}, {"display", on}};
        if (!arguments.is_null()) {
            step["arguments"] = std::move(arguments);
        }
        if (!save.empty()) {
            step["save"] = save;
        }
        Add(std::move(step));
    };
    Add({{"do", "memory"}, {"name", buffer}, {"record", "ServiceDMABuffer"}});
    call("KORV_GetDMABuffer", {{"out", buffer}}, index);
    Add({{"do", "peek"}, {"at", buffer}, {"save", {{physical, "4"}, {linear, "8"}}}});
    call("KORV_CreateContext", {{"subBuffers", dice_.From(1, 4)}}, context);
    for (uint32_t batches = dice_.From(1, 2); batches-- > 0;) {
        static constexpr uint32_t kTags[] = {tag::FogColor, tag::ConstantColor, tag::Depth,
                                             tag::FBBlockColor, tag::ScissorMaxXY};
        Step words = Step::array();
        for (uint32_t pairs = dice_.From(1, 60); pairs-- > 0;) {
            words.push_back(dice_.Of(kTags));
            words.push_back(dice_.Word());
        }
        const auto count = static_cast<uint32_t>(words.size());
        Add({{"do", "poke"}, {"at", {{"value", linear}}}, {"words", words}});
        call("KORV_StartDMA", {{"context", {{"value", context}}},
                               {"words", count},
                               {"physical", {{"value", physical}}},
                               {"linear", {{"value", linear}}},
                               {"reserved", 0}});
        call("KORV_WaitForDMA", {});
    }
    call("KORV_DeleteContext", {{"id", {{"value", context}}}});
    call("KORV_FreeDMABuffer", {{"index", {{"value", index}}}});
    return true;
}

// A copy within the screen.
bool Grammar::ClientCopy() {
    const size_t display = dice_.From(0, static_cast<uint32_t>(displays_.size()) - 1);
    Quiet(display);
    const std::string rect = Name("rect");
    const uint32_t left = dice_.From(0, 100), top = dice_.From(0, 100);
    Add({{"do", "memory"},
         {"name", rect},
         {"record", "RECT"},
         {"fields",
          {{"left", left},
           {"top", top},
           {"right", left + dice_.From(1, 90)},
           {"bottom", top + dice_.From(1, 60)}}}});
    Add({{"do", "export"},
         {"name", "KORV_CopyBlt"},
         {"display", displays_[display].name},
         {"arguments", {{"rect", rect}, {"destOffset", 0}, {"srcRelative", dice_.From(0, 60)}}}});
    displays_[display].busy = true;
    return true;
}

bool Grammar::ClientLooks() {
    const std::string info = Name("info");
    Add({{"do", "memory"},
         {"name", info},
         {"record", "ServiceInfo"},
         {"fields", {{"Size", dice_.Chance(80) ? 128 : 64}}}});
    Add({{"do", "export"},
         {"name", "KORV_GetInfo"},
         {"display", dice_.Of(displays_).name},
         {"arguments", {{"info", info}}}});
    Add({{"do", "export"},
         {"name", dice_.Chance(50) ? "KORV_WaitForDMA" : "KORV_Initialize"},
         {"display", dice_.Of(displays_).name}});
    return true;
}

bool Grammar::Break() {
    static constexpr const char* kWild[] = {"0x7F800000", "0xFF800000", "0x7FC00000", "0x7F7FFFFF",
                                            "0xFF7FFFFF", "0x00000001", "0x4B000000", "0xC7000000"};
    MadeContext* context = AnyContext();
    switch (dice_.From(0, 8)) {
    case 0: // a context that is gone
        if (goneContexts_.empty()) {
            return false;
        }
        Add({{"do", "states"},
             {"context", dice_.Of(goneContexts_)},
             {"states", Step::array({Step::array({"SHADEMODE", 1})})}});
        return true;
    case 1:
        if (goneContexts_.empty()) {
            return false;
        }
        Add({{"do", "points"},
             {"context", dice_.Of(goneContexts_)},
             {"vertices", {{1, 1}, {2, 2}}},
             {"points", {{2, 0}}}});
        return true;
    case 2: // a texture that is gone, or never was
        if (context == nullptr) {
            return false;
        }
        if (goneTextures_.empty()) {
            Add({{"do", "states"},
                 {"context", context->name},
                 {"states", Step::array({Step::array({"TEXTUREHANDLE", dice_.Word()})})}});
        } else {
            Add({{"do", "states"},
                 {"context", context->name},
                 {"states", Step::array({Step::array(
                                {"TEXTUREHANDLE", {{"texture", dice_.Of(goneTextures_)}}})})}});
        }
        return true;
    case 3: // states that are none, values that are none
        if (context == nullptr) {
            return false;
        }
        Add({{"do", "states"},
             {"context", context->name},
             {"states", Step::array({Step::array({dice_.From(0, 400), dice_.Word()}),
                                     Step::array({dice_.From(1, 50), dice_.Word()})})}});
        return true;
    case 4: { // numbers that are none
        if (context == nullptr) {
            return false;
        }
        OpenScene(*context);
        Step vertices = Vertices(*context, 3);
        for (Step& vertex : vertices) {
            if (dice_.Chance(60)) {
                static constexpr size_t kFloats[] = {0, 1, 2, 3, 6, 7};
                vertex[dice_.Of(kFloats)] = dice_.Of(kWild);
            }
        }
        Add({{"do", "triangles"}, {"context", context->name}, {"vertices", vertices}});
        return true;
    }
    case 5: // an instruction that is none
        if (context == nullptr) {
            return false;
        }
        Add({{"do", "call"},
             {"name", "RenderPrimitive"},
             {"display", displays_[context->display].name},
             {"fields",
              {{"dwhContext", dice_.From(0, 199)},
               {"diInstruction",
                {{"bOpcode", dice_.From(0, 255)}, {"bSize", 8}, {"wCount", 0}}}}}});
        return true;
    case 6: { // formats that no chip has
        const std::string name = Name("s");
        Add({{"do", "surface"},
             {"name", name},
             {"display", dice_.Of(displays_).name},
             {"caps", dice_.Chance(50) ? "DDSCAPS_TEXTURE" : "DDSCAPS_OFFSCREENPLAIN"},
             {"width", dice_.From(1, 3000)},
             {"height", dice_.From(1, 300)},
             {"format",
              {{"bits", dice_.Chance(50) ? 16 : 32},
               {"red", dice_.Word()},
               {"green", dice_.Word()},
               {"blue", dice_.Word()}}}});
        Add({{"do", "destroySurface"}, {"surface", name}});
        return true;
    }
    case 7: // twice what is to be done once
        if (!goneTextures_.empty() && context != nullptr) {
            Add({{"do", "destroyTexture"},
                 {"context", context->name},
                 {"texture", dice_.Of(goneTextures_)}});
            return true;
        }
        if (!goneContexts_.empty()) {
            Add({{"do", "destroyContext"}, {"context", dice_.Of(goneContexts_)}});
            return true;
        }
        return false;
    default: { // operations that are none
        const MadeSurface& surface = dice_.Of(surfaces_);
        Add({{"do", "blt"},
             {"surface", surface.name},
             {"flags", dice_.Word() & 0x1FFFFFF},
             {"bltFX", {{"dwROP", dice_.Word() & 0xFF0000}, {"dwFillColor", dice_.Word()}}}});
        displays_[surface.display].busy = true;
        return true;
    }
    }
}

} // namespace korv::random
