# The library: the same objects linked as shared and as static one.

add_library(kiv_objects OBJECT ${KIV_SOURCES})
target_link_libraries(kiv_objects PRIVATE kiv_library_options)
target_include_directories(kiv_objects PRIVATE include)
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND NOT WIN32 AND NOT KIV_SANITIZE)
  # The exported functions are thin: calls between them and what is behind them, the system seam above all, are inlined.
  # The objects are ordinary ones too, for those who link the static library.
  target_compile_options(kiv_objects PRIVATE -flto -ffat-lto-objects)
endif()

add_library(kiv_static STATIC $<TARGET_OBJECTS:kiv_objects>)
set_target_properties(kiv_static PROPERTIES OUTPUT_NAME kiv_common)
target_include_directories(kiv_static PUBLIC include)
target_compile_definitions(kiv_static INTERFACE KIV_STATIC)
target_link_libraries(kiv_static PUBLIC Threads::Threads $<$<PLATFORM_ID:Windows>:ws2_32>)
target_link_options(kiv_static INTERFACE $<$<PLATFORM_ID:Windows>:-fstack-protector-strong>)

add_library(kiv_shared SHARED $<TARGET_OBJECTS:kiv_objects>)
target_include_directories(kiv_shared PUBLIC include)
# Linked as a C library: no C++ runtime. CMake would add the C++ compiler's own libraries, and the shared libgcc among
# them comes before the static one: 64-bit arithmetic on a 32-bit target would be imported from it.
list(REMOVE_ITEM CMAKE_CXX_IMPLICIT_LINK_LIBRARIES stdc++ gcc_s)
set_target_properties(kiv_shared PROPERTIES LINKER_LANGUAGE C)
if(WIN32)
  enable_language(RC)
  configure_file(os/win32/version.rc.in version.rc @ONLY)
  target_sources(kiv_shared PRIVATE os/win32/dll_main.cpp ${CMAKE_BINARY_DIR}/version.rc
                                    ${CMAKE_BINARY_DIR}/libkiv_common_1.def)
  target_link_libraries(kiv_shared PRIVATE kiv_library_options ws2_32)
  set_target_properties(kiv_shared PROPERTIES PREFIX "" OUTPUT_NAME libkiv_common_1 IMPORT_PREFIX ""
                                              IMPORT_SUFFIX ".dll.a")
  target_link_options(kiv_shared PRIVATE -static-libgcc -Wl,--dynamicbase,--nxcompat -Wl,-Bstatic)
else()
  set_target_properties(kiv_shared PROPERTIES OUTPUT_NAME kiv_common VERSION ${PROJECT_VERSION}
                                              SOVERSION ${PROJECT_VERSION_MAJOR})
  target_link_options(kiv_shared PRIVATE -static-libgcc -Wl,-Bsymbolic-functions -Wl,-z,relro,-z,now -Wl,--as-needed
                      -Wl,--version-script=${CMAKE_BINARY_DIR}/kiv_common.map)
  if(NOT KIV_SANITIZE)
    target_link_options(kiv_shared PRIVATE -Wl,-z,defs $<$<CXX_COMPILER_ID:GNU>:-flto=auto>)
  endif()
  set_target_properties(kiv_shared PROPERTIES LINK_DEPENDS ${CMAKE_BINARY_DIR}/kiv_common.map)
  target_link_libraries(kiv_shared PRIVATE Threads::Threads)
endif()

include(GNUInstallDirs)
install(TARGETS kiv_shared kiv_static)
install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "kiv_*.h")
if(WIN32)
  install(FILES ${CMAKE_BINARY_DIR}/libkiv_common_1.def DESTINATION ${CMAKE_INSTALL_LIBDIR})
endif()
