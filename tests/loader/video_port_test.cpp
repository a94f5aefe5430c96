// The video port entries of a DLL are in no table, and the host doesn't guess where they are.
#include "host/ddraw/video_port.h"
#include "host/driver_module.h"
#include "tests/loader/machine.h"

#include <gtest/gtest.h>

namespace {

using namespace test;

TEST(DllOnTheBoard, KeepsItsVideoPortEntriesToItself) {
    for (const Driver driver : {Driver::Dll, Driver::Library}) {
        Choose(driver);
        StartedDisplay machine(SmallScreen(DevicePermedia2));
        host::DirectDraw& directDraw = machine.directDraw;
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
