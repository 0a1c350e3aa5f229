// A program that links the libraries and catches what they throw.

#include "catching.hpp"

int main() { return exceptions_are_caught() ? 0 : 1; }
