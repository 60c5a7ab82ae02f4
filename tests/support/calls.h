// Every exported function, with arguments of each kind.
#ifndef LUTC_TESTS_SUPPORT_CALLS_H
#define LUTC_TESTS_SUPPORT_CALLS_H

#include <cstddef>
#include <string>
#include <vector>

#include <lutc/lutc.h>

// A call, which allocates nothing on its own account, and the command that it has to send.
struct exported_call {
    const char* command;
    std::string fields;
    int (*run)();
};
extern const std::vector<exported_call> exported_calls;

// Holds what every function reads, with more than one entry in the lists and texts that don't fit a std::string itself.
extern const char* const any_reply;

extern const std::string name32, name33;  // the longest name that a preset can have, and a longer one
extern const cdl some_values;
extern unsigned char some_table[4];
extern char some_format[];

inline gradeComponent make_component(int kind, int type_index) {
    return {kind, nullptr, 0, type_index, nullptr, nullptr, nullptr};
}
inline gradeComponent make_cdl(int kind, int type_index) {
    return {kind, nullptr, 0, type_index, nullptr, const_cast<cdl*>(&some_values), nullptr};
}
inline gradeComponent make_data(int kind, int type_index, int size) {
    return {kind, size == 0 ? nullptr : some_table, size, type_index, some_format, nullptr, nullptr};
}
inline gradeComponent make_pattern(int type_index, const testPattern* pattern) {
    return {LUTC_KIND_TEST_PATTERN, nullptr, 0, type_index, nullptr, nullptr, pattern};
}

template <std::size_t Count>
int send_live(const gradeComponent (&components)[Count]) {
    return lutc_send_live(0, 0, false, components, Count);
}
template <std::size_t Count>
int send_preset(const gradeComponent (&components)[Count]) {
    return lutc_send_preset(nullptr, 0, 0, 0, false, 0, components, Count);
}

#endif
