#pragma once

/// Whether the library takes the std::hex and std::oct of the calling module for its own; says on
/// std::cerr what it does not.
bool manipulators_are_recognised();

/// Whether the library reads numbers in the radix of the calling module's std::hex and std::oct;
/// says on std::cerr what it does not.
bool manipulators_are_applied();
