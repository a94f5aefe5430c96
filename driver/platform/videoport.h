// Video port records: what the runtime hands to the port's callbacks and takes from them.
#pragma once

#include "driver/platform/ddhal.h"

// Kinds of connection: by which edges of the two reference signals begin lines and fields, or the
// bus of a decoder family.
inline constexpr GUID DDVPTYPE_E_HREFH_VREFH = {
    0x54F39980, 0xDA60, 0x11CF, {0x9B, 0x06, 0x00, 0xA0, 0xC9, 0x03, 0xA3, 0xB8}};
inline constexpr GUID DDVPTYPE_E_HREFH_VREFL = {
    0x92783220, 0xDA60, 0x11CF, {0x9B, 0x06, 0x00, 0xA0, 0xC9, 0x03, 0xA3, 0xB8}};
inline constexpr GUID DDVPTYPE_E_HREFL_VREFH = {
    0xA07A02E0, 0xDA60, 0x11CF, {0x9B, 0x06, 0x00, 0xA0, 0xC9, 0x03, 0xA3, 0xB8}};
inline constexpr GUID DDVPTYPE_E_HREFL_VREFL = {
    0xE09C77E0, 0xDA60, 0x11CF, {0x9B, 0x06, 0x00, 0xA0, 0xC9, 0x03, 0xA3, 0xB8}};
inline constexpr GUID DDVPTYPE_CCIR656 = {
    0xFCA326A0, 0xDA60, 0x11CF, {0x9B, 0x06, 0x00, 0xA0, 0xC9, 0x03, 0xA3, 0xB8}};
inline constexpr GUID DDVPTYPE_BROOKTREE = {
    0x1352A560, 0xDA61, 0x11CF, {0x9B, 0x06, 0x00, 0xA0, 0xC9, 0x03, 0xA3, 0xB8}};
inline constexpr GUID DDVPTYPE_PHILIPS = {
    0x332CF160, 0xDA61, 0x11CF, {0x9B, 0x06, 0x00, 0xA0, 0xC9, 0x03, 0xA3, 0xB8}};

// 28 bytes: without the reserved word that newer editions of the interface add at the end.
struct DDVIDEOPORTCONNECT {
    DWORD dwSize, dwPortWidth; // bits
    GUID guidTypeID;
    DWORD dwFlags;
};
static_assert(sizeof(DDVIDEOPORTCONNECT) == 28 && offsetof(DDVIDEOPORTCONNECT, dwPortWidth) == 4 &&
              offsetof(DDVIDEOPORTCONNECT, guidTypeID) == 8 &&
              offsetof(DDVIDEOPORTCONNECT, dwFlags) == 24);

inline constexpr DWORD DDVPCONNECT_DOUBLECLOCK = 0x1, DDVPCONNECT_VACT = 0x2,
                       DDVPCONNECT_INVERTPOLARITY = 0x4, DDVPCONNECT_DISCARDSVREFDATA = 0x8,
                       DDVPCONNECT_HALFLINE = 0x10, DDVPCONNECT_INTERLACED = 0x20,
                       DDVPCONNECT_SHAREEVEN = 0x40, DDVPCONNECT_SHAREODD = 0x80;

struct DDVIDEOPORTDESC {
    DWORD dwSize;
    DWORD dwFieldWidth, dwVBIWidth; // pixels, samples
    DWORD dwFieldHeight;            // lines
    DWORD dwMicrosecondsPerField, dwMaxPixelsPerSecond, dwVideoPortID, dwReserved1;
    DDVIDEOPORTCONNECT VideoPortType;
    // As long as with the longer connection record, whose fields lie at the same offsets.
    ULONG_PTR dwReserved2, dwReserved3, dwReserved4;
};
static_assert(sizeof(DDVIDEOPORTDESC) == 72 && offsetof(DDVIDEOPORTDESC, dwFieldWidth) == 4 &&
              offsetof(DDVIDEOPORTDESC, dwVBIWidth) == 8 &&
              offsetof(DDVIDEOPORTDESC, dwFieldHeight) == 12 &&
              offsetof(DDVIDEOPORTDESC, dwVideoPortID) == 24 &&
              offsetof(DDVIDEOPORTDESC, VideoPortType) == 32);

