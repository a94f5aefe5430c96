// packaging/windows95/korv32.reg against what the driver reads.

#include "driver/d3d/dcontext.h"
#include "host/d3d/direct3d.h"
#include "host/display/machine.h"
#include "tests/windows95/project_files.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <string>

namespace {

using test::kProject;
using test::Read;

// Values by name, with those that are commented out.
std::map<std::string, std::string> Sample() {
    const std::string text = Read(kProject / "packaging/windows95/korv32.reg");
    static const std::regex value(R"re(\n;?"([^"]+)"="([^"]*)"\r)re");
    std::map<std::string, std::string> values;
    for (std::sregex_iterator it(text.begin(), text.end(), value), end; it != end; ++it) {
        EXPECT_TRUE(values.emplace((*it)[1], (*it)[2]).second) << (*it)[1];
    }
    return values;
}

TEST(RegistrySample, HoldsEveryValueThatTheDriverReads) {
    static const std::regex quoted(R"re("((Direct3DHAL|OpenGL)\.\w+)")re");
    std::set<std::string> read;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(kProject / "driver")) {
        if (entry.is_regular_file()) {
            const std::string text = Read(entry.path());
            for (std::sregex_iterator it(text.begin(), text.end(), quoted), end; it != end; ++it) {
                read.insert((*it)[1]);
            }
        }
    }
    std::set<std::string> sampled;
    for (const auto& [name, value] : Sample()) {
        sampled.insert(name);
    }
    EXPECT_EQ(sampled, read);
}

TEST(RegistrySample, HoldsTheDefaults) {
    for (const auto& [name, value] : Sample()) {
        const std::string expected = name == "Direct3DHAL.SubBuffers"      ? "8"
                                     : name == "OpenGL.NumberOfSubBuffers" ? "2"
                                                                           : "0";
        EXPECT_EQ(value, expected) << name;
    }
}

TEST(RegistrySample, ExplainsEachValueInTheLineAboveIt) {
    const std::string text = Read(kProject / "packaging/windows95/korv32.reg");
    static const std::regex explained(R"re(\n; [^\r\n]+\.\r\n;?"[^"]+"="[^"]*"\r)re");
    EXPECT_EQ(std::distance(std::sregex_iterator(text.begin(), text.end(), explained), {}),
              static_cast<ptrdiff_t>(Sample().size()));
}

TEST(RegistrySample, HoldsTheSwitchesOfTheDocument) {
    const std::string text = Read(kProject / "docs/windows95.md");
    static const std::regex row(R"re(\n\| `((?:Direct3DHAL|OpenGL)\.\w+)` \| (\S+) \|)re");
    std::map<std::string, std::string> documented;
    for (std::sregex_iterator it(text.begin(), text.end(), row), end; it != end; ++it) {
        documented[(*it)[1]] = (*it)[2] == "missing" ? "0" : (*it)[2].str();
    }
    EXPECT_EQ(documented, Sample());
}

// A display that comes up with the sample imported is like one on a machine without the key.
TEST(RegistrySample, ChangesNothing) {
    for (const uint32_t device : {DeviceSX, DeviceTX, DeviceMX, DevicePermedia, DevicePermedia2}) {
        struct Result {
            DXGlobalsRecord globals;
            DDCORECAPS caps;
            D3DHAL_GLOBALDRIVERDATA direct3D;
            uint32_t contextSubBuffers, contextMode;
        };
        const auto bringUp = [&](bool sampled) {
            host::PowerCycle();
            host::DisplayConfig config;
            config.deviceId = device;
            const std::string text = Read(kProject / "packaging/windows95/korv32.reg");
            for (const auto& [name, value] : Sample()) {
                // Commented ones act by their mere presence.
                if (sampled && text.find("\n;\"" + name) == std::string::npos) {
                    config.registry[name] = value;
                }
            }
            host::Display display(config);
            EXPECT_TRUE(display.Start());
            host::DirectDraw directDraw(display);
            const host::Device3D context(directDraw, directDraw.CreateTarget(64, 64));
            Result result{
                DXGlobals, display.Driver()->HALInfo.ddCaps, *display.Driver()->D3DGlobalData,
                context.Context()->Stream.SubBufferCount, context.Context()->Stream.CommandMode};
            // Addresses differ from run to run.
            result.globals.Instance = nullptr;
            result.globals.Heap = nullptr;
            result.direct3D.lpTextureFormats = nullptr;
            return result;
        };
        const Result without = bringUp(false), with = bringUp(true);
        EXPECT_EQ(std::memcmp(&without, &with, sizeof(Result)), 0) << device;
    }
}

TEST(RegistrySample, IsInTheFormOfTheSystem) {
    const std::string text = Read(kProject / "packaging/windows95/korv32.reg");
    EXPECT_TRUE(text.starts_with("REGEDIT4\r\n\r\n"));
    for (size_t at = text.find('\n'); at != std::string::npos; at = text.find('\n', at + 1)) {
        ASSERT_EQ(text[at - 1], '\r') << at;
    }
}

} // namespace
