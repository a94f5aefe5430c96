#include "tools/korv/replay/records/fields.h"

namespace korv {

KORV_RECORD(DDVIDEOPORTINFO, KORV_FIELD(dwSize), KORV_FIELD(dwOriginX), KORV_FIELD(dwOriginY),
            KORV_FIELD(dwVPFlags), KORV_FIELD(rCrop), KORV_FIELD(dwPrescaleWidth),
            KORV_FIELD(dwPrescaleHeight), KORV_ADDRESS(lpddpfInputFormat),
            KORV_ADDRESS(lpddpfVBIInputFormat), KORV_ADDRESS(lpddpfVBIOutputFormat),
            KORV_FIELD(dwVBIHeight), KORV_FIELD(dwReserved1), KORV_FIELD(dwReserved2))
KORV_RECORD(DDRAWI_DDVIDEOPORT_LCL, KORV_FIELD(lpDD), KORV_FIELD(ddvpDesc), KORV_FIELD(ddvpInfo),
            KORV_FIELD(lpSurface), KORV_FIELD(lpVBISurface), KORV_FIELD(lpFlipInts),
            KORV_FIELD(dwNumAutoflip), KORV_FIELD(dwProcessID), KORV_FIELD(dwStateFlags),
            KORV_FIELD(dwFlags), KORV_FIELD(dwRefCnt), KORV_FIELD(fpLastFlip),
            KORV_FIELD(dwReserved1), KORV_FIELD(dwReserved2))
KORV_RECORD(DDHAL_CANCREATEVPORTDATA, KORV_FIELD(lpDD), KORV_ADDRESS(lpDDVideoPortDesc),
            KORV_FIELD(ddRVal), KORV_FIELD(CanCreateVideoPort))
KORV_RECORD(DDHAL_CREATEVPORTDATA, KORV_FIELD(lpDD), KORV_ADDRESS(lpDDVideoPortDesc),
            KORV_ADDRESS(lpVideoPort), KORV_FIELD(ddRVal), KORV_FIELD(CreateVideoPort))
KORV_RECORD(DDHAL_DESTROYVPORTDATA, KORV_FIELD(lpDD), KORV_ADDRESS(lpVideoPort), KORV_FIELD(ddRVal),
            KORV_FIELD(DestroyVideoPort))
KORV_RECORD(DDHAL_FLIPVPORTDATA, KORV_FIELD(lpDD), KORV_ADDRESS(lpVideoPort),
            KORV_FIELD(lpSurfCurr), KORV_FIELD(lpSurfTarg), KORV_FIELD(ddRVal),
            KORV_FIELD(FlipVideoPort))
KORV_RECORD(DDHAL_GETVPORTBANDWIDTHDATA, KORV_FIELD(lpDD), KORV_ADDRESS(lpVideoPort),
            KORV_ADDRESS(lpddpfFormat), KORV_FIELD(dwWidth), KORV_FIELD(dwHeight),
            KORV_FIELD(dwFlags), KORV_ADDRESS(lpBandwidth), KORV_FIELD(ddRVal),
            KORV_FIELD(GetVideoPortBandwidth))
KORV_RECORD(DDHAL_GETVPORTINPUTFORMATDATA, KORV_FIELD(lpDD), KORV_ADDRESS(lpVideoPort),
            KORV_FIELD(dwFlags), KORV_ADDRESS(lpddpfFormat), KORV_FIELD(dwNumFormats),
            KORV_FIELD(ddRVal), KORV_FIELD(GetVideoPortInputFormats))
KORV_RECORD(DDHAL_GETVPORTOUTPUTFORMATDATA, KORV_FIELD(lpDD), KORV_ADDRESS(lpVideoPort),
            KORV_FIELD(dwFlags), KORV_ADDRESS(lpddpfInputFormat), KORV_ADDRESS(lpddpfOutputFormats),
            KORV_FIELD(dwNumFormats), KORV_FIELD(ddRVal), KORV_FIELD(GetVideoPortOutputFormats))
KORV_RECORD(DDHAL_GETVPORTFIELDDATA, KORV_FIELD(lpDD), KORV_ADDRESS(lpVideoPort),
            KORV_FIELD(bField), KORV_FIELD(ddRVal), KORV_FIELD(GetVideoPortField))
KORV_RECORD(DDHAL_GETVPORTLINEDATA, KORV_FIELD(lpDD), KORV_ADDRESS(lpVideoPort), KORV_FIELD(dwLine),
            KORV_FIELD(ddRVal), KORV_FIELD(GetVideoPortLine))
KORV_RECORD(DDHAL_GETVPORTCONNECTDATA, KORV_FIELD(lpDD), KORV_FIELD(dwPortId),
            KORV_ADDRESS(lpConnect), KORV_FIELD(dwNumEntries), KORV_FIELD(ddRVal),
            KORV_FIELD(GetVideoPortConnectInfo))
KORV_RECORD(DDHAL_GETVPORTFLIPSTATUSDATA, KORV_FIELD(lpDD), KORV_ADDRESS(fpSurface),
            KORV_FIELD(ddRVal), KORV_FIELD(GetVideoPortFlipStatus))
KORV_RECORD(DDHAL_UPDATEVPORTDATA, KORV_FIELD(lpDD), KORV_ADDRESS(lpVideoPort),
            KORV_FIELD(lplpDDSurface), KORV_FIELD(lplpDDVBISurface), KORV_ADDRESS(lpVideoInfo),
            KORV_FIELD(dwFlags), KORV_FIELD(dwNumAutoflip), KORV_FIELD(dwNumVBIAutoflip),
            KORV_FIELD(ddRVal), KORV_FIELD(UpdateVideoPort))
KORV_RECORD(DDHAL_WAITFORVPORTSYNCDATA, KORV_FIELD(lpDD), KORV_ADDRESS(lpVideoPort),
            KORV_FIELD(dwFlags), KORV_FIELD(dwLine), KORV_FIELD(dwTimeOut), KORV_FIELD(ddRVal),
            KORV_FIELD(WaitForVideoPortSync))
KORV_RECORD(DDHAL_GETVPORTSIGNALDATA, KORV_FIELD(lpDD), KORV_ADDRESS(lpVideoPort),
            KORV_FIELD(dwStatus), KORV_FIELD(ddRVal), KORV_FIELD(GetVideoSignalStatus))

} // namespace korv
