#pragma once

// What this agent sees of the calls to its services.

#include <string>
#include <vector>

namespace agent {

struct Calls {
    int digests = 0;
    int copies = 0;
    int numbers = 0;
    std::vector<std::string> records;
};

extern Calls calls;

} // namespace agent
