# Run at every build: writes which state of the sources it is from, and only if that has changed, so
# that one small file is compiled again and nothing else.
#   SOURCES, TEMPLATE, OUTPUT, MORVALIN_VERSION, MORVALIN_BUILD_TYPE
set(MORVALIN_REVISION "")
find_program(git git)
# A checkout that the sources only lie in says nothing of them.
if(git AND EXISTS ${SOURCES}/.git)
  execute_process(
    COMMAND ${git} --no-optional-locks describe --always --tags --dirty
    WORKING_DIRECTORY ${SOURCES}
    OUTPUT_VARIABLE MORVALIN_REVISION OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
endif()
configure_file(${TEMPLATE} ${OUTPUT} @ONLY)
