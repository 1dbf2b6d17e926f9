# What was compiled before, in this clone or in another, is not compiled again where ccache is there.
find_program(CCACHE ccache)
if(CCACHE)
    set(launcher ${CMAKE_COMMAND} -E env CCACHE_BASEDIR=${PROJECT_SOURCE_DIR} CCACHE_NOHASHDIR=1
        CCACHE_SLOPPINESS=pch_defines,time_macros ${CCACHE})
    set(CMAKE_C_COMPILER_LAUNCHER ${launcher})
    set(CMAKE_CXX_COMPILER_LAUNCHER ${launcher})
endif()

# What every target of the project is built with, and the one function that declares a folder.

add_library(vexcap_options INTERFACE)
target_include_directories(vexcap_options INTERFACE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
target_compile_options(vexcap_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion
    -Wno-missing-field-initializers  # a record that is written by its fields' names means 0 for the others
    $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor$<SEMICOLON>-Woverloaded-virtual>
    $<$<BOOL:${VEXCAP_WERROR}>:-Werror>
    $<$<COMPILE_LANG_AND_ID:CXX,Clang>:-Wthread-safety -Wthread-safety-beta>)
find_package(Threads REQUIRED)
target_link_libraries(vexcap_options INTERFACE Threads::Threads)

if(VEXCAP_SANITIZE STREQUAL "address")
    # A camera library may be written in C: its objects have a table of operations, but no type information.
    add_compile_options(-fsanitize=address,undefined -fno-sanitize=vptr -fno-sanitize-recover=all
        -fno-omit-frame-pointer)
    add_link_options(-fsanitize=address,undefined)
elseif(VEXCAP_SANITIZE STREQUAL "thread")
    add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
    add_link_options(-fsanitize=thread)
endif()

# vexcap_library(NAME SOURCES a.cpp ... [USES base pixel PkgConfig::x ...]
#                [TESTS a_test.cpp ...] [TEST_USES fake ...] [TEST_OPTIONS COMPUTES COST 50 ...]
#                [BENCHES a_bench.cpp ...] [FUZZERS a_fuzz.cpp ...])
# Makes the static library vexcap_NAME; one test program NAME_test with the options of vexcap_test, one benchmark
# program NAME_bench, one fuzz program per fuzz source. A plain word in USES names another folder's library.
function(vexcap_library name)
    cmake_parse_arguments(ARG "" "" "SOURCES;USES;TESTS;TEST_USES;TEST_OPTIONS;BENCHES;FUZZERS" ${ARGN})
    add_library(vexcap_${name} STATIC ${ARG_SOURCES})
    vexcap_uses(vexcap_${name} PUBLIC vexcap_options ${ARG_USES})
    if(VEXCAP_FUZZERS)
        target_compile_options(vexcap_${name} PRIVATE $<$<COMPILE_LANG_AND_ID:CXX,Clang>:-fsanitize=fuzzer-no-link>)
    endif()
    if(VEXCAP_TESTS AND ARG_TESTS)
        vexcap_test(${name}_test ${ARG_TEST_OPTIONS} SOURCES ${ARG_TESTS} USES ${name} ${ARG_TEST_USES})
    endif()
    if(VEXCAP_BENCHES AND ARG_BENCHES)
        add_executable(${name}_bench ${ARG_BENCHES})
        vexcap_uses(${name}_bench PRIVATE ${name} ${ARG_TEST_USES} benchmark::benchmark benchmark::benchmark_main)
    endif()
    if(VEXCAP_FUZZERS)
        foreach(source IN LISTS ARG_FUZZERS)
            get_filename_component(program ${source} NAME_WE)
            add_executable(${program} ${source})
            target_compile_options(${program} PRIVATE -fsanitize=fuzzer-no-link)
            target_link_options(${program} PRIVATE -fsanitize=fuzzer)
            vexcap_uses(${program} PRIVATE ${name} ${ARG_TEST_USES})
            set_property(GLOBAL APPEND PROPERTY VEXCAP_FUZZ_PROGRAMS ${program})
        endforeach()
    endif()
endfunction()

# Links targets; a name without a target of its own means the library of the folder with this name.
function(vexcap_uses target scope)
    foreach(used IN LISTS ARGN)
        if(TARGET vexcap_${used})
            target_link_libraries(${target} ${scope} vexcap_${used})
        else()
            target_link_libraries(${target} ${scope} ${used})
        endif()
    endforeach()
endfunction()

# vexcap_plugin(NAME SOURCES library.cpp ... USES ffmpeg ... EXPORTS vexcap_media ... [PORT IMedia platform/media.h])
# Makes the shared library vexcap-NAME, which is loaded by its name when the library runs and linked by nothing. It lies in
# the folder vexcap beside the library, where the loader of the system does not look, and exports EXPORTS alone. With PORT, the class and the header of a port whose plug-in it is, it also gets the test program
# NAME_plugin_test.
function(vexcap_plugin name)
    cmake_parse_arguments(ARG "" "" "SOURCES;USES;EXPORTS;PORT" ${ARGN})
    set(plugin vexcap-${name})
    set(script ${CMAKE_CURRENT_BINARY_DIR}/${plugin}.map)
    list(JOIN ARG_EXPORTS "; " exports)
    file(CONFIGURE OUTPUT ${script} CONTENT "{ global: ${exports}; local: *; };\n")

    add_library(${plugin} SHARED ${ARG_SOURCES})
    vexcap_uses(${plugin} PRIVATE ${ARG_USES})
    target_compile_definitions(${plugin} PRIVATE VEXCAP_BUILDING)
    # Once loaded it stays: what it made, and the threads and types of the libraries below it, cannot be taken back.
    target_link_options(${plugin} PRIVATE
        LINKER:--version-script=${script} LINKER:--no-undefined-version,-z,nodelete)
    set_target_properties(${plugin} PROPERTIES VERSION 1.0.0 SOVERSION 1 LINK_DEPENDS ${script}
        LIBRARY_OUTPUT_DIRECTORY ${CMAKE_LIBRARY_OUTPUT_DIRECTORY}/vexcap)
    install(TARGETS ${plugin}
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/vexcap COMPONENT runtime NAMELINK_SKIP)

    if(VEXCAP_TESTS AND ARG_PORT)
        list(GET ARG_PORT 0 port)
        list(GET ARG_PORT 1 header)
        vexcap_test(${name}_plugin_test SOURCES ${PROJECT_SOURCE_DIR}/platform/plugin_library_test.cpp
            USES fake ${CMAKE_DL_LIBS})
        target_compile_definitions(${name}_plugin_test PRIVATE
            PLUGIN_PORT=${port} PLUGIN_HEADER="${header}" PLUGIN_PATH="$<TARGET_SONAME_FILE:${plugin}>")
        add_dependencies(${name}_plugin_test ${plugin})
    endif()
endfunction()
