#pragma once

/// @file
/// Locales set for the length of a scope.
///
/// Thread safety: the locales belong to the whole process; use these while one thread runs.

#include <clocale>
#include <gtest/gtest.h>
#include <locale>
#include <string>

namespace scoped {

/// Sets the C library's locale; the test fails when there is none of that name.
class CLocale {
public:
    explicit CLocale(const char* name, int category = LC_ALL)
        : category_(category), earlier_(std::setlocale(category, nullptr)) {
        EXPECT_NE(std::setlocale(category, name), nullptr) << name;
    }
    ~CLocale() { std::setlocale(category_, earlier_.c_str()); }
    CLocale(const CLocale&) = delete;
    CLocale& operator=(const CLocale&) = delete;

private:
    int category_;
    std::string earlier_;
};

/// Sets the global std::locale.
class GlobalLocale {
public:
    explicit GlobalLocale(const std::locale& locale) : earlier_(std::locale::global(locale)) {}
    ~GlobalLocale() { std::locale::global(earlier_); }
    GlobalLocale(const GlobalLocale&) = delete;
    GlobalLocale& operator=(const GlobalLocale&) = delete;

private:
    std::locale earlier_;
};

} // namespace scoped
