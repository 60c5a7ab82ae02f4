// The page that a browser shows: the files of web/, as they are.
#ifndef LUTC_SIMULATOR_PAGE_WEB_FILES_H
#define LUTC_SIMULATOR_PAGE_WEB_FILES_H

#include <cstddef>
#include <string_view>
#include <vector>

namespace simulator {

struct web_file {
    const char* path;  // as it is asked for
    const char* type;
    std::string_view bytes;
};

extern const std::vector<web_file> web_files;

}  // namespace simulator

#endif
