#pragma once

/// @file
/// What the fuzz targets share: the entry point that libFuzzer calls, and the check of a property.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

/// Tells which property does not hold and ends the process, which libFuzzer reports with the input.
[[noreturn]] inline void property_failed(const char* file, int line, const char* property) {
    std::cerr << file << ':' << line << ": does not hold: " << property << std::endl;
    std::abort();
}

/// Checks a property of the input. Not `assert`: that is off in the optimised builds that are
/// fuzzed.
#define FUZZ_REQUIRE(property)                                                                     \
    ((property) ? void() : property_failed(__FILE__, __LINE__, #property))

/// The input as text.
inline std::string text_of(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

/// Reads an input piece by piece; past its end it reads as zeros.
class FuzzInput {
public:
    FuzzInput(const std::uint8_t* data, std::size_t size) : next_(data), end_(data + size) {}

    bool empty() const { return next_ == end_; }

    std::uint8_t byte() { return empty() ? std::uint8_t{0} : *next_++; }

    /// What has not been read yet.
    std::string rest() const { return text_of(next_, static_cast<std::size_t>(end_ - next_)); }

private:
    const std::uint8_t* next_;
    const std::uint8_t* end_;
};
