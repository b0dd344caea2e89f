# The board API's own DLL, xdsp_board.dll, so that xdsp.dll keeps exactly its
# 76 exports: the core and board objects, every function the board headers
# (board.h and its families, board_*.h) export by its bare name (cdecl, so no
# decoration on x86 either), the version resource, and no DLL dependency beyond
# the system's.
file(GLOB board_headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/include/xdsp/board.h
     ${PROJECT_SOURCE_DIR}/include/xdsp/board_*.h)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${board_headers})
set(board_def_text "LIBRARY xdsp_board.dll\nEXPORTS\n")
foreach(board_header IN LISTS board_headers)
  file(READ ${board_header} board_text)
  string(REGEX MATCHALL "XDSP_EXPORT[^(;]*[ *]([a-z_0-9]+)\\(" board_declarations "${board_text}")
  foreach(declaration IN LISTS board_declarations)
    string(REGEX MATCH "([a-z_0-9]+)\\($" unused "${declaration}")
    string(APPEND board_def_text "    ${CMAKE_MATCH_1}\n")
  endforeach()
endforeach()
# Cached so that the MSVC import library (cmake/msvc-import-library.cmake) finds it.
set(XDSP_BOARD_DEF_FILE ${CMAKE_CURRENT_BINARY_DIR}/xdsp_board.def CACHE INTERNAL "")
file(CONFIGURE OUTPUT ${XDSP_BOARD_DEF_FILE} CONTENT "${board_def_text}" @ONLY)

add_library(xdsp_board SHARED
  $<TARGET_OBJECTS:xdsp_objects>
  $<TARGET_OBJECTS:xdsp_board_objects>
  ${XDSP_BOARD_DEF_FILE}
  ${CMAKE_CURRENT_SOURCE_DIR}/board/xdsp_board.rc)
target_include_directories(xdsp_board PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>)
target_link_libraries(xdsp_board PRIVATE setupapi hid advapi32 oleaut32)
target_link_options(xdsp_board PRIVATE -static-libgcc -static-libstdc++ -static)
set_target_properties(xdsp_board PROPERTIES OUTPUT_NAME xdsp_board PREFIX "")
