# Build rules that every target of the project shares: the language, warnings, visibility, link options,
# and vkqt_add_test().

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")

# Every source that the build writes: what has to exist before a tool can read the other sources.
add_custom_target(vkqt_generated)

# Private to the build: no installed target carries it.
add_library(VKQtBuildFlags INTERFACE)
target_compile_options(VKQtBuildFlags INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wold-style-cast -Wcast-qual
  -Wnon-virtual-dtor -Woverloaded-virtual -Wformat=2 -Wimplicit-fallthrough -Wundef
  $<$<BOOL:${VKQT_WARNINGS_AS_ERRORS}>:-Werror>
  -fno-semantic-interposition
  $<$<CONFIG:Release>:-fstack-protector-strong>)
target_compile_definitions(VKQtBuildFlags INTERFACE
  QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_FOREACH QT_NO_KEYWORDS QT_USE_QSTRINGBUILDER
  $<$<CONFIG:Debug>:VKQT_DEBUG_BUILD=1>)

function(vkqt_shared_library_options target)
  # clang leaves a sanitizer's runtime to the program, so there names stay open.
  if(NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize")
    target_link_options(${target} PRIVATE -Wl,--no-undefined)
  endif()
  target_link_options(${target} PRIVATE
    -Wl,--as-needed -Wl,-O1 -Wl,-z,relro -Wl,--hash-style=gnu -Wl,-Bsymbolic-functions)
endfunction()

# Of what a test program is linked with, far the most is not its own: the quickest linker that is there takes a fifth
# of the time of GNU ld's default. The sanitizers' presets have lld already.
find_program(VKQT_GOLD ld.gold)
mark_as_advanced(VKQT_GOLD)
set(VKQT_TEST_LINK_OPTIONS "")
if(VKQT_GOLD AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  set(VKQT_TEST_LINK_OPTIONS -fuse-ld=gold)
endif()

# A test's own code, thousands of checks each with its branches, takes twice as long to optimise as to compile, and three
# times as long under a sanitizer. What is tested is optimised as ever: those are the libraries' own objects.
set(VKQT_TEST_COMPILE_OPTIONS -O0)

# vkqt_test_program(target source...): what every target of test sources has. `X.moc` for a source that includes it,
# written by moc directly: automatic moc takes longer for each of two hundred programs, and so does the file of mocs
# that it compiles. moc reads the one source and no header, which is enough for a test's class.
function(vkqt_test_program target)
  foreach(source IN LISTS ARGN)
    get_filename_component(name "${source}" NAME_WE)
    file(STRINGS "${source}" included REGEX "^#include \"${name}\\.moc\"")
    if(included)
      set(moc "${CMAKE_CURRENT_BINARY_DIR}/mocs/${name}.moc")
      get_filename_component(source "${source}" ABSOLUTE)
      add_custom_command(OUTPUT "${moc}" COMMAND Qt6::moc "${source}" -o "${moc}" DEPENDS "${source}" VERBATIM)
      target_sources(${target} PRIVATE "${moc}")
      add_custom_target(${target}_moc DEPENDS "${moc}")
      add_dependencies(vkqt_generated ${target}_moc)
    endif()
  endforeach()
  target_include_directories(${target} PRIVATE "${CMAKE_CURRENT_BINARY_DIR}/mocs")
  target_compile_options(${target} PRIVATE ${VKQT_TEST_COMPILE_OPTIONS})
  target_precompile_headers(${target} REUSE_FROM VKTestPrecompiled)
endfunction()

# vkqt_add_test(NAME name SOURCES file... [RULES host macos windows] [COREKIT_ONLY] [LABELS label...] [LIBRARIES lib...])
#
# One test program per platform rule, all from the same objects as the shared libraries: "name.host",
# "name.macos", "name.windows"; the sources are compiled once for them all, and vkTestPlatformRules() tells which one
# runs. Without RULES the program is built once, under host rules, as "name". COREKIT_ONLY links nothing above VKCoreKit.
function(vkqt_add_test)
  cmake_parse_arguments(T "COREKIT_ONLY" "NAME" "SOURCES;RULES;LABELS;LIBRARIES" ${ARGN})
  if(T_UNPARSED_ARGUMENTS OR NOT T_NAME OR NOT T_SOURCES)
    message(FATAL_ERROR "vkqt_add_test: NAME and SOURCES are required; not understood: ${T_UNPARSED_ARGUMENTS}")
  endif()
  set(libraries VKTestSupport VKQtBuildFlags VKCoreKitObjects)
  if(NOT T_COREKIT_ONLY)
    list(APPEND libraries VKQtCoreLiteObjects)
  endif()
  list(APPEND libraries ${T_LIBRARIES})

  set(compiled ${T_NAME})
  set(rules host)
  if(T_RULES)
    set(compiled ${T_NAME}.objects)
    set(rules ${T_RULES})
    add_library(${compiled} OBJECT ${T_SOURCES})
  else()
    add_executable(${compiled} ${T_SOURCES})
  endif()
  vkqt_test_program(${compiled} ${T_SOURCES})
  target_link_libraries(${compiled} PRIVATE ${libraries})

  foreach(rule IN LISTS rules)
    set(target ${T_NAME})
    if(T_RULES)
      set(target ${T_NAME}.${rule})
      add_executable(${target} $<TARGET_OBJECTS:${compiled}>)
      target_link_libraries(${target} PRIVATE ${libraries})
    endif()
    target_link_libraries(${target} PRIVATE VKTestRules_${rule})
    target_link_options(${target} PRIVATE ${VKQT_TEST_LINK_OPTIONS})
    if(NOT T_COREKIT_ONLY)
      target_link_libraries(${target} PRIVATE VKQtPlatformRules_${rule})
    endif()
    add_test(NAME ${target} COMMAND ${target})
    set(labels ${T_LABELS})
    if(T_NAME IN_LIST VKQT_THREAD_TESTS)
      list(APPEND labels threads)
      add_dependencies(vkqt_thread_tests ${target})
    endif()
    set_tests_properties(${target} PROPERTIES TIMEOUT 300 LABELS "${labels}")
  endforeach()
endfunction()
