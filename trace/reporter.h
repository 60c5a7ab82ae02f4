// The way of a trace's lines from the traced program to lutc-trace, which started it.
//
// lutc-trace has a pipe. Whoever has something to say opens it by its place in /proc, so that the program has no
// descriptor that it doesn't know. Where the program's standard error is that of lutc-trace, lines go there at once,
// in their order among the program's own.
#ifndef LUTC_TRACE_REPORTER_H
#define LUTC_TRACE_REPORTER_H

#include <sys/types.h>

#include <string>

namespace lutc_trace {

constexpr const char* reporter_variable = "LUTC_TRACE";  // in the program's environment

// What goes through the pipe: whole lines, and these marks on lines of their own.
constexpr const char* loaded_mark = "loaded";  // a program has taken the preloaded library
constexpr const char* seen_mark = "seen";      // a connection was made

struct reporter {
    pid_t process = 0;  // of lutc-trace
    int descriptor = 0;
    ino_t pipe = 0;
    dev_t error_device = 0;  // its standard error
    ino_t error_file = 0;

    std::string write() const;               // for the environment
    static reporter read(const char* text);  // null or anything else: one that reports nothing

    void send(const std::string& text) const;  // through the pipe; at most 4096 bytes
    void print(const std::string& line) const;
};

}  // namespace lutc_trace

#endif
