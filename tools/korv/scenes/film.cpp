#include "tools/korv/scenes/film.h"

#include <algorithm>

namespace korv {

Settings SettingsFor(const Scene& scene, Settings settings) {
    if (!scene.flips) {
        return settings;
    }
    settings.size.width = std::max(settings.size.width / kFilmColumns, 1);
    settings.size.height = std::max(settings.size.height / kFilmRows, 1);
    // Video is converted on its way to the visible screen alone.
    settings.onScreen = scene.needs == Needs::Video;
    settings.flips = !settings.onScreen;
    return settings;
}

} // namespace korv
