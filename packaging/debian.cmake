# Debian packages: cpack -G DEB in a build folder configured with CMAKE_INSTALL_PREFIX=/usr (scripts/package does it).
#
#   liblutc1      the library, and the stand-in for the device's libqv unless LUTC_QV_LIBRARY names the real one
#   liblutc-dev   headers, CMake and pkg-config files, lutc(3), examples
#   lutc-tools    lutc, lutc-simulator, lutc-trace, their pages and completions
#   python3-lutc  import lutc
set(LUTC_PACKAGE_CONTACT "lutc maintainers <maintainers@users.noreply.lutc.example>" CACHE STRING
    "Name and address of whoever publishes the packages")

set(runtime_package liblutc${PROJECT_VERSION_MAJOR})
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    find_program(LUTC_GZIP gzip REQUIRED)
    find_package(Python3 REQUIRED COMPONENTS Interpreter)
    set(folder ${CMAKE_CURRENT_BINARY_DIR}/debian)
    file(MAKE_DIRECTORY ${folder})
    add_custom_command(
        OUTPUT ${folder}/changelog.gz
        COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_SOURCE_DIR}/debian/changelog.py ${PROJECT_SOURCE_DIR}/CHANGELOG.md
                --version ${PROJECT_VERSION} --contact "${LUTC_PACKAGE_CONTACT}" -o ${folder}/changelog
        COMMAND ${LUTC_GZIP} -9nf ${folder}/changelog
        DEPENDS ${PROJECT_SOURCE_DIR}/CHANGELOG.md debian/changelog.py
        VERBATIM)
    add_custom_target(lutc_debian_changelog ALL DEPENDS ${folder}/changelog.gz)
    foreach(pair IN ITEMS runtime:${runtime_package} development:liblutc-dev tools:lutc-tools
                              python:python3-lutc)
        string(REPLACE ":" ";" pair ${pair})
        list(GET pair 0 component)
        list(GET pair 1 package)
        install(FILES debian/copyright ${folder}/changelog.gz DESTINATION share/doc/${package}
                COMPONENT ${component})
        if(EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/debian/${package}.lintian-overrides)
            install(FILES debian/${package}.lintian-overrides RENAME ${package}
                    DESTINATION share/lintian/overrides COMPONENT ${component})
        endif()
    endforeach()
    install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples DESTINATION share/doc/liblutc-dev COMPONENT development)
    install(FILES ${PROJECT_SOURCE_DIR}/README.md DESTINATION share/doc/liblutc-dev COMPONENT development)
    install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs DESTINATION share/doc/liblutc-dev COMPONENT development
            FILES_MATCHING PATTERN "*.md" PATTERN "*.png")

    # What pip would install from the wheel.
    if(NOT LUTC_WHEEL)
        message(FATAL_ERROR "python3-lutc needs Python 3, setuptools and wheel to be built")
    endif()
    add_custom_command(
        OUTPUT ${folder}/wheel.stamp
        COMMAND ${CMAKE_COMMAND} -E rm -rf ${folder}/wheel
        COMMAND ${CMAKE_COMMAND} -E make_directory ${folder}/wheel
        COMMAND ${CMAKE_COMMAND} -E chdir ${folder}/wheel ${CMAKE_COMMAND} -E tar xf ${LUTC_WHEEL}
        COMMAND ${CMAKE_COMMAND} -E touch ${folder}/wheel.stamp
        DEPENDS ${LUTC_WHEEL}
        VERBATIM)
    add_custom_target(lutc_debian_python ALL DEPENDS ${folder}/wheel.stamp)
    install(DIRECTORY ${folder}/wheel/ DESTINATION lib/python3/dist-packages COMPONENT python)
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME lutc)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT ${LUTC_PACKAGE_CONTACT})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package's description opens with its own
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_COMPONENTS_ALL runtime development tools python)
set(CPACK_DEB_COMPONENT_INSTALL ON)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The tools' own library has no package yet while they are packed; its dependency is written out below.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${runtime_package})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
# What dpkg-shlibdeps reads of liblutc; of the stand-in, which has no such list, it reads the generated shlibs.
configure_file(debian/${runtime_package}.symbols debian/symbols COPYONLY)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_SOURCE_DIR}/debian/triggers
                                               ${CMAKE_CURRENT_BINARY_DIR}/debian/symbols)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
    "client library for a video colour-processing device
Programs on a video colour-processing device load this library to control its
colour service: presets made of CDL values, saturation, 1D and 3D LUTs,
channels, routing, options and the test-pattern generator.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME liblutc-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${runtime_package} (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
    "client library for a video colour-processing device - development files
Headers for C and C++, CMake and pkg-config files, manual pages and example
programs for liblutc, which controls the colour service of a video
colour-processing device.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME lutc-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION video)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${runtime_package} (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_TOOLS_DESCRIPTION
    "control a video colour-processing device from the shell
lutc lists, edits, backs up and restores the presets of a video
colour-processing device, sends it grades, routes its video and sets its
options. lutc-simulator stands in for the device's colour service where there
is no device. lutc-trace shows what programs send to the service, and what it
answers.")

set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-lutc)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "python3:any (>= 3.9), ${runtime_package} (>= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_PYTHON_PACKAGE_RECOMMENDS "python3-numpy")
set(CPACK_DEBIAN_PYTHON_PACKAGE_SUGGESTS "lutc-tools, python3-pytest")
foreach(script IN ITEMS postinst prerm)
    configure_file(debian/python3-lutc.${script} debian/python/${script} COPYONLY)
    list(APPEND CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_BINARY_DIR}/debian/python/${script})
endforeach()
set(CPACK_COMPONENT_PYTHON_DESCRIPTION
    "control a video colour-processing device from Python 3
The functions of liblutc for Python: presets, grades, LUTs as numpy arrays,
channels, routing and options of a video colour-processing device; and a
simulated device for tests, with a fixture for pytest.")

include(CPack)
