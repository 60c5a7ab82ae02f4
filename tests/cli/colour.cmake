# Colour files. LUTC_COLOUR_FOUND is what cli/colour.cmake found.
if(NOT LUTC_COLOUR_FOUND)
    add_test(NAME cli_colour_missing COMMAND lutc-cli lut plot look.cube -o look.png)
    set_tests_properties(cli_colour_missing PROPERTIES PASS_REGULAR_EXPRESSION "built without them")
    return()
endif()
foreach(name IN ITEMS lut cdl)
    add_test(NAME cli_colour_${name} COMMAND ${LUTC_PYTHON} -B ${CMAKE_CURRENT_SOURCE_DIR}/test_colour_${name}.py)
    set_tests_properties(cli_colour_${name} PROPERTIES TIMEOUT 300 ENVIRONMENT
        "LUTC_BIN=$<TARGET_FILE:lutc-cli>;LUTC_SIMULATOR_BIN=$<TARGET_FILE:lutc-simulator>;LUTC_SOURCE_DIR=${PROJECT_SOURCE_DIR}")
endforeach()
set_tests_properties(cli_colour_cdl PROPERTIES RESOURCE_LOCK service_port)
