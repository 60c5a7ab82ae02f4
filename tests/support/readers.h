// Calls of the functions that read a reply.
#ifndef LUTC_TESTS_SUPPORT_READERS_H
#define LUTC_TESTS_SUPPORT_READERS_H

// Each calls a function that reads a reply, checks what must be so whatever the reply is (after a failure: nothing is
// written), and frees what it was given. They allocate nothing on their own account. False: the call failed.
bool read_preset_list();
bool read_preset();
bool read_model();
bool read_video();
bool read_option();
bool read_selected();
bool read_override();
bool read_state();

#endif
