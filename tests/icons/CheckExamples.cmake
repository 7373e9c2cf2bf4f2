# The example icons and bitmaps are what examples/icons/make_examples.py makes: it runs into a
# scratch folder and every file it makes must equal the committed one.
#   -DPYTHON=<python3> -DEXAMPLES=<examples/icons> -DWORK=<scratch folder>
file(REMOVE_RECURSE "${WORK}")
file(MAKE_DIRECTORY "${WORK}")
execute_process(COMMAND "${PYTHON}" "${EXAMPLES}/make_examples.py" "${WORK}" RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "make_examples.py failed: ${rc}")
endif()
file(GLOB made RELATIVE "${WORK}" "${WORK}/*")
list(LENGTH made count)
if(count LESS 13)
  message(FATAL_ERROR "make_examples.py made only ${count} files: ${made}")
endif()
foreach(name IN LISTS made)
  execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files "${WORK}/${name}" "${EXAMPLES}/${name}"
    RESULT_VARIABLE differ)
  if(differ)
    message(FATAL_ERROR "examples/icons/${name} differs from what make_examples.py makes")
  endif()
endforeach()
