# Fails when the committed function catalogue differs from what the
# generator writes now. GENERATOR, COMMITTED and GENERATED come from the test.
execute_process(COMMAND ${GENERATOR} markdown ${GENERATED} RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "ordo_catalogue failed: ${status}")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files ${COMMITTED} ${GENERATED}
  RESULT_VARIABLE differs)
if(differs)
  message(FATAL_ERROR "${COMMITTED} is out of date with the function registry.\n"
    "Regenerate it with: ninja -C <build tree> functions-doc")
endif()
