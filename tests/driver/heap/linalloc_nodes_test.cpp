// Groups, rings and links of the node pool.
#include "tests/driver/heap/heap_rig.h"

namespace {

using test::HeapRig;

// Unlinks `count` spares, so that a test can place them itself.
std::vector<HeapNode*> TakeNodes(HeapRig& rig, uint32_t count) {
    return rig.TakeSparesUntil(rig.Spares().size() - count);
}

// Makes a set of kind `kind` from stretches at these starts, ascending.
std::vector<HeapNode*> MakeRing(HeapRig& rig, uint32_t kind, const std::vector<uint32_t>& starts) {
    std::vector<HeapNode*> nodes = TakeNodes(rig, starts.size());
    for (size_t i = 0; i < starts.size(); ++i) {
        nodes[i]->Kind = kind;
        nodes[i]->Start = starts[i];
        nodes[i]->End = starts[i] + 15;
        AddNodeToSetAfter(rig.driver, i == 0 ? nullptr : nodes[i - 1], nodes[i]);
    }
    return nodes;
}

HeapNode* Loose(HeapRig& rig, uint32_t kind, uint32_t start) {
    HeapNode* node = TakeNodes(rig, 1)[0];
    node->Kind = kind;
    node->Start = start;
    node->End = start + 15;
    return node;
}

TEST(HeapManager, WholeRangeIsOneFreeNodeAnd99Spares) {
    HeapRig rig(0x40000);
    rig.CheckSets();
    ASSERT_EQ(rig.Free().size(), 1u);
    EXPECT_EQ(rig.Free()[0]->Start, rig.driver->Heap.HeapStart);
    EXPECT_EQ(rig.Free()[0]->End, rig.driver->Heap.HeapEnd);
    EXPECT_EQ(rig.Free()[0], &rig.First()->Nodes[0]);
    EXPECT_EQ(rig.Spares().size(), 99u);
    EXPECT_EQ(rig.Spares()[0], &rig.First()->Nodes[1]);
    EXPECT_TRUE(rig.Allocated().empty());
    EXPECT_EQ(rig.driver->Heap.NextGroupId, 1u);
    EXPECT_EQ(InitialiseHeapManager(rig.driver), 1u);
}

TEST(HeapManager, InitialiseLeavesTheHandleWordsAlone) {
    HeapRig rig;
    rig.First()->GroupId = 7; // that one starts anew
    rig.First()->Handle = 11;
    rig.First()->NextHandle = 22;
    rig.First()->PrevHandle = 33;
    rig.First()->Next = nullptr;
    InitialiseHeapManager(rig.driver);
    EXPECT_EQ(rig.First()->GroupId, 0u);
    EXPECT_EQ(rig.First()->Handle, 11u);
    EXPECT_EQ(rig.First()->NextHandle, 22u);
    EXPECT_EQ(rig.First()->PrevHandle, 33u);
    EXPECT_EQ(rig.First()->Next, rig.First());
    EXPECT_EQ(rig.First()->Prev, rig.First());
    EXPECT_EQ(rig.First()->Linear, rig.First());
}

TEST(HeapManager, UnInitialiseNotesLostClientMemory) {
    HeapRig rig;
    rig.Allocate(AllocateFromBottom | FirstFit, 64);
    UnInitialiseHeapManager(rig.driver);
    EXPECT_EQ(rig.driver->Heap.ClientMemoryLost, 0u);

    InitialiseHeapManager(rig.driver);
    rig.Allocate(AllocateFromBottom | FirstFit, 64);
    rig.Allocate(AllocateFromBottom | FirstFit | ClientOwned, 64);
    rig.Allocate(AllocateFromBottom | FirstFit, 64);
    UnInitialiseHeapManager(rig.driver);
    EXPECT_EQ(rig.driver->Heap.ClientMemoryLost, 1u);
}

TEST(HeapManager, UnInitialiseReturnsEveryNodeToTheSpares) {
    HeapRig rig;
    for (int i = 0; i < 10; ++i) {
        rig.Allocate(AllocateFromBottom | FirstFit, 64);
    }
    UnInitialiseHeapManager(rig.driver);
    EXPECT_TRUE(rig.Free().empty());
    EXPECT_TRUE(rig.Allocated().empty());
    EXPECT_EQ(rig.Spares().size(), 100u);
}

TEST(NodeGroups, FreshGroupIsOneRingInIndexOrder) {
    auto group = std::make_unique<NodeGroup>();
    std::memset(static_cast<void*>(group.get()), 0xAB, sizeof *group);
    group->GroupId = 7;
    InitialiseNodesInGroup(group.get());
    EXPECT_EQ(group->SpareCount, 100u);
    for (uint32_t i = 0; i < 100; ++i) {
        const HeapNode& node = group->Nodes[i];
        EXPECT_EQ(node.Kind, 0u);
        EXPECT_EQ(node.Index, i);
        EXPECT_EQ(node.Group, 7u);
        EXPECT_EQ(node.NextGroup, 7u);
        EXPECT_EQ(node.PrevGroup, 7u);
        EXPECT_EQ(node.NextIndex, (i + 1) % 100);
        EXPECT_EQ(node.PrevIndex, (i + 99) % 100);
        EXPECT_EQ(node.Start, 0u);
        EXPECT_EQ(node.End, 0u);
        // Not the group's to set.
        EXPECT_EQ(node.Flags, 0xABABABABu);
        EXPECT_EQ(node.Aligned, 0xABABABABu);
        EXPECT_EQ(node.RefCount, static_cast<int32_t>(0xABABABAB));
    }
}

TEST(NodeGroups, AddLinksAtTheEndOfBothRings) {
    HeapRig rig;
    NodeGroup* second = AddNodeGroup(rig.driver);
    NodeGroup* third = AddNodeGroup(rig.driver);
    ASSERT_NE(second, nullptr);
    ASSERT_NE(third, nullptr);
    EXPECT_EQ(rig.Groups(), (std::vector<NodeGroup*>{rig.First(), second, third}));
    EXPECT_EQ(second->GroupId, 1u);
    EXPECT_EQ(third->GroupId, 2u);
    EXPECT_EQ(rig.driver->Heap.NextGroupId, 3u);
    EXPECT_EQ(rig.First()->Prev, third);
    EXPECT_EQ(rig.First()->NextHandle, second->Handle);
    EXPECT_EQ(rig.First()->PrevHandle, third->Handle);
    EXPECT_EQ(second->NextHandle, third->Handle);
    EXPECT_EQ(second->PrevHandle, test::kFirstGroupHandle);
    EXPECT_EQ(third->NextHandle, test::kFirstGroupHandle);
    EXPECT_EQ(third->PrevHandle, second->Handle);
    EXPECT_EQ(third->Linear, third);
    // Not in the spare set yet.
    EXPECT_EQ(rig.Spares().size(), 99u);
}

// The display driver fills Handle alone; what stands in the first group's link words may be old.
TEST(NodeGroups, LinkingTakesTheGroupsOwnHandlesNotOldLinkWords) {
    HeapRig rig;
    rig.First()->NextHandle = 22;
    rig.First()->PrevHandle = 33;
    NodeGroup* second = AddNodeGroup(rig.driver);
    EXPECT_EQ(second->NextHandle, test::kFirstGroupHandle);
    EXPECT_EQ(second->PrevHandle, test::kFirstGroupHandle);
    NodeGroup* third = AddNodeGroup(rig.driver);
    second->NextHandle = 44;
    second->PrevHandle = 55;
    DeleteNodeGroup(rig.driver, second);
    EXPECT_EQ(rig.First()->NextHandle, third->Handle);
    EXPECT_EQ(third->PrevHandle, test::kFirstGroupHandle);
}

TEST(NodeGroups, AddWithoutMemoryIsNullAndChangesNothing) {
    HeapRig rig;
    rig.refuseMemory = true;
    EXPECT_EQ(AddNodeGroup(rig.driver), nullptr);
    EXPECT_EQ(rig.driver->Heap.NextGroupId, 1u);
    rig.CheckSets();
}

TEST(NodeGroups, PointerOfAnUnknownNumberIsTheFirstGroup) {
    HeapRig rig;
    NodeGroup* second = AddNodeGroup(rig.driver);
    EXPECT_EQ(GetGroupPointer(rig.First(), 0), rig.First());
    EXPECT_EQ(GetGroupPointer(rig.First(), 1), second);
    EXPECT_EQ(GetGroupPointer(rig.First(), 99), rig.First());
}

TEST(NodeGroups, TakingTheLastSpareAddsAGroupFirst) {
    HeapRig rig;
    rig.TakeSparesUntil(1);
    EXPECT_EQ(rig.Groups().size(), 1u);
    HeapNode* last = rig.Spares()[0];
    RemoveNodeFromSet(rig.driver, last);

    ASSERT_EQ(rig.Groups().size(), 2u);
    NodeGroup* added = rig.Groups()[1];
    EXPECT_EQ(rig.driver->Heap.SpareSet.Group, added->GroupId);
    EXPECT_EQ(rig.driver->Heap.SpareSet.Index, 0u);
    EXPECT_EQ(last->Kind, 3u);
    ASSERT_EQ(rig.Spares().size(), 100u);
    for (uint32_t i = 0; i < 100; ++i) {
        EXPECT_EQ(rig.Spares()[i], &added->Nodes[i]);
    }
    rig.TakeSparesUntil(98);
    EXPECT_EQ(rig.Spares().front(), &added->Nodes[2]);
    EXPECT_EQ(added->SpareCount, 98u);
}

TEST(NodeGroups, FullGroupIsDeletedAtOnce) {
    HeapRig rig;
    std::vector<HeapNode*> first = rig.TakeSparesUntil(1);
    RemoveNodeFromSet(rig.driver, rig.Spares()[0]);
    std::vector<HeapNode*> second = rig.TakeSparesUntil(97); // three of the new group
    // A node of the first group keeps the spare set alive without the new group.
    first[0]->Kind = NodeSpare;
    AddNodeToSetAfter(rig.driver, rig.Spares()[0], first[0]);
    NodeGroup* added = rig.Groups()[1];
    const uint32_t handle = added->Handle;
    for (int i = 0; i < 2; ++i) {
        second[i]->Kind = NodeSpare;
        AddNodeToSetAfter(rig.driver, rig.Spares()[0], second[i]);
    }
    EXPECT_EQ(added->SpareCount, 99u);
    EXPECT_EQ(rig.Groups().size(), 2u);
    rig.requests.clear();

    second[2]->Kind = NodeSpare;
    AddNodeToSetAfter(rig.driver, rig.Spares()[0], second[2]);

    EXPECT_EQ(rig.Groups().size(), 1u);
    EXPECT_EQ(rig.Spares(), (std::vector<HeapNode*>{first[0]}));
    EXPECT_EQ(rig.First()->NextHandle, test::kFirstGroupHandle);
    EXPECT_EQ(rig.First()->PrevHandle, test::kFirstGroupHandle);
    ASSERT_EQ(rig.requests.size(), 1u);
    EXPECT_EQ(rig.requests[0].Command, 2u);
    EXPECT_EQ(rig.requests[0].Handle, handle);
    EXPECT_EQ(rig.requests[0].Linear, reinterpret_cast<uint32_t>(added));
}

TEST(NodeGroups, FirstGroupIsNeverDeletedAndItsCountNeverChanges) {
    HeapRig rig;
    std::vector<HeapNode*> nodes = rig.TakeSparesUntil(1);
    EXPECT_EQ(rig.First()->SpareCount, 100u);
    for (HeapNode* node : nodes) {
        node->Kind = NodeSpare;
        AddNodeToSetAfter(rig.driver, rig.Spares()[0], node);
    }
    EXPECT_EQ(rig.First()->SpareCount, 100u);
    EXPECT_EQ(rig.Groups().size(), 1u);
    EXPECT_EQ(rig.Spares().size(), 99u);
    EXPECT_TRUE(rig.requests.empty());
}

TEST(NodeGroups, DeletingTheGroupOfAllSparesGoesOnInANewGroup) {
    HeapRig rig;
    rig.TakeSparesUntil(1);
    RemoveNodeFromSet(rig.driver, rig.Spares()[0]);
    HeapNode* taken = rig.TakeSparesUntil(99)[0];
    ASSERT_EQ(rig.Groups().size(), 2u);
    EXPECT_EQ(rig.Groups()[1]->GroupId, 1u);

    taken->Kind = NodeSpare;
    AddNodeToSetAfter(rig.driver, rig.Spares()[0], taken);

    ASSERT_EQ(rig.Groups().size(), 2u);
    NodeGroup* fresh = rig.Groups()[1];
    EXPECT_EQ(fresh->GroupId, 2u); // numbers are not used again
    EXPECT_EQ(fresh->SpareCount, 100u);
    ASSERT_EQ(rig.Spares().size(), 100u);
    EXPECT_EQ(rig.Spares()[0], &fresh->Nodes[0]);
    EXPECT_EQ(rig.LiveServiceBlocks(), 1u);
    EXPECT_EQ(rig.First()->NextHandle, fresh->Handle);
    EXPECT_EQ(rig.First()->PrevHandle, fresh->Handle);
}

TEST(NodeLinks, AreResolvedAcrossGroups) {
    HeapRig rig;
    rig.TakeSparesUntil(1);
    HeapNode* inFirst = rig.Spares()[0];
    NodeGroup* second = AddNodeGroup(rig.driver);
    // A ring of one node in each of two groups.
    HeapNode* inSecond = &second->Nodes[42];
    inFirst->NextGroup = inFirst->PrevGroup = second->GroupId;
    inFirst->NextIndex = inFirst->PrevIndex = 42;
    inSecond->NextGroup = inSecond->PrevGroup = 0;
    inSecond->NextIndex = inSecond->PrevIndex = inFirst->Index;
    EXPECT_EQ(NODE_NextNode(rig.driver, inFirst), inSecond);
    EXPECT_EQ(NODE_LastNode(rig.driver, inFirst), inSecond);
    EXPECT_EQ(NODE_NextNode(rig.driver, inSecond), inFirst);
    EXPECT_EQ(NODE_LastNode(rig.driver, inSecond), inFirst);
    EXPECT_EQ(NODE_NextNode(rig.driver, &second->Nodes[99]), &second->Nodes[0]);
    EXPECT_EQ(NODE_LastNode(rig.driver, &second->Nodes[0]), &second->Nodes[99]);
}

TEST(NodeLinks, GetBaseOfNoIndexIsNull) {
    HeapRig rig;
    NodeGroup* second = AddNodeGroup(rig.driver);
    EXPECT_EQ(NODE_GetBase(rig.driver, 0, 0xFFFFFFFF), nullptr);
    EXPECT_EQ(NODE_GetBase(rig.driver, 0, 5), &rig.First()->Nodes[5]);
    EXPECT_EQ(NODE_GetBase(rig.driver, 1, 5), &second->Nodes[5]);
}

TEST(NodeLinks, SetBaseWithNullEmptiesTheHeadAndLeavesTheGroupWord) {
    NodeSetHead head = {7, 3};
    NODE_SetBase(&head, nullptr);
    EXPECT_EQ(head.Index, 0xFFFFFFFFu);
    EXPECT_EQ(head.Group, 7u);
    HeapNode node = {};
    node.Index = 12;
    node.Group = 4;
    NODE_SetBase(&head, &node);
    EXPECT_EQ(head.Index, 12u);
    EXPECT_EQ(head.Group, 4u);
}

TEST(NodeSets, NodeAddedAfterItselfIsARingOfOneAndOverwritesTheHead) {
    for (uint32_t kind : {NodeAllocated, NodeFree}) {
        HeapRig rig;
        MakeRing(rig, kind, {0x1000, 0x2000});
        HeapNode* node = Loose(rig, kind, 0x3000);
        AddNodeToSetAfter(rig.driver, node, node);
        const NodeSetHead& head =
            kind == NodeFree ? rig.driver->Heap.FreeSet : rig.driver->Heap.AllocatedSet;
        EXPECT_EQ(rig.Members(head), (std::vector<HeapNode*>{node}));
    }
}

TEST(NodeSets, SpareAddedAloneIsNotCounted) {
    HeapRig rig;
    rig.TakeSparesUntil(1);
    RemoveNodeFromSet(rig.driver, rig.Spares()[0]);
    HeapNode* node = rig.TakeSparesUntil(99)[0];
    NodeGroup* added = rig.Groups()[1];
    node->Kind = NodeSpare;
    AddNodeToSetAfter(rig.driver, nullptr, node);
    EXPECT_EQ(added->SpareCount, 99u);
    EXPECT_EQ(rig.Spares(), (std::vector<HeapNode*>{node}));
}

TEST(NodeSets, UnknownKindIsLinkedAndChangesNoHead) {
    HeapRig rig;
    const VideoHeap before = rig.driver->Heap;
    HeapNode* node = Loose(rig, 3, 0x1000);
    const NodeSetHead spare = rig.driver->Heap.SpareSet;
    AddNodeToSetAfter(rig.driver, nullptr, node);
    EXPECT_EQ(NODE_NextNode(rig.driver, node), node);
    EXPECT_EQ(rig.driver->Heap.SpareSet.Index, spare.Index);
    EXPECT_EQ(rig.driver->Heap.FreeSet.Index, before.FreeSet.Index);
    EXPECT_EQ(rig.driver->Heap.AllocatedSet.Index, before.AllocatedSet.Index);
}

TEST(NodeSets, InsertAtTheWrapPointMovesTheHeadOnlyForALowerStart) {
    for (uint32_t kind : {NodeAllocated, NodeFree}) {
        HeapRig rig;
        std::vector<HeapNode*> ring = MakeRing(rig, kind, {0x2000, 0x3000});
        const NodeSetHead& head =
            kind == NodeFree ? rig.driver->Heap.FreeSet : rig.driver->Heap.AllocatedSet;
        HeapNode* higher = Loose(rig, kind, 0x4000);
        AddNodeToSetAfter(rig.driver, ring[1], higher);
        EXPECT_EQ(rig.Members(head), (std::vector<HeapNode*>{ring[0], ring[1], higher}));
        HeapNode* lower = Loose(rig, kind, 0x1000);
        AddNodeToSetAfter(rig.driver, higher, lower);
        EXPECT_EQ(rig.Members(head), (std::vector<HeapNode*>{lower, ring[0], ring[1], higher}));
    }
}

TEST(NodeSets, InsertInsideTheRingLeavesTheHead) {
    HeapRig rig;
    std::vector<HeapNode*> ring = MakeRing(rig, NodeAllocated, {0x2000, 0x4000});
    HeapNode* middle = Loose(rig, NodeAllocated, 0x3000);
    AddNodeToSetAfter(rig.driver, ring[0], middle);
    EXPECT_EQ(rig.Allocated(), (std::vector<HeapNode*>{ring[0], middle, ring[1]}));
    // Away from the wrap point a lower start moves nothing either.
    HeapNode* lowest = Loose(rig, NodeAllocated, 0x1000);
    AddNodeToSetAfter(rig.driver, ring[0], lowest);
    EXPECT_EQ(rig.Allocated(), (std::vector<HeapNode*>{ring[0], lowest, middle, ring[1]}));
}

TEST(NodeSets, AddBeforeMirrorsAddAfter) {
    for (uint32_t kind : {NodeAllocated, NodeFree}) {
        HeapRig rig;
        const NodeSetHead& head =
            kind == NodeFree ? rig.driver->Heap.FreeSet : rig.driver->Heap.AllocatedSet;
        HeapNode* only = Loose(rig, kind, 0x3000);
        AddNodeToSetBefore(rig.driver, nullptr, only);
        EXPECT_EQ(rig.Members(head), (std::vector<HeapNode*>{only}));
        HeapNode* lower = Loose(rig, kind, 0x2000);
        AddNodeToSetBefore(rig.driver, only, lower);
        EXPECT_EQ(rig.Members(head), (std::vector<HeapNode*>{lower, only}));
        // In front of the head lies the wrap point: a higher node goes to the end.
        HeapNode* higher = Loose(rig, kind, 0x4000);
        AddNodeToSetBefore(rig.driver, lower, higher);
        EXPECT_EQ(rig.Members(head), (std::vector<HeapNode*>{lower, only, higher}));
        // The head counts there, not the highest node.
        HeapNode* between = Loose(rig, kind, 0x2800);
        AddNodeToSetBefore(rig.driver, lower, between);
        EXPECT_EQ(rig.Members(head), (std::vector<HeapNode*>{lower, only, higher, between}));
        HeapNode* alone = Loose(rig, kind, 0x5000);
        AddNodeToSetBefore(rig.driver, alone, alone);
        EXPECT_EQ(rig.Members(head), (std::vector<HeapNode*>{alone}));
    }
}

TEST(NodeSets, AddBeforeNeitherCountsSparesNorDeletesGroups) {
    HeapRig rig;
    rig.TakeSparesUntil(1);
    RemoveNodeFromSet(rig.driver, rig.Spares()[0]);
    HeapNode* node = rig.TakeSparesUntil(99)[0];
    NodeGroup* added = rig.Groups()[1];
    node->Kind = NodeSpare;
    AddNodeToSetBefore(rig.driver, rig.Spares()[0], node);
    EXPECT_EQ(added->SpareCount, 99u);
    EXPECT_EQ(rig.Groups().size(), 2u);
    EXPECT_EQ(rig.Spares().size(), 100u);
    EXPECT_EQ(rig.Spares().back(), node);
}

TEST(NodeSets, SpareComesBackDirectlyBehindTheHead) {
    HeapRig rig;
    HeapNode* node = rig.TakeSparesUntil(98)[0];
    node->Kind = NodeSpare;
    AddNodeToSetAfter(rig.driver, rig.Spares()[0], node);
    EXPECT_EQ(rig.Spares()[1], node);
}

TEST(NodeSets, RemovingTheHeadMovesItAndRemovingTheLastMemberEmptiesTheSet) {
    HeapRig rig;
    std::vector<HeapNode*> ring = MakeRing(rig, NodeAllocated, {0x1000, 0x2000, 0x3000});
    RemoveNodeFromSet(rig.driver, ring[0]);
    EXPECT_EQ(ring[0]->Kind, 3u);
    EXPECT_EQ(rig.Allocated(), (std::vector<HeapNode*>{ring[1], ring[2]}));
    RemoveNodeFromSet(rig.driver, ring[2]);
    EXPECT_EQ(rig.Allocated(), (std::vector<HeapNode*>{ring[1]}));
    const uint32_t group = rig.driver->Heap.AllocatedSet.Group;
    RemoveNodeFromSet(rig.driver, ring[1]);
    EXPECT_EQ(rig.driver->Heap.AllocatedSet.Index, 0xFFFFFFFFu);
    EXPECT_EQ(rig.driver->Heap.AllocatedSet.Group, group);
}

TEST(NodeSets, RemovalTellsTheSetByIdentityNotByKind) {
    HeapRig rig;
    std::vector<HeapNode*> ring = MakeRing(rig, NodeAllocated, {0x1000, 0x2000});
    ring[0]->Kind = NodeFree;
    const NodeSetHead freeHead = rig.driver->Heap.FreeSet;
    RemoveNodeFromSet(rig.driver, ring[0]);
    EXPECT_EQ(rig.Allocated(), (std::vector<HeapNode*>{ring[1]}));
    EXPECT_EQ(rig.driver->Heap.FreeSet.Index, freeHead.Index);
    const std::vector<HeapNode*> spares = rig.Spares();
    spares[0]->Kind = NodeAllocated;
    RemoveNodeFromSet(rig.driver, spares[0]);
    EXPECT_EQ(rig.Spares().front(), spares[1]);
}

TEST(NodeSets, RemovedNodeKeepsItsLinks) {
    HeapRig rig;
    std::vector<HeapNode*> ring = MakeRing(rig, NodeAllocated, {0x1000, 0x2000, 0x3000});
    RemoveNodeFromSet(rig.driver, ring[1]);
    EXPECT_EQ(NODE_NextNode(rig.driver, ring[1]), ring[2]);
    EXPECT_EQ(NODE_LastNode(rig.driver, ring[1]), ring[0]);
}

TEST(FindNodeInsertAfter, FindsThePlaceInTheOrder) {
    HeapRig rig;
    std::vector<HeapNode*> ring = MakeRing(rig, NodeAllocated, {0x1000, 0x2000, 0x3000});
    auto place = [&](uint32_t start) {
        HeapNode probe = {};
        probe.Start = start;
        return FindNodeInsertAfter(rig.driver, ring[0], &probe);
    };
    EXPECT_EQ(place(0x0800), ring[2]); // below all: behind the highest, round the ring
    EXPECT_EQ(place(0x1800), ring[0]);
    EXPECT_EQ(place(0x2800), ring[1]);
    EXPECT_EQ(place(0x3800), ring[2]);
    // Equal starts skip the member they meet.
    EXPECT_EQ(place(0x3000), ring[0]);
}

TEST(FindSharedMemory, IsNullOnAnEmptyAllocatedSetWithoutAWalk) {
    HeapRig rig;
    // A stale group word would lead a walk to the first group.
    rig.driver->Heap.AllocatedSet.Group = 0;
    rig.First()->Nodes[0].Flags = 0x109;
    EXPECT_EQ(FindSharedMemory(rig.driver, 0x109), nullptr);
}

TEST(FindSharedMemory, ComparesTheWholeFlagWord) {
    HeapRig rig;
    std::vector<HeapNode*> ring = MakeRing(rig, NodeAllocated, {0x1000, 0x2000, 0x3000});
    ring[0]->Flags = 0x10109;
    ring[1]->Flags = 0x109;
    ring[2]->Flags = 0x109;
    EXPECT_EQ(FindSharedMemory(rig.driver, 0x109), ring[1]);
    EXPECT_EQ(FindSharedMemory(rig.driver, 0x10109), ring[0]);
    EXPECT_EQ(FindSharedMemory(rig.driver, 0x101), nullptr);
}

} // namespace
