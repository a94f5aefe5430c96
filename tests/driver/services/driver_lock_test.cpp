#include "driver/services/OpenGL.h"
#include "driver/services/driver_lock.h"
#include "host/win32/dci.h"
#include "host/win32/system.h"
#include "tests/support/rig.h"

#include <gtest/gtest.h>

namespace {

using test::Rig;

class DriverLockTest : public testing::Test {
  protected:
    void SetUp() override {
        host::ResetSystem();
        host::ResetDci();
        rig.Ready();
        surface.dwWidth = 640;
        surface.dwHeight = 480;
    }
    void TearDown() override {
        host::ResetSystem();
        host::ResetDci();
    }

    Rig rig;
    DCISURFACEINFO surface{};
};

TEST_F(DriverLockTest, TakesAndLeavesTheWin16Lock) {
    EXPECT_EQ(KORV_DriverIsLocked(nullptr), 0);
    EXPECT_EQ(KORV_GetDriverLock(nullptr, &surface, 0, nullptr), 0);
    EXPECT_EQ(KORV_DriverIsLocked(rig.driver), 1);
    EXPECT_EQ(host::Win16Lock().depth, 1u);
    EXPECT_EQ(rig.driver->DriverLockKind, 1u);
    EXPECT_EQ(rig.driver->Win16Lock, host::Win16LockAddress());
    EXPECT_EQ(rig.chip->Flags & CursorExclude, CursorExclude);
    EXPECT_EQ(host::Dci().begins, 0u);
    EXPECT_EQ(KORV_FreeDriverLock(rig.driver, &surface), 0);
    EXPECT_EQ(host::Win16Lock().depth, 0u);
    EXPECT_EQ(host::Win16Lock().unbalanced, 0u);
    EXPECT_EQ(rig.driver->DriverLockKind, 0u);
    EXPECT_EQ(rig.chip->Flags & CursorExclude, 0u);
}

TEST_F(DriverLockTest, FailsWithoutAWin16LockAndChangesNothing) {
    host::SetWin16LockPresent(false);
    rig.driver->Win16Lock = 5;
    EXPECT_EQ(KORV_GetDriverLock(rig.driver, &surface, 0, nullptr), -1);
    EXPECT_EQ(rig.driver->Win16Lock, 0u);
    EXPECT_EQ(rig.driver->DriverLockKind, 0u);
    EXPECT_EQ(rig.chip->Flags & CursorExclude, 0u);
}

TEST_F(DriverLockTest, FailsWhereTheSystemHidesNoSuchEntry) {
    host::SetSystemImage({.exports = 92});
    rig.driver->Win16Lock = 5;
    EXPECT_EQ(KORV_GetDriverLock(rig.driver, &surface, 0, nullptr), -1);
    EXPECT_EQ(rig.driver->Win16Lock, 0u);
    EXPECT_EQ(host::Win16Lock().taken, 0u);
}

TEST_F(DriverLockTest, IsHeldByNameAloneWhereTheSystemHidesNoEntryToTakeIt) {
    host::SetSystemImage({.exports = 96}); // 93 gives the lock, 97 takes and 98 leaves it
    EXPECT_EQ(KORV_GetDriverLock(rig.driver, &surface, 0, nullptr), 0);
    EXPECT_EQ(rig.driver->Win16Lock, host::Win16LockAddress());
    EXPECT_EQ(rig.driver->DriverLockKind, 1u);
    EXPECT_EQ(KORV_FreeDriverLock(rig.driver, &surface), 0);
    EXPECT_EQ(host::Win16Lock().taken, 0u);
    EXPECT_EQ(rig.driver->DriverLockKind, 0u);
}

TEST_F(DriverLockTest, ByDCIOpensTheWholeSurfaceOrTheRectangle) {
    EXPECT_EQ(KORV_GetDriverLock(rig.driver, &surface, 1, nullptr), 0);
    EXPECT_EQ(rig.driver->DriverLockKind, 2u);
    EXPECT_EQ(rig.chip->Flags & CursorExclude, CursorExclude);
    EXPECT_EQ(host::Win16Lock().taken, 0u);
    EXPECT_EQ(host::Dci().surface, &surface);
    EXPECT_EQ(host::Dci().x, 0);
    EXPECT_EQ(host::Dci().y, 0);
    EXPECT_EQ(host::Dci().width, 640);
    EXPECT_EQ(host::Dci().height, 480);
    EXPECT_EQ(KORV_FreeDriverLock(rig.driver, &surface), 0);
    EXPECT_EQ(host::Dci().ends, 1u);

    const RECT rect{10, 20, 50, 100};
    EXPECT_EQ(KORV_GetDriverLock(rig.driver, &surface, 1, &rect), 0);
    EXPECT_EQ(host::Dci().x, 10);
    EXPECT_EQ(host::Dci().y, 20);
    EXPECT_EQ(host::Dci().width, 40);
    EXPECT_EQ(host::Dci().height, 80);
    KORV_FreeDriverLock(rig.driver, &surface);
}

TEST_F(DriverLockTest, ByDCIFailsWithoutASurfaceAndWhenAccessIsRefused) {
    EXPECT_EQ(KORV_GetDriverLock(rig.driver, nullptr, 1, nullptr), -1);
    host::SetDciResult(-1);
    EXPECT_EQ(KORV_GetDriverLock(rig.driver, &surface, 1, nullptr), -1);
    EXPECT_EQ(rig.driver->DriverLockKind, 0u);
    EXPECT_EQ(rig.chip->Flags & CursorExclude, 0u);
    host::SetDciResult(2); // a warning is no failure
    EXPECT_EQ(KORV_GetDriverLock(rig.driver, &surface, 1, nullptr), 0);
    KORV_FreeDriverLock(rig.driver, &surface);
}

TEST_F(DriverLockTest, ABoardWithoutDCITakesTheWin16LockInstead) {
    rig.chip->NoDCI = 1;
    EXPECT_EQ(KORV_GetDriverLock(rig.driver, &surface, 1, nullptr), 0);
    EXPECT_EQ(rig.driver->DriverLockKind, 1u);
    EXPECT_EQ(host::Dci().begins, 0u);
    EXPECT_EQ(host::Win16Lock().depth, 1u);
    KORV_FreeDriverLock(rig.driver, &surface);
}

TEST_F(DriverLockTest, DCIOverAWin16LockChangesTheKindOnlyAndTheWin16LockIsNeverLeft) {
    KORV_GetDriverLock(rig.driver, &surface, 0, nullptr);
    EXPECT_EQ(KORV_GetDriverLock(rig.driver, &surface, 1, nullptr), 0);
    EXPECT_EQ(rig.driver->DriverLockKind, 2u);
    EXPECT_EQ(host::Dci().begins, 0u);
    KORV_FreeDriverLock(rig.driver, &surface);
    EXPECT_EQ(host::Dci().ends, 1u);
    EXPECT_EQ(host::Win16Lock().depth, 1u);
}

TEST_F(DriverLockTest, LostClientMemoryIsToldBeforeAnythingIsTaken) {
    rig.driver->Heap.ClientMemoryLost = 1;
    EXPECT_EQ(KORV_GetDriverLock(rig.driver, &surface, 0, nullptr), 6);
    EXPECT_EQ(KORV_GetDriverLock(rig.driver, nullptr, 1, nullptr), 6);
    EXPECT_EQ(host::Win16Lock().taken, 0u);
    EXPECT_EQ(rig.chip->Flags & CursorExclude, 0u);
}

TEST_F(DriverLockTest, FreeingALockThatNobodyHoldsLetsTheCursorDraw) {
    SetFlag(rig.chip, CursorExclude);
    EXPECT_EQ(KORV_FreeDriverLock(rig.driver, &surface), 0);
    EXPECT_EQ(rig.chip->Flags & CursorExclude, 0u);
    EXPECT_EQ(host::Dci().ends, 0u);
    EXPECT_EQ(host::Win16Lock().unbalanced, 0u);
}

} // namespace
