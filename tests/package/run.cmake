# cmake -DBUILD=<build tree> -DSOURCE=<this folder> -DWORK=<scratch folder> -P run.cmake
#
# Installs the build tree beside itself, builds the embedder against what was installed, and runs it.
function(must)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${ARGN}\nended with ${result}:\n${output}")
  endif()
endfunction()

file(REMOVE_RECURSE ${WORK})
must(${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/prefix)
must(${CMAKE_COMMAND} -S ${SOURCE} -B ${WORK}/build -G Ninja -DCMAKE_PREFIX_PATH=${WORK}/prefix)
must(${CMAKE_COMMAND} --build ${WORK}/build)
must(${WORK}/build/embedder)
