# What `cmake --install` and the packages carry: the public headers, the library
# with its CMake package (xdsp::xdsp; on Windows also xdsp::xdsp_board, the
# board API's own DLL) and pkg-config file, the emulator, the tool, the C
# reference in HTML (cmake/reference.cmake) and, on Linux, the udev rule.
# Nothing else under include/ or src/ is installed: the headers of include/xdsp/
# (xdsp.h and board.h with the family headers they include) are the whole
# interface.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(XDSP_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/xdsp
    CACHE STRING "Where the CMake package goes, relative to the prefix")
set(XDSP_INSTALL_UDEVRULESDIR lib/udev/rules.d
    CACHE STRING "Where the udev rule goes, relative to the prefix (Linux)")

# The x86 DLL is shipped for applications only; the emulator and the tool that
# run on Windows are the x64 ones.
if(WIN32 AND CMAKE_SIZEOF_VOID_P EQUAL 4)
  set(xdsp_install_programs OFF)
else()
  set(xdsp_install_programs ON)
endif()

install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/xdsp DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
        FILES_MATCHING PATTERN "*.h")
set(xdsp_libraries xdsp)
if(WIN32)
  list(APPEND xdsp_libraries xdsp_board)
endif()
install(TARGETS ${xdsp_libraries} EXPORT xdspTargets
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
if(xdsp_install_programs)
  install(TARGETS xdsp-emu RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  # The tool is picked up on every platform it builds for.
  if(TARGET xdsp_tool)
    install(TARGETS xdsp_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  endif()
endif()

install(EXPORT xdspTargets NAMESPACE xdsp:: FILE xdsp-targets.cmake
        DESTINATION ${XDSP_INSTALL_CMAKEDIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/xdsp-config-version.cmake
                                 VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_LIST_DIR}/xdsp-config.cmake
              ${PROJECT_BINARY_DIR}/xdsp-config-version.cmake
        DESTINATION ${XDSP_INSTALL_CMAKEDIR})

# pkg-config: on Linux the prefix is the one installed to, which is known only
# at install time (`--prefix`, CPack's /usr); a Windows zip is unpacked
# anywhere, so there the file finds the prefix from its own place.
set(xdsp_pc_fields "
  set(XDSP_PC_LIBDIR \"${CMAKE_INSTALL_LIBDIR}\")
  set(XDSP_PC_INCLUDEDIR \"${CMAKE_INSTALL_INCLUDEDIR}\")
  set(XDSP_PC_VERSION \"${PROJECT_VERSION}\")")
# On Windows the board API is a DLL of its own; the linker takes from each
# import library only what a program calls.
if(WIN32)
  string(APPEND xdsp_pc_fields "
  set(XDSP_PC_LIBS \"-lxdsp -lxdsp_board\")
  set(XDSP_PC_PREFIX \"\\\${pcfiledir}/../..\")")
else()
  string(APPEND xdsp_pc_fields "
  set(XDSP_PC_LIBS \"-lxdsp\")
  set(XDSP_PC_PREFIX \"\${CMAKE_INSTALL_PREFIX}\")")
endif()
install(CODE "${xdsp_pc_fields}
  configure_file(\"${CMAKE_CURRENT_LIST_DIR}/xdsp.pc.in\" \"${PROJECT_BINARY_DIR}/xdsp.pc\" @ONLY)")
install(FILES ${PROJECT_BINARY_DIR}/xdsp.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

if(WIN32)
  install(FILES ${PROJECT_SOURCE_DIR}/README.md DESTINATION .)
  include(${CMAKE_CURRENT_LIST_DIR}/msvc-import-library.cmake)
else()
  install(FILES ${PROJECT_SOURCE_DIR}/README.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
  install(FILES ${PROJECT_SOURCE_DIR}/udev/69-xdsp.rules DESTINATION ${XDSP_INSTALL_UDEVRULESDIR})
endif()

include(${CMAKE_CURRENT_LIST_DIR}/reference.cmake)
