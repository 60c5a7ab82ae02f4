// An assertion for programs without a test framework: ends the run in every build.
#ifndef LUTC_TESTS_SUPPORT_CHECK_H
#define LUTC_TESTS_SUPPORT_CHECK_H

#include <cstdio>
#include <cstdlib>

#define CHECK(condition)                                                                 \
    do {                                                                                 \
        if (!(condition)) {                                                              \
            std::fprintf(stderr, "%s:%d: not so: %s\n", __FILE__, __LINE__, #condition); \
            std::abort();                                                                \
        }                                                                                \
    } while (false)

#endif
