# Settings that every target of the project shares.

option(QUOREL2_BUILD_TESTS "Build the tests and benchmarks" ON)
option(QUOREL2_COVERAGE "Measure coverage" OFF)
set(QUOREL2_SANITIZE "" CACHE STRING "Sanitizers, as the compiler's -fsanitize takes them")

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "Build type" FORCE)
endif()

find_program(QUOREL2_CCACHE ccache)
if(QUOREL2_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER "${QUOREL2_CCACHE}")
endif()

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_AUTOMOC ON)
set(CMAKE_AUTOUIC ON)
set(CMAKE_AUTORCC ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")

add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Werror)
add_compile_definitions(QT_DEPRECATED_WARNINGS)
if(QUOREL2_SANITIZE)
  add_compile_options(-fsanitize=${QUOREL2_SANITIZE} -fno-omit-frame-pointer
                      -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${QUOREL2_SANITIZE})
endif()
# Without optimisation, so that every branch is there to be counted, and without exceptions, which the
# plug-in does not use: each call would count as a branch to where it is left by one. Threads count too.
if(QUOREL2_COVERAGE)
  add_link_options(--coverage)
endif()
function(quorel2_measure_coverage target)
  if(QUOREL2_COVERAGE)
    target_compile_options(${target} PRIVATE --coverage -O0 -fno-exceptions
                           -fprofile-update=atomic)
  endif()
endfunction()

# Headers are included as <folder/Name.h>.
function(quorel2_public_includes target scope)
  target_include_directories(${target} ${scope} "${PROJECT_SOURCE_DIR}")
endfunction()

# One folder, one static library: quorel2_library(<folder> SOURCES ... LINK ... LINK_PRIVATE ...)
function(quorel2_library folder)
  cmake_parse_arguments(arg "" "" "SOURCES;LINK;LINK_PRIVATE" ${ARGN})
  add_library(quorel2_${folder} STATIC ${arg_SOURCES})
  quorel2_public_includes(quorel2_${folder} PUBLIC)
  target_link_libraries(quorel2_${folder} PUBLIC ${arg_LINK} PRIVATE ${arg_LINK_PRIVATE})
  if(folder MATCHES "^(model|protocol|view|widgets|dialog)$")
    quorel2_measure_coverage(quorel2_${folder})
  endif()
endfunction()

# All tests that need no display and no other program.
add_custom_target(quorel2-unit-tests)

# The tests that use several threads on purpose; they run under the thread sanitizer too.
add_custom_target(quorel2-thread-tests)
set(QUOREL2_THREAD_TESTS tst_TrackedPose tst_ChosenBodyTracking tst_DialogWithoutOpenGL
                         tst_DataReceiver tst_ControllerThread)

# quorel2_test(<name> SOURCES ... LINK ... LABEL unit|widget|gl|plugin|system [DEPENDS ...])
# Tests that show windows take turns on the display, so that focus is where the test puts it.
function(quorel2_test name)
  cmake_parse_arguments(arg "" "LABEL" "SOURCES;LINK;DEPENDS" ${ARGN})
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE quorel2_test_support ${arg_LINK} Qt5::Test)
  target_compile_definitions(${name} PRIVATE
    QUOREL2_BUILD_DIR="${CMAKE_BINARY_DIR}")
  if(arg_DEPENDS)
    add_dependencies(${name} ${arg_DEPENDS})
  endif()
  add_test(NAME ${name} COMMAND ${name})
  # QTest prints a warning that no case declared with ignoreMessage() as QWARN.
  set_tests_properties(${name} PROPERTIES LABELS "${arg_LABEL}" TIMEOUT 300
    FAIL_REGULAR_EXPRESSION "QWARN  :;QCRITICAL;Sanitizer:;runtime error:")
  if(name IN_LIST QUOREL2_THREAD_TESTS)
    add_dependencies(quorel2-thread-tests ${name})
    set_property(TEST ${name} APPEND PROPERTY LABELS threads)
  endif()
  if(arg_LABEL STREQUAL "unit")
    add_dependencies(quorel2-unit-tests ${name})
    set_tests_properties(${name} PROPERTIES ENVIRONMENT "QT_QPA_PLATFORM=offscreen;DISPLAY=")
  else()
    set_tests_properties(${name} PROPERTIES RESOURCE_LOCK display
                         ENVIRONMENT "QT_QPA_PLATFORM=xcb")
  endif()
endfunction()
