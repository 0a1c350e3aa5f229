#pragma once

/// @file
/// What a version text has to mean, and how versions compare, one rule after the other; the tests
/// and the fuzz target hold the library against it.

#include <nuriagent/safe.hpp>
#include <nuriccl/Version.hpp>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace version_model {

/// Major, minor, patch and build.
using Numbers = std::array<std::int32_t, 4>;

inline Numbers numbers_of(const nuriccl::Version& version) {
    return {version.m_major, version.m_minor, version.m_patch, version.m_build};
}

inline nuriccl::Version version_of(const Numbers& numbers) {
    nuriccl::Version version("");
    version.m_major = numbers[0];
    version.m_minor = numbers[1];
    version.m_patch = numbers[2];
    version.m_build = numbers[3];
    return version;
}

/// Every version text by its rules, in their order. Nothing when the place of the patch lies behind
/// the end.
inline std::optional<Numbers> parsed(const std::string& text) {
    Numbers numbers{};
    auto& [major, minor, patch, build] = numbers;
    const std::size_t dot = text.find('.');
    if (dot == std::string::npos) {
        major = safe::StringToInt32(text);
    } else {
        if (dot + 2 > text.size()) {
            return std::nullopt;
        }
        const auto character_at = [&text](std::size_t position) {
            return position < text.size() ? std::string(1, text[position]) : std::string();
        };
        major =
            safe::StringToInt32(std::string(text.begin(), text.begin() + static_cast<int>(dot)));
        minor = safe::StringToInt32(character_at(dot + 1));
        patch = safe::StringToInt32(character_at(dot + 2));
        const std::size_t second_dot = text.find('.', dot + 1);
        if (second_dot != std::string::npos) {
            build = safe::StringToInt32(text.c_str() + second_dot + 1);
        }
    }
    const std::size_t mark = text.find("build ");
    if (build == 0 && mark != std::string::npos) {
        build = safe::StringToInt32(text.c_str() + mark + 6);
    }
    return numbers;
}

/// The signs, weighted so that one outweighs all that follow.
inline int compare(const Numbers& a, const Numbers& b, int granularity) {
    const int last = granularity < 0 || granularity > 3 ? 1 : granularity;
    int sum = 0;
    for (int i = 0; i <= last; ++i) {
        const auto field = static_cast<std::size_t>(i);
        const int weight = 8 >> i;
        sum += a[field] > b[field] ? weight : a[field] < b[field] ? -weight : 0;
    }
    return sum > 0 ? 1 : sum < 0 ? -1 : 0;
}

} // namespace version_model
