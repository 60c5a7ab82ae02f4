// What the tool says of itself: an example for each command, the help of one, and what an unknown word may stand for.
#ifndef LUTC_CLI_HELP_H
#define LUTC_CLI_HELP_H

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace lutc_cli {

// Gives each command the example that its --help ends with, and the tool notes and one.
void add_examples(CLI::App& tool, const std::string& notes);

// The help of the command that the words name. Throws failure when there is none.
std::string help_of(CLI::App& tool, const std::vector<std::string>& words);

// For an argument that isn't known at the command that was reached: "; did you mean ...?", or nothing.
std::string suggest(CLI::App& tool, const std::string& unknown);

}  // namespace lutc_cli

#endif
