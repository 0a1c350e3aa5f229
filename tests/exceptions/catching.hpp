#pragma once

/// Whether the calling module catches what the libraries throw, by the very types; says on
/// std::cerr what it does not.
bool exceptions_are_caught();
