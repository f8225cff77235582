# Runs an example program on a fresh database file, under an emulator where there is one.
file(REMOVE ${FILE})
execute_process(COMMAND ${EMULATOR} ${PROGRAM} ${FILE} COMMAND_ERROR_IS_FATAL ANY)
