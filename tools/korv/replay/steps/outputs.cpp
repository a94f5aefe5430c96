// Pictures, and waiting for the chip.
#include "host/observe/observer.h"
#include "tools/korv/images/png.h"
#include "tools/korv/replay/step.h"

#include <fmt/format.h>

namespace korv {

namespace {

// Waits for the chip and writes a surface as PNG into the folder for pictures, if there is one. The
// waiting is done either way, so that the stream does not depend on outputs.
StepPlan ReadPicture(Fields& fields, Names& names) {
    const std::string name = names.Refer(NameKind::Surface, fields["surface"]);
    const Node file = fields["file"];
    const std::filesystem::path path = file.Name();
    if (path != path.filename()) {
        file.Fail(fmt::format("'{}' is no bare file name", path.string()));
    }
    return {[=](Player& player, Outcome&) {
                host::Surface& surface = player.SurfaceWithPixels(name);
                if (int64_t{surface.Width()} * surface.Height() > kMostPngPixels) {
                    throw NotThereError(
                        fmt::format("surface '{}' has {} by {} pixels: a picture has at most {}",
                                    name, surface.Width(), surface.Height(), kMostPngPixels));
                }
                if (surface.HasVideoMemory()) {
                    player.DisplayOf(name).directDraw->Finish(surface);
                    Tell(&host::Observer::OnPicture, *player.DisplayOf(name).display, surface,
                         path.string());
                }
                if (!player.Options().pictures.empty()) {
                    WritePng(player.Options().pictures / path, host::ReadPicture(surface));
                }
            },
            Only({})};
}

StepPlan ReadFinish(Fields& fields, Names& names) {
    const std::string name = names.Refer(NameKind::Surface, fields["surface"]);
    return {[=](Player& player, Outcome&) {
                player.DisplayOf(name).directDraw->Finish(player.Surface(name));
            },
            Only({})};
}

constexpr StepKind kOutputSteps[] = {{"picture", ReadPicture}, {"finish", ReadFinish}};

} // namespace

std::span<const StepKind> OutputSteps() {
    return kOutputSteps;
}

} // namespace korv
