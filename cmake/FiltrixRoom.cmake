# filtrix_room(<name> SOURCES ... [PUBLIC ...] [PRIVATE ...] [PCH ...])
#
# One room of the house: a static library filtrix_<name>, known as filtrix::<name>. PUBLIC names what its headers show,
# PRIVATE what only its sources use, PCH the heavy headers that most of its files include.
function(filtrix_room name)
  cmake_parse_arguments(ARG "" "" "SOURCES;PUBLIC;PRIVATE;PCH" ${ARGN})
  add_library(filtrix_${name} STATIC ${ARG_SOURCES})
  add_library(filtrix::${name} ALIAS filtrix_${name})
  set_target_properties(filtrix_${name} PROPERTIES EXPORT_NAME ${name})
  target_include_directories(filtrix_${name} PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/src>)
  target_link_libraries(filtrix_${name} PUBLIC ${ARG_PUBLIC} PRIVATE ${ARG_PRIVATE} $<BUILD_INTERFACE:filtrix_warnings>)
  if(ARG_PCH)
    target_precompile_headers(filtrix_${name} PRIVATE ${ARG_PCH})
  endif()
  set_property(GLOBAL APPEND PROPERTY FILTRIX_ROOMS filtrix_${name})
endfunction()

# filtrix_test(<name> SOURCES ... [LIBRARIES ...] [CONCURRENT] [TIMEOUT <seconds>])
#
# A test program of GoogleTest, each case a test of its own for CTest. CONCURRENT marks it for the thread sanitizer's run.
function(filtrix_test name)
  cmake_parse_arguments(ARG "CONCURRENT" "TIMEOUT" "SOURCES;LIBRARIES" ${ARGN})
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 60)
  endif()
  set(labels "")
  if(ARG_CONCURRENT)
    set(labels concurrent)
    set_property(GLOBAL APPEND PROPERTY FILTRIX_CONCURRENT_TESTS ${name})
  endif()
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_LIBRARIES} GTest::gmock GTest::gtest_main filtrix_warnings)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  # The values of parameters may hold addresses, and names must stay the same from run to run.
  gtest_discover_tests(${name} NO_PRETTY_VALUES DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT ${ARG_TIMEOUT} LABELS "${labels}")
endfunction()
