# Builds each layer check target of the CHECKS list ("target|expect|header",
# separated by ";") and fails unless every outcome is the expected one: an
# "upward" check must fail to compile because the header is not found from
# that layer, a "downward" check must compile. Run with -DBUILD_DIR and
# -DCHECKS.
foreach(check ${CHECKS})
  string(REPLACE "|" ";" parts "${check}")
  list(GET parts 0 target)
  list(GET parts 1 expect)
  list(GET parts 2 header)
  execute_process(COMMAND ${CMAKE_COMMAND} --build ${BUILD_DIR} --target ${target}
                  RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(expect STREQUAL "downward")
    if(NOT result EQUAL 0)
      message(FATAL_ERROR "${target}: ${header} should be reachable from this layer, but the build failed:\n${output}")
    endif()
  else()
    if(result EQUAL 0)
      message(FATAL_ERROR "${target}: ${header} points up a layer and still compiled")
    endif()
    string(FIND "${output}" "${header}: No such file or directory" found)
    if(found EQUAL -1)
      message(FATAL_ERROR "${target}: failed, but not because ${header} is out of reach:\n${output}")
    endif()
  endif()
  message(STATUS "${target}: ${expect} include of ${header} as expected")
endforeach()
