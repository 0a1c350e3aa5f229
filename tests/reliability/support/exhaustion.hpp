#pragma once

/// @file
/// Calls that run out of memory at every point where they can.
///
/// A `Case` is what a public function promises when an allocation fails. Holding it makes the call
/// with its first allocation failing, then its second and so on until none is left to fail; once
/// with that one alone failing and once with all later ones, too. After each failure
///
/// - the call has ended as promised, by an exception or by its result;
/// - what it worked on is as promised;
/// - the same call, on what the failed one left behind, succeeds with the right result;
/// - everything that was allocated has been freed in the end.
///
/// @code{.cpp}
/// // A call tells whether its result is right, without allocating for that.
/// throws([] { return string::trim_left(PADDED, BLANKS) == TEXT; })
/// // One that changes something is given it, made anew for each failure.
/// strong(std::string(LINE), [](auto& text) { string::xml_escape(text); return text == ESCAPED; })
/// @endcode
///
/// What is worked on is copied from a prototype or, if that can be called, is what it returns.

#include "support/allocation.hpp"

#include <cstddef>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <new>
#include <string>
#include <type_traits>
#include <utility>

namespace exhaustion {

using Case = std::function<void()>;

/// How a call may end that lacks memory; flags.
enum Ends : unsigned {
    BAD_ALLOC = 1,   ///< std::bad_alloc comes out
    REPORTS = 2,     ///< the call gives false
    OTHER_ERROR = 4, ///< another std::exception comes out
    SUCCEEDS = 8,    ///< it manages without
};

namespace detail {

constexpr std::size_t TOO_MANY =
    10000; // allocations; a call that asks for them goes round in circles

inline const char* name_of(unsigned end) {
    return end == BAD_ALLOC     ? "std::bad_alloc"
           : end == REPORTS     ? "the result false"
           : end == OTHER_ERROR ? "another exception"
                                : "success";
}

// A call and what it works on, which is made anew for each failure. (What the table's rows have in
// common is compiled once, and not for each of some hundred types.)
class Trial {
public:
    virtual ~Trial() = default;
    virtual void make() = 0;
    virtual void unmake() = 0;
    virtual bool call() = 0;
    virtual bool holds() = 0;
};

template <class Prototype>
auto make(const Prototype& prototype) {
    if constexpr (std::is_invocable_v<const Prototype&>) {
        return prototype();
    } else {
        return prototype;
    }
}

template <class Prototype, class Call, class Holds>
class TrialOf final : public Trial {
public:
    TrialOf(Prototype&& prototype, Call&& call, Holds&& holds)
        : prototype_(std::move(prototype)), call_(std::move(call)), holds_(std::move(holds)) {}

    void make() override { new (room_) State(detail::make(prototype_)); }
    void unmake() override { state().~State(); }
    bool call() override { return call_(state()); }
    bool holds() override { return holds_(state()); }

private:
    using State = decltype(detail::make(std::declval<const Prototype&>()));

    State& state() { return *std::launder(reinterpret_cast<State*>(room_)); }

