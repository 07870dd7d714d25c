# Installs the library into a folder of its own, then builds and runs a small project against it twice: through
# find_package, and through pkg-config. Neither may see the source tree.

set(prefix ${BUILD}/outside/prefix)
file(REMOVE_RECURSE ${BUILD}/outside)

function(run)
    execute_process(COMMAND ${ARGN} OUTPUT_VARIABLE output ERROR_VARIABLE output RESULT_VARIABLE result)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "${ARGN}\n${output}")
    endif()
    set(output "${output}" PARENT_SCOPE)
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${prefix})
run(${CMAKE_COMMAND} -G Ninja -S ${SOURCE} -B ${BUILD}/outside/build -DCMAKE_PREFIX_PATH=${prefix}
    -DCMAKE_CXX_COMPILER=${COMPILER})
run(${CMAKE_COMMAND} --build ${BUILD}/outside/build)
run(${BUILD}/outside/build/consumer)
set(first "${output}")

file(GLOB_RECURSE pc ${prefix}/zyl.pc)
get_filename_component(folder ${pc} DIRECTORY)
set(ENV{PKG_CONFIG_PATH} ${folder})
run(pkg-config --cflags --libs zyl)
separate_arguments(flags UNIX_COMMAND "${output}")
get_filename_component(libraries ${folder} DIRECTORY)
run(${COMPILER} -std=c++17 -fPIC ${SOURCE}/main.cpp -o ${BUILD}/outside/by-pkg-config ${flags} -Wl,-rpath,${libraries})
run(${BUILD}/outside/by-pkg-config)
if(NOT output STREQUAL first)
    message(FATAL_ERROR "the two programs differ:\n${first}\n${output}")
endif()
message(STATUS "${output}")
