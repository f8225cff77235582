# How this project builds its targets.

# Warnings, sanitizers and hidden symbols for code of our own.
function(karst_configure target)
  set_target_properties(${target} PROPERTIES CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  if(MSVC)
    target_compile_options(${target} PRIVATE /W4 /WX /utf-8 /permissive-)
  else()
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion -Werror)
  endif()
  if(KADOM_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${KADOM_SANITIZE} -fno-sanitize-recover=all
                                             -fno-omit-frame-pointer)
    target_link_options(${target} PRIVATE -fsanitize=${KADOM_SANITIZE})
  endif()
endfunction()

# A loadable module of the framework: the library <name>-v<version>-x64 that exports KaGetModule and nothing else.
function(karst_add_module target name version)
  add_library(${target} MODULE ${ARGN})
  karst_configure(${target})
  set_target_properties(${target} PROPERTIES PREFIX "" OUTPUT_NAME ${name}-v${version}-x64)
  target_link_libraries(${target} PRIVATE karst_interfaces)
  if(UNIX AND NOT APPLE)
    set(exports ${PROJECT_SOURCE_DIR}/cmake/module-exports.map)
    target_link_options(${target} PRIVATE LINKER:--version-script=${exports})
    if(NOT KADOM_SANITIZE)
      target_link_options(${target} PRIVATE LINKER:--no-undefined)
    endif()
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${exports})
  endif()
endfunction()
