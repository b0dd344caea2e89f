# find_package(xdsp 3 CONFIG REQUIRED) gives the imported target xdsp::xdsp:
# the shared library (the DLL and its import library on Windows) with the
# include directory that holds xdsp/xdsp.h and xdsp/board.h with their family
# headers. On Linux the board API is in it too; on Windows it is
# xdsp::xdsp_board, xdsp_board.dll.
include(${CMAKE_CURRENT_LIST_DIR}/xdsp-targets.cmake)
