// A program's commands as JSON, for what is made from them: manual pages and completions.
#ifndef LUTC_TERMINAL_COMMAND_TREE_H
#define LUTC_TERMINAL_COMMAND_TREE_H

namespace CLI {
class App;
}

namespace lutc_terminal {

// Adds --command-tree, which prints the program with its options, and its commands likewise, and ends the parsing.
void add_command_tree_flag(CLI::App& app);

}  // namespace lutc_terminal

#endif
