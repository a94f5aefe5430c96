#pragma once
// Win32, DirectDraw and Direct3D as the code here calls them: Windows' own headers, or the hosted
// ones.
#ifdef _WIN32

#define WIN32_LEAN_AND_MEAN
#define DIRECTDRAW_VERSION 0x0300
#define DIRECT3D_VERSION 0x0300
// clang-format off
#include <windows.h>
#include <ddraw.h>
#include <d3d.h>
// clang-format on

#else

#include "tools/korvchk/hosted/com.h"

#endif
