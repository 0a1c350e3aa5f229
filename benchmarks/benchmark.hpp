#pragma once

/// @file
/// A row of the performance table: one task, done by the library and by others on the same input.
///
/// @code{.cpp}
/// TEST_CASE("numbers", "[util]") {
///     Row row("util.to_text", [] { return nuriccl::to_str(42); });
///     row.peer("std::to_string", [] { return std::to_string(42); });
/// }
/// @endcode
///
/// The first tag of a test case is the family, as in the name of a header. What the rows are called
/// and what is expected of them stands in rows.py. A contestant is timed only after its result was
/// held against the library's.
///
/// The contestants are called over and over with the same input. What they work on is captured by
/// reference, so that the compiler has to take it for changed between two calls.

#include <catch2/catch.hpp>

#include <string>
#include <type_traits>
#include <utility>

namespace benchmarks {

/// Between the parts of a benchmark's name.
constexpr char NAME_SEPARATOR = '\t';

/// What contestants that compete with nobody are called, for rows.py.
constexpr char OURS[] = "nuriccl";
constexpr char LIMIT[] = "limit: ";
constexpr char REFERENCE[] = "reference: ";

/// The `Result` of the library is a value of its own: what the others write to cannot change it.
template <class Result>
class Row {
public:
    template <class Call>
    Row(std::string id, const Call& ours) : id_(std::move(id)), expected_(ours()) {
        time(OURS, ours);
    }

    /// Times somebody else who does the same.
    template <class Call>
    Row& peer(const std::string& name, const Call& call) {
        {
            INFO(id_ << ", " << name);
            const bool same = expected_ == call(); // a mebibyte is not to be printed
            REQUIRE(same);
        }
        time(name, call);
        return *this;
    }

    /// Times somebody who does something comparable, whose result the caller has checked. The row
    /// is not measured by it.
    template <class Call>
    Row& reference(const std::string& name, const Call& call) {
        time(REFERENCE + name, call);
        return *this;
    }

    /// Times what no way of doing the task can go without.
    template <class Call>
    Row& limit(const std::string& name, const Call& call) {
        time(LIMIT + name, call);
        return *this;
    }

private:
    template <class Call>
    void time(const std::string& contestant, const Call& call) const {
        Catch::Benchmark::Benchmark benchmark(id_ + NAME_SEPARATOR + contestant);
        benchmark = [&call](int) -> decltype(auto) { return call(); };
    }

    std::string id_;
    Result expected_;
};

template <class Call>
Row(std::string, const Call&) -> Row<std::decay_t<std::invoke_result_t<const Call&>>>;

} // namespace benchmarks
