#pragma once

// A small library for the test of the comparison. Each macro stands for a change of the library.

#define API __attribute__((visibility("default")))

class API Shape {
public:
    virtual ~Shape();
#ifdef VIRTUAL_ORDER
    virtual int height() const;
    virtual int width() const;
#else
    virtual int width() const;
    virtual int height() const;
#endif
#ifdef NEW_VIRTUAL
    virtual int depth() const;
#endif
#ifdef NEW_FUNCTION
    int area() const;
#endif

private:
#ifdef OTHER_TYPE
    long long width_ = 1;
#else
    int width_ = 1;
#endif
#ifdef NEW_MEMBER
    int depth_ = 1;
#endif
    int height_ = 1;
};

#ifdef OTHER_PARAMETER
API int measure(const Shape& shape, long scale);
#else
API int measure(const Shape& shape, int scale);
#endif

#ifndef FUNCTION_REMOVED
API int count();
#endif
