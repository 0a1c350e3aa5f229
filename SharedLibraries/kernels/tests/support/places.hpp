#pragma once

/// @file
/// Runs a kernel wherever its text can lie: at every alignment, and with memory that nobody may
/// touch right in front of and right behind it.
///
/// Vector code goes wrong at its ends: it reads or writes a register too far, or relies on an
/// alignment that most texts happen to have.

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <gtest/gtest.h>
#include <new>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

namespace places {

/// Some pages between two that end the program when they are touched.
class Pages {
public:
    static constexpr std::size_t SIZE = std::size_t{1} << 16;

    Pages() : page_(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))) {
        void* const place =
            mmap(nullptr, page_ + SIZE + page_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (place == MAP_FAILED) {
            throw std::bad_alloc();
        }
        start_ = static_cast<char*>(place) + page_;
        if (mprotect(start_, SIZE, PROT_READ | PROT_WRITE) != 0) {
            munmap(place, page_ + SIZE + page_);
            throw std::bad_alloc();
        }
    }
    ~Pages() { munmap(start_ - page_, page_ + SIZE + page_); }
    Pages(const Pages&) = delete;
    Pages& operator=(const Pages&) = delete;

    char* begin() const { return start_; }
    char* end() const { return start_ + SIZE; }

private:
    std::size_t page_;
    char* start_;
};

/// What a kernel reads, and what it writes or changes.
template <class In, class Out>
struct Texts {
    std::basic_string<In> input;
    std::basic_string<Out> before; ///< as long as the place is
    std::basic_string<Out> after;  ///< what the place holds then, or the beginning of it
    char around = '#';             ///< byte that lies around both
};

inline constexpr std::size_t ALIGNMENTS = 64;
inline constexpr std::size_t MARGIN = 128; // bytes that are watched on both sides of a place

/// The two places of one run.
class Stage {
public:
    Stage() = default;

    template <class In, class Out, class Kernel>
    testing::AssertionResult run(const Texts<In, Out>& texts, char* input, char* output,
                                 Kernel kernel) {
        prepare(input_, input, texts.input, texts.around);
        prepare(output_, output, texts.before, texts.around);
        const bool is_right =
            kernel(reinterpret_cast<const In*>(input), reinterpret_cast<Out*>(output));
        const auto failure = [&](const char* what) {
            return testing::AssertionFailure()
                   << what << "; input of " << texts.input.size() << " units, "
                   << where(input_, input) << ", place of " << texts.before.size() << ", "
                   << where(output_, output);
        };
        if (!is_right) {
            return failure("the result is wrong");
        }
        if (std::memcmp(output, texts.after.data(), texts.after.size() * sizeof(Out)) != 0) {
            return failure("what is written is wrong");
        }
        if (std::memcmp(input, texts.input.data(), texts.input.size() * sizeof(In)) != 0) {
            return failure("the input is not what it was");
        }
        if (!is_untouched(output_, output, texts.before.size() * sizeof(Out), texts.around)) {
            return failure("something is written beside the place");
        }
        return testing::AssertionSuccess();
    }

    char* in_front(bool of_input, std::size_t) { return pages(of_input).begin(); }
    char* at_end(bool of_input, std::size_t size) { return pages(of_input).end() - size; }
    char* aligned(bool of_input, std::size_t alignment) {
        return pages(of_input).begin() + MARGIN + alignment;
    }

private:
    Pages& pages(bool of_input) { return of_input ? input_ : output_; }

    // Bytes of the margins that there are.
    static std::size_t room_before(const Pages& pages, const char* place) {
        return std::min(MARGIN, static_cast<std::size_t>(place - pages.begin()));
    }
    static std::size_t room_behind(const Pages& pages, const char* end) {
        return std::min(MARGIN, static_cast<std::size_t>(pages.end() - end));
    }

