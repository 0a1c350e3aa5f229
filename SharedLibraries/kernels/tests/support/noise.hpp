#pragma once

/// @file
/// Random input whose seed is printed with a failure.

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <random>
#include <string>

namespace noise {

class Noise {
public:
    Noise() = default;
    explicit Noise(std::uint32_t seed) : seed_(seed) {}

    /// A number below `limit`.
    std::size_t below(std::size_t limit) { return engine_() % limit; }

    std::uint32_t word() { return static_cast<std::uint32_t>(engine_()); }

    template <class Units>
    typename Units::value_type one_of(const Units& units) {
        return units[below(units.size())];
    }

    /// A text over `alphabet`.
    std::string over(const std::string& alphabet, std::size_t length) {
        std::string text;
        text.reserve(length);
        while (text.size() < length) {
            text += one_of(alphabet);
        }
        return text;
    }

    std::string bytes(std::size_t length) {
        std::string text;
        text.reserve(length);
        while (text.size() < length) {
            text += static_cast<char>(word() >> 8 & 0xff);
        }
        return text;
    }

    friend std::ostream& operator<<(std::ostream& stream, const Noise& noise) {
        return stream << "seed " << noise.seed_;
    }

private:
    std::uint32_t seed_ = std::random_device{}();
    std::mt19937 engine_{seed_};
};

} // namespace noise
