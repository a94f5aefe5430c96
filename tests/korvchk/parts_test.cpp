// korvchk's checksum, its table of switches, and what it reads of a library.
#include "tests/support_host/dll_path.h"
#include "tests/windows95/project_files.h"
#include "tools/korvchk/library.h"
#include "tools/korvchk/sha256.h"
#include "tools/korvchk/switches.h"
#include "tools/korvchk/text.h"

#include <gtest/gtest.h>

#include <map>
#include <regex>
#include <string>

namespace {

std::string SumOf(const std::string& bytes) {
    char text[65];
    chk::Sha256(reinterpret_cast<const uint8_t*>(bytes.data()), static_cast<uint32_t>(bytes.size()),
                text);
    return text;
}

// The standard's own examples, and one block more than fits.
TEST(Checksum, IsTheStandards) {
    EXPECT_EQ(SumOf(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(SumOf("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(SumOf("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
              "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
    EXPECT_EQ(SumOf(std::string(1000000, 'a')),
              "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

// Name to default and explanation, from the registry file.
using Rows = std::map<std::string, std::pair<uint32_t, std::string>>;

TEST(Switches, AreThoseOfTheRegistryFile) {
    const std::string text = test::Read(test::kProject / "packaging/windows95/korv32.reg");
    static const std::regex row(R"re(\n; ([^\r\n]+)\r\n;?"([^"]+)"="([^"]*)"\r)re");
    Rows file, ours;
    for (std::sregex_iterator it(text.begin(), text.end(), row), end; it != end; ++it) {
        file[(*it)[2]] = {std::stoul((*it)[3]), (*it)[1]};
    }
    for (uint32_t i = 0; i < chk::kSwitchCount; ++i) {
        const chk::Switch& entry = chk::kSwitches[i];
        ours[entry.name] = {entry.usual, entry.meaning};
    }
    EXPECT_EQ(ours, file);
    EXPECT_GT(ours.size(), 20u);
}

TEST(LibraryFacts, AreThoseOfTheFile) {
    const std::string bytes = test::Read(test::DllPath());
    const chk::LibraryFacts facts = chk::ReadLibrary(reinterpret_cast<const uint8_t*>(bytes.data()),
                                                     static_cast<uint32_t>(bytes.size()));
    EXPECT_EQ(facts.state, chk::LibraryState::Good);
    EXPECT_EQ(facts.exports, 0xFFFFFu);
    const std::string version = std::to_string(facts.version[0]) + "." +
                                std::to_string(facts.version[1]) + "." +
                                std::to_string(facts.version[2]);
    EXPECT_NE(test::Read(test::kProject / "CMakeLists.txt").find("VERSION " + version + " "),
              std::string::npos);
}

TEST(LibraryFacts, NameTheExportsOfTheList) {
    const std::string list = test::Read(test::kProject / "packaging/windows95/KORV32.def");
    for (uint32_t i = 0; i < chk::kExports; ++i) {
        EXPECT_TRUE(
            std::regex_search(list, std::regex("\\n +" + std::string(chk::kExportNames[i]) +
                                               " = \\S+ @" + std::to_string(i + 1) + "\\n")))
            << chk::kExportNames[i];
    }
}

TEST(Lines, HoldNumbersAndColumns) {
    EXPECT_STREQ((chk::Line() << 0u << ' ' << 4294967295u << ' ' << chk::Hex{0xBEEF}).Text(),
                 "0 4294967295 0000BEEF");
    EXPECT_STREQ((chk::Line() << chk::Column{"ab", 4} << '|').Text(), "ab  |");
    chk::Line line;
    for (int i = 0; i < 1000; ++i) {
        line << "word ";
    }
    EXPECT_EQ(line.Length(), 700u);
}

} // namespace
