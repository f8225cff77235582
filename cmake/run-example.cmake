# Runs an example program on a fresh database file, behind its other ARGUMENTS, under an emulator where there is one.
file(REMOVE ${FILE})
execute_process(COMMAND ${EMULATOR} ${PROGRAM} ${ARGUMENTS} ${FILE} COMMAND_ERROR_IS_FATAL ANY)