struct DDVIDEOPORTINFO {
    DWORD dwSize, dwOriginX, dwOriginY, dwVPFlags;
    RECT rCrop;
    DWORD dwPrescaleWidth, dwPrescaleHeight; // pixels, lines
    DDPIXELFORMAT *lpddpfInputFormat, *lpddpfVBIInputFormat, *lpddpfVBIOutputFormat;
    DWORD dwVBIHeight;
    ULONG_PTR dwReserved1, dwReserved2;
};
static_assert(sizeof(DDVIDEOPORTINFO) == 64 && offsetof(DDVIDEOPORTINFO, dwVPFlags) == 12 &&
              offsetof(DDVIDEOPORTINFO, rCrop) == 16 &&
              offsetof(DDVIDEOPORTINFO, dwPrescaleWidth) == 32 &&
              offsetof(DDVIDEOPORTINFO, dwPrescaleHeight) == 36 &&
              offsetof(DDVIDEOPORTINFO, lpddpfInputFormat) == 40 &&
              offsetof(DDVIDEOPORTINFO, dwVBIHeight) == 52);

inline constexpr DWORD DDVP_AUTOFLIP = 0x1, DDVP_CONVERT = 0x2, DDVP_CROP = 0x4,
                       DDVP_INTERLEAVE = 0x8, DDVP_MIRRORLEFTRIGHT = 0x10, DDVP_MIRRORUPDOWN = 0x20,
                       DDVP_PRESCALE = 0x40;

// Answers of GetVideoSignalStatus.
inline constexpr DWORD DDVPSQ_NOSIGNAL = 1, DDVPSQ_SIGNALOK = 2;

struct DDVIDEOPORTBANDWIDTH; // never looked into

// The runtime's object of a video port.
struct DDRAWI_DDVIDEOPORT_LCL {
    DDRAWI_DIRECTDRAW_LCL* lpDD;
    DDVIDEOPORTDESC ddvpDesc;
    DDVIDEOPORTINFO ddvpInfo;
    DDRAWI_DDRAWSURFACE_INT *lpSurface, *lpVBISurface, **lpFlipInts;
    DWORD dwNumAutoflip, dwProcessID, dwStateFlags, dwFlags, dwRefCnt;
    FLATPTR fpLastFlip;
    ULONG_PTR dwReserved1, dwReserved2; // display driver's
    HANDLE hDDVideoPort;
    DWORD dwNumVBIAutoflip;
    DDVIDEOPORTDESC *lpVBIDesc, *lpVideoDesc;
    DDVIDEOPORTINFO *lpVBIInfo, *lpVideoInfo;
    DWORD dwVBIProcessID;
    DDRAWI_DDVIDEOPORT_INT* lpVPNotify;
};
static_assert(sizeof(DDRAWI_DDVIDEOPORT_LCL) == 216 &&
              offsetof(DDRAWI_DDVIDEOPORT_LCL, ddvpDesc) == 4 &&
              offsetof(DDRAWI_DDVIDEOPORT_LCL, ddvpInfo) == 76 &&
              offsetof(DDRAWI_DDVIDEOPORT_LCL, lpSurface) == 140 &&
              offsetof(DDRAWI_DDVIDEOPORT_LCL, dwNumAutoflip) == 152);

// Arguments of the callbacks. The last member is the entry being called.

struct DDHAL_CANCREATEVPORTDATA {
    DDRAWI_DIRECTDRAW_LCL* lpDD;
    DDVIDEOPORTDESC* lpDDVideoPortDesc;
    HRESULT ddRVal;
    DWORD(KORV_STDCALL* CanCreateVideoPort)(DDHAL_CANCREATEVPORTDATA*);
};
static_assert(sizeof(DDHAL_CANCREATEVPORTDATA) == 16 &&
              offsetof(DDHAL_CANCREATEVPORTDATA, lpDDVideoPortDesc) == 4 &&
              offsetof(DDHAL_CANCREATEVPORTDATA, ddRVal) == 8);

struct DDHAL_CREATEVPORTDATA {
    DDRAWI_DIRECTDRAW_LCL* lpDD;
    DDVIDEOPORTDESC* lpDDVideoPortDesc;
    DDRAWI_DDVIDEOPORT_LCL* lpVideoPort;
    HRESULT ddRVal;
    DWORD(KORV_STDCALL* CreateVideoPort)(DDHAL_CREATEVPORTDATA*);
};
static_assert(sizeof(DDHAL_CREATEVPORTDATA) == 20 &&
              offsetof(DDHAL_CREATEVPORTDATA, lpDDVideoPortDesc) == 4 &&
              offsetof(DDHAL_CREATEVPORTDATA, lpVideoPort) == 8 &&
              offsetof(DDHAL_CREATEVPORTDATA, ddRVal) == 12);

struct DDHAL_DESTROYVPORTDATA {
    DDRAWI_DIRECTDRAW_LCL* lpDD;
    DDRAWI_DDVIDEOPORT_LCL* lpVideoPort;
    HRESULT ddRVal;
    DWORD(KORV_STDCALL* DestroyVideoPort)(DDHAL_DESTROYVPORTDATA*);
};
static_assert(sizeof(DDHAL_DESTROYVPORTDATA) == 16 &&
              offsetof(DDHAL_DESTROYVPORTDATA, lpVideoPort) == 4 &&
              offsetof(DDHAL_DESTROYVPORTDATA, ddRVal) == 8);

