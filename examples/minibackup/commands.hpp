#pragma once

/// @file
/// What the program does: one function for each command.
///
/// Each returns the exit status: `DONE`, `INCOMPLETE` when something was left out, or `BUSY` when
/// another process has the store; the latter two were told on standard error. They throw `Error`
/// when the command cannot be done at all.

#include "exclusions.hpp"

#include <string>

namespace minibackup {

constexpr int DONE = 0;
constexpr int INCOMPLETE = 1;
constexpr int FAILED = 2;
constexpr int BUSY = 3;

struct Options {
    bool quiet = false;
    bool csv = false;
    bool no_wait = false;
    unsigned int count = 5;
    std::string run; ///< empty: the newest one
    Exclusions exclusions;
};

int save(const std::string& source, const std::string& store, const Options& options);
int list(const std::string& store, const Options& options);
int verify(const std::string& store, const Options& options);
int restore(const std::string& store, const std::string& destination, const Options& options);
int next(const std::string& schedule, const Options& options);

} // namespace minibackup
