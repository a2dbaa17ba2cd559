# What every target of the project shares: the language level, the warnings, the compiler cache,
# and the helpers that declare a library, a program or a test in one line.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

option(LUMORA_WERROR "Treat warnings as errors" OFF)
set(LUMORA_SANITIZE "" CACHE STRING "Sanitizers for every target, as -fsanitize takes them")
option(LUMORA_FUZZ "Build the fuzz targets, and nothing else by default; needs clang" OFF)

find_program(LUMORA_CCACHE ccache)
if(LUMORA_CCACHE)
  # Paths below the checkout are mapped away in the objects, so one cache serves every checkout.
  set(CMAKE_CXX_COMPILER_LAUNCHER "${CMAKE_COMMAND}" -E env
    "CCACHE_BASEDIR=${PROJECT_SOURCE_DIR}" CCACHE_NOHASHDIR=1 "${LUMORA_CCACHE}")
endif()

add_library(lumora_options INTERFACE)
target_compile_options(lumora_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wold-style-cast
  $<$<BOOL:${LUMORA_WERROR}>:-Werror>)
# g++ 12 takes "text" + std::string for an overlapping copy once -O3 has put it in line.
target_compile_options(lumora_options INTERFACE
  $<$<AND:$<CXX_COMPILER_ID:GNU>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,13>>:-Wno-restrict>)
# Messages carry the path below the checkout, never the machine's own. The compiler cache names
# files from the build folder.
file(RELATIVE_PATH LUMORA_UP "${PROJECT_BINARY_DIR}" "${PROJECT_SOURCE_DIR}/")
target_compile_options(lumora_options INTERFACE
  "-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=" "-ffile-prefix-map=${LUMORA_UP}=")
# Platform and plant headers are named from the root of the checkout, the daemon's own from src/.
target_include_directories(lumora_options INTERFACE "${PROJECT_SOURCE_DIR}" "${PROJECT_SOURCE_DIR}/src")
if(LUMORA_SANITIZE)
  # -Wno-tsan: Asio's fences are not modelled by the thread sanitizer, which warns of each of them.
  # -Wno-maybe-uninitialized: what sanitizers put in misleads it: <regex>, empty lambdas, optional documents.
  target_compile_options(lumora_options INTERFACE "-fsanitize=${LUMORA_SANITIZE}"
    $<$<CXX_COMPILER_ID:GNU>:-Wno-tsan> $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>
    -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_link_options(lumora_options INTERFACE "-fsanitize=${LUMORA_SANITIZE}")
endif()
if(LUMORA_FUZZ)
  target_compile_options(lumora_options INTERFACE "-fsanitize-ignorelist=${PROJECT_SOURCE_DIR}/fuzz/ignored.txt")
endif()

# lumora_library(NAME SOURCES... LIBS libraries...)
function(lumora_library name)
  cmake_parse_arguments(ARG "" "" "LIBS" ${ARGN})
  add_library(${name} STATIC ${ARG_UNPARSED_ARGUMENTS})
  target_link_libraries(${name} PUBLIC lumora_options ${ARG_LIBS})
endfunction()

# lumora_program(NAME SOURCES... LIBS libraries...)
function(lumora_program name)
  cmake_parse_arguments(ARG "" "" "LIBS" ${ARGN})
  add_executable(${name} ${ARG_UNPARSED_ARGUMENTS})
  target_link_libraries(${name} PRIVATE lumora_options ${ARG_LIBS})
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin")
endfunction()

# Programs for people print it.
function(lumora_tells_version name)
  target_compile_definitions(${name} PRIVATE LUMORA_VERSION="${PROJECT_VERSION}")
endfunction()

# lumora_test(NAME SOURCES... LIBS libraries... LABEL unit|loops|system): one GoogleTest program, each of its tests known
# to ctest. LABEL_tests builds all programs of a label.
function(lumora_test name)
  cmake_parse_arguments(ARG "" "TIMEOUT;LABEL" "LIBS" ${ARGN})
  add_executable(${name} ${ARG_UNPARSED_ARGUMENTS})
  target_link_libraries(${name} PRIVATE lumora_options ${ARG_LIBS} GTest::gtest GTest::gmock GTest::gtest_main)
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 60)
  endif()
  if(LUMORA_SANITIZE)
    math(EXPR ARG_TIMEOUT "${ARG_TIMEOUT} * 5")  # a loop's cycle takes up to five times as long under a sanitizer
  endif()
  if(NOT ARG_LABEL)
    set(ARG_LABEL unit)
  endif()
  if(NOT TARGET ${ARG_LABEL}_tests)
    add_custom_target(${ARG_LABEL}_tests)
  endif()
  add_dependencies(${ARG_LABEL}_tests ${name})
  include(GoogleTest)
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60
    PROPERTIES TIMEOUT ${ARG_TIMEOUT} LABELS ${ARG_LABEL})
endfunction()
