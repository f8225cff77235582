# Runs an example program on a fresh database file.
file(REMOVE ${FILE})
execute_process(COMMAND ${PROGRAM} ${FILE} COMMAND_ERROR_IS_FATAL ANY)