    template <class Unit>
    static void prepare(const Pages& pages, char* place, const std::basic_string<Unit>& text,
                        char around) {
        const std::size_t size = text.size() * sizeof(Unit);
        char* const end = place + size;
        std::memset(place - room_before(pages, place), around, room_before(pages, place));
        std::memset(end, around, room_behind(pages, end));
        std::memcpy(place, text.data(), size);
    }

    static bool is_untouched(const Pages& pages, const char* place, std::size_t size, char around) {
        char expected[MARGIN];
        std::memset(expected, around, MARGIN);
        const std::size_t before = room_before(pages, place);
        const char* const end = place + size;
        return std::memcmp(place - before, expected, before) == 0 &&
               std::memcmp(end, expected, room_behind(pages, end)) == 0;
    }

    static std::string where(const Pages& pages, const char* place) {
        return place == pages.begin()
                   ? std::string("right behind the first page")
                   : "at byte " + std::to_string(place - pages.begin()) + " (" +
                         std::to_string(pages.end() - place) + " in front of the last page)";
    }

    Pages input_;
    Pages output_;
};

inline Stage& stage() {
    static Stage stage;
    return stage;
}

/// Holds `kernel(input, place)` against the texts with memory out of reach in front of or behind
/// both. It tells whether its result is right, whatever it has to do with the place.
template <class In, class Out, class Kernel>
testing::AssertionResult holds_at_borders(const Texts<In, Out>& texts, Kernel kernel) {
    const std::size_t input_size = texts.input.size() * sizeof(In);
    const std::size_t output_size = texts.before.size() * sizeof(Out);
    for (const auto input : {&Stage::in_front, &Stage::at_end}) {
        for (const auto output : {&Stage::in_front, &Stage::at_end}) {
            const auto result = stage().run(texts, (stage().*input)(true, input_size),
                                            (stage().*output)(false, output_size), kernel);
            if (!result) {
                return result;
            }
        }
    }
    return testing::AssertionSuccess();
}

/// The same at one alignment of both, which units larger than a byte round down to their own.
template <class In, class Out, class Kernel>
testing::AssertionResult holds_aligned(const Texts<In, Out>& texts, std::size_t input,
                                       std::size_t output, Kernel kernel) {
    return stage().run(texts, stage().aligned(true, input - input % sizeof(In)),
                       stage().aligned(false, output - output % sizeof(Out)), kernel);
}

/// The same at the borders, at all alignments of the input, and at all of the place.
template <class In, class Out, class Kernel>
testing::AssertionResult holds_everywhere(const Texts<In, Out>& texts, Kernel kernel) {
    auto result = holds_at_borders(texts, kernel);
    for (std::size_t i = 0; result && i < ALIGNMENTS; ++i) {
        // An odd factor visits all alignments, and the length makes others meet.
        result = holds_aligned(texts, i, (i * 29 + texts.input.size()) % ALIGNMENTS, kernel);
    }
    return result;
}

/// The same at all pairs of alignments. Slow.
template <class In, class Out, class Kernel>
testing::AssertionResult holds_at_all_pairs(const Texts<In, Out>& texts, Kernel kernel) {
    auto result = testing::AssertionSuccess();
    for (std::size_t i = 0; result && i < ALIGNMENTS * ALIGNMENTS; ++i) {
        result = holds_aligned(texts, i % ALIGNMENTS, i / ALIGNMENTS, kernel);
    }
    return result;
}

/// Texts without a place that is written.
template <class In>
Texts<In, char> reading(const std::basic_string<In>& input, char around = '#') {
    return {input, "", "", around};
}

/// Texts whose place is filled with what the kernel makes of the input.
template <class In, class Out>
Texts<In, Out> writing(const std::basic_string<In>& input, const std::basic_string<Out>& after) {
    return {input, std::basic_string<Out>(after.size(), Out{'~'}), after};
}

/// A text that is changed where it is.
inline Texts<char, char> changing(const std::string& before, const std::string& after) {
    return {"", before, after};
}

} // namespace places
