// The package: what is in it, the same bytes every time, and that its parts agree.
#include "tests/support_host/dll_path.h"
#include "tests/support_host/program_path.h"
#include "tests/windows95/project_files.h"
#include "tools/korvchk/sha256.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using test::kProject;
using test::Read;

const fs::path kSources = kProject / "packaging/windows95";

// Made once, in two ways that must not matter.
class Package : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        folder_ = fs::temp_directory_path() / ("korv-package-" + std::to_string(getpid()));
        version_ = FirstMatch(Read(kProject / "CMakeLists.txt"), "VERSION (\\d+\\.\\d+\\.\\d+) ");
        Make("first", "umask 022; export TZ=UTC");
        Make("second", "umask 077; export TZ=Asia/Kathmandu ZIPOPT=-1");
        const fs::path in = folder_ / "unpacked";
        fs::create_directories(in);
        ASSERT_EQ(
            Shell("cd " + in.string() + " && " KORV_CMAKE " -E tar xf " + Zip("first").string()),
            0);
        for (const auto& entry : fs::recursive_directory_iterator(in)) {
            if (entry.is_regular_file()) {
                files_[entry.path().lexically_relative(in).generic_string()] = Read(entry.path());
            }
        }
    }
    static void TearDownTestSuite() {
        files_.clear();
        fs::remove_all(folder_);
    }

    static int Shell(const std::string& command) {
        return std::system((command + " >/dev/null").c_str());
    }
    static std::string FirstMatch(const std::string& text, const char* pattern) {
        std::smatch match;
        return std::regex_search(text, match, std::regex(pattern)) ? match[1].str() : "";
    }
    static fs::path Zip(const char* name) {
        return folder_ / name / ("KORV32-" + version_ + ".zip");
    }
    static void Make(const char* name, const char* surroundings) {
        const fs::path built = folder_ / name / "built";
        fs::create_directories(built);
        fs::copy_file(test::DllPath(), built / "KORV32.dll");
        fs::copy_file(test::ProgramPath(), built / "korvchk.exe");
        ASSERT_EQ(Shell(std::string(surroundings) + "; " KORV_CMAKE " -D SOURCE=" +
                        kProject.string() + " -D BUILT=" + built.string() +
                        " -D OUT=" + (folder_ / name).string() + " -D VERSION=" + version_ +
                        " -P " + (kSources / "package/package.cmake").string()),
                  0);
    }

    static bool IsText(const std::string& name) {
        return !name.ends_with(".dll") && !name.ends_with(".exe");
    }

    static inline fs::path folder_;
    static inline std::string version_;
    static inline std::map<std::string, std::string> files_;
};

TEST_F(Package, IsTheSameWhoeverMakesIt) {
    const std::string first = Read(Zip("first")), second = Read(Zip("second"));
    EXPECT_GT(first.size(), 100000u);
    EXPECT_TRUE(first == second);
}

TEST_F(Package, HoldsWhatAnOwnerNeeds) {
    std::set<std::string> names, makers;
    for (const auto& [name, bytes] : files_) {
        (name.starts_with("makers/") ? makers : names).insert(name);
    }
    EXPECT_THAT(names, testing::UnorderedElementsAre("README.TXT", "CHANGES.TXT", "SHA256.TXT",
                                                     "KORV32.dll", "korvchk.exe", "KORV32.inf",
                                                     "remove.inf", "korv32.reg", "korv32-off.reg",
                                                     "korv32-on.reg"));
    EXPECT_EQ(files_["KORV32.dll"], Read(test::DllPath()));
    EXPECT_EQ(files_["korvchk.exe"], Read(test::ProgramPath()));
    for (const char* name : {"makers/include/korv32.h", "makers/include/korvoffs.inc",
                             "makers/kit/korvkit.h", "makers/BRING-UP.TXT"}) {
        EXPECT_TRUE(makers.contains(name)) << name;
    }
    // README.TXT tells of each.
    const std::string readme = files_["README.TXT"];
    for (std::string name : names) {
        std::transform(name.begin(), name.end(), name.begin(), ::toupper);
        EXPECT_NE(readme.find("\n  " + name + " "), std::string::npos) << name;
    }
    EXPECT_TRUE(readme.starts_with("KORV32 " + version_ + " for Windows 95\r\n"));
}

TEST_F(Package, HasTheLineEndsOfDosAndPlainLetters) {
    for (const auto& [name, bytes] : files_) {
        if (!IsText(name)) {
            continue;
        }
        for (size_t i = 0; i < bytes.size(); ++i) {
            if (bytes[i] == '\n') {
                ASSERT_TRUE(i != 0 && bytes[i - 1] == '\r') << name << " at " << i;
            }
            ASSERT_LT(static_cast<unsigned char>(bytes[i]), 0x7F) << name << " at " << i;
        }
        EXPECT_EQ(bytes.find("@PROJECT"), std::string::npos) << name;
    }
    std::istringstream lines(files_["README.TXT"]);
    for (std::string line; std::getline(lines, line);) {
        EXPECT_LE(line.size(), 80u) << line;
    }
}

