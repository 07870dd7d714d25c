# zyl_folder(NAME [DEPENDS folder...] [SOURCES file...] [LIBRARIES target...])
#
# States one folder of src/: its sources, the folders that its files may include, and the outside libraries
# that it needs. Every folder is an object library linked into the one shared library; a static archive would
# drop sources that only register their classes. DEPENDS is what the test "layers" holds the include lines to.
function(zyl_folder name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "DEPENDS;SOURCES;LIBRARIES")
    set_property(GLOBAL APPEND PROPERTY ZYL_FOLDERS ${name})
    set_property(GLOBAL PROPERTY ZYL_DEPENDS_${name} ${arg_DEPENDS})

    file(GLOB headers CONFIGURE_DEPENDS RELATIVE ${CMAKE_CURRENT_SOURCE_DIR} *.h)
    list(FILTER headers EXCLUDE REGEX "_p\\.h$")
    set(umbrella "// Every public header of the folder ${name}.\n#pragma once\n\n")
    foreach(header IN LISTS headers)
        string(APPEND umbrella "#include \"${name}/${header}\"\n")
    endforeach()
    file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/include/zyl/all/${name}.h CONTENT "${umbrella}" @ONLY)
    install(DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR}/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zyl/${name}
            FILES_MATCHING PATTERN "*.h" PATTERN "*_p.h" EXCLUDE)
    install(FILES ${CMAKE_BINARY_DIR}/include/zyl/all/${name}.h
            DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zyl/all)

    if(ZYL_PROGRAM_TESTS)
        zyl_check_headers(${name} ${headers})
    endif()
    if(NOT arg_SOURCES)
        return()
    endif()
    add_library(zyl_${name} OBJECT ${arg_SOURCES})
    target_include_directories(zyl_${name} PUBLIC ${CMAKE_SOURCE_DIR}/src)
    target_link_libraries(zyl_${name} PUBLIC Qt6::Core ${arg_LIBRARIES})
    target_precompile_headers(zyl_${name} PRIVATE <QtCore/qstring.h> <QtCore/qiodevice.h>
                              <QtCore/qdatastream.h> <QtCore/qstringlist.h> <cstring> <algorithm>)
    target_link_libraries(zyl PRIVATE zyl_${name})
endfunction()

# Compiles every public header of a folder alone, so that none leans on what another file included before it.
function(zyl_check_headers name)
    set(checks)
    foreach(header IN LISTS ARGN)
        set(check ${CMAKE_BINARY_DIR}/headers/${name}/${header}.cpp)
        file(CONFIGURE OUTPUT ${check} CONTENT "#include \"${name}/${header}\"\n" @ONLY)
        list(APPEND checks ${check})
    endforeach()
    if(checks)
        add_library(zyl_${name}_headers OBJECT ${checks})
        target_include_directories(zyl_${name}_headers PRIVATE ${CMAKE_SOURCE_DIR}/src)
        target_compile_options(zyl_${name}_headers PRIVATE -O0)
        target_link_libraries(zyl_${name}_headers PRIVATE Qt6::Core Qt6::Xml OpenGL::GL OpenGL::GLU)
    endif()
endfunction()
