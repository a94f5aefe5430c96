// A register taken apart.
#include "chip/register_table.h"
#include "stream/state_view.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace stream {
namespace {

TEST(StateView, AModeWordHasAllItsFields) {
    const RegisterView view = View(MappedOffset(tag::DepthMode), 0x80000033);
    EXPECT_EQ(view.name, "DepthMode");
    EXPECT_EQ(view.unitOfChip, "LocalBuffer");
    EXPECT_EQ(view.raw, 0x80000033u);
    EXPECT_EQ(view.text, "");
    ASSERT_EQ(view.fields.size(), 5u);
    EXPECT_EQ(view.fields[2].name, "Source");
    EXPECT_EQ(view.fields[2].raw, 0u);
    EXPECT_EQ(view.fields[2].text, "Fragment");
    EXPECT_EQ(view.fields[3].name, "Compare");
    EXPECT_EQ(view.fields[3].low, 4u);
    EXPECT_EQ(view.fields[3].width, 3u);
    EXPECT_EQ(view.fields[3].text, "LessEqual");
    EXPECT_EQ(view.fields[4].name, "rest");
    EXPECT_EQ(view.fields[4].text, "0x80000000");
    EXPECT_EQ(view.fields[4].low, 31u);
    EXPECT_EQ(view.fields[4].width, 1u);
}

TEST(StateView, AnyOtherWordHasAText) {
    EXPECT_EQ(View(MappedOffset(tag::dXDom), 0x8000).text, "0.5");
    EXPECT_EQ(View(MappedOffset(tag::FBWindowBase), 0x9600).text, "0x9600");
    EXPECT_EQ(View(MappedOffset(tag::FBWindowBase), 0x9600).unit, "pixels");
    EXPECT_EQ(View(MappedOffset(tag::V1Float + 10), 0x40200000).text, "2.5");
    EXPECT_EQ(View(MappedOffset(tag::V1Float + 10), 0).unitOfChip, "Setup");
    EXPECT_EQ(View(0x5700, 7).name, "offset 5700");
    EXPECT_EQ(View(0x5700, 7).text, "0x7");
    EXPECT_EQ(View(0x5700, 7).unitOfChip, "");
    EXPECT_EQ(View(MappedOffset(tag::SStart), 1 << 20, {ChipModel::Permedia}).text, "1");
}

TEST(StateView, HasAJsonForm) {
    EXPECT_EQ(ToJson(View(reg::DMAAddress, 0x1000)).dump(),
              R"({"name":"DMAAddress","offset":40,"unit":"Bus","raw":4096,"text":"0x1000",)"
              R"("in":"bytes"})");
    EXPECT_EQ(ToJson(View(MappedOffset(tag::ScissorMode), 2)).dump(),
              R"({"name":"ScissorMode","offset":33152,"tag":48,"unit":"Scissor","raw":2,"fields":[)"
              R"({"name":"UserEnable","low":0,"width":1,"raw":0,"text":"0"},)"
              R"({"name":"ScreenEnable","low":1,"width":1,"raw":1,"text":"1"}]})");
}

} // namespace
} // namespace stream
