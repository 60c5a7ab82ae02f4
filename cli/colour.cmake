# Colour files: part of the tool when OpenColorIO, libpng and expat are there. Without them its commands say so.
find_package(PkgConfig QUIET)
if(PKG_CONFIG_FOUND)
    pkg_check_modules(LUTC_COLOUR QUIET IMPORTED_TARGET OpenColorIO>=2.1 libpng>=1.6 expat)
endif()
target_sources(lutc-cli PRIVATE colour_commands.cpp)
if(LUTC_COLOUR_FOUND)
    target_sources(lutc-cli PRIVATE colour_cdl.cpp colour_lut.cpp colour_pack.cpp colour_plot.cpp colour_reader.cpp
                                    picture.cpp)
    target_link_libraries(lutc-cli PRIVATE PkgConfig::LUTC_COLOUR)
else()
    message(STATUS "lutc: no colour files, for they need OpenColorIO, libpng and expat")
    target_sources(lutc-cli PRIVATE colour_missing.cpp)
endif()
