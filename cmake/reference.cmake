# The C reference: Doxygen over the public headers (docs/reference/Doxyfile,
# every warning an error), built with the library when doxygen is found and
# installed beside the other documents: share/doc/xdsp/html on Linux (so
# /usr/share/doc/xdsp/html in the .deb), doc/html in the Windows zips.
find_program(XDSP_DOXYGEN doxygen)
if(NOT XDSP_DOXYGEN)
  message(STATUS "doxygen not found: the C reference is not built or installed")
  return()
endif()

set(xdsp_reference_dir ${PROJECT_BINARY_DIR}/reference)
file(GLOB xdsp_reference_sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/include/xdsp/*.h)
list(APPEND xdsp_reference_sources ${PROJECT_SOURCE_DIR}/docs/reference/Doxyfile
     ${PROJECT_SOURCE_DIR}/docs/reference/mainpage.md)
# The stamp is written only after a run without warnings, so a failed run is
# repeated by the next build.
add_custom_command(
  OUTPUT ${xdsp_reference_dir}/html.stamp
  COMMAND ${CMAKE_COMMAND} -E rm -rf ${xdsp_reference_dir}/html
  COMMAND ${CMAKE_COMMAND} -E make_directory ${xdsp_reference_dir}
  COMMAND ${CMAKE_COMMAND} -E env XDSP_SOURCE_DIR=${PROJECT_SOURCE_DIR}
          XDSP_DOXYGEN_OUT=${xdsp_reference_dir} XDSP_VERSION=${PROJECT_VERSION}
          ${XDSP_DOXYGEN} ${PROJECT_SOURCE_DIR}/docs/reference/Doxyfile
  COMMAND ${CMAKE_COMMAND} -E touch ${xdsp_reference_dir}/html.stamp
  DEPENDS ${xdsp_reference_sources}
  COMMENT "Building the C reference with Doxygen"
  VERBATIM)
add_custom_target(xdsp_reference ALL DEPENDS ${xdsp_reference_dir}/html.stamp)

if(WIN32)
  set(xdsp_reference_destination doc)
else()
  set(xdsp_reference_destination ${CMAKE_INSTALL_DOCDIR})
endif()
install(DIRECTORY ${xdsp_reference_dir}/html DESTINATION ${xdsp_reference_destination})
