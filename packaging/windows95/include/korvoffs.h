/* Offsets of the fields that the display driver and the mini VDD share with KORV32.dll, in bytes,
   and the records' sizes: for compilers that cannot use the records of korv32.h, and for checking
   that one lays them out so. korvoffs.inc has the same for assemblers. */
#ifndef KORVOFFS_H
#define KORVOFFS_H

#define KORV_ChipInfo_RecordBytes 0x340
#define KORV_ChipInfo_Flags 0x024
#define KORV_ChipInfo_FrameBufferSize 0x02C
#define KORV_ChipInfo_LocalBufferSize 0x030
#define KORV_ChipInfo_ClientWord 0x04C
#define KORV_ChipInfo_ClientByte 0x05C
#define KORV_ChipInfo_RefreshRate 0x05E
#define KORV_ChipInfo_PrimaryDisplay 0x060
#define KORV_ChipInfo_DeviceId 0x08C
#define KORV_ChipInfo_Revision 0x090
#define KORV_ChipInfo_Family 0x094
#define KORV_ChipInfo_ClientWords 0x098
#define KORV_ChipInfo_DMAState 0x0A8
#define KORV_ChipInfo_DMABufferSize 0x0BC
#define KORV_ChipInfo_DMABufferPhysical 0x0C0
#define KORV_ChipInfo_DMABufferLinear 0x0E8
#define KORV_ChipInfo_DMABufferCount 0x110
#define KORV_ChipInfo_DMABufferInUse 0x112
#define KORV_ChipInfo_QueueHead 0x118
#define KORV_ChipInfo_QueueTail 0x11C
#define KORV_ChipInfo_QueueEnd 0x120
#define KORV_ChipInfo_QueueAddress 0x1B0
#define KORV_ChipInfo_QueueCount 0x238
#define KORV_ChipInfo_QueueRunning 0x2C8
#define KORV_ChipInfo_ContextBlocks 0x2D4
#define KORV_ChipInfo_CurrentContext 0x2DC
#define KORV_ChipInfo_NoDCI 0x2F8
#define KORV_ChipInfo_RegistryName 0x300

#define KORV_DriverData_RecordBytes 0x1E8C
#define KORV_DriverData_RegisterBase 0x000
#define KORV_DriverData_FrameBufferBase 0x004
#define KORV_DriverData_LocalBufferBase 0x008
#define KORV_DriverData_ScreenWidth 0x00C
#define KORV_DriverData_ScreenHeight 0x010
#define KORV_DriverData_ScissorWidth 0x014
#define KORV_DriverData_ScissorHeight 0x018
#define KORV_DriverData_PixelSize 0x01C
#define KORV_DriverData_PixelsPerWordShift 0x020
#define KORV_DriverData_PixelsPerWordMask 0x024
#define KORV_DriverData_ModeKey 0x028
#define KORV_DriverData_ModeChanged 0x02C
#define KORV_DriverData_RectAlloc 0x030
#define KORV_DriverData_FlipLimitOn 0x034
#define KORV_DriverData_SubBuffersReady 0x038
#define KORV_DriverData_FlipSurfaceCount 0x03C
#define KORV_DriverData_PartialProducts 0x040
#define KORV_DriverData_FBWriteMode 0x044
#define KORV_DriverData_FBDepth 0x048
#define KORV_DriverData_TargetLost 0x04C
#define KORV_DriverData_ModeChangeCount 0x050
#define KORV_DriverData_DepthTable 0x054
#define KORV_DriverData_DepthRow24 0x06C
#define KORV_DriverData_RenderSolid 0x074
#define KORV_DriverData_RenderCopy 0x078
#define KORV_DriverData_RenderClear 0x07C
#define KORV_DriverData_RenderSpare 0x080
#define KORV_DriverData_LocalBufferShift 0x084
#define KORV_DriverData_PixelDepthBits 0x088
#define KORV_DriverData_ChipInfo 0x08C
#define KORV_DriverData_Registers 0x090
#define KORV_DriverData_BoardFlags 0x094
#define KORV_DriverData_Stream 0x098
#define KORV_DriverData_Instance 0x240
#define KORV_DriverData_DDCallbacks 0x244
#define KORV_DriverData_SurfaceCallbacks 0x274
#define KORV_DriverData_D3DCallbacks 0x2B4
#define KORV_DriverData_D3DGlobalData 0x2B8
#define KORV_DriverData_D3DTextureFormats 0x2BC
#define KORV_DriverData_D3DGlobalDataHandle 0x2C0
#define KORV_DriverData_D3DCallbacksHandle 0x2C4
#define KORV_DriverData_TextureFormats 0x2C8
#define KORV_DriverData_HeapActive 0x91C
#define KORV_DriverData_Win16Lock 0x920
#define KORV_DriverData_DriverLockKind 0x924
#define KORV_DriverData_Heap 0x928
#define KORV_DriverData_NonLocalHeapLinear 0x1C30
#define KORV_DriverData_NonLocalHeapPhysical 0x1C34
#define KORV_DriverData_VideoSurfaceCount 0x1C38
#define KORV_DriverData_VideoBase 0x1C3C
#define KORV_DriverData_VideoFlags 0x1C48
#define KORV_DriverData_VideoStartLine 0x1C4C
#define KORV_DriverData_VideoHeight 0x1C50
#define KORV_DriverData_VideoWidth 0x1C54
#define KORV_DriverData_VideoCurrentBuffer 0x1C58
#define KORV_DriverData_VideoPortActive 0x1C5C
#define KORV_DriverData_VideoNeedSample 0x1C60
#define KORV_DriverData_VideoLastLine 0x1C64
#define KORV_DriverData_VideoLastBuffer 0x1C68
#define KORV_DriverData_VideoLastTime 0x1C6C
#define KORV_DriverData_VideoFailures 0x1C70
#define KORV_DriverData_VideoPortCreated 0x1C74
#define KORV_DriverData_VideoPortDesc 0x1C78
#define KORV_DriverData_HALInfo 0x1CC0

