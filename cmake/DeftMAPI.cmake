# Shared build rules: warnings, sanitizers, output folders, and one call per test, benchmark or program.

foreach(kind IN ITEMS RUNTIME LIBRARY ARCHIVE)
    if(NOT CMAKE_${kind}_OUTPUT_DIRECTORY AND PROJECT_IS_TOP_LEVEL)
        if(kind STREQUAL "RUNTIME")
            set(CMAKE_${kind}_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
        else()
            set(CMAKE_${kind}_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
        endif()
    endif()
endforeach()

if(PROJECT_IS_TOP_LEVEL AND NOT CMAKE_BUILD_TYPE)
    set(CMAKE_BUILD_TYPE Release CACHE STRING "" FORCE)
endif()

# Most sources read the same large headers; compiled once per target they halve the build time. Off for builds that shall show
# a missing include.
option(DEFTMAPI_PCH "Precompile the common headers" OFF)

# deftmapi_precompile(target header…): headers relative to the project, or <system> ones.
function(deftmapi_precompile target)
    if(DEFTMAPI_PCH)
        list(TRANSFORM ARGN REPLACE "^([^<].*)$" "${PROJECT_SOURCE_DIR}/\\1")
        target_precompile_headers(${target} PRIVATE ${ARGN})
    endif()
endfunction()

function(deftmapi_common_options target)
    target_compile_features(${target} PRIVATE cxx_std_20)
    set_target_properties(${target} PROPERTIES
        CXX_EXTENSIONS OFF CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
    target_compile_options(${target} PRIVATE
        -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wconversion -Wno-sign-conversion
        $<$<BOOL:${DEFTMAPI_WERROR}>:-Werror>)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
        # Optimising g++ 12 sees overlaps and overruns in the concatenation of standard strings that are not there (its bug 105651).
        target_compile_options(${target} PRIVATE -Wno-restrict -Wno-array-bounds -Wno-stringop-overflow -Wno-stringop-overread)
    endif()
    if(DEFTMAPI_SANITIZE)
        target_compile_options(${target} PRIVATE -fsanitize=${DEFTMAPI_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
        target_link_options(${target} PRIVATE -fsanitize=${DEFTMAPI_SANITIZE})
    endif()
endfunction()

if(DEFTMAPI_SANITIZE)
    # Libraries that link the objects need the run-time, too.
    add_link_options(-fsanitize=${DEFTMAPI_SANITIZE})
endif()

# deftmapi_add_test(name SOURCES … [LIBS …]): a GoogleTest program whose every case is a ctest test.
# It links the static library; where the embedded client is built, DEFTMAPI_CLIENT names it for the test run.
function(deftmapi_add_test name)
    cmake_parse_arguments(arg "" "" "SOURCES;LIBS" ${ARGN})
    add_executable(${name} ${arg_SOURCES})
    deftmapi_common_options(${name})
    target_link_libraries(${name} PRIVATE deftmapi_static GTest::gmock GTest::gtest_main ${arg_LIBS})
    if(DEFTMAPI_SANITIZE MATCHES "thread")
        target_sources(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests/support/ThreadSanitizerSuppressions.cpp)
    endif()
    # What is tested is optimised; the tests themselves need not be, and compile twice as fast.
    target_compile_options(${name} PRIVATE -O0)
    deftmapi_precompile(${name} <gmock/gmock.h> <gtest/gtest.h> mapi/uKwMAPIInterfaces.hpp)
    set(environment)
    if(TARGET deftmapiclient)
        add_dependencies(${name} deftmapiclient)
        set(environment "DEFTMAPI_CLIENT=$<TARGET_FILE:deftmapiclient>")
    endif()
    if(NOT CMAKE_CROSSCOMPILING)
        gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60 PROPERTIES ENVIRONMENT "${environment}" TIMEOUT 300)
    endif()
endfunction()

# deftmapi_add_program(name SOURCES … [LIBS …]): a program on the public (shared) library.
function(deftmapi_add_program name)
    cmake_parse_arguments(arg "" "" "SOURCES;LIBS" ${ARGN})
    add_executable(${name} ${arg_SOURCES})
    deftmapi_common_options(${name})
    target_link_libraries(${name} PRIVATE deftmapi_shared ${arg_LIBS})
    if(TARGET deftmapiclient)
        add_dependencies(${name} deftmapiclient)
    endif()
endfunction()

# deftmapi_add_benchmark(name SOURCES … [LIBS …]): a Google Benchmark program, run by scripts/bench.
function(deftmapi_add_benchmark name)
    cmake_parse_arguments(arg "" "" "SOURCES;LIBS" ${ARGN})
    add_executable(${name} ${arg_SOURCES})
    deftmapi_common_options(${name})
    target_link_libraries(${name} PRIVATE deftmapi_static benchmark::benchmark ${arg_LIBS})
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin/bench)
endfunction()
