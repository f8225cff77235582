# The libraries of the cross build. There is no SQLite to link, so the module compiles its own.
include(${CMAKE_CURRENT_LIST_DIR}/../Fetch.cmake)
enable_language(C)
set(KADATABASE_ENGINE amalgamation CACHE STRING "" FORCE)

# Expat: Debian's source package, of the release that the build machine has.
set(expat_archive expat_2.5.0.orig.tar.gz)
karst_fetch(${expat_archive} ab00ee05c7067fd10a35c5d2a4922ebba746ddd50ff83b79c828da17bbdf1757 ${CMAKE_CURRENT_LIST_DIR}/fetch-debian-source.sh expat)
file(GLOB expat_folder ${dependencies}/${expat_archive}.unpacked/*/expat/lib ${dependencies}/${expat_archive}.unpacked/*/lib)
add_library(expat_static STATIC ${expat_folder}/xmlparse.c ${expat_folder}/xmlrole.c ${expat_folder}/xmltok.c)
file(CONFIGURE OUTPUT ${dependencies}/expat_config/expat_config.h
     CONTENT "#define BYTEORDER 1234\n#define XML_CONTEXT_BYTES 1024\n#define XML_DTD 1\n#define XML_NS 1\n")
target_include_directories(expat_static SYSTEM PUBLIC ${expat_folder} PRIVATE ${dependencies}/expat_config)
target_compile_definitions(expat_static PUBLIC XML_STATIC)
target_compile_options(expat_static PRIVATE -w)
add_library(EXPAT::EXPAT ALIAS expat_static)

# utf8cpp and CLI11: headers alone, the build machine's, without the rest of its include folder.
foreach(headers utf8cpp CLI)
  if(NOT EXISTS /usr/include/${headers})
    message(FATAL_ERROR "/usr/include/${headers} is missing: install libutfcpp-dev and libcli11-dev")
  endif()
  file(COPY /usr/include/${headers} DESTINATION ${dependencies}/include)
endforeach()
set(UTFCPP_INCLUDE_DIR ${dependencies}/include/utf8cpp CACHE PATH "utf8cpp")
add_library(CLI11::CLI11 INTERFACE IMPORTED GLOBAL)
target_include_directories(CLI11::CLI11 SYSTEM INTERFACE ${dependencies}/include)

# GoogleTest: Debian's sources.
if(KADOM_BUILD_TESTS)
  set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
  add_subdirectory(/usr/src/googletest ${dependencies}/googletest EXCLUDE_FROM_ALL)
endif()
