// A host's own copies of the manipulators.

#include <ios>

extern std::ios_base& (*const OWN_MANIPULATORS[])(std::ios_base&);

std::ios_base& (*const OWN_MANIPULATORS[])(std::ios_base&) = {std::dec, std::hex, std::oct};
