// -o of the commands that make a file.
#ifndef LUTC_CLI_COMMANDS_OUTPUT_OPTION_H
#define LUTC_CLI_COMMANDS_OUTPUT_OPTION_H

#include <string>
#include <vector>

#include "cli/commands/command.h"
#include "cli/console/files.h"
#include "colour/text_file.h"

namespace lutc_cli {

struct output_option {
    std::string path;

    void declare(const command& to, const std::string& description) {
        to.add_path("-o,--output", path, (description + "; - for standard output").c_str());
    }

    // inputs: the files that the bytes were made of, which must not be this one.
    void write(const std::vector<unsigned char>& bytes, const std::vector<std::string>& inputs) const {
        check_output(path, inputs);
        write_file(path, bytes);
    }

    bool is_svg() const { return colour::extension_of(path) == ".svg"; }

    // How the result is printed where the output may be standard output.
    output_style style_beside(const output_style& style) const { return {style.json, goes_to_stdout(path)}; }
};

}  // namespace lutc_cli

#endif
