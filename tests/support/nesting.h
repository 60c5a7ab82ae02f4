// Documents nested deeply, and a thread on whose small stack nothing may recurse over them.
#ifndef LUTC_TESTS_SUPPORT_NESTING_H
#define LUTC_TESTS_SUPPORT_NESTING_H

#include <gtest/gtest.h>
#include <pthread.h>

#include <cstdint>
#include <functional>
#include <string>

#include "tests/support/documents.h"

inline void on_small_stack(std::function<void()> work) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, 256 * 1024), 0);
    pthread_t thread;
    const auto run = [](void* argument) -> void* {
        (*static_cast<std::function<void()>*>(argument))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, run, &work), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

inline std::string nested(std::uint8_t type, std::uint32_t depth) {
    std::string bytes;
    for (std::uint32_t level = depth; level > 0; --level) {
        const std::uint32_t length = 5 + 8 * level;
        bytes.append(reinterpret_cast<const char*>(&length), 4);
        bytes += static_cast<char>(type);
        bytes.append("0", 2);
    }
    return bytes + from_hex("0500000000") + std::string(depth, '\0');
}

#endif
