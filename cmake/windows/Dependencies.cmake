# The libraries of the cross build, from their sources: fetched when the build is configured, checked against recorded
# digests, kept in the build folder. Nothing of them is part of this project.

enable_language(C)
set(dependencies ${CMAKE_BINARY_DIR}/dependencies)
file(MAKE_DIRECTORY ${dependencies})

# Runs a command in the dependencies folder, once: `product` is the file that it makes.
function(karst_fetch product digest)
  set(file ${dependencies}/${product})
  if(NOT EXISTS ${file})
    message(STATUS "Fetching ${product}")
    execute_process(COMMAND ${ARGN} WORKING_DIRECTORY ${dependencies} OUTPUT_QUIET ERROR_VARIABLE errors
                    RESULT_VARIABLE result)
    if(NOT result EQUAL 0 OR NOT EXISTS ${file})
      message(FATAL_ERROR "Cannot fetch ${product}: ${errors}")
    endif()
  endif()
  file(SHA256 ${file} found)
  if(NOT found STREQUAL digest)
    file(REMOVE ${file})
    message(FATAL_ERROR "${product} is not what was recorded: ${found}")
  endif()
  if(NOT EXISTS ${file}.unpacked)
    file(ARCHIVE_EXTRACT INPUT ${file} DESTINATION ${file}.unpacked)
  endif()
endfunction()

# SQLite: the amalgamation, as a package of the npm registry carries it.
set(sqlite_package better-sqlite3-13.2.0)
karst_fetch(${sqlite_package}.tgz 40487589df3496f2ee0079d22b73c63fccebe7db0e8ee9a2c42421861e321e0b npm pack better-sqlite3@13.2.0 --silent)
set(sqlite_folder ${dependencies}/${sqlite_package}.tgz.unpacked/package/deps/sqlite3)
add_library(sqlite_amalgamation STATIC ${sqlite_folder}/sqlite3.c)
target_include_directories(sqlite_amalgamation SYSTEM INTERFACE ${sqlite_folder})
target_compile_definitions(sqlite_amalgamation PRIVATE SQLITE_OMIT_LOAD_EXTENSION)
target_compile_options(sqlite_amalgamation PRIVATE -w)
add_library(SQLite::SQLite3 ALIAS sqlite_amalgamation)

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
