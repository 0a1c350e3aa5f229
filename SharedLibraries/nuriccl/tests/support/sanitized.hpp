#pragma once

/// @file
/// Whether a sanitizer watches. Everything then takes up to ten times as long, and there is less
/// room; tests make do with less of what is many or large.

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool SANITIZED = true;
#else
inline constexpr bool SANITIZED = false;
#endif
