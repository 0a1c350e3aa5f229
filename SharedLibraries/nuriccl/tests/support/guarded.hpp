#pragma once

/// @file
/// Texts that end right before memory that nobody may touch: reading or writing past their end ends
/// the test program.

#include <algorithm>
#include <cstddef>
#include <new>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

namespace guarded {

/// A copy of a text, without a terminating NUL.
template <class Unit>
class Text {
public:
    explicit Text(const std::basic_string<Unit>& text)
        : page_(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))),
          room_((text.size() * sizeof(Unit) + page_ - 1) / page_ * page_) {
        void* const place = mmap(nullptr, room_ + page_, PROT_READ | PROT_WRITE,
                                 MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (place == MAP_FAILED) {
            throw std::bad_alloc();
        }
        start_ = static_cast<char*>(place);
        if (mprotect(start_ + room_, page_, PROT_NONE) != 0) {
            munmap(start_, room_ + page_);
            throw std::bad_alloc();
        }
        data_ = reinterpret_cast<Unit*>(start_ + room_) - text.size();
        std::copy(text.begin(), text.end(), data_);
    }
    ~Text() { munmap(start_, room_ + page_); }
    Text(const Text&) = delete;
    Text& operator=(const Text&) = delete;

    Unit* data() const { return data_; }

private:
    std::size_t page_;
    std::size_t room_; // whole pages that hold the text
    char* start_;
    Unit* data_;
};

} // namespace guarded
