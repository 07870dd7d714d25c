# What every target of the tree is compiled with.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)

# The build for tests: fast enough to run under the sanitizers, with lines in its stack traces.
set(CMAKE_CXX_FLAGS_CHECK "-O1 -g1 -fno-omit-frame-pointer")
set(CMAKE_EXE_LINKER_FLAGS_CHECK "")
set(CMAKE_SHARED_LINKER_FLAGS_CHECK "")
set(CMAKE_MODULE_LINKER_FLAGS_CHECK "")

add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Werror)
add_compile_definitions(QT_NO_KEYWORDS QT_NO_CAST_FROM_ASCII)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # GCC 12 sees std::sort leave arrays of fixed size, on paths that no program takes.
    add_compile_options(-Wno-array-bounds)
    if(ZYL_SANITIZE)
        # The instrumented code shows the optimiser more such paths.
        add_compile_options(-Wno-maybe-uninitialized -Wno-stringop-overflow -Wno-stringop-overread -Wno-nonnull)
    endif()
endif()
if(ZYL_SANITIZE)
    add_compile_options(-fsanitize=${ZYL_SANITIZE} -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${ZYL_SANITIZE})
endif()
if(ZYL_LIBFUZZER)
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()

find_program(ZYL_CCACHE ccache)
if(ZYL_CCACHE)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${ZYL_CCACHE})
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # Lets the cache see which headers went into a precompiled one.
        add_compile_options(-fpch-preprocess)
    else()
        add_compile_options(-Xclang -fno-pch-timestamp)
    endif()
endif()
