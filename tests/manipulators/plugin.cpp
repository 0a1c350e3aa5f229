// A plugin that links the library and passes its own std::hex and std::oct.

#include "radix.hpp"

extern "C" __attribute__((visibility("default"))) bool recognised() {
    return manipulators_are_recognised();
}

extern "C" __attribute__((visibility("default"))) bool applied() {
    return manipulators_are_applied();
}
