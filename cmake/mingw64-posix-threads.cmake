# The x64 toolchain with the posix thread model, for the test suite under
# Wine: test code may use std::thread and std::mutex, which the win32 model
# lacks. The library and the emulator use neither (the mingw64 preset builds
# them with the win32 model), so they behave the same in both.
include(${CMAKE_CURRENT_LIST_DIR}/mingw64.cmake)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
