/* The heap of video memory behind the screen: stretches in a pool of nodes that hang together in
   rings by group number and index. The display driver builds it anew around each mode set, with the
   first byte and the last byte of the memory in HeapStart and HeapEnd: all nodes but the first in
   the ring of spare ones, in the order of their indices, and the first, with all of the memory,
   alone in the ring of free ones. A ring of one node names itself on both sides. */
#ifndef KORVHEAP_H
#define KORVHEAP_H

#include "korvtype.h"

#define KORV_NODES_PER_GROUP 100

/* Kind of a node */
#define KORV_NODE_SPARE 0UL
#define KORV_NODE_ALLOCATED 1UL
#define KORV_NODE_FREE 2UL
#define KORV_NODE_UNLINKED 3UL

typedef struct KorvHeapNode {
    KORV_U32 Kind;
    KORV_U32 PrevGroup;
    KORV_U32 PrevIndex;
    KORV_U32 NextGroup;
    KORV_U32 NextIndex;
    KORV_U32 Index; /* own place in the group */
    KORV_U32 Group; /* own group's number */
    KORV_U32 Start; /* linear address of the stretch's first byte */
    KORV_U32 End;   /* of its last byte */
    KORV_U32 Flags;
    KORV_U32 Aligned;
    KORV_S32 RefCount;
} KorvHeapNode;

typedef struct KorvNodeGroup {
    KORV_U32 NextHandle;
    KORV_U32 Next; /* linear addresses of groups; the first one names itself at first */
    KORV_U32 PrevHandle;
    KORV_U32 Prev;
    KORV_U32 Handle;
    KORV_U32 Linear; /* of this group */
    KORV_U32 GroupId;
    KORV_U32 SpareCount; /* nodes in the spare ring; not kept for the first group */
    KorvHeapNode Nodes[KORV_NODES_PER_GROUP];
} KorvNodeGroup;

#define KORV_NO_NODE 0xFFFFFFFFUL

/* A ring's first node; Index KORV_NO_NODE for an empty ring, and Group means nothing then. */
typedef struct KorvNodeSet {
    KORV_U32 Group;
    KORV_U32 Index;
} KorvNodeSet;

typedef struct KorvVideoHeap {
    KORV_U32 ClientMemoryLost; /* KORV32's */
    KORV_U32 NextGroupId;      /* 1 */
    KorvNodeGroup FirstGroup;  /* GroupId 0 */
    KorvNodeSet SpareSet;
    KorvNodeSet FreeSet;
    KorvNodeSet AllocatedSet;
    KORV_U32 HeapStart; /* linear address of the first byte */
    KORV_U32 HeapEnd;   /* of the last byte */
} KorvVideoHeap;

#endif
