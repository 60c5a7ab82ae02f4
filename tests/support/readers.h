// Calls of the functions that read a reply. Each checks what must be so whatever the reply is (after a failure: nothing is
// written), and frees what it was given. False: the call failed. What was read is appended to shown as text, "-" for what
// the call left as it was; without shown they allocate nothing on their own account.
#ifndef LUTC_TESTS_SUPPORT_READERS_H
#define LUTC_TESTS_SUPPORT_READERS_H

#include <cstdint>
#include <string>

bool read_preset_list(std::string* shown = nullptr);
bool read_preset(std::string* shown = nullptr, int capacity = 5, bool want_combination = true);
bool read_model(std::string* shown = nullptr, bool want_texts = true, bool want_combos = true,
                bool want_channels = true);
bool read_video(std::string* shown = nullptr);
bool read_option(std::string* shown = nullptr, std::uint32_t size = 32);
bool read_selected(std::string* shown = nullptr);
bool read_override(std::string* shown = nullptr);
bool read_state(std::string* shown = nullptr);

#endif
