// The video port: its life, sources plugged into it, flips.
#include "driver/platform/videoport.h"
#include "tools/korv/random/grammar.h"

namespace korv::random {

namespace {

Step GuidStep(const GUID& guid) {
    Step step{{"Data1", guid.Data1}, {"Data2", guid.Data2}, {"Data3", guid.Data3}};
    for (size_t i = 0; i < 8; ++i) {
        step["Data4[" + std::to_string(i) + "]"] = guid.Data4[i];
    }
    return step;
}

constexpr GUID kConnections[] = {DDVPTYPE_E_HREFH_VREFH, DDVPTYPE_E_HREFH_VREFL,
                                 DDVPTYPE_E_HREFL_VREFH, DDVPTYPE_E_HREFL_VREFL};

} // namespace

void Grammar::CallPort(const char* name, Step fields) {
    Add({{"do", "call"},
         {"name", name},
         {"display", displays_[0].name},
         {"fields", fields.is_null() ? Step::object() : std::move(fields)}});
}

// A description and what the driver says to it.
std::string Grammar::DescribePort(uint32_t width, uint32_t height, uint32_t connection,
                                  uint32_t portWidth, uint32_t flags) {
    const std::string name = Name("description");
    Add({{"do", "memory"},
         {"name", name},
         {"record", "DDVIDEOPORTDESC"},
         {"fields",
          {{"dwSize", sizeof(DDVIDEOPORTDESC)},
           {"dwFieldWidth", width},
           {"dwFieldHeight", height},
           {"VideoPortType",
            {{"dwSize", sizeof(DDVIDEOPORTCONNECT)},
             {"dwPortWidth", portWidth},
             {"guidTypeID", GuidStep(kConnections[connection])},
             {"dwFlags", flags}}}}}});
    CallPort("CanCreateVideoPort", {{"lpDDVideoPortDesc", name}});
    return name;
}

bool Grammar::MakePort() {
    port_ = {};
    port_.width = 16 * dice_.From(1, 6);
    port_.height = 8 * dice_.From(1, 6);
    port_.connection = dice_.From(0, 3);
    port_.portWidth = dice_.Chance(60) ? 8 : 16;
    port_.marksPixels = dice_.Chance(30);
    const uint32_t flags = (port_.marksPixels ? DDVPCONNECT_VACT : 0) |
                           (dice_.Chance(40) ? DDVPCONNECT_INTERLACED : 0) |
                           (dice_.Chance(20) ? DDVPCONNECT_INVERTPOLARITY : 0);
    const std::string description =
        DescribePort(port_.width, port_.height, port_.connection, port_.portWidth, flags);
    port_.name = Name("port");
    Add({{"do", "memory"},
         {"name", port_.name},
         {"record", "DDRAWI_DDVIDEOPORT_LCL"},
         {"fields", {{"lpDD", displays_[0].name}}}});
    CallPort("CreateVideoPort", {{"lpDDVideoPortDesc", description}, {"lpVideoPort", port_.name}});
    PlugSource();
    return StartPort();
}

// What comes in, or nothing any more. A source in the place of another goes by way of none.
void Grammar::PlugSource() {
    if (port_.plugged) {
        Add({{"do", "videoSource"}, {"display", displays_[0].name}, {"unplug", true}});
        port_.plugged = false;
        if (dice_.Chance(40)) {
            return;
        }
    }
    // Now and then one that the port does not understand.
    const bool other = dice_.Chance(12);
    const uint32_t connection = other ? dice_.From(0, 3) : port_.connection;
    static constexpr uint32_t kFields[] = {25, 50, 60, 100};
    Add({{"do", "videoSource"},
         {"display", displays_[0].name},
         {"width", port_.width},
         {"height", port_.height},
         {"portWidth", other ? 8 : port_.portWidth},
         {"fieldsPerSecond", dice_.Of(kFields)},
         {"linesPerField", port_.height + 17 + dice_.From(0, 20)},
         {"lineReferenceHigh", connection < 2},
         {"fieldReferenceHigh", connection % 2 == 0},
         {"marksPixels", port_.marksPixels}});
    port_.plugged = true;
}

bool Grammar::StartPort() {
    uint32_t flags = 0, scaleX = 0, scaleY = 0;
    // Without a chain no buffer is the front one, and the flag word stands for its number
    // (driver/video/video_update.cpp, Start): a single buffer goes without flags.
    const uint32_t count = dice_.Chance(15) ? 1 : dice_.From(2, 3);
    if (count > 1) {
        flags |= dice_.Chance(60) ? DDVP_AUTOFLIP : 0;
        flags |= dice_.Chance(30) ? DDVP_MIRRORLEFTRIGHT : 0;
        if (dice_.Chance(25)) {
            // Upside down the bases move by a field, not by a frame.
            flags |= DDVP_INTERLEAVE;
        } else {
            flags |= dice_.Chance(30) ? DDVP_MIRRORUPDOWN : 0;
            if (dice_.Chance(30)) {
                flags |= DDVP_PRESCALE;
                scaleX = dice_.From(0, 3);
                scaleY = dice_.From(0, 3);
            }
        }
    }
    const uint32_t width = port_.width >> scaleX,
                   height = (port_.height >> scaleY) * ((flags & DDVP_INTERLEAVE) != 0 ? 2 : 1);
    MadeSurface* buffers = Find(port_.buffers);
    if (buffers == nullptr || buffers->shape.width != width || buffers->shape.height != height ||
        buffers->chain + 1 != count) {
        if (buffers != nullptr) {
            StopPort();
            Drop(static_cast<size_t>(buffers - surfaces_.data()));
        }
        MadeSurface made{Name("v"), Kind::Yuv, {width, height, "yuv"}, false, count - 1, 0};
        Step step{{"do", "surface"},
                  {"name", made.name},
                  {"display", displays_[0].name},
                  {"caps", "DDSCAPS_OFFSCREENPLAIN|DDSCAPS_VIDEOPORT"},
                  {"width", width},
                  {"height", height},
                  {"format", {{"fourCC", "YUY2"}, {"bits", 16}}}};
        if (count > 1) {
            step["backBuffers"] = count - 1;
        }
        Add(step);
        surfaces_.push_back(made);
        port_.buffers = made.name;
    }
    const std::string info = Name("info");
    Add({{"do", "memory"},
         {"name", info},
         {"record", "DDVIDEOPORTINFO"},
         {"fields",
          {{"dwSize", sizeof(DDVIDEOPORTINFO)},
           {"dwVPFlags", flags},
           {"dwPrescaleWidth", width},
           {"dwPrescaleHeight", height}}}});
    Step list = Step::array({port_.buffers});
    for (uint32_t i = 1; i < count; ++i) {
        list.push_back(port_.buffers + "." + std::to_string(i));
    }
    CallPort("UpdateVideoPort",
             {{"lpVideoPort", port_.name},
              {"lplpDDSurface", list},
              {"lpVideoInfo", info},
              {"dwFlags", port_.running ? DDRAWI_VPORTUPDATE : DDRAWI_VPORTSTART},
              {"dwNumAutoflip", (flags & DDVP_AUTOFLIP) != 0 ? count : 0}});
    port_.running = true;
    return true;
}

void Grammar::StopPort() {
    CallPort("UpdateVideoPort", {{"lpVideoPort", port_.name}, {"dwFlags", DDRAWI_VPORTSTOP}});
    port_.running = false;
}

void Grammar::EndPort() {
    if (port_.name.empty()) {
        return;
    }
    if (port_.running && dice_.Chance(50)) {
        StopPort();
    }
    CallPort("DestroyVideoPort", {{"lpVideoPort", port_.name}});
    if (port_.plugged) {
        Add({{"do", "videoSource"}, {"display", displays_[0].name}, {"unplug", true}});
    }
    const MadeSurface* buffers = Find(port_.buffers);
    port_ = {};
    if (buffers != nullptr) {
        Drop(static_cast<size_t>(buffers - surfaces_.data()));
    }
}

// Lets fields come in.
void Grammar::RunVideo() {
    Add({{"do", "advance"},
         {"display", displays_[0].name},
         {"microseconds", dice_.Chance(70) ? dice_.From(10000, 60000) : dice_.From(1, 3000)}});
}

bool Grammar::Video() {
    if (!displays_[0].video) {
        return false;
    }
    if (port_.name.empty()) {
        return MakePort();
    }
    switch (dice_.From(0, 11)) {
    case 0:
        PlugSource();
        return true;
    case 1:
        return StartPort();
    case 2:
        if (port_.running) {
            StopPort();
            return true;
        }
        return StartPort();
    case 3:
        EndPort();
        return true;
    case 4:
        AskPort();
        return true;
    case 5:
    case 6:
    case 7:
        CallPort("FlipVideoPort", {{"lpVideoPort", port_.name}});
        RunVideo();
        return true;
    default:
        RunVideo();
        return true;
    }
}

void Grammar::AskPort() {
    switch (dice_.From(0, 7)) {
    case 0:
        CallPort("GetVideoPortLine", {{"lpVideoPort", port_.name}});
        return;
    case 1:
        CallPort("GetVideoPortField", {{"lpVideoPort", port_.name}});
        return;
    case 2:
        CallPort("GetVideoSignalStatus", {{"lpVideoPort", port_.name}});
        return;
    case 3:
        CallPort("GetVideoPortBandwidth", {{"lpVideoPort", port_.name}});
        return;
    case 4:
        CallPort("GetVideoPortConnectInfo", {});
        return;
    case 5:
        CallPort("GetVideoPortInputFormats", {{"lpVideoPort", port_.name}});
        return;
    case 6: {
        // Some that are too large.
        static constexpr uint32_t kSides[] = {1, 2047, 2048, 2049, 4096};
        static constexpr uint32_t kWidths[] = {8, 16, 24, 32};
        DescribePort(dice_.Of(kSides), dice_.Of(kSides), dice_.From(0, 3), dice_.Of(kWidths),
                     dice_.Chance(50) ? 0 : dice_.From(0, 0xFF));
        return;
    }
    default:
        if (!port_.buffers.empty()) {
            CallPort("GetVideoPortFlipStatus", {{"fpSurface", port_.buffers}});
        }
    }
}

} // namespace korv::random
