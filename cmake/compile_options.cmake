# Flags in three sets: for everything that is built, for our own code (warnings are errors), for the library proper.

find_package(Threads REQUIRED)

if(CMAKE_SYSTEM_PROCESSOR MATCHES "^i[3-6]86$")
  # Floating-point results are the same on every target: no x87 registers.
  add_compile_options(-msse2 -mfpmath=sse)
  if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    # 64-bit integers stay in pairs of general registers: what is stored in halves and loaded whole is slow to load.
    add_compile_options(-mno-stv)
  endif()
endif()
if(KIV_SANITIZE)
  add_compile_options(-fsanitize=${KIV_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${KIV_SANITIZE})
  if(CMAKE_CXX_COMPILER_ID STREQUAL Clang)
    # Needs the C++ runtime, which the library does without.
    add_compile_options(-fno-sanitize=function)
  endif()
endif()
if(WIN32)
  # Programs carry their C++ runtime with them.
  add_link_options($<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:-static>)
endif()

add_library(kiv_warnings INTERFACE)
target_compile_options(
  kiv_warnings INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror
                         # The tables of the tests and records without state leave fields to their default.
                         -Wno-missing-field-initializers
                         # Pragmas that switch off a warning of g++.
                         $<$<CXX_COMPILER_ID:Clang>:-Wno-unknown-warning-option>)

add_library(kiv_library_options INTERFACE)
target_link_libraries(kiv_library_options INTERFACE kiv_warnings)
target_include_directories(kiv_library_options INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_definitions(kiv_library_options INTERFACE KIV_STATIC $<$<PLATFORM_ID:Linux>:_GNU_SOURCE>)
target_compile_options(
  kiv_library_options
  INTERFACE -fvisibility=hidden
            -fstack-protector-strong
            # The C runtime is all that the library needs.
            $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti -fno-threadsafe-statics>)
if(WIN32)
  # The driver links the stack protector's support.
  target_link_options(kiv_library_options INTERFACE -fstack-protector-strong)
else()
  # Functions of the library call each other directly, also exported ones.
  # Calls of the C library go straight through addresses that are bound when the library is loaded.
  target_compile_options(kiv_library_options INTERFACE -fno-semantic-interposition -fno-plt)
  if(NOT KIV_SANITIZE)
    target_compile_definitions(kiv_library_options INTERFACE $<$<NOT:$<CONFIG:Debug>>:_FORTIFY_SOURCE=2>)
  endif()
endif()
