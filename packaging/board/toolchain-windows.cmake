# 32-bit Windows by Debian's cross compiler, with its C++ runtime in the program.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86)
set(CMAKE_C_COMPILER i686-w64-mingw32-gcc)
set(CMAKE_CXX_COMPILER i686-w64-mingw32-g++)
set(CMAKE_EXE_LINKER_FLAGS_INIT -static)
