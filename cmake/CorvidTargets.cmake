# How the project's targets are made: one function a kind of target.

set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)

find_package(Threads REQUIRED)

# How we compile our own code. Linked PRIVATE, so that none of it reaches the libraries' users.
add_library(corvid_build INTERFACE)
target_compile_features(corvid_build INTERFACE cxx_std_20 c_std_11)
# GCC 12 takes a literal plus a std::string for an overlapping copy (-Wrestrict).
target_compile_options(corvid_build INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast>
  $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-restrict>
  $<$<BOOL:${CORVID_WERROR}>:-Werror>)

# corvid_shared(NAME OUTPUT SOURCES... ) makes the shared library `corvid_<name>` with the alias
# Corvid::<NAME>, the file lib<OUTPUT>.so and the exports of <name>.map. Calls between the libraries
# bind through the dynamic symbol table, so that a program can replace a service function.
function(corvid_shared NAME OUTPUT)
  string(TOLOWER ${NAME} name)
  set(target corvid_${name})
  set(map ${CMAKE_CURRENT_SOURCE_DIR}/${name}.map)
  add_library(${target} SHARED ${ARGN})
  add_library(Corvid::${NAME} ALIAS ${target})
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR})
  # Without -fno-plt each call between the libraries takes a detour: a twentieth of a record. A record
  # runs through its code once, so that padding for loops and jumps, and string instructions for a
  # few octets, only cost: another twentieth.
  target_compile_options(${target} PRIVATE
    -fno-exceptions -fno-rtti -fsemantic-interposition -fno-plt
    $<$<CXX_COMPILER_ID:GNU>:-falign-jumps=1 -falign-labels=1 -falign-loops=1>
    $<$<AND:$<CXX_COMPILER_ID:GNU>,$<STREQUAL:${CMAKE_SYSTEM_PROCESSOR},x86_64>>:-mstringop-strategy=libcall>)
  # With clang the sanitizers' symbols are in the program.
  target_link_options(${target} PRIVATE LINKER:--version-script=${map}
    $<$<NOT:$<BOOL:${CORVID_FUZZ}>>:LINKER:--no-undefined>)
  target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:corvid_build>)
  set_target_properties(${target} PROPERTIES
    OUTPUT_NAME ${OUTPUT}
    EXPORT_NAME ${NAME}
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}
    CXX_EXTENSIONS OFF
    C_EXTENSIONS OFF
    CXX_VISIBILITY_PRESET hidden
    C_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    INTERPROCEDURAL_OPTIMIZATION OFF
    LINK_DEPENDS ${map})
endfunction()

# corvid_test(NAME [LIBRARIES ...] SOURCES ...) makes a GoogleTest program and registers each of its
# tests. Tests see the repository's files through definitions, never through the working directory.
function(corvid_test NAME)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "LIBRARIES;SOURCES")
  add_executable(${NAME} ${arg_SOURCES})
  target_link_libraries(${NAME} PRIVATE
    ${arg_LIBRARIES} corvid_test_support corvid_build GTest::gtest_main)
  gtest_discover_tests(${NAME} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 600)
endfunction()
