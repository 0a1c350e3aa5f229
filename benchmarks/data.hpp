#pragma once

/// @file
/// What the benchmarks work on: the same in every run.

#include <array>
#include <cstddef>
#include <string>
#include <vector>

namespace benchmarks {

constexpr std::size_t KIB = 1024;
constexpr std::size_t MIB = KIB * KIB;

/// Bytes without a pattern.
std::string random_bytes(std::size_t size);

/// C++ source text: what compresses as text does and holds one character in eighty that XML
/// escapes.
std::string source_text(std::size_t size);

/// A number in [0, limit), the next one of a sequence that starts anew with each object.
class Sequence {
public:
    std::size_t below(std::size_t limit);

private:
    unsigned long long state_ = 0x9e3779b97f4a7c15;
};

/// File names of about 20 bytes of UTF-8, half of them with characters outside ASCII.
const std::array<std::string, 16>& mixed_names();

/// File names of 20 bytes of ASCII.
const std::array<std::string, 16>& ascii_names();

/// File names of 20 bytes in Windows-1252, half of them with characters outside ASCII.
const std::array<std::string, 16>& windows_names();

} // namespace benchmarks
