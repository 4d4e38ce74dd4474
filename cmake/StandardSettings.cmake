# Compiler settings of all targets, which link `tarnwick::settings`, or `tarnwick::plain_settings` for no sanitizer.
option(TARNWICK_WARNINGS_AS_ERRORS "Treat compiler warnings as errors" OFF)
option(TARNWICK_FUZZ "Build the fuzz targets (clang only)" OFF)
set(TARNWICK_SANITIZERS "" CACHE STRING "Sanitizers to build with, comma separated")

add_library(tarnwick_plain_settings INTERFACE)
add_library(tarnwick::plain_settings ALIAS tarnwick_plain_settings)
target_compile_features(tarnwick_plain_settings INTERFACE cxx_std_20)
target_include_directories(tarnwick_plain_settings INTERFACE "${PROJECT_SOURCE_DIR}/CompressionKit")
target_compile_definitions(tarnwick_plain_settings INTERFACE _FILE_OFFSET_BITS=64)
target_compile_options(tarnwick_plain_settings INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow
    $<$<BOOL:${TARNWICK_WARNINGS_AS_ERRORS}>:-Werror>)
add_library(tarnwick_settings INTERFACE)
add_library(tarnwick::settings ALIAS tarnwick_settings)
target_link_libraries(tarnwick_settings INTERFACE tarnwick_plain_settings)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

if(TARNWICK_SANITIZERS)
    # Compiling the files of a target together takes a third of the time. The presets without sanitizers compile each
    # file by itself, so a missing include is still found.
    set(CMAKE_UNITY_BUILD ON)
    set(flags -fsanitize=${TARNWICK_SANITIZERS} -fno-omit-frame-pointer)
    if(TARNWICK_SANITIZERS MATCHES "undefined")
        list(APPEND flags -fno-sanitize-recover=undefined)
    endif()
    target_compile_options(tarnwick_settings INTERFACE ${flags})
    target_link_options(tarnwick_settings INTERFACE ${flags})
endif()
if(TARNWICK_FUZZ)
    target_compile_options(tarnwick_settings INTERFACE -fsanitize=fuzzer-no-link)
endif()
