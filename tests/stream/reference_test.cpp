// docs/registers.md is what the table of registers says now.
#include "chip/register_table.h"
#include "stream/reference.h"

#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <set>
#include <sstream>

namespace stream {
namespace {

std::string Checked() {
    std::ifstream file(KORV_PROJECT "/docs/registers.md", std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST(Reference, IsFresh) {
    std::ostringstream fresh;
    WriteReference(fresh);
    EXPECT_TRUE(fresh.str() == Checked())
        << "docs/registers.md is stale: cmake --build --preset hosted --target registers_md";
}

TEST(Reference, HasEveryRegisterAndField) {
    const std::string text = Checked();
    for (const Register& entry : kRegisters) {
        EXPECT_NE(text.find(std::string("| ") + entry.name + " |"), std::string::npos)
            << entry.name;
    }
    for (const FieldRow& field : kFields) {
        EXPECT_NE(text.find(std::string("| ") + field.name + " |"), std::string::npos)
            << field.name;
    }
}

TEST(Reference, LinksLeadToItsHeadings) {
    const std::string text = Checked();
    std::set<std::string> anchors;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("##")) {
            std::string anchor;
            for (const char c : line.substr(line.find(' ') + 1)) {
                anchor += c == ' ' ? '-' : static_cast<char>(std::tolower(c));
            }
            EXPECT_TRUE(anchors.insert(anchor).second) << anchor;
        }
    }
    const std::regex link("\\]\\(#([^)]*)\\)");
    size_t links = 0;
    for (std::sregex_iterator at(text.begin(), text.end(), link), end; at != end; ++at) {
        EXPECT_TRUE(anchors.contains((*at)[1])) << (*at)[1];
        ++links;
    }
    EXPECT_GT(links, 300u);
}

} // namespace
} // namespace stream
