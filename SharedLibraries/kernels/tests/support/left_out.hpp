#pragma once

/// @file
/// What a program of the CPU's tests was told to do without. All else of them is compiled once.

/// Instructions, or-ed.
extern const unsigned int LEFT_OUT;
