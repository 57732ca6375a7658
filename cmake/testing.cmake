# GoogleTest comes from the distribution's source package, built for each target with the target's flags.
set(KIV_GOOGLETEST_SOURCE /usr/src/googletest CACHE PATH "Where the googletest source package is")
set(BUILD_GMOCK OFF)
set(INSTALL_GTEST OFF)
add_subdirectory(${KIV_GOOGLETEST_SOURCE} ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)

# kiv_add_test(NAME [STATIC] SOURCES...): a test program, run as one test: a process start is dear under Wine.
# It is linked with the shared library, the product, unless it stands in parts of os/platform.h: then STATIC.
function(kiv_add_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "STATIC" "" "")
  add_executable(${name} ${arg_UNPARSED_ARGUMENTS})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
  target_compile_options(${name} PRIVATE -Wno-dangling-else)  # GoogleTest's macros contain an if
  if(KIV_SANITIZE)
    # Optimising instrumented tests fully takes four times as long, and longer than it saves; the library stays optimised.
    target_compile_options(${name} PRIVATE -Og $<$<CXX_COMPILER_ID:GNU>:-fno-var-tracking>)
  endif()
  target_link_libraries(${name} PRIVATE kiv_warnings kiv_test_support gtest
                                        $<IF:$<BOOL:${arg_STATIC}>,kiv_static,kiv_shared>)
  add_test(NAME ${name} COMMAND ${name})
  kiv_test_properties(${name})
endfunction()

# Giving a mutex that one does not own, and deleting one that one holds, are defined here and tested; the thread sanitizer
# calls them bugs.
function(kiv_test_properties name)
  set_tests_properties(${name} PROPERTIES TIMEOUT 300 ENVIRONMENT
                                        TSAN_OPTIONS=report_mutex_bugs=0:report_destroy_locked=0)
endfunction()
