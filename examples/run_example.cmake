# Runs PROGRAM, with EMULATOR if that is set. It must end with 0, say nothing on its standard error stream, and print
# what stands in the file EXPECTED.
execute_process(COMMAND ${EMULATOR} ${PROGRAM} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE messages)
file(READ ${EXPECTED} expected)
if(NOT result STREQUAL "0")
  message(FATAL_ERROR "ended with ${result}:\n${output}${messages}")
endif()
if(NOT output STREQUAL expected)
  message(FATAL_ERROR "printed\n${output}instead of\n${expected}")
endif()
if(NOT messages STREQUAL "")
  message(FATAL_ERROR "said\n${messages}")
endif()
