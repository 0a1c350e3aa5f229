#include "sample.hpp"

namespace {

#ifdef HIDDEN_TYPE
struct State {
    long long sum = 0;
    int calls = 0;
};
#else
struct State {
    int calls = 0;
};
#endif

State state;

} // namespace

Shape::~Shape() = default;

int Shape::width() const { return static_cast<int>(width_); }

int Shape::height() const { return height_; }

#ifdef NEW_VIRTUAL
int Shape::depth() const { return 1; }
#endif

#ifdef NEW_FUNCTION
int Shape::area() const { return static_cast<int>(width_) * height_; }
#endif

#ifdef OTHER_PARAMETER
int measure(const Shape& shape, long scale) { return shape.width() * static_cast<int>(scale); }
#else
int measure(const Shape& shape, int scale) { return shape.width() * scale; }
#endif

#ifndef FUNCTION_REMOVED
int count() { return ++state.calls; }
#endif
