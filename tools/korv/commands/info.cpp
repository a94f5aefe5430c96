#include "host/display/machine.h"
#include "tools/korv/base/errors.h"
#include "tools/korv/chips/capabilities.h"
#include "tools/korv/commands/cli/command.h"
#include "tools/korv/painting/canvas.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <fmt/ostream.h>

#include <memory>

namespace korv {

namespace {

void Info(const std::string& name, Console& console) {
    const ChipChoice& chip = ChipByName(name);
    host::PowerCycle();
    host::Display display(DisplayFor(chip, {}));
    if (!display.Start()) {
        throw UserError(fmt::format("the driver refused the {} board", chip.name));
    }
    host::DirectDraw directDraw(display);
    fmt::print(console.out, "{} ('{}'), device 0x{:X}\n", chip.about, chip.name, chip.deviceId);
    fmt::print(console.out, "{}", DescribeCaps(directDraw.HalInfo().ddCaps));
    const auto* device = reinterpret_cast<const D3DHAL_GLOBALDRIVERDATA*>(
        directDraw.Global()->lpD3DGlobalDriverData);
    fmt::print(console.out, "{}",
               device != nullptr ? DescribeDevice(*device) : "No Direct3D device\n");
}

void SetUpInfo(CLI::App& command, Console& console) {
    auto chip = std::make_shared<std::string>();
    command.add_option("--chip", *chip, "The chip: " + ChipNames())->type_name("CHIP")->required();
    command.footer(R"(Examples:
  korv info --chip sx
  korv info --chip permedia2 | grep BLEND
)");
    command.callback([chip, &console] { Info(*chip, console); });
}

} // namespace

extern const Command kInfoCommand{"info", CommandGroup::Look,
                                  "List what the driver says that a chip can do, flag by flag",
                                  SetUpInfo};

} // namespace korv
