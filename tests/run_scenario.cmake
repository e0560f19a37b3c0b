# Runs one scenario and compares standard output and exit status with the
# expected file, whose last line is "exit STATUS".
# The sim runs in the scenario's folder and is given the bare file name, so
# the FILE:LINE of its messages do not depend on where the tree lies.
# LAUNCHER, when given, is a command line that runs the sim (a memory checker).
get_filename_component(dir ${SCENARIO} DIRECTORY)
get_filename_component(file ${SCENARIO} NAME)
separate_arguments(launcher UNIX_COMMAND "${LAUNCHER}")
# A developer's VEX_TRACE would add trace lines to every transcript.
unset(ENV{VEX_TRACE})
execute_process(COMMAND ${launcher} ${SIM} ${file}
  WORKING_DIRECTORY ${dir}
  OUTPUT_VARIABLE out ERROR_VARIABLE err RESULT_VARIABLE status)
set(actual "${out}exit ${status}\n")
file(READ ${EXPECTED} expected)
if(NOT actual STREQUAL expected)
  file(WRITE ${ACTUAL} "${actual}")
  execute_process(COMMAND diff -u ${EXPECTED} ${ACTUAL})
  message(FATAL_ERROR "scenario output differs from ${EXPECTED}\nstderr:\n${err}")
endif()
