# vexcap_test(NAME [COMPUTES] [ONE_THREAD] [SHARDS n] [COST n] [TIMEOUT seconds] SOURCES a_test.cpp ... [USES base ...])
# One GoogleTest program, run by ctest under its own name.
#   COMPUTES    keeps a processor busy all the time; other tests mostly wait
#   ONE_THREAD  has nothing that the thread sanitizer could see: left out where VEXCAP_THREADS_ONLY is set
#   SHARDS      as so many tests of ctest, NAME_1, NAME_2 and so on, each with its share of the program's tests
#   COST        seconds under a sanitizer, for the longest tests, which have to begin first
function(vexcap_test name)
    cmake_parse_arguments(ARG "COMPUTES;ONE_THREAD" "SHARDS;COST;TIMEOUT" "SOURCES;USES" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    vexcap_uses(${name} PRIVATE vexcap_options ${ARG_USES} GTest::gtest GTest::gtest_main)
    # Half the time of a whole build went into optimising assertions, and a fifth into reading the same headers for each
    # test; what they test is optimised as ever.
    target_compile_options(${name} PRIVATE -O0)
    target_precompile_headers(${name} REUSE_FROM test_headers)
    # All sources as one: a quarter of the time. Not where programs are developed, so that each source compiles alone.
    set_target_properties(${name} PROPERTIES UNITY_BUILD "${VEXCAP_UNITY_TESTS}" UNITY_BUILD_BATCH_SIZE 0)
    if(ARG_ONE_THREAD AND VEXCAP_THREADS_ONLY)
        set_target_properties(${name} PROPERTIES EXCLUDE_FROM_ALL ON)
        return()
    endif()

    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 300)
    endif()
    if(NOT ARG_COST)
        set(ARG_COST 0)
    endif()
    set(processors 1)
    if(ARG_COMPUTES)
        set(processors 2)  # of the three workers a processor that test.sh lets ctest have
    endif()
    # The user's own settings and documents are none of a test's business.
    set(environment "HOME=${CMAKE_BINARY_DIR}/home" "XDG_CONFIG_HOME=${CMAKE_BINARY_DIR}/home/config")
    set(tests "")
    if(ARG_SHARDS)
        math(EXPR last "${ARG_SHARDS} - 1")
        foreach(index RANGE ${last})
            math(EXPR number "${index} + 1")
            list(APPEND tests ${name}_${number})
            add_test(NAME ${name}_${number} COMMAND ${name})
            set_tests_properties(${name}_${number} PROPERTIES
                ENVIRONMENT "${environment};GTEST_TOTAL_SHARDS=${ARG_SHARDS};GTEST_SHARD_INDEX=${index}")
        endforeach()
    else()
        set(tests ${name})
        add_test(NAME ${name} COMMAND ${name})
        set_tests_properties(${name} PROPERTIES ENVIRONMENT "${environment}")
    endif()
    set_tests_properties(${tests} PROPERTIES TIMEOUT ${ARG_TIMEOUT} COST ${ARG_COST} PROCESSORS ${processors})
    set_property(TARGET ${name} PROPERTY VEXCAP_TESTS ${tests})
endfunction()

# vexcap_test_property(NAME [APPEND] PROPERTY name value ...): sets a property of a test, or of all shards of a program; of
# none where the test is left out.
function(vexcap_test_property name)
    set(tests ${name})
    if(TARGET ${name})
        get_target_property(tests ${name} VEXCAP_TESTS)
    endif()
    foreach(test IN LISTS tests)
        if(TEST ${test})
            set_property(TEST ${test} ${ARGN})
        endif()
    endforeach()
endfunction()

# vexcap_test_fonts(TEST [CONFIGURATION]): a test that draws texts. It sees the fonts of tests/fonts/fonts.conf, or of
# another configuration there, and none of the user's.
function(vexcap_test_fonts test)
    set(folder ${PROJECT_SOURCE_DIR}/tests/fonts)
    set(configuration fonts.conf)
    if(ARGC GREATER 1)
        set(configuration ${ARGV1})
    endif()
    vexcap_test_property(${test} APPEND PROPERTY ENVIRONMENT
        "FONTCONFIG_FILE=${folder}/${configuration}"
        "LSAN_OPTIONS=suppressions=${folder}/lsan.supp"
        "TSAN_OPTIONS=suppressions=${folder}/tsan.supp")
endfunction()
