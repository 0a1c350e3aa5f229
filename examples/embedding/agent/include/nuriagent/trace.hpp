#pragma once

// The agent's trace: the last records are kept in memory, for the report on a failure.

#include <string>
#include <vector>

namespace nuritrace {

extern bool tMEMORY;

} // namespace nuritrace

namespace csl {

class NuriTrace {
public:
    struct Record {
        std::string text;
    };

    explicit NuriTrace(int level) : level_(level) {}
    ~NuriTrace();
    NuriTrace(const NuriTrace&) = delete;
    NuriTrace& operator=(const NuriTrace&) = delete;

    Record& Message(const char* file, const char* function, unsigned int line);

private:
    int level_;
    Record record_;
};

} // namespace csl

namespace agent {

// What is kept of the trace, the oldest record first. Nuriccl does not know of this.
std::vector<std::string> recent_records();

} // namespace agent
