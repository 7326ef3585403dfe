# Word width, warnings, sanitizers and the static real-time check, gathered in one interface target.
if(CMAKE_SIZEOF_VOID_P EQUAL 8)
    set(VELNOR_WIDTH lp64)
    set(VELNOR_PLATFORM_FOLDER x86_64-linux)
else()
    set(VELNOR_WIDTH ilp32)
    set(VELNOR_PLATFORM_FOLDER i386-linux)
endif()

set(VELNOR_SANITIZE "" CACHE STRING "Value of -fsanitize= for everything that is built, or empty")
option(VELNOR_FUNCTION_EFFECTS "Prove the render road non-blocking at compile time (needs clang 20 or later)" OFF)
option(VELNOR_FUZZERS "Build the libFuzzer targets (needs clang)" OFF)
string(TOUPPER "${CMAKE_BUILD_TYPE}" build_type)
if(build_type MATCHES "^(RELEASE|MINSIZEREL)$")
    set(thread_checks OFF)
else()
    set(thread_checks ON)
endif()
option(VELNOR_THREAD_CHECKS "Stop at calls for the main thread that come on another" ${thread_checks})
option(VELNOR_BENCHMARKS "Build the benchmarks" OFF)
set(VELNOR_BUNDLE_DIR "${CMAKE_BINARY_DIR}/bundles" CACHE PATH
    "Where component and engine bundles are put together; two builds of different width may share it")

add_library(velnor_flags INTERFACE)
target_include_directories(velnor_flags INTERFACE "${CMAKE_SOURCE_DIR}")
# 64-bit sizes, inode numbers and times in the 32-bit build too.
target_compile_definitions(velnor_flags INTERFACE _FILE_OFFSET_BITS=64 _TIME_BITS=64)
target_compile_options(velnor_flags INTERFACE
    -Wall -Wextra -Wshadow -Wconversion -Werror -fno-strict-aliasing
    $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Woverloaded-virtual>)
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    # GCC 12 at -O3 sees overlaps in every text that begins with a literal (its bug 105651).
    target_compile_options(velnor_flags INTERFACE -Wno-restrict)
endif()
if(VELNOR_SANITIZE)
    target_compile_options(velnor_flags INTERFACE
        -fsanitize=${VELNOR_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_link_options(velnor_flags INTERFACE -fsanitize=${VELNOR_SANITIZE})
endif()
if(VELNOR_FUNCTION_EFFECTS)
    # Tests hand lambdas of their own to the road's templates, and promise nothing.
    target_compile_options(velnor_flags INTERFACE
        $<$<AND:$<COMPILE_LANGUAGE:CXX>,$<NOT:$<BOOL:$<TARGET_PROPERTY:VELNOR_TEST>>>>:-Wfunction-effects$<SEMICOLON>-Werror=function-effects>)
endif()
