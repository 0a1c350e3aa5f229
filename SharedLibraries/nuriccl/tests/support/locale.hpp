#pragma once

/// @file
/// Locales set for the length of a scope.
///
/// Thread safety: the locales belong to the whole process; use these while one thread runs.

#include "environment.hpp"

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <initializer_list>
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

/// Makes the C library know the locale C.UTF-8 by other names, too, from a directory of its own.
/// A CLocale with such a name has to end first.
class LocaleNames {
public:
    static constexpr const char* ORIGINAL = "/usr/lib/locale/C.utf8";

    /// Whether the system keeps the locale where it can be linked to.
    static bool possible() { return std::filesystem::is_directory(ORIGINAL); }

    explicit LocaleNames(std::initializer_list<std::string> names)
        : directory_(new_directory()), path_("LOCPATH", directory_.c_str()) {
        for (const std::string& name : names) {
            std::filesystem::create_directory_symlink(ORIGINAL, directory_ + '/' + name);
        }
    }
    ~LocaleNames() { std::filesystem::remove_all(directory_); }
    LocaleNames(const LocaleNames&) = delete;
    LocaleNames& operator=(const LocaleNames&) = delete;

private:
    static std::string new_directory() {
        std::string name = testing::TempDir() + "/locales-XXXXXX";
        EXPECT_NE(mkdtemp(name.data()), nullptr) << name;
        return name;
    }

    std::string directory_;
    Variable path_;
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
