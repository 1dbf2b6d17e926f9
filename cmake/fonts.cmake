# vexcap_test_fonts(TEST [CONFIGURATION]): a test that draws texts. It sees the fonts of tests/fonts/fonts.conf, or of
# another configuration there, and none of the user's.
function(vexcap_test_fonts test)
    set(folder ${PROJECT_SOURCE_DIR}/tests/fonts)
    set(configuration fonts.conf)
    if(ARGC GREATER 1)
        set(configuration ${ARGV1})
    endif()
    set_property(TEST ${test} APPEND PROPERTY ENVIRONMENT
        "FONTCONFIG_FILE=${folder}/${configuration}"
        "LSAN_OPTIONS=suppressions=${folder}/lsan.supp"
        "TSAN_OPTIONS=suppressions=${folder}/tsan.supp")
endfunction()
