// The groups of commands. Each register function adds its subcommands to the tool; context outlives the parsing.
#ifndef LUTC_CLI_COMMANDS_H
#define LUTC_CLI_COMMANDS_H

namespace CLI {
class App;
}

namespace lutc_cli {

struct Context;

void add_device_commands(CLI::App& app, Context& context);  // client, model
void add_preset_commands(CLI::App& app, Context& context);  // presets ...
void add_grade_commands(CLI::App& app, Context& context);   // grade ...
void add_state_commands(CLI::App& app, Context& context);   // state ...
void add_video_commands(CLI::App& app, Context& context);   // video ...
void add_option_commands(CLI::App& app, Context& context);  // option ...
void add_dump_command(CLI::App& app, Context& context);     // dump
void add_colour_commands(CLI::App& app, Context& context);  // lut ..., grade plot; after add_grade_commands

}  // namespace lutc_cli

#endif
