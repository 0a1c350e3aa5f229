#pragma once

/// @file
/// Whether a sanitizer watches. Everything then takes up to ten times as long, and there is less
/// room; tests make do with less of what is many or large.

#ifdef NURICCL_SANITIZED
inline constexpr bool SANITIZED = true;
#else
inline constexpr bool SANITIZED = false;
#endif

/// How far from one of many to the next.
inline constexpr int AFFORDABLE_STRIDE = SANITIZED ? 7 : 1;