TEST_F(Package, ListsTheChecksumsOfAllOtherFiles) {
    std::map<std::string, std::string> listed, found;
    static const std::regex row("([0-9a-f]{64})  ([^\r]+)\r\n");
    const std::string& list = files_["SHA256.TXT"];
    for (std::sregex_iterator it(list.begin(), list.end(), row), end; it != end; ++it) {
        listed[(*it)[2]] = (*it)[1];
    }
    for (const auto& [name, bytes] : files_) {
        if (name != "SHA256.TXT") {
            char sum[65];
            chk::Sha256(reinterpret_cast<const uint8_t*>(bytes.data()),
                        static_cast<uint32_t>(bytes.size()), sum);
            found[name] = sum;
        }
    }
    EXPECT_EQ(listed, found);
}

// Sections of an INF by name, with their lines.
std::map<std::string, std::vector<std::string>> Sections(const std::string& text) {
    std::map<std::string, std::vector<std::string>> sections;
    std::istringstream lines(text);
    std::string name;
    for (std::string line; std::getline(lines, line);) {
        line.erase(line.find_last_not_of("\r ") + 1);
        if (line.starts_with("[")) {
            name = line.substr(1, line.size() - 2);
            EXPECT_FALSE(sections.contains(name)) << name;
            sections[name];
        } else if (!line.empty() && line[0] != ';') {
            sections[name].push_back(line);
        }
    }
    return sections;
}

TEST_F(Package, InstallsAndRemovesTheSameFiles) {
    for (const char* inf : {"KORV32.inf", "remove.inf"}) {
        auto sections = Sections(files_[inf]);
        EXPECT_THAT(sections["Version"], testing::Contains("Signature=\"$CHICAGO$\""));
        // Every section that is named is there, and has a folder to go to if it lists files.
        const std::set<std::string> fileSections = {"Korv.System", "Korv.Windows", "Korv.Inf"};
        for (const auto& section : {"DefaultInstall", "DefaultUninstall"}) {
            for (const std::string& line : sections[section]) {
                const std::string key = line.substr(0, line.find('='));
                std::istringstream list(line.substr(line.find('=') + 1));
                for (std::string named; std::getline(list, named, ',');) {
                    EXPECT_TRUE(sections.contains(named)) << inf << ": " << named;
                    EXPECT_EQ(key.ends_with("Files"), fileSections.contains(named)) << line;
                }
            }
        }
        EXPECT_THAT(
            sections["DestinationDirs"],
            testing::UnorderedElementsAre("Korv.System=11", "Korv.Windows=10", "Korv.Inf=17"));
        EXPECT_THAT(sections["Korv.System"], testing::ElementsAre("KORV32.dll"));
        EXPECT_THAT(sections["Korv.Windows"], testing::ElementsAre("korvchk.exe"));
        EXPECT_THAT(sections["Korv.Inf"], testing::ElementsAre("KORV32.inf"));
    }
    auto install = Sections(files_["KORV32.inf"]), remove = Sections(files_["remove.inf"]);
    for (const std::string& line : install["SourceDisksFiles"]) {
        EXPECT_TRUE(files_.contains(line.substr(0, line.find('=')))) << line;
    }
    EXPECT_EQ(install["SourceDisksFiles"].size(), 3u);
    EXPECT_EQ(install["DefaultUninstall"], remove["DefaultInstall"]);
    EXPECT_EQ(install["Korv.Entry.Gone"], remove["Korv.Entry.Gone"]);
    const auto string = [](auto& inf, const std::string& name) {
        for (const std::string& line : inf["Strings"]) {
            if (line.starts_with(name + "=")) {
                return line;
            }
        }
        return std::string("none");
    };
    EXPECT_EQ(string(install, "Uninstall"), string(remove, "Uninstall"));
    EXPECT_EQ(string(install, "Name"),
              "Name=\"KORV32 " + version_ + " display driver, 32-bit part\"");
}

// Path and name of each value in a registry file.
std::set<std::string> Values(const std::string& text) {
    std::set<std::string> values;
    std::istringstream lines(text);
    std::string key;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("[")) {
            key = line.substr(0, line.find(']') + 1);
        } else if (line.starts_with("\"")) {
            values.insert(key + line.substr(0, line.find('=')));
        }
    }
    return values;
}

TEST_F(Package, TurnsOnWhatItTurnsOff) {
    EXPECT_EQ(Values(files_["korv32-off.reg"]), Values(files_["korv32-on.reg"]));
    EXPECT_EQ(Values(files_["korv32-off.reg"]).size(), 3u);
    const std::set<std::string> all = Values(files_["korv32.reg"]);
    for (const std::string& value : Values(files_["korv32-off.reg"])) {
        if (value.find("Direct3DHAL") != std::string::npos) {
            EXPECT_TRUE(all.contains(value)) << value;
        }
    }
    for (const char* name : {"korv32-off.reg", "korv32-on.reg"}) {
        EXPECT_TRUE(files_[name].starts_with("REGEDIT4\r\n\r\n")) << name;
    }
}

} // namespace
