# How this project builds its targets.

# Warnings, sanitizers and hidden symbols for code of our own.
function(karst_configure target)
  set_target_properties(${target} PROPERTIES CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  if(MSVC)
    target_compile_options(${target} PRIVATE /W4 /WX /utf-8 /permissive-)
  else()
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion -Werror)
  endif()
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    # GCC 12 sees overlapping copies in the string concatenation of its own library.
    target_compile_options(${target} PRIVATE -Wno-restrict)
  endif()
  if(MINGW)
    # Users need no runtime of the compiler's beside the libraries.
    target_link_options(${target} PRIVATE -static)
    target_compile_definitions(${target} PRIVATE UNICODE _UNICODE)
  endif()
  if(KADOM_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${KADOM_SANITIZE} -fno-sanitize-recover=all
                                             -fno-omit-frame-pointer)
    target_link_options(${target} PRIVATE -fsanitize=${KADOM_SANITIZE})
  endif()
  if(KADOM_BUILD_FUZZERS)
    # The fuzzer steers by the coverage of everything that it runs.
    target_compile_options(${target} PRIVATE -fsanitize=fuzzer-no-link)
  endif()
  if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    # A logged sentence without arguments passes through a template and is no literal there.
    target_compile_options(${target} PRIVATE -Wno-format-security)
  endif()
endfunction()

# Only GCC's driver links objects that are to be optimised as a whole with any others.
set(karst_can_optimize_whole OFF)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND NOT MINGW)
  include(CheckIPOSupported)
  check_ipo_supported(RESULT karst_can_optimize_whole LANGUAGES CXX OUTPUT karst_ipo_output)
endif()

# Optimises a release of a module as a whole, and has it call the libraries that it is linked to without a detour.
# Smaller code matters here: beside that of an SQL engine it competes for the processor's instruction cache.
function(karst_optimize target)
  if(karst_can_optimize_whole AND NOT KADOM_SANITIZE)
    set_target_properties(${target} PROPERTIES INTERPROCEDURAL_OPTIMIZATION_RELEASE ON)
  endif()
  if(NOT WIN32 AND CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
    target_compile_options(${target} PRIVATE -fno-plt)
  endif()
endfunction()

# A loadable module of the framework: the library <name>-v<version>-x64 that exports KaGetModule and nothing else.
function(karst_add_module target name version)
  add_library(${target} MODULE ${ARGN})
  karst_configure(${target})
  karst_optimize(${target})
  set_target_properties(${target} PROPERTIES PREFIX "" OUTPUT_NAME ${name}-v${version}-x64)
  target_link_libraries(${target} PRIVATE karst_interfaces)
  if(WIN32)
    target_sources(${target} PRIVATE ${PROJECT_SOURCE_DIR}/cmake/module-exports.def)
  elseif(UNIX AND NOT APPLE)
    set(exports ${PROJECT_SOURCE_DIR}/cmake/module-exports.map)
    target_link_options(${target} PRIVATE LINKER:--version-script=${exports})
    if(NOT KADOM_SANITIZE)
      target_link_options(${target} PRIVATE LINKER:--no-undefined)
    endif()
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${exports})
  endif()
endfunction()
