#pragma once

/// @file
/// What the user sees of a command: messages and a progress bar on standard error, the bar only
/// when that is a terminal, and a closing summary on standard output.

#include "system/os.hpp"

#include <chrono>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace minibackup {

class Progress {
public:
    using Rows = std::vector<std::pair<const char*, std::string>>; ///< headings and texts

    /// @param quiet  no bar and no summary; messages are shown all the same
    explicit Progress(bool quiet);

    /// Erases the bar.
    ~Progress();

    bool shows_bar() const noexcept { return shows_bar_; }

    /// Adds to the bytes that are to be handled.
    void expect(std::uint64_t bytes);

    /// Adds to the bytes that are.
    void advance(std::uint64_t bytes);

    /// Names something that could not be done; the command goes on.
    void fault(const std::string& message);

    /// Takes a step; what it throws as an `Error` is a fault.
    /// @return whether it succeeded
    template <class Step>
    bool attempt(Step step) {
        try {
            step();
            return true;
        } catch (const Error& error) {
            fault(error.what());
            return false;
        }
    }

    /// Names something that is no fault.
    void warn(const std::string& message);

    /// Prints the rows, and the time with the rate of `bytes`.
    void summary(const Rows& rows, std::uint64_t bytes);

    /// The exit status of the command: whether there were faults.
    int status() const noexcept;

private:
    using Clock = std::chrono::steady_clock;

    double seconds() const { return std::chrono::duration<double>(Clock::now() - begin_).count(); }
    void draw();
    void erase();

    const bool quiet_;
    const bool shows_bar_;
    const Clock::time_point begin_ = Clock::now();
    Clock::time_point next_draw_ = begin_;
    bool drawn_ = false;
    std::uint64_t total_ = 0;
    std::uint64_t done_ = 0;
    std::uint64_t faults_ = 0;
};

/// The number of bytes, and the same in a unit that people can read: "2097152 bytes (2.0 MiB)".
std::string byte_text(std::uint64_t bytes);

} // namespace minibackup
