# The Windows DLL: the core objects, the exports at their fixed ordinals from a
# .def file, the version resource, and no DLL dependency beyond the system's
# (libgcc, libstdc++ and winpthread are linked in).
enable_language(RC)

if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  set(XDSP_DEF_FILE ${CMAKE_CURRENT_SOURCE_DIR}/frame/xdsp32.def)
else()
  set(XDSP_DEF_FILE ${CMAKE_CURRENT_SOURCE_DIR}/frame/xdsp64.def)
endif()

add_library(xdsp SHARED
  $<TARGET_OBJECTS:xdsp_objects>
  ${XDSP_DEF_FILE}
  ${CMAKE_CURRENT_SOURCE_DIR}/frame/version.rc)
target_include_directories(xdsp PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>)
target_link_libraries(xdsp PRIVATE setupapi hid advapi32 oleaut32)
target_link_options(xdsp PRIVATE -static-libgcc -static-libstdc++ -static)
set_target_properties(xdsp PROPERTIES OUTPUT_NAME xdsp PREFIX "")

if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  # __stdcall names are decorated; the .def lists them so and --kill-at
  # exports them bare.
  target_link_options(xdsp PRIVATE -Wl,--kill-at)
  # The linker's own import library then lacks the decorated names that
  # callers of the header link against; one made from the .def has them.
  find_program(XDSP_DLLTOOL NAMES i686-w64-mingw32-dlltool REQUIRED)
  add_custom_command(TARGET xdsp POST_BUILD
    COMMAND ${XDSP_DLLTOOL} -d ${XDSP_DEF_FILE} -l $<TARGET_LINKER_FILE:xdsp> -k
            -D $<TARGET_FILE_NAME:xdsp>
    VERBATIM)
endif()
