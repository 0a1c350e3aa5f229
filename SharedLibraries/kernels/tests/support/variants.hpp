#pragma once

/// @file
/// Tests that run for each variant of a kernel, those aside whose instructions the CPU lacks.

#include "../../cpu.hpp"

#include <gtest/gtest.h>
#include <ostream>
#include <string>

namespace variants {

template <class Function>
struct Named {
    const char* name;
    unsigned int needs; ///< kernels::Instructions, or-ed
    Function* run;
};

template <class Function>
void PrintTo(const Named<Function>& variant, std::ostream* stream) {
    *stream << variant.name;
}

/// Names the test of a variant after it.
struct Name {
    template <class Info>
    std::string operator()(const Info& info) const {
        return info.param.name;
    }
};

template <class Function>
class Test : public testing::TestWithParam<Named<Function>> {
protected:
    void SetUp() override {
        if ((this->GetParam().needs & ~kernels::instructions_at_hand()) != 0) {
            GTEST_SKIP() << "this CPU does not have the instructions";
        }
    }

    static Function* run() { return testing::TestWithParam<Named<Function>>::GetParam().run; }
};

} // namespace variants
