#pragma once
// A KORV32.dll as the driver. Who wants one links this library and chooses it; nothing else in the
// host knows of it.
#include "host/driver_module.h"
#include "host/loader/image.h"

#include <string>

namespace host::loader {

class DllModule : public DriverModule {
  public:
    // Throws std::runtime_error with one line that names the file and what is wrong with it.
    explicit DllModule(const std::string& path);

    void Load() override;
    // A DLL loads from and stores to the aperture by itself: each access traps.
    std::unique_ptr<ApertureWatch> WatchAperture(ChipRegisters* registers,
                                                 const ChipBus& bus) const override;
    // A DLL runs with the x87 control word that the Direct3D runtime sets: 24-bit precision, round
    // to nearest, all exceptions masked.
    uint16_t BeforeCall() const override;
    void AfterCall(uint16_t saved) const override;

  private:
    Image image_;
};

// Maps the DLL at `path`; it is the driver from the next PowerCycle() on. Throws as DllModule does;
// the choice is then unchanged.
void UseDriverDll(const std::string& path);

} // namespace host::loader
