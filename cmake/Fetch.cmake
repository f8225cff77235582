# Libraries from their sources: fetched when the build is configured, checked against recorded digests, kept in the build
# folder. Nothing of them is part of this project.

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
