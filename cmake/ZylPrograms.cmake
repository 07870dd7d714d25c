# Programs around the library: tests, fuzz targets, benchmarks, examples.

# zyl_tests(FOLDER [LIBRARIES target...]) builds tests/<folder>/*.cpp into one program and enters it as one test.
function(zyl_tests folder)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "TIMEOUT" "LIBRARIES;LABELS")
    file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/*_test.cpp)
    if(NOT sources)
        return()
    endif()
    add_executable(test_${folder} ${sources})
    target_link_libraries(test_${folder} PRIVATE zyl zyl_test_support ${arg_LIBRARIES})
    target_include_directories(test_${folder} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
    target_precompile_headers(test_${folder} REUSE_FROM zyl_test_support)
    if(NOT arg_TIMEOUT)
        set(arg_TIMEOUT 600)
    endif()
    add_test(NAME ${folder} COMMAND test_${folder} --gtest_brief=1)
    set_tests_properties(${folder} PROPERTIES TIMEOUT ${arg_TIMEOUT} LABELS "unit;${arg_LABELS}"
                         ENVIRONMENT "${ZYL_TEST_ENVIRONMENT}")
endfunction()

# zyl_fuzz(READER) builds fuzz/<reader>_fuzz.cpp: with libFuzzer, or with a main that replays the corpus and
# truncated and damaged forms of it.
function(zyl_fuzz reader)
    add_executable(fuzz_${reader} ${reader}_fuzz.cpp)
    target_link_libraries(fuzz_${reader} PRIVATE zyl)
    if(ZYL_LIBFUZZER)
        target_link_options(fuzz_${reader} PRIVATE -fsanitize=fuzzer)
    else()
        target_link_libraries(fuzz_${reader} PRIVATE zyl_fuzz_replay)
    endif()
    if(ZYL_TESTS)
        add_test(NAME fuzz_${reader}
                 COMMAND fuzz_${reader} ${CMAKE_CURRENT_SOURCE_DIR}/corpus/${reader})
        set_tests_properties(fuzz_${reader} PROPERTIES TIMEOUT 300 LABELS fuzz
                             ENVIRONMENT "${ZYL_TEST_ENVIRONMENT}")
    endif()
endfunction()

# zyl_bench(FOLDER [LIBRARIES target...]) builds bench/<folder>_bench.cpp.
function(zyl_bench folder)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "LIBRARIES")
    add_executable(bench_${folder} ${folder}_bench.cpp)
    target_link_libraries(bench_${folder} PRIVATE zyl ${arg_LIBRARIES})
endfunction()

# zyl_example(NAME [LIBRARIES target...] [ARGUMENTS text...]) builds examples/<name>.cpp against the library's
# installed face and runs it as a test.
function(zyl_example name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "LIBRARIES;ARGUMENTS")
    add_executable(example_${name} ${name}.cpp)
    target_link_libraries(example_${name} PRIVATE zyl ${arg_LIBRARIES})
    if(ZYL_PROGRAM_TESTS)
        add_test(NAME example_${name} COMMAND example_${name} ${arg_ARGUMENTS})
        set_tests_properties(example_${name} PROPERTIES TIMEOUT 120 LABELS program)
    endif()
endfunction()