#define KORV_VideoHeap_RecordBytes 0x1308
#define KORV_VideoHeap_ClientMemoryLost 0x000
#define KORV_VideoHeap_NextGroupId 0x004
#define KORV_VideoHeap_FirstGroup 0x008
#define KORV_VideoHeap_SpareSet 0x12E8
#define KORV_VideoHeap_FreeSet 0x12F0
#define KORV_VideoHeap_AllocatedSet 0x12F8
#define KORV_VideoHeap_HeapStart 0x1300
#define KORV_VideoHeap_HeapEnd 0x1304

#define KORV_NodeGroup_RecordBytes 0x12E0
#define KORV_NodeGroup_NextHandle 0x000
#define KORV_NodeGroup_Next 0x004
#define KORV_NodeGroup_PrevHandle 0x008
#define KORV_NodeGroup_Prev 0x00C
#define KORV_NodeGroup_Handle 0x010
#define KORV_NodeGroup_Linear 0x014
#define KORV_NodeGroup_GroupId 0x018
#define KORV_NodeGroup_SpareCount 0x01C
#define KORV_NodeGroup_Nodes 0x020

#define KORV_HeapNode_RecordBytes 0x030
#define KORV_HeapNode_Kind 0x000
#define KORV_HeapNode_PrevGroup 0x004
#define KORV_HeapNode_PrevIndex 0x008
#define KORV_HeapNode_NextGroup 0x00C
#define KORV_HeapNode_NextIndex 0x010
#define KORV_HeapNode_Index 0x014
#define KORV_HeapNode_Group 0x018
#define KORV_HeapNode_Start 0x01C
#define KORV_HeapNode_End 0x020
#define KORV_HeapNode_Flags 0x024
#define KORV_HeapNode_Aligned 0x028
#define KORV_HeapNode_RefCount 0x02C

#define KORV_NodeSetHead_RecordBytes 0x008
#define KORV_NodeSetHead_Group 0x000
#define KORV_NodeSetHead_Index 0x004

#define KORV_ContextBlock_RecordBytes 0x210
#define KORV_ContextBlock_Handle 0x000
#define KORV_ContextBlock_Owner 0x080
#define KORV_ContextBlock_NextBlock 0x100
#define KORV_ContextBlock_SlotCount 0x106
#define KORV_ContextBlock_UsedCount 0x108
#define KORV_ContextBlock_NextFree 0x10A
#define KORV_ContextBlock_FreeBytes 0x10C
#define KORV_ContextBlock_DataOffset 0x10E
#define KORV_ContextBlock_Size 0x14E
#define KORV_ContextBlock_Type 0x18E
#define KORV_ContextBlock_EndIndex 0x1CE

#define KORV_RegisterList_RecordBytes 0x004
#define KORV_RegisterList_Count 0x000
#define KORV_RegisterList_Offset 0x002

#define KORV_MemoryServiceRequest_RecordBytes 0x014
#define KORV_MemoryServiceRequest_Size 0x000
#define KORV_MemoryServiceRequest_Command 0x004
#define KORV_MemoryServiceRequest_Bytes 0x008
#define KORV_MemoryServiceRequest_Handle 0x00C
#define KORV_MemoryServiceRequest_Linear 0x010

#endif