struct DDHAL_FLIPVPORTDATA {
    DDRAWI_DIRECTDRAW_LCL* lpDD;
    DDRAWI_DDVIDEOPORT_LCL* lpVideoPort;
    DDRAWI_DDRAWSURFACE_LCL *lpSurfCurr, *lpSurfTarg;
    HRESULT ddRVal;
    DWORD(KORV_STDCALL* FlipVideoPort)(DDHAL_FLIPVPORTDATA*);
};
static_assert(sizeof(DDHAL_FLIPVPORTDATA) == 24 &&
              offsetof(DDHAL_FLIPVPORTDATA, lpVideoPort) == 4 &&
              offsetof(DDHAL_FLIPVPORTDATA, lpSurfCurr) == 8 &&
              offsetof(DDHAL_FLIPVPORTDATA, ddRVal) == 16);

struct DDHAL_GETVPORTBANDWIDTHDATA {
    DDRAWI_DIRECTDRAW_LCL* lpDD;
    DDRAWI_DDVIDEOPORT_LCL* lpVideoPort;
    DDPIXELFORMAT* lpddpfFormat;
    DWORD dwWidth, dwHeight, dwFlags;
    DDVIDEOPORTBANDWIDTH* lpBandwidth;
    HRESULT ddRVal;
    DWORD(KORV_STDCALL* GetVideoPortBandwidth)(DDHAL_GETVPORTBANDWIDTHDATA*);
};
static_assert(sizeof(DDHAL_GETVPORTBANDWIDTHDATA) == 36 &&
              offsetof(DDHAL_GETVPORTBANDWIDTHDATA, ddRVal) == 28);

struct DDHAL_GETVPORTINPUTFORMATDATA {
    DDRAWI_DIRECTDRAW_LCL* lpDD;
    DDRAWI_DDVIDEOPORT_LCL* lpVideoPort;
    DWORD dwFlags;
    DDPIXELFORMAT* lpddpfFormat; // null: only the count is asked for
    DWORD dwNumFormats;
    HRESULT ddRVal;
    DWORD(KORV_STDCALL* GetVideoPortInputFormats)(DDHAL_GETVPORTINPUTFORMATDATA*);
};
static_assert(sizeof(DDHAL_GETVPORTINPUTFORMATDATA) == 28 &&
              offsetof(DDHAL_GETVPORTINPUTFORMATDATA, lpddpfFormat) == 12 &&
              offsetof(DDHAL_GETVPORTINPUTFORMATDATA, dwNumFormats) == 16 &&
              offsetof(DDHAL_GETVPORTINPUTFORMATDATA, ddRVal) == 20);

struct DDHAL_GETVPORTOUTPUTFORMATDATA {
    DDRAWI_DIRECTDRAW_LCL* lpDD;
    DDRAWI_DDVIDEOPORT_LCL* lpVideoPort;
    DWORD dwFlags;
    DDPIXELFORMAT *lpddpfInputFormat, *lpddpfOutputFormats; // the latter as above
    DWORD dwNumFormats;
    HRESULT ddRVal;
    DWORD(KORV_STDCALL* GetVideoPortOutputFormats)(DDHAL_GETVPORTOUTPUTFORMATDATA*);
};
static_assert(sizeof(DDHAL_GETVPORTOUTPUTFORMATDATA) == 32 &&
              offsetof(DDHAL_GETVPORTOUTPUTFORMATDATA, lpddpfInputFormat) == 12 &&
              offsetof(DDHAL_GETVPORTOUTPUTFORMATDATA, lpddpfOutputFormats) == 16 &&
              offsetof(DDHAL_GETVPORTOUTPUTFORMATDATA, dwNumFormats) == 20 &&
              offsetof(DDHAL_GETVPORTOUTPUTFORMATDATA, ddRVal) == 24);

struct DDHAL_GETVPORTFIELDDATA {
    DDRAWI_DIRECTDRAW_LCL* lpDD;
    DDRAWI_DDVIDEOPORT_LCL* lpVideoPort;
    BOOL bField;
    HRESULT ddRVal;
    DWORD(KORV_STDCALL* GetVideoPortField)(DDHAL_GETVPORTFIELDDATA*);
};
static_assert(sizeof(DDHAL_GETVPORTFIELDDATA) == 20 &&
              offsetof(DDHAL_GETVPORTFIELDDATA, bField) == 8 &&
              offsetof(DDHAL_GETVPORTFIELDDATA, ddRVal) == 12);

