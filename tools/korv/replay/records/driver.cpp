#include "tools/korv/replay/records/fields.h"

namespace korv {

KORV_RECORD(SubBuffer, KORV_FIELD(Physical), KORV_FIELD(Linear), KORV_FIELD(Last))
KORV_RECORD(CommandStream, KORV_FIELD(CommandMode), KORV_FIELD(SubBuffers),
            KORV_FIELD(SubBufferCount), KORV_FIELD(SubBufferIndex), KORV_FIELD(WritePointer),
            KORV_FIELD(StartDMA), KORV_FIELD(SubBufferFlushWords), KORV_FIELD(SubBufferWords),
            KORV_FIELD(DisconnectMode), KORV_FIELD(HardwareContext))
KORV_RECORD(DepthRow, KORV_FIELD(word), KORV_FIELD(select))
KORV_RECORD(NodeSetHead, KORV_FIELD(Group), KORV_FIELD(Index))
KORV_RECORD(VideoHeap, KORV_FIELD(ClientMemoryLost), KORV_FIELD(NextGroupId), KORV_FIELD(SpareSet),
            KORV_FIELD(FreeSet), KORV_FIELD(AllocatedSet), KORV_FIELD(HeapStart),
            KORV_FIELD(HeapEnd))
KORV_RECORD(ChipInfo, KORV_FIELD(Flags), KORV_FIELD(FrameBufferSize), KORV_FIELD(LocalBufferSize),
            KORV_FIELD(ClientWord), KORV_FIELD(ClientByte), KORV_FIELD(RefreshRate),
            KORV_FIELD(PrimaryDisplay), KORV_FIELD(DeviceId), KORV_FIELD(Revision),
            KORV_FIELD(Family), KORV_FIELD(ClientWords), KORV_FIELD(DMAState),
            KORV_FIELD(DMABufferSize), KORV_FIELD(DMABufferPhysical), KORV_FIELD(DMABufferLinear),
            KORV_FIELD(DMABufferCount), KORV_FIELD(DMABufferInUse), KORV_FIELD(QueueHead),
            KORV_FIELD(QueueTail), KORV_FIELD(QueueEnd), KORV_FIELD(QueueAddress),
            KORV_FIELD(QueueCount), KORV_FIELD(QueueRunning), KORV_FIELD(CurrentContext),
            KORV_FIELD(NoDCI), KORV_FIELD(RegistryName))
KORV_RECORD(DriverData, KORV_FIELD(RegisterBase), KORV_FIELD(FrameBufferBase),
            KORV_FIELD(LocalBufferBase), KORV_FIELD(ScreenWidth), KORV_FIELD(ScreenHeight),
            KORV_FIELD(ScissorWidth), KORV_FIELD(ScissorHeight), KORV_FIELD(PixelSize),
            KORV_FIELD(PixelsPerWordShift), KORV_FIELD(PixelsPerWordMask), KORV_FIELD(ModeKey),
            KORV_FIELD(ModeChanged), KORV_FIELD(RectAlloc), KORV_FIELD(FlipLimitOn),
            KORV_FIELD(SubBuffersReady), KORV_FIELD(FlipSurfaceCount), KORV_FIELD(PartialProducts),
            KORV_FIELD(FBWriteMode), KORV_FIELD(FBDepth), KORV_FIELD(TargetLost),
            KORV_FIELD(ModeChangeCount), KORV_FIELD(DepthTable), KORV_FIELD(DepthRow24),
            KORV_FIELD(RenderSolid), KORV_FIELD(RenderCopy), KORV_FIELD(RenderClear),
            KORV_FIELD(RenderSpare), KORV_FIELD(LocalBufferShift), KORV_FIELD(PixelDepthBits),
            KORV_FIELD(Registers), KORV_FIELD(BoardFlags), KORV_FIELD(Stream),
            KORV_FIELD(DDCallbacks), KORV_FIELD(SurfaceCallbacks), KORV_FIELD(D3DCallbacks),
            KORV_FIELD(D3DGlobalData), KORV_FIELD(D3DTextureFormats),
            KORV_FIELD(D3DGlobalDataHandle), KORV_FIELD(D3DCallbacksHandle),
            KORV_FIELD(TextureFormats), KORV_FIELD(HeapActive), KORV_FIELD(Win16Lock),
            KORV_FIELD(DriverLockKind), KORV_FIELD(Heap), KORV_FIELD(NonLocalHeapLinear),
            KORV_FIELD(NonLocalHeapPhysical), KORV_FIELD(VideoSurfaceCount), KORV_FIELD(VideoBase),
            KORV_FIELD(VideoFlags), KORV_FIELD(VideoStartLine), KORV_FIELD(VideoHeight),
            KORV_FIELD(VideoWidth), KORV_FIELD(VideoCurrentBuffer), KORV_FIELD(VideoPortActive),
            KORV_FIELD(VideoNeedSample), KORV_FIELD(VideoLastLine), KORV_FIELD(VideoLastBuffer),
            KORV_FIELD(VideoLastTime), KORV_FIELD(VideoFailures), KORV_FIELD(VideoPortCreated),
            KORV_FIELD(VideoPortDesc), KORV_FIELD(HALInfo))
KORV_RECORD(PrivateSurfaceData, KORV_FIELD(MagicNo), KORV_FIELD(Flags), KORV_FIELD(PartialProduct0),
            KORV_FIELD(PartialProduct1), KORV_FIELD(PartialProduct2), KORV_FIELD(PartialProduct3),
            KORV_FIELD(PPCode), KORV_FIELD(PackedPP0), KORV_FIELD(PackedPP1), KORV_FIELD(PackedPP2),
            KORV_FIELD(Spare0), KORV_FIELD(PackedPPCode), KORV_FIELD(LogWidth),
            KORV_FIELD(LogHeight), KORV_FIELD(PixelSize), KORV_FIELD(LogPixelBits),
            KORV_FIELD(Format), KORV_FIELD(FormatExtension), KORV_FIELD(FormatComponents),
            KORV_FIELD(FormatOrder), KORV_FIELD(RedMask), KORV_FIELD(GreenMask),
            KORV_FIELD(BlueMask), KORV_FIELD(AlphaMask), KORV_FIELD(HasAlpha), KORV_FIELD(Surface),
            KORV_FIELD(Spare1), KORV_FIELD(LUTAddress), KORV_FIELD(OwnerContext))
KORV_RECORD(D3DContext::RegisterCopies, KORV_FIELD(LBReadMode), KORV_FIELD(LBReadFormat),
            KORV_FIELD(LBWriteMode), KORV_FIELD(FBReadMode), KORV_FIELD(FBWriteMode),
            KORV_FIELD(DitherMode), KORV_FIELD(ColorDDAMode), KORV_FIELD(DepthMode),
            KORV_FIELD(StencilMode), KORV_FIELD(WindowMode), KORV_FIELD(AlphaTestMode),
            KORV_FIELD(AlphaBlendMode), KORV_FIELD(AlphaBlendModeKeyed),
            KORV_FIELD(AlphaTestModeKeyed), KORV_FIELD(FogMode), KORV_FIELD(DeltaMode),
            KORV_FIELD(TextureColorMode), KORV_FIELD(GlintTextureAddressMode),
            KORV_FIELD(GlintTextureReadMode), KORV_FIELD(GlintTextureFormat),
            KORV_FIELD(GlintTextureFilterMode), KORV_FIELD(MXModeWord), KORV_FIELD(YUVMode),
            KORV_FIELD(TextureAddressMode), KORV_FIELD(TextureReadMode),
            KORV_FIELD(TextureDataFormat), KORV_FIELD(TextureMapFormat))
KORV_RECORD(D3DContext, KORV_FIELD(Magic), KORV_FIELD(MemHandle), KORV_FIELD(MemAddress),
            KORV_FIELD(DMABufferHandle), KORV_FIELD(Stream), KORV_FIELD(AlphaBlendModeOut),
            KORV_FIELD(RenderFlags), KORV_FIELD(FillMode), KORV_FIELD(FogColor), KORV_FIELD(Copies),
            KORV_FIELD(ContextHandle), KORV_FIELD(RenderTargetSurface), KORV_FIELD(ZBufferSurface),
            KORV_FIELD(TriangleRenderer), KORV_FIELD(LineRenderer), KORV_FIELD(PointRenderer),
            KORV_FIELD(PartialProduct0), KORV_FIELD(PartialProduct1), KORV_FIELD(PartialProduct2),
            KORV_FIELD(PartialProductExtra), KORV_FIELD(BytesPerPixel), KORV_FIELD(ZVisibleMode),
            KORV_FIELD(UseDelta), KORV_FIELD(TraceEnabled), KORV_FIELD(SharedBuffers),
            KORV_FIELD(HandleDirtyState), KORV_FIELD(ProcessStates), KORV_FIELD(Driver),
            KORV_FIELD(StippleEnabled), KORV_FIELD(SpecularEnabled), KORV_FIELD(DitherEnabled),
            KORV_FIELD(ColorKeyActive), KORV_FIELD(ForceCopyMode), KORV_FIELD(TextureValid),
            KORV_FIELD(RenderCommand), KORV_FIELD(RenderStates), KORV_FIELD(DirtyFlags),
            KORV_FIELD(StipplePattern), KORV_FIELD(TextureMagLinear), KORV_FIELD(TextureMinLinear),
            KORV_FIELD(CullMode), KORV_FIELD(CullSignA), KORV_FIELD(CullSignB),
            KORV_FIELD(BlendForcesZeroAlpha), KORV_FIELD(OverrideMask), KORV_FIELD(TextureWidth),
            KORV_FIELD(TextureHeight), KORV_FIELD(TextureHeightScale),
            KORV_FIELD(TextureWidthScale), KORV_FIELD(TextureRepeatMaskU),
            KORV_FIELD(TextureRepeatU), KORV_FIELD(TextureRepeatMaskV), KORV_FIELD(TextureRepeatV),
            KORV_FIELD(TextureHandle), KORV_FIELD(CurrentTexture), KORV_FIELD(WindowBaseColour),
            KORV_FIELD(WindowBaseDepth), KORV_FIELD(ProcessId), KORV_FIELD(StippleIndex),
            KORV_FIELD(ModeStamp), KORV_FIELD(TextureBuckets), KORV_FIELD(NextTextureHandle))
KORV_RECORD(HeapRequest, KORV_FIELD(Size), KORV_FIELD(Flags), KORV_FIELD(Alignment),
            KORV_FIELD(Bytes), KORV_ADDRESS(Address))
KORV_RECORD(ServiceInfo, KORV_FIELD(Size), KORV_FIELD(Registers), KORV_FIELD(FrameBuffer),
            KORV_FIELD(LocalBuffer), KORV_FIELD(Flags), KORV_FIELD(MemoryA), KORV_FIELD(MemoryB),
            KORV_FIELD(BusBits), KORV_FIELD(ClientByte), KORV_FIELD(DeviceId), KORV_FIELD(Revision),
            KORV_FIELD(ClientWords), KORV_FIELD(ClientWord), KORV_FIELD(RegistryName))
KORV_RECORD(ServiceDMABuffer, KORV_FIELD(Size), KORV_ADDRESS(Physical), KORV_ADDRESS(Linear),
            KORV_FIELD(SubBuffers))
KORV_RECORD(ServiceRequest, KORV_FIELD(Half), KORV_FIELD(RegisterCount), KORV_FIELD(FirstRegister),
            KORV_FIELD(Context), KORV_FIELD(CountOrHandle))
KORV_RECORD(DebugHelpRequest, KORV_FIELD(Kind), KORV_FIELD(ContextOrRegion), KORV_FIELD(Out),
            KORV_FIELD(Count), KORV_FIELD(Rest))

} // namespace korv
