// A program that links the library and passes its own std::hex and std::oct.

#include "radix.hpp"

int main() { return manipulators_are_recognised() && manipulators_are_applied() ? 0 : 1; }
