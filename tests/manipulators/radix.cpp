#include "radix.hpp"

#include <nuriccl/util.hpp>

#include <iostream>

namespace {

bool expect(const char* what, bool holds) {
    if (!holds) {
        std::cerr << "not so: " << what << '\n';
    }
    return holds;
}

#define EXPECT(condition) expect(#condition, condition)

unsigned int read(const char* text, nuriccl::Manipulator manipulator) {
    unsigned int value = 0;
    return nuriccl::fromStr(value, text, manipulator) ? value : 0;
}

} // namespace

bool manipulators_are_recognised() {
    const bool hex = EXPECT(nuriccl::to_str(255, std::hex) == "ff");
    const bool oct = EXPECT(nuriccl::to_str(8U, std::oct) == "10");
    const bool dec = EXPECT(nuriccl::to_str(-3LL, std::dec) == "-3");
    return hex && oct && dec;
}

bool manipulators_are_applied() {
    const bool hex = EXPECT(read("ff", std::hex) == 255);
    const bool oct = EXPECT(read("17", std::oct) == 15);
    const bool dec = EXPECT(read("12", std::dec) == 12);
    return hex && oct && dec;
}
