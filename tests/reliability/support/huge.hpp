#pragma once

/// @file
/// Texts of more than 2 GiB that take next to no memory: one small piece, mapped over and over.
///
/// A 32-bit process on a 64-bit kernel has room for one of them at a time.

#include "support/sanitized.hpp"

#include <cstddef>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

namespace huge {

/// Why there can be none; null when there can.
inline const char* impossible() {
    return SANITIZED ? "A sanitizer leaves no room for more than 2 GiB." : nullptr;
}

/// `size` times the same byte and, right behind them, a NUL; read only.
class Text {
public:
    Text(char byte, std::size_t size) : room_((size / PIECE + 1) * PIECE) {
        const int piece = file_of(byte);
        void* const place =
            mmap(nullptr, room_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (place == MAP_FAILED) {
            ADD_FAILURE() << "There is no room for " << size << " bytes.";
        } else {
            start_ = static_cast<char*>(place);
            for (std::size_t at = 0; at < room_; at += PIECE) {
                map(start_ + at, piece, PROT_READ);
            }
            char* const last = start_ + room_ - PIECE;
            map(last, piece, PROT_READ | PROT_WRITE); // copied when the NUL is written
            last[size % PIECE] = '\0';
        }
        close(piece);
    }
    ~Text() {
        if (start_ != nullptr) {
            munmap(start_, room_);
        }
    }
    Text(const Text&) = delete;
    Text& operator=(const Text&) = delete;

    /// Null when there was no room; the test has failed then.
    const char* data() const { return start_; }

private:
    static constexpr std::size_t PIECE = 0x100000;

    static int file_of(char byte) {
        const int file = memfd_create("piece", MFD_CLOEXEC);
        EXPECT_NE(file, -1);
        const std::string bytes(PIECE, byte);
        EXPECT_EQ(write(file, bytes.data(), PIECE), static_cast<ssize_t>(PIECE));
        return file;
    }

    static void map(char* place, int file, int protection) {
        EXPECT_NE(mmap(place, PIECE, protection, MAP_PRIVATE | MAP_FIXED, file, 0), MAP_FAILED);
    }

    std::size_t room_;
    char* start_ = nullptr;
};

/// Lets the process have only so much more address space, for the length of a scope.
class LittleMemory {
public:
    explicit LittleMemory(rlim_t more) {
        EXPECT_EQ(getrlimit(RLIMIT_AS, &earlier_), 0);
        rlimit limit = earlier_;
        limit.rlim_cur = in_use() + more;
        EXPECT_EQ(setrlimit(RLIMIT_AS, &limit), 0);
    }
    ~LittleMemory() { EXPECT_EQ(setrlimit(RLIMIT_AS, &earlier_), 0); }
    LittleMemory(const LittleMemory&) = delete;
    LittleMemory& operator=(const LittleMemory&) = delete;

private:
    static rlim_t in_use() {
        std::ifstream status("/proc/self/statm");
        rlim_t pages = 0;
        EXPECT_TRUE(status >> pages);
        return pages * static_cast<rlim_t>(sysconf(_SC_PAGESIZE));
    }

    rlimit earlier_{};
};

} // namespace huge

/// Skips a test that needs huge texts where there can be none.
#define NURICCL_TEST_NEEDS_HUGE()                                                                  \
    if (const char* const reason = huge::impossible()) {                                           \
        GTEST_SKIP() << reason;                                                                    \
    }
