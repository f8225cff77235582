# The target sqlite_amalgamation: SQLite from its one source file, as a package of the npm registry carries it, with the
# settings that suit KaDatabase. Nothing of it is visible outside the module.
include(${CMAKE_CURRENT_LIST_DIR}/Fetch.cmake)
enable_language(C)

set(sqlite_package better-sqlite3-13.2.0)
karst_fetch(${sqlite_package}.tgz 40487589df3496f2ee0079d22b73c63fccebe7db0e8ee9a2c42421861e321e0b
            npm pack better-sqlite3@13.2.0 --silent)
set(sqlite_folder ${dependencies}/${sqlite_package}.tgz.unpacked/package/deps/sqlite3)
add_library(sqlite_amalgamation STATIC ${sqlite_folder}/sqlite3.c)
target_include_directories(sqlite_amalgamation SYSTEM INTERFACE ${sqlite_folder})

# One thread at a time uses a connection, so that connections need no mutex of their own (2), and allocations are not
# counted. Left as they are by default, other than in many a system's library: deleted content is not overwritten with
# zeros, and a connection takes small blocks from lookaside memory of its own.
target_compile_definitions(sqlite_amalgamation PRIVATE SQLITE_THREADSAFE=2 SQLITE_DEFAULT_MEMSTATUS=0
                                                       SQLITE_OMIT_SHARED_CACHE SQLITE_OMIT_LOAD_EXTENSION)
target_compile_options(sqlite_amalgamation PRIVATE $<IF:$<C_COMPILER_ID:MSVC>,/w,-w>)
if(KADOM_SANITIZE STREQUAL "thread")
  # Threads meet in here, too.
  target_compile_options(sqlite_amalgamation PRIVATE -fsanitize=thread)
endif()
