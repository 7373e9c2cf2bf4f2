# torvex_subsystem(NAME SOURCES ... [LINKS ...])
# One object library per subsystem; the shared library libtorvex is made of all of them.
# LINKS names the lower subsystems (or external targets) this one uses.
function(torvex_subsystem name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINKS;PRIVATE_LINKS" ${ARGN})
  add_library(torvex_${name} OBJECT ${ARG_SOURCES})
  # Calls inside the shared library are bound inside it: no host replaces one of its functions,
  # so the compiler may inline them and call them directly rather than through the PLT.
  target_compile_options(torvex_${name} PRIVATE -fno-semantic-interposition)
  target_include_directories(torvex_${name} PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  if(ARG_LINKS)
    target_link_libraries(torvex_${name} PUBLIC ${ARG_LINKS})
  endif()
  if(ARG_PRIVATE_LINKS)
    target_link_libraries(torvex_${name} PRIVATE ${ARG_PRIVATE_LINKS})
  endif()
  set_property(GLOBAL APPEND PROPERTY TORVEX_SUBSYSTEMS torvex_${name})
endfunction()

# torvex_test(NAME SOURCES ... [LINKS ...] [LABELS ...]): one GoogleTest program per subsystem,
# registered with CTest; LABELS go on each of its tests.
function(torvex_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINKS;LABELS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE torvex GTest::gtest GTest::gmock GTest::gtest_main ${ARG_LINKS})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/tests)
  target_compile_definitions(${name} PRIVATE
    TORVEX_SOURCE_DIR="${PROJECT_SOURCE_DIR}"
    TORVEX_EXAMPLES_DIR="${PROJECT_SOURCE_DIR}/examples")
  if(ARG_LABELS)
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60
      PROPERTIES LABELS "${ARG_LABELS}")
  else()
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60)
  endif()
endfunction()
