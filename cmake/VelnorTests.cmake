# GoogleTest from Debian's source package, so that it exists for either width.
set(INSTALL_GTEST OFF)
set(BUILD_GMOCK ON)
add_subdirectory(/usr/src/googletest "${CMAKE_BINARY_DIR}/googletest" EXCLUDE_FROM_ALL SYSTEM)
foreach(lib gtest gtest_main gmock gmock_main)
    if(VELNOR_SANITIZE)
        target_compile_options(${lib} PRIVATE -fsanitize=${VELNOR_SANITIZE})
    endif()
    target_compile_options(${lib} PRIVATE -w -O0 -g0)
endforeach()
include(GoogleTest)

# velnor_add_tests(NAME SOURCES... LIBS...): one GoogleTest program of a layer, registered with CTest.
# The tests themselves are not optimised and read the framework's headers once: half the build's time.
function(velnor_add_tests name)
    cmake_parse_arguments(arg "" "" "SOURCES;LIBS" ${ARGN})
    add_executable(${name} ${arg_SOURCES})
    target_link_libraries(${name} PRIVATE velnor_flags ${arg_LIBS} GTest::gmock GTest::gtest_main)
    set_target_properties(${name} PROPERTIES VELNOR_TEST ON)
    target_compile_options(${name} PRIVATE -O0 -g1)
    if(VELNOR_SANITIZE)
        target_compile_definitions(${name} PRIVATE VELNOR_SANITIZED)
        # More memory than there is: a null pointer, as without a sanitizer.
        set(environment ENVIRONMENT ASAN_OPTIONS=allocator_may_return_null=1)
    endif()
    target_precompile_headers(${name} PRIVATE <gmock/gmock.h> <gtest/gtest.h>)
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST PROPERTIES TIMEOUT 300 ${environment})
endfunction()
