// A plugin that links the libraries and catches what they throw.

#include "catching.hpp"

extern "C" __attribute__((visibility("default"))) bool catches() { return exceptions_are_caught(); }