    Prototype prototype_;
    Call call_;
    Holds holds_;
    alignas(State) unsigned char room_[sizeof(State)]; // of the state between make and unmake
};

// Has what a trial works on for as long as it lives.
class Made {
public:
    explicit Made(Trial& trial) : trial_(trial) { trial_.make(); }
    ~Made() { trial_.unmake(); }
    Made(const Made&) = delete;
    Made& operator=(const Made&) = delete;

private:
    Trial& trial_;
};

inline Ends end_of(Trial& trial) {
    try {
        return trial.call() ? SUCCEEDS : REPORTS;
    } catch (const std::bad_alloc&) {
        return BAD_ALLOC;
    } catch (const std::exception&) {
        return OTHER_ERROR;
    }
}

// A number of the allocation that fails, and what is left behind after each failure.
// @return whether there was an allocation of that number
inline bool fail_at(std::size_t index, bool and_later, unsigned ends, Trial& trial) {
    const allocation::Watch watch;
    bool met = false;
    {
        const Made made(trial);
        allocation::Failure failure(index, and_later);
        const Ends end = end_of(trial);
        met = failure.stop();
        const unsigned promised = met ? ends : SUCCEEDS;
        EXPECT_NE(promised & end, 0u) << "The call ends by " << name_of(end) << ".";
        if (end != SUCCEEDS) {
            EXPECT_TRUE(trial.holds()) << "What it worked on is not as promised.";
            EXPECT_EQ(end_of(trial), SUCCEEDS) << "with memory again";
        }
    }
    EXPECT_EQ(watch.live(), 0) << "Memory is lost.";
    EXPECT_EQ(watch.mismatches(), 0u);
    return met;
}

inline void hold_ends(unsigned ends, Trial& trial) {
    { // what is built once for all later calls is not counted
        const Made made(trial);
        ASSERT_EQ(end_of(trial), SUCCEEDS) << "with memory";
    }
    for (const bool and_later : {false, true}) {
        std::size_t index = 0;
        bool met = true;
        for (; met; ++index) {
            SCOPED_TRACE("allocation " + std::to_string(index) +
                         (and_later ? " and all later ones" : "") + " failing");
            ASSERT_LT(index, TOO_MANY);
            met = fail_at(index, and_later, ends, trial);
        }
        EXPECT_GT(index, 1u) << "It allocates nothing.";
    }
}

inline void hold_none(Trial& trial) {
    const allocation::Watch watch;
    {
        const Made made(trial);
        const std::size_t before = watch.requests();
        const Ends end = end_of(trial);
        EXPECT_EQ(watch.requests(), before) << "It allocates.";
        EXPECT_EQ(end, SUCCEEDS);
    }
    EXPECT_EQ(watch.live(), 0) << "Memory is lost.";
    EXPECT_EQ(watch.mismatches(), 0u);
}

inline Case case_of(unsigned ends, std::unique_ptr<Trial> trial) {
    return [ends, shared = std::shared_ptr<Trial>(std::move(trial))] { hold_ends(ends, *shared); };
}

inline Case case_of_none(std::unique_ptr<Trial> trial) {
    return [shared = std::shared_ptr<Trial>(std::move(trial))] { hold_none(*shared); };
}

template <class Prototype, class Call, class Holds>
std::unique_ptr<Trial> trial_of(Prototype&& prototype, Call&& call, Holds&& holds) {
    return std::unique_ptr<Trial>(new TrialOf<Prototype, Call, Holds>(
        std::move(prototype), std::move(call), std::move(holds)));
}

} // namespace detail

/// A call that may end in one of the ways `ends`.
///
/// @param holds  tells of what a failed call leaves behind whether it is as promised
template <class Prototype, class Call, class Holds>
Case ends_by(unsigned ends, Prototype prototype, Call call, Holds holds) {
    return detail::case_of(
        ends, detail::trial_of(std::move(prototype), std::move(call), std::move(holds)));
}

/// A call that throws std::bad_alloc.
template <class Prototype, class Call, class Holds>
Case throws(Prototype prototype, Call call, Holds holds) {
    return ends_by(BAD_ALLOC, std::move(prototype), std::move(call), std::move(holds));
}

/// The same when nothing is promised of what it works on, but that it can be used again.
template <class Prototype, class Call>
Case throws(Prototype prototype, Call call) {
    return throws(std::move(prototype), std::move(call), [](auto&) { return true; });
}

/// The same for a call that changes nothing.
template <class Call>
Case throws(Call call) {
    return throws(0, [call](int&) { return call(); });
}

/// A call that throws std::bad_alloc and leaves what it works on as it was.
template <class State, class Call>
Case strong(State before, Call call) {
    const auto unchanged = [before](const State& state) { return state == before; };
    return throws(std::move(before), std::move(call), unchanged);
}

/// The same case without failures of malloc.
inline Case with_spared_malloc(const Case& holds) {
    return [holds] {
        const allocation::SparedMalloc spared;
        holds();
    };
}

/// A call that does not allocate, and gives nothing back but what its argument holds.
template <class Prototype, class Call>
Case none(Prototype prototype, Call call) {
    return detail::case_of_none(
        detail::trial_of(std::move(prototype), std::move(call), [](auto&) { return true; }));
}

/// The same for a call that changes nothing.
template <class Call>
Case none(Call call) {
    return none(0, [call](int&) { return call(); });
}

} // namespace exhaustion
