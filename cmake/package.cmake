# CPack: a Debian package on Linux, a zip on Windows (one per architecture).
# Both carry what cmake/install.cmake installs. Made with
#   cpack --config build/<preset>/CPackConfig.cmake -B build/packages
set(CPACK_PACKAGE_NAME xdsp)
set(CPACK_PACKAGE_VENDOR "xdsp")
set(CPACK_PACKAGE_CONTACT "xdsp maintainers <xdsp@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
    "Host library, board emulator and tool for DSP boards behind a USB HID microcontroller")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_RESOURCE_FILE_README ${PROJECT_SOURCE_DIR}/README.md)
if(WIN32)
  set(CPACK_GENERATOR ZIP)
else()
  set(CPACK_GENERATOR DEB)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_SECTION libs)
  # CPack puts the summary line before this text.
  set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
      "libxdsp.so.3 with its header, CMake package and pkg-config file; xdsp-emu,
an emulated board served on a local socket; the xdsp command-line tool; and a
udev rule that lets users open the board's hidraw nodes.")
  # Dependencies from what the binaries link; a shlibs file (and the ldconfig
  # trigger) for programs built against libxdsp.so.3.
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
endif()
# Without symbol tables; the DLL's export table and version resource stay.
set(CPACK_STRIP_FILES ON)
include(CPack)
