#include "tools/korv/commands/cli/stream_pictures.h"

#include "stream/player.h"
#include "stream/raw_targets.h"
#include "tools/korv/base/errors.h"
#include "tools/korv/capture/layout_picture.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace korv {

std::string StreamPictures::Here() const {
    return fmt::format("at {}", stream::TextOf(player_.From().At()));
}

stream::SurfaceLayout StreamPictures::Screen() {
    if (raw_) {
        return *raw_;
    }
    const auto screen = surfaces_.Screen(player_.Board().ShownBase());
    if (!screen) {
        throw UserError(fmt::format("'{}' has no screen {}", file_, Here()));
    }
    return *screen;
}

stream::SurfaceLayout StreamPictures::Named(const std::string& name) {
    std::vector<stream::SurfaceLayout> all;
    if (raw_) {
        all = stream::RawTargets(player_.Board(), *raw_);
    } else {
        for (const stream::SurfaceLayout* surface : surfaces_.All()) {
            all.push_back(*surface);
        }
    }
    std::vector<std::string> names;
    for (const stream::SurfaceLayout& surface : all) {
        if (surface.name == name) {
            return surface;
        }
        names.push_back("'" + surface.name + "'");
    }
    throw UserError(
        fmt::format("'{}' has no surface '{}' {}: it has {}", file_, name, Here(),
                    names.empty() ? "none" : fmt::format("{}", fmt::join(names, ", "))));
}

stream::SurfaceLayout StreamPictures::Drawn(const std::string& name, bool depth) {
    if (!name.empty()) {
        return Named(name);
    }
    if (depth) {
        if (raw_) {
            return Named("depth");
        }
        if (surfaces_.ZBuffer().empty()) {
            throw UserError(fmt::format("'{}' has no context with a Z buffer {}: '--surface' names "
                                        "others",
                                        file_, Here()));
        }
        return Named(surfaces_.ZBuffer());
    }
    for (const std::string& drawn : {surfaces_.Pictured(), surfaces_.Target()}) {
        if (surfaces_.Find(drawn) != nullptr) {
            return Named(drawn);
        }
    }
    return Screen();
}

stream::SurfaceLayout StreamPictures::OfFrame(const std::string& name, bool depth) {
    return name.empty() && surfaces_.Find("screen") != nullptr && !depth ? Named("screen")
                                                                         : Drawn(name, depth);
}

host::Picture StreamPictures::Picture(const stream::SurfaceLayout& surface) {
    return PictureOf(player_.Board(), surface,
                     surface.name == surfaces_.Pictured() ? surfaces_.Palette()
                                                          : std::vector<uint8_t>());
}

} // namespace korv
