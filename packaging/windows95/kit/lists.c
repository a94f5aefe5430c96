#include "korvkit.h"

/* On which chips a register is. SETUP: with a setup unit, which Permedia 2 has and which is a
   second chip in front of the others. */
#define SX 0x01
#define TX 0x02
#define MX 0x04
#define PM 0x08
#define P2 0x10
#define ALL (SX | TX | MX | PM | P2)
#define SETUP 0x20

/* In the order in which they are to be loaded: the last one fills the lookup table again from where
   those before it say. */
static const struct {
    KORV_U16 offset, on;
} rows[] = {
    {0x8000, ALL},               /* StartXDom */
    {0x8008, ALL},               /* dXDom */
    {0x8010, ALL},               /* StartXSub */
    {0x8018, ALL},               /* dXSub */
    {0x8020, ALL},               /* StartY */
    {0x8028, ALL},               /* dY */
    {0x8030, ALL},               /* Count */
    {0x80A0, ALL},               /* RasterizerMode */
    {0x80A8, ALL},               /* YLimits */
    {0x80C0, ALL},               /* PixelSize */
    {0x80C8, ALL},               /* XLimits */
    {0x80D0, ALL},               /* RectangleOrigin */
    {0x80D8, ALL},               /* RectangleSize */
    {0x8150, ALL},               /* PackedDataLimits */
    {0x8180, ALL},               /* ScissorMode */
    {0x8188, ALL},               /* ScissorMinXY */
    {0x8190, ALL},               /* ScissorMaxXY */
    {0x8198, ALL},               /* ScreenSize */
    {0x81A0, ALL},               /* AreaStippleMode */
    {0x81A8, ALL},               /* LineStippleMode */
    {0x81C8, ALL},               /* WindowOrigin */
    {0x8200, ALL},               /* AreaStipplePattern0 */
    {0x8208, ALL},               /* AreaStipplePattern1 */
    {0x8210, ALL},               /* AreaStipplePattern2 */
    {0x8218, ALL},               /* AreaStipplePattern3 */
    {0x8220, ALL},               /* AreaStipplePattern4 */
    {0x8228, ALL},               /* AreaStipplePattern5 */
    {0x8230, ALL},               /* AreaStipplePattern6 */
    {0x8238, ALL},               /* AreaStipplePattern7 */
    {0x8380, ALL},               /* TextureAddressMode */
    {0x8388, ALL},               /* SStart */
    {0x8390, ALL},               /* dSdx */
    {0x8398, ALL},               /* dSdyDom */
    {0x83A0, ALL},               /* TStart */
    {0x83A8, ALL},               /* dTdx */
    {0x83B0, ALL},               /* dTdyDom */
    {0x83B8, ALL},               /* QStart */
    {0x83C0, ALL},               /* dQdx */
    {0x83C8, ALL},               /* dQdyDom */
    {0x83D0, ALL},               /* LOD */
    {0x83D8, ALL},               /* dLodx */
    {0x83E0, ALL},               /* dLodyDom */
    {0x8480, TX | MX},           /* GlintTextureReadMode */
    {0x8488, TX | MX},           /* TextureFormat */
    {0x8490, TX | MX},           /* TextureCacheControl */
    {0x84A8, ALL},               /* Unit095 */
    {0x84C0, TX | MX | PM | P2}, /* TexelLUTIndex */
    {0x84D0, TX | MX | PM | P2}, /* TexelLUTAddress */
    {0x84E0, TX | MX},           /* TextureFilterMode */
    {0x84E8, TX | MX},           /* TextureChromaUpper */
    {0x84F0, TX | MX},           /* TextureChromaLower */
    {0x8500, TX | MX},           /* TextureBaseAddr0 */
    {0x8508, TX | MX},           /* TextureBaseAddr1 */
    {0x8510, TX | MX},           /* TextureBaseAddr2 */
    {0x8518, TX | MX},           /* TextureBaseAddr3 */
    {0x8520, TX | MX},           /* TextureBaseAddr4 */
    {0x8528, TX | MX},           /* TextureBaseAddr5 */
    {0x8530, TX | MX},           /* TextureBaseAddr6 */
    {0x8538, TX | MX},           /* TextureBaseAddr7 */
    {0x8540, TX | MX},           /* TextureBaseAddr8 */
    {0x8548, TX | MX},           /* TextureBaseAddr9 */
    {0x8550, TX | MX},           /* TextureBaseAddr10 */
    {0x8558, TX | MX},           /* TextureBaseAddr11 */
    {0x8580, PM | P2},           /* TextureBaseAddress */
    {0x8588, PM | P2},           /* TextureMapFormat */
    {0x8590, PM | P2},           /* TextureDataFormat */
    {0x8668, ALL},               /* Unit0CD */
    {0x8670, PM | P2},           /* TextureReadMode */
    {0x8678, PM | P2},           /* TexelLUTMode */
    {0x8680, ALL},               /* TextureColorMode */
    {0x8690, ALL},               /* FogMode */
    {0x8698, ALL},               /* FogColor */
    {0x86A0, ALL},               /* FStart */
    {0x86A8, ALL},               /* dFdx */
    {0x86B0, ALL},               /* dFdyDom */
    {0x86C8, ALL},               /* KsStart */
    {0x86D0, ALL},               /* dKsdx */
    {0x86D8, ALL},               /* dKsdyDom */
    {0x86E0, ALL},               /* KdStart */
    {0x86E8, ALL},               /* dKddx */
    {0x86F0, ALL},               /* dKddyDom */
    {0x8780, ALL},               /* RStart */
    {0x8788, ALL},               /* dRdx */
    {0x8790, ALL},               /* dRdyDom */
    {0x8798, ALL},               /* GStart */
    {0x87A0, ALL},               /* dGdx */
    {0x87A8, ALL},               /* dGdyDom */
    {0x87B0, ALL},               /* BStart */
    {0x87B8, ALL},               /* dBdx */
    {0x87C0, ALL},               /* dBdyDom */
    {0x87C8, ALL},               /* AStart */
    {0x87D0, ALL},               /* dAdx */
    {0x87D8, ALL},               /* dAdyDom */
    {0x87E0, ALL},               /* ColorDDAMode */
    {0x87E8, ALL},               /* ConstantColor */
    {0x8800, ALL},               /* AlphaTestMode */
    {0x8808, ALL},               /* AntialiasMode */
    {0x8810, ALL},               /* AlphaBlendMode */
    {0x8818, ALL},               /* DitherMode */
    {0x8820, ALL},               /* FBSoftwareWriteMask */
    {0x8828, ALL},               /* LogicalOpMode */
    {0x8830, ALL},               /* FBWriteData */
    {0x8840, ALL},               /* RouterMode */
    {0x8880, ALL},               /* LBReadMode */
    {0x8888, ALL},               /* LBReadFormat */
    {0x8890, ALL},               /* LBSourceOffset */
    {0x88B8, ALL},               /* LBWindowBase */
    {0x88C0, ALL},               /* LBWriteMode */
    {0x88C8, ALL},               /* LBWriteFormat */
    {0x88F0, ALL},               /* TextureDownloadOffset */
    {0x8980, ALL},               /* Window */
    {0x8988, ALL},               /* StencilMode */
    {0x8990, ALL},               /* StencilData */
    {0x89A0, ALL},               /* DepthMode */
    {0x89A8, ALL},               /* Depth */
    {0x89B0, ALL},               /* ZStartU */
    {0x89B8, ALL},               /* ZStartL */
    {0x89C0, ALL},               /* dZdxU */
    {0x89C8, ALL},               /* dZdxL */
    {0x89D0, ALL},               /* dZdyDomU */
    {0x89D8, ALL},               /* dZdyDomL */
    {0x89E0, ALL},               /* FastClearDepth */
    {0x8A80, ALL},               /* FBReadMode */
    {0x8A88, ALL},               /* FBSourceOffset */
    {0x8A90, ALL},               /* FBPixelOffset */
    {0x8AA8, ALL},               /* FBSourceData */
    {0x8AB0, ALL},               /* FBWindowBase */
    {0x8AB8, ALL},               /* FBWriteMode */
    {0x8AC0, ALL},               /* FBHardwareWriteMask */
    {0x8AC8, ALL},               /* FBBlockColor */
    {0x8AD0, ALL},               /* FBReadPixel */
    {0x8AE8, ALL},               /* FBWriteConfig */
    {0x8AF8, ALL},               /* PatternRamMode */
    {0x8C00, ALL},               /* FilterMode */
    {0x8C08, ALL},               /* StatisticMode */
    {0x8C10, ALL},               /* MinRegion */
    {0x8C18, ALL},               /* MaxRegion */
    {0x8E80, TX | MX | PM | P2}, /* TexelLUT0 */
    {0x8E88, TX | MX | PM | P2}, /* TexelLUT1 */
    {0x8E90, TX | MX | PM | P2}, /* TexelLUT2 */
    {0x8E98, TX | MX | PM | P2}, /* TexelLUT3 */
    {0x8EA0, TX | MX | PM | P2}, /* TexelLUT4 */
    {0x8EA8, TX | MX | PM | P2}, /* TexelLUT5 */
    {0x8EB0, TX | MX | PM | P2}, /* TexelLUT6 */
    {0x8EB8, TX | MX | PM | P2}, /* TexelLUT7 */
    {0x8EC0, TX | MX | PM | P2}, /* TexelLUT8 */
    {0x8EC8, TX | MX | PM | P2}, /* TexelLUT9 */
    {0x8ED0, TX | MX | PM | P2}, /* TexelLUT10 */
    {0x8ED8, TX | MX | PM | P2}, /* TexelLUT11 */
    {0x8EE0, TX | MX | PM | P2}, /* TexelLUT12 */
    {0x8EE8, TX | MX | PM | P2}, /* TexelLUT13 */
    {0x8EF0, TX | MX | PM | P2}, /* TexelLUT14 */
    {0x8EF8, TX | MX | PM | P2}, /* TexelLUT15 */
    {0x8F00, PM | P2},           /* YUVMode */
    {0x8F08, PM | P2},           /* ChromaUpperBound */
    {0x8F10, PM | P2},           /* ChromaLowerBound */
    {0x8F18, ALL},               /* ChromaTestMode */
    {0x8F20, ALL},               /* Unit1E4 */
    {0x9300, ALL},               /* DeltaMode */
    {0x9040, SETUP},             /* a vertex's alpha */
    {0x90C0, SETUP},             /* a vertex's alpha */
    {0x9140, SETUP},             /* a vertex's alpha */
    {0x84D8, MX | P2},           /* TexelLUTTransfer */
};

KORV_U16 KorvStateList(KORV_U32 device, int delta, KORV_U16* offsets, KORV_U16 most) {
    KORV_U16 chip, count = 0, i;
    switch (device) {
    case KORV_DEVICE_SX:
        chip = SX;
        break;
    case KORV_DEVICE_TX:
        chip = TX;
        break;
    case KORV_DEVICE_MX:
        chip = MX;
        break;
    case KORV_DEVICE_PERMEDIA:
    case KORV_DEVICE_PERMEDIA_SECOND:
        chip = PM;
        break;
    case KORV_DEVICE_PERMEDIA2:
    case KORV_DEVICE_PERMEDIA2_SECOND:
        chip = P2 | SETUP;
        break;
    default:
        return 0;
    }
    if (delta) {
        chip |= SETUP;
    }
    for (i = 0; i < sizeof(rows) / sizeof(rows[0]); ++i) {
        if ((rows[i].on & chip) != 0) {
            if (count == most) {
                return 0;
            }
            offsets[count++] = rows[i].offset;
        }
    }
    return count;
}
