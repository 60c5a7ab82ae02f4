// Arguments that several commands take. Numbers are decimal and read as they are written.
#ifndef LUTC_CLI_ARGUMENTS_H
#define LUTC_CLI_ARGUMENTS_H

#include <string>

#include <lutc/lutc.h>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace lutc_cli {

// A whole number of at least minimum.
CLI::Option* add_integer(CLI::App& command, const std::string& name, int& value, int minimum,
                         const std::string& description);
CLI::Option* add_number(CLI::App& command, const std::string& name, double& value, const std::string& description);
CLI::Option* add_triple(CLI::App& command, const std::string& name, double (&values)[3],
                        const std::string& description);

CLI::Option* add_channel(CLI::App& command, int& channel);                    // --channel
CLI::Option* add_yes(CLI::App& command, bool& yes, const std::string& what);  // --yes
void add_cdl_values(CLI::App& command, cdl& values);                          // --slope --offset --power --saturation

// A preset, by --name or by --index; both together are refused.
struct PresetSelector {
    std::string name;
    int index = 0;
    bool named = false;

    void add_to(CLI::App& command);  // the selector outlives the command
    bool given() const { return named || index > 0; }
    void require() const;  // throws Failure when neither was given
    const char* name_or_null() const { return named ? name.c_str() : nullptr; }
    std::string shown() const;  // for messages
};

// Throws Failure for a name of more than 32 bytes, or with a zero byte.
void check_preset_name(const std::string& name);

}  // namespace lutc_cli

#endif
