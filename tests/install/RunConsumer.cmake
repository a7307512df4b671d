# Installs the engine into a scratch prefix, builds a host project against it
# with find_package(Keelanim), and runs that host.
file(REMOVE_RECURSE ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "failed: ${ARGN}\n${out}\n${err}")
  endif()
  message(STATUS "${out}")
endfunction()

run(${CMAKE_COMMAND} --install ${KEEL_BUILD_DIR} --prefix ${prefix})

# Only the host API is installed: every installed header is under keelanim/,
# and none of the engine's private headers is among them.
file(GLOB_RECURSE installed RELATIVE ${prefix}/include ${prefix}/include/*)
foreach(header IN LISTS installed)
  if(NOT header MATCHES "^keelanim/" OR header MATCHES "/detail/|keyTimeMirror|hermiteCubic|unitRoots|editKit")
    message(FATAL_ERROR "private header installed: ${header}")
  endif()
endforeach()
run(${CMAKE_COMMAND} -S ${CONSUMER_SOURCE} -B ${WORK_DIR}/build -DCMAKE_PREFIX_PATH=${prefix})
run(${CMAKE_COMMAND} --build ${WORK_DIR}/build)
run(${WORK_DIR}/build/keel_consumer)

# The keelcurve tool, when built, is installed beside the engine and finds it
# from there.
if(EXISTS ${prefix}/bin/keelcurve)
  run(${prefix}/bin/keelcurve info --help)
endif()
