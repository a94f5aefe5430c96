// The video port entries of a DLL are in no table, and the host doesn't guess where they are.
#include "host/ddraw/video_port.h"
#include "host/driver_module.h"
#include "tests/loader/machine.h"

#include <gtest/gtest.h>

namespace {

using namespace test;

TEST(DllOnTheBoard, KeepsItsVideoPortEntriesToItself) {
    for (const Driver driver : {Driver::Dll, Driver::Library}) {
        PowerOn(driver);
        host::DisplayConfig config;
        config.width = 320;
        config.height = 240;
        host::Display display(config);
        ASSERT_TRUE(display.Start());
        host::DirectDraw directDraw(display);
        const DDVIDEOPORTDESC description = host::DescribeVideoPort(720, 240);
        if (driver == Driver::Library) {
            EXPECT_EQ(host::VideoPort::CanCreate(directDraw, description), DD_OK);
            continue;
        }
        EXPECT_EQ(host::TheDriverModule().videoPort, nullptr);
        EXPECT_THROW(host::VideoPort::CanCreate(directDraw, description), host::ResultError);
    }
}

} // namespace
