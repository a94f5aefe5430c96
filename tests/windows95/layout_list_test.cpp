// That published_layout.cpp leaves no record of driver/platform out without need.
#include "tests/windows95/project_files.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <string>

namespace {

using test::kProject;
using test::Read;

std::set<std::string> AllMatches(const std::string& text, const std::regex& pattern) {
    std::set<std::string> names;
    for (std::sregex_iterator it(text.begin(), text.end(), pattern), end; it != end; ++it) {
        names.insert((*it)[1]);
    }
    return names;
}

// Records with a body in driver/platform that are not part of another one.
std::set<std::string> OwnRecords() {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(kProject / "driver/platform")) {
        static const std::regex pattern(R"re((?:^|\n)(?:typedef )?struct (\w+) \{)re");
        names.merge(AllMatches(Read(entry.path()), pattern));
    }
    return names;
}

std::set<std::string> ComparedRecords() {
    static const std::regex pattern(R"re(\nSAME(?:_AS)?\((\w+),)re");
    return AllMatches(Read(kProject / "tests/windows95/layout/published_layout.cpp"), pattern);
}

// Records that a header of the cross compiler gives a body.
std::set<std::string> PublishedRecords() {
    std::set<std::string> names;
    for (const char* header :
         {"ddraw.h", "ddrawi.h", "d3d.h", "d3dtypes.h", "d3dcaps.h", "d3dhal.h", "dciman.h",
          "dmemmgr.h", "dciddi.h", "guiddef.h", "windef.h", "wingdi.h", "sysinfoapi.h"}) {
        static const std::regex pattern(R"re(struct\s+_?(\w+)\s*\{)re"),
            typedefs(R"re(\}\s*(\w+)\s*(?:,\s*\*\s*\w+\s*)*;)re");
        const std::string text = Read(std::filesystem::path(KORV_PUBLISHED_HEADERS) / header);
        names.merge(AllMatches(text, pattern));
        names.merge(AllMatches(text, typedefs));
    }
    return names;
}

TEST(PublishedLayout, ComparesEveryRecordThatIsPublished) {
    const std::set<std::string> compared = ComparedRecords(), published = PublishedRecords();
    EXPECT_GT(OwnRecords().size(), 60u);
    EXPECT_TRUE(published.contains("DDHAL_BLTDATA"));
    EXPECT_TRUE(published.contains("D3DTLVERTEX"));
    EXPECT_TRUE(published.contains("RECT"));
    EXPECT_TRUE(published.contains("SYSTEM_INFO"));
    for (const std::string& record : OwnRecords()) {
        EXPECT_TRUE(compared.contains(record) || !published.contains(record))
            << record << " is published and not compared";
    }
}

} // namespace
