#include "terminal/narrow_help.h"

#include <CLI/CLI.hpp>
#include <memory>
#include <sstream>
#include <string>

namespace lutc_terminal {

namespace {

constexpr std::size_t width = 80;

// Descriptions stand behind two blanks or more; names without one go on a little further in.
std::string narrow(std::string line) {
    const std::size_t gap = line.rfind("  ");
    const std::size_t column = gap == std::string::npos ? 0 : gap == 0 ? 4 : gap + 2;
    std::string text;
    while (line.size() > width) {
        const std::size_t end = line.rfind(' ', width);
        if (end == std::string::npos || end < column) break;
        text += line.substr(0, end) + "\n";
        line = std::string(column, ' ') + line.substr(end + 1);
    }
    return text + line + "\n";
}

class narrow_formatter : public CLI::Formatter {
  public:
    std::string make_help(const CLI::App* app, std::string name, CLI::AppFormatMode mode) const override {
        std::istringstream lines(CLI::Formatter::make_help(app, std::move(name), mode));
        std::string help;
        bool is_example = false;
        for (std::string line; std::getline(lines, line);) {
            is_example = is_example || line == "Example:";
            help += is_example ? line + "\n" : narrow(line);
        }
        return help;
    }
};

}  // namespace

void narrow_help(CLI::App& app) { app.formatter(std::make_shared<narrow_formatter>()); }

}  // namespace lutc_terminal
