#pragma once

/// @file
/// Calls that have to do with little stack: a recursion as deep as the input is long ends the test
/// program.

#include <cstddef>
#include <pthread.h>
#include <system_error>

namespace small_stack {

inline constexpr std::size_t SIZE = 0x40000; // bytes; no room for a frame per field of a long list

/// Runs `call` on a thread of its own and waits for its end. The call must not throw.
template <class Call>
void run(Call call) {
    const auto checked = [](int error, const char* what) {
        if (error != 0) {
            throw std::system_error(error, std::generic_category(), what);
        }
    };
    const auto start = [](void* called) -> void* {
        (*static_cast<Call*>(called))();
        return nullptr;
    };
    pthread_attr_t attributes;
    checked(pthread_attr_init(&attributes), "pthread_attr_init");
    checked(pthread_attr_setstacksize(&attributes, SIZE), "pthread_attr_setstacksize");
    pthread_t thread;
    checked(pthread_create(&thread, &attributes, start, &call), "pthread_create");
    checked(pthread_join(thread, nullptr), "pthread_join");
    pthread_attr_destroy(&attributes);
}

} // namespace small_stack
