# GoogleTest for a cross build: compiled from the sources of Debian's package googletest.
set(LUTC_GOOGLETEST_SOURCE /usr/src/googletest CACHE PATH "Sources of GoogleTest")
if(NOT TARGET GTest::gtest AND EXISTS ${LUTC_GOOGLETEST_SOURCE}/CMakeLists.txt)
    set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
    add_subdirectory(${LUTC_GOOGLETEST_SOURCE} ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
endif()
if(TARGET GTest::gtest)
    set(GTest_FOUND TRUE)
    set(GTEST_FOUND TRUE)
elseif(GTest_FIND_REQUIRED)
    message(FATAL_ERROR "GoogleTest's sources were not found in ${LUTC_GOOGLETEST_SOURCE} "
                        "(Debian: package googletest)")
endif()
