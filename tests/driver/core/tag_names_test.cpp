// The tests' own list of tags against the one that driver and board share.
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
}

} // namespace
