#include "tools/korv/conform/case_json.h"

#include "chip/devices.h"

#include <nlohmann/json.hpp>

namespace korv::conform {

nlohmann::ordered_json BriefJson(const Case& one) {
    return {{"case", one.id}, {"unit", one.unit}, {"name", one.name}, {"chip", one.chip}};
}

nlohmann::ordered_json CaseJson(const Case& one) {
    nlohmann::ordered_json json = BriefJson(one);
    const board::Config& config = one.config;
    json["board"] = {{"device", static_cast<uint32_t>(DeviceOf(config.chip).id)},
                     {"name", DeviceOf(config.chip).name},
                     {"setupUnit", config.setupUnit},
                     {"frameBufferBytes", config.frameBufferBytes},
                     {"localBufferBytes", config.localBufferBytes},
                     {"framesPerSecond", config.refreshRate},
                     {"linesPerFrame", config.linesTotal},
                     {"blankLines", config.linesBlank}};
    auto& pictures = json["pictures"] = nlohmann::ordered_json::array();
    for (const PictureArea& area : one.pictures) {
        pictures.push_back(
            {{"name", area.name},
             {"memory", area.memory == stream::Memory::FrameBuffer ? "frame" : "local"},
             {"offset", area.offset},
             {"pitch", area.pitch},
             {"width", area.width},
             {"height", area.height},
             {"form", NameOf(area.form)},
             {"channelsMayDifferBy", area.limit},
             {"pixelsMayDiffer", area.pixels}});
    }
    json["known"] = one.known;
    json["deduced"] = one.deduced;
    return json;
}

} // namespace korv::conform
