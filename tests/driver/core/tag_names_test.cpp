// The tests' own lists of registers against the one that driver and board share.
#include "chip/register_table.h"
#include "tests/support/tag_names.h"

#include <gtest/gtest.h>

namespace {

TEST(TagNames, TheTestsListAgreesWithTheChips) {
#define TEST_TAG(number, name)                                                                     \
    EXPECT_EQ(t::name, tag::name);                                                                 \
    EXPECT_STREQ(NameOfTag(number), #name);
    TEST_TAGS(TEST_TAG)
#undef TEST_TAG
#define TEST_PORT(offset, port)                                                                    \
    EXPECT_EQ(t::port, reg::port);                                                                 \
    EXPECT_STREQ(FindRegister(offset)->name, #port);
    TEST_PORTS(TEST_PORT)
#undef TEST_PORT
    EXPECT_EQ(t::OutFIFOSecondWord, reg::OutFIFOSecondWord);
    EXPECT_EQ(t::Mapped(t::Sync), MappedOffset(tag::Sync));
}

} // namespace
