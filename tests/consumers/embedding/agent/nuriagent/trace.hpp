#pragma once

#include <string>

namespace nuritrace {

extern bool tMEMORY;

} // namespace nuritrace

namespace csl {

class NuriTrace {
public:
    struct Line {
        std::string text;
    };

    explicit NuriTrace(int level);
    ~NuriTrace();
    Line& Message(const char* file, const char* function, unsigned int line);

private:
    Line line_;
};

} // namespace csl