struct DDHAL_GETVPORTLINEDATA {
    DDRAWI_DIRECTDRAW_LCL* lpDD;
    DDRAWI_DDVIDEOPORT_LCL* lpVideoPort;
    DWORD dwLine;
    HRESULT ddRVal;
    DWORD(KORV_STDCALL* GetVideoPortLine)(DDHAL_GETVPORTLINEDATA*);
};
static_assert(sizeof(DDHAL_GETVPORTLINEDATA) == 20 &&
              offsetof(DDHAL_GETVPORTLINEDATA, dwLine) == 8 &&
              offsetof(DDHAL_GETVPORTLINEDATA, ddRVal) == 12);

struct DDHAL_GETVPORTCONNECTDATA {
    DDRAWI_DIRECTDRAW_LCL* lpDD;
    DWORD dwPortId;
    DDVIDEOPORTCONNECT* lpConnect; // null: only the count is asked for
    DWORD dwNumEntries;
    HRESULT ddRVal;
    DWORD(KORV_STDCALL* GetVideoPortConnectInfo)(DDHAL_GETVPORTCONNECTDATA*);
};
static_assert(sizeof(DDHAL_GETVPORTCONNECTDATA) == 24 &&
              offsetof(DDHAL_GETVPORTCONNECTDATA, lpConnect) == 8 &&
              offsetof(DDHAL_GETVPORTCONNECTDATA, dwNumEntries) == 12 &&
              offsetof(DDHAL_GETVPORTCONNECTDATA, ddRVal) == 16);

struct DDHAL_GETVPORTFLIPSTATUSDATA {
    DDRAWI_DIRECTDRAW_LCL* lpDD;
    FLATPTR fpSurface;
    HRESULT ddRVal;
    DWORD(KORV_STDCALL* GetVideoPortFlipStatus)(DDHAL_GETVPORTFLIPSTATUSDATA*);
};
static_assert(sizeof(DDHAL_GETVPORTFLIPSTATUSDATA) == 16 &&
              offsetof(DDHAL_GETVPORTFLIPSTATUSDATA, ddRVal) == 8);

struct DDHAL_UPDATEVPORTDATA {
    DDRAWI_DIRECTDRAW_LCL* lpDD;
    DDRAWI_DDVIDEOPORT_LCL* lpVideoPort;
    DDRAWI_DDRAWSURFACE_INT **lplpDDSurface, **lplpDDVBISurface;
    DDVIDEOPORTINFO* lpVideoInfo;
    DWORD dwFlags, dwNumAutoflip, dwNumVBIAutoflip;
    HRESULT ddRVal;
    DWORD(KORV_STDCALL* UpdateVideoPort)(DDHAL_UPDATEVPORTDATA*);
};
static_assert(sizeof(DDHAL_UPDATEVPORTDATA) == 40 &&
              offsetof(DDHAL_UPDATEVPORTDATA, lplpDDSurface) == 8 &&
              offsetof(DDHAL_UPDATEVPORTDATA, lpVideoInfo) == 16 &&
              offsetof(DDHAL_UPDATEVPORTDATA, dwFlags) == 20 &&
              offsetof(DDHAL_UPDATEVPORTDATA, dwNumAutoflip) == 24 &&
              offsetof(DDHAL_UPDATEVPORTDATA, ddRVal) == 32);

// Its dwFlags: one of these.
inline constexpr DWORD DDRAWI_VPORTSTART = 1, DDRAWI_VPORTSTOP = 2, DDRAWI_VPORTUPDATE = 3;

struct DDHAL_WAITFORVPORTSYNCDATA {
    DDRAWI_DIRECTDRAW_LCL* lpDD;
    DDRAWI_DDVIDEOPORT_LCL* lpVideoPort;
    DWORD dwFlags, dwLine, dwTimeOut;
    HRESULT ddRVal;
    DWORD(KORV_STDCALL* WaitForVideoPortSync)(DDHAL_WAITFORVPORTSYNCDATA*);
};
static_assert(sizeof(DDHAL_WAITFORVPORTSYNCDATA) == 28 &&
              offsetof(DDHAL_WAITFORVPORTSYNCDATA, ddRVal) == 20);

struct DDHAL_GETVPORTSIGNALDATA {
    DDRAWI_DIRECTDRAW_LCL* lpDD;
    DDRAWI_DDVIDEOPORT_LCL* lpVideoPort;
    DWORD dwStatus;
    HRESULT ddRVal;
    DWORD(KORV_STDCALL* GetVideoSignalStatus)(DDHAL_GETVPORTSIGNALDATA*);
};
static_assert(sizeof(DDHAL_GETVPORTSIGNALDATA) == 20 &&
              offsetof(DDHAL_GETVPORTSIGNALDATA, dwStatus) == 8 &&
              offsetof(DDHAL_GETVPORTSIGNALDATA, ddRVal) == 12);
