// packaging/windows95/korv32.reg against what the driver reads.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <string>

namespace {

std::string Read(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

const std::filesystem::path kProject = KORV_PROJECT;

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
    // The service that reads it comes with the exported interface.
    std::set<std::string> read = {"OpenGL.NumberOfSubBuffers"};
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

TEST(RegistrySample, IsInTheFormOfTheSystem) {
    const std::string text = Read(kProject / "packaging/windows95/korv32.reg");
    EXPECT_TRUE(text.starts_with("REGEDIT4\r\n\r\n"));
    for (size_t at = text.find('\n'); at != std::string::npos; at = text.find('\n', at + 1)) {
        ASSERT_EQ(text[at - 1], '\r') << at;
    }
}

} // namespace
