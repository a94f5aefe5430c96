// Blocks of the mini VDD's memory service.
#include "tests/driver/heap/heap_rig.h"

namespace {

using test::HeapRig;

TEST(AllocMem, SendsTheRequestAndGivesHandleAndAddress) {
    HeapRig rig;
    uint32_t handle = 0;
    void* linear = nullptr;
    ASSERT_EQ(AllocMem(&handle, &linear, 4832), 1u);
    ASSERT_NE(linear, nullptr);
    ASSERT_EQ(rig.requests.size(), 1u);
    const MemoryServiceRequest& sent = rig.requests[0];
    EXPECT_EQ(sent.Size, 20u);
    EXPECT_EQ(sent.Command, 1u);
    EXPECT_EQ(sent.Bytes, 4832u);
    EXPECT_EQ(sent.Handle, 0u);
    EXPECT_EQ(sent.Linear, 0u);
    EXPECT_EQ(rig.LiveServiceBlocks(), 1u);

    FreeMem(handle, linear);
    ASSERT_EQ(rig.requests.size(), 2u);
    const MemoryServiceRequest& freed = rig.requests[1];
    EXPECT_EQ(freed.Size, 20u);
    EXPECT_EQ(freed.Command, 2u);
    EXPECT_EQ(freed.Bytes, 0u);
    EXPECT_EQ(freed.Handle, handle);
    EXPECT_EQ(freed.Linear, reinterpret_cast<uint32_t>(linear));
    EXPECT_EQ(rig.LiveServiceBlocks(), 0u);
}

TEST(AllocMem, RefusalLeavesTheOutputs) {
    HeapRig rig;
    rig.refuseMemory = true;
    uint32_t handle = 5;
    void* linear = &rig;
    EXPECT_EQ(AllocMem(&handle, &linear, 64), 0u);
    EXPECT_EQ(handle, 5u);
    EXPECT_EQ(linear, &rig);
}

TEST(AllocMem, OpensTheDeviceForEachRequestAndClosesIt) {
    HeapRig rig;
    uint32_t handle = 0;
    void* linear = nullptr;
    AllocMem(&handle, &linear, 64);
    const host::DeviceOpening& opening = host::LastDeviceOpening();
    EXPECT_EQ(opening.name, "\\\\.\\glintmvd");
    EXPECT_EQ(opening.access, 0x80000000u);
    EXPECT_EQ(opening.share, 3u);
    EXPECT_EQ(opening.creation, 3u);
    EXPECT_EQ(opening.attributes, 0x80u);
    EXPECT_EQ(host::OpenDeviceHandles(), 0u);
    FreeMem(handle, linear);
    EXPECT_EQ(host::OpenDeviceHandles(), 0u);
    rig.refuseMemory = true;
    AllocMem(&handle, &linear, 64);
    EXPECT_EQ(host::OpenDeviceHandles(), 0u);
}

TEST(AllocMem, WithoutTheDeviceFailsAndFreeDoesNothing) {
    HeapRig rig;
    host::UnregisterDevice("\\\\.\\glintmvd");
    uint32_t handle = 5;
    void* linear = &rig;
    EXPECT_EQ(AllocMem(&handle, &linear, 64), 0u);
    EXPECT_EQ(handle, 5u);
    FreeMem(handle, linear);
    EXPECT_TRUE(rig.requests.empty());
}

} // namespace
