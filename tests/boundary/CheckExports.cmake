# Checks that a module library exports the function KaGetModule and nothing else.
#   cmake -DNM=… -DLIBRARY=… -P CheckExports.cmake
if(NOT EXISTS "${NM}")
  message("SKIPPED: no nm on this machine, the exports of ${LIBRARY} are not checked")
  return()
endif()
execute_process(COMMAND "${NM}" -D --defined-only "${LIBRARY}" OUTPUT_VARIABLE symbols RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "nm cannot read ${LIBRARY}")
endif()
if(NOT symbols MATCHES "^[0-9a-f]+ T KaGetModule\n$")
  message(FATAL_ERROR "${LIBRARY} must export KaGetModule alone, but exports:\n${symbols}")
endif()
