# xdsp.lib, the import library that MSVC's and LLVM's linkers read, made from
# the same .def as the DLL by llvm-dlltool. On x86 the .def names carry the
# __stdcall argument bytes: the library keeps them for callers of the header,
# while -k makes each import the bare exported name.
find_program(XDSP_LLVM_DLLTOOL NAMES llvm-dlltool llvm-dlltool-14)
if(NOT XDSP_LLVM_DLLTOOL)
  message(STATUS "llvm-dlltool not found: no MSVC import library xdsp.lib")
  return()
endif()
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  set(xdsp_lib_arguments -m i386 -d ${PROJECT_SOURCE_DIR}/src/frame/xdsp32.def -k)
  set(xdsp_lib_def ${PROJECT_SOURCE_DIR}/src/frame/xdsp32.def)
else()
  set(xdsp_lib_arguments -m i386:x86-64 -d ${PROJECT_SOURCE_DIR}/src/frame/xdsp64.def)
  set(xdsp_lib_def ${PROJECT_SOURCE_DIR}/src/frame/xdsp64.def)
endif()
set(xdsp_msvc_lib ${PROJECT_BINARY_DIR}/src/xdsp.lib)
add_custom_command(OUTPUT ${xdsp_msvc_lib}
  COMMAND ${XDSP_LLVM_DLLTOOL} ${xdsp_lib_arguments} -D xdsp.dll -l ${xdsp_msvc_lib}
  DEPENDS ${xdsp_lib_def}
  COMMENT "MSVC import library xdsp.lib"
  VERBATIM)
# xdsp_board.lib from the board DLL's .def, made from the board headers at
# configure time: cdecl names, which llvm-dlltool decorates for x86 itself.
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  set(xdsp_board_lib_machine i386)
else()
  set(xdsp_board_lib_machine i386:x86-64)
endif()
set(xdsp_board_msvc_lib ${PROJECT_BINARY_DIR}/src/xdsp_board.lib)
add_custom_command(OUTPUT ${xdsp_board_msvc_lib}
  COMMAND ${XDSP_LLVM_DLLTOOL} -m ${xdsp_board_lib_machine} -d ${XDSP_BOARD_DEF_FILE}
          -D xdsp_board.dll -l ${xdsp_board_msvc_lib}
  DEPENDS ${XDSP_BOARD_DEF_FILE}
  COMMENT "MSVC import library xdsp_board.lib"
  VERBATIM)
add_custom_target(xdsp_msvc_import_library ALL DEPENDS ${xdsp_msvc_lib} ${xdsp_board_msvc_lib})
install(FILES ${xdsp_msvc_lib} ${xdsp_board_msvc_lib} DESTINATION ${CMAKE_INSTALL_LIBDIR})
