#pragma once

#include <iostream>

/// Counts and names what does not hold; a program returns the count.
inline int failures = 0;

inline void check(const char* what, bool holds) {
    if (!holds) {
        std::cerr << "not so: " << what << '\n';
        ++failures;
    }
}

#define CHECK(condition) check(#condition, condition)
