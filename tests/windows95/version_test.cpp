// The project's version, which stands in CMakeLists.txt, wherever it is told.
#include "board/version.h"
#include "tests/support_host/dll_path.h"
#include "tests/support_host/program_path.h"
#include "tests/windows95/pe_image.h"
#include "tests/windows95/project_files.h"

#include <gtest/gtest.h>

#include <regex>
#include <string>

namespace {

std::string FirstMatch(const std::string& file, const char* pattern) {
    const std::string text = test::Read(test::kProject / file);
    std::smatch match;
    EXPECT_TRUE(std::regex_search(text, match, std::regex(pattern))) << file;
    return match.size() > 1 ? match[1].str() : "";
}

std::string ProjectVersion() {
    return FirstMatch("CMakeLists.txt", R"re(project\(korv32 VERSION (\d+\.\d+\.\d+) )re");
}

std::string Dotted(const uint16_t (&numbers)[4]) {
    EXPECT_EQ(numbers[3], 0);
    return std::to_string(numbers[0]) + "." + std::to_string(numbers[1]) + "." +
           std::to_string(numbers[2]);
}

TEST(ProjectVersion, IsInTheLibrarysResource) {
    const PEVersion version = PEImage(test::DllPath()).Version();
    EXPECT_EQ(Dotted(version.file), ProjectVersion());
    EXPECT_EQ(Dotted(version.product), ProjectVersion());
    constexpr uint32_t kWin32 = 4, kLibrary = 2, kUSEnglish1252 = 0x04E40409;
    EXPECT_EQ(version.os, kWin32);
    EXPECT_EQ(version.type, kLibrary);
    EXPECT_EQ(version.languageAndPage, kUSEnglish1252);
    const std::map<std::string, std::string> texts = {
        {"CompanyName", "The KORV32 developers"},
        {"FileDescription", "Display driver for GLINT and Permedia, 32-bit part"},
        {"FileVersion", ProjectVersion()},
        {"InternalName", "KORV32"},
        {"LegalCopyright", "Copyright (C) 2026 the KORV32 developers"},
        {"OriginalFilename", "KORV32.dll"},
        {"ProductName", "KORV32"},
        {"ProductVersion", ProjectVersion()},
    };
    EXPECT_EQ(version.texts, texts);
}

TEST(ProjectVersion, IsInTheProgramsResource) {
    PEVersion version = PEImage(test::ProgramPath()).Version();
    EXPECT_EQ(Dotted(version.file), ProjectVersion());
    EXPECT_EQ(Dotted(version.product), ProjectVersion());
    constexpr uint32_t kProgram = 1;
    EXPECT_EQ(version.type, kProgram);
    EXPECT_EQ(version.texts["OriginalFilename"], "korvchk.exe");
    EXPECT_EQ(version.texts["FileVersion"], ProjectVersion());
    EXPECT_NE(test::Read(test::ProgramPath()).find("korvchk " + ProjectVersion() + '\0'),
              std::string::npos);
}

TEST(ProjectVersion, IsTheBoardLibrarys) {
    EXPECT_EQ(board::Version(), ProjectVersion());
}

TEST(ProjectVersion, IsTheChangelogsNewestRelease) {
    EXPECT_EQ(FirstMatch("CHANGELOG.md", R"re(\n## \[(\d+\.\d+\.\d+)\] - \d{4}-\d\d-\d\d\n)re"),
              ProjectVersion());
}

} // namespace
