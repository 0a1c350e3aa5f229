#pragma once

// A codec of a test: the calls come here, and the answers from there. Unlike the one of the agent
// services it may throw.

#include <deque>
#include <functional>
#include <string>
#include <vector>

namespace base64 {

struct Results {
    int status;
};

/// A call as it came in.
struct Call {
    bool encodes;
    std::string source;
    bool has_place;
    unsigned long long size;
    std::string place; ///< what stood there
};

/// What the codec does at a call.
struct Answer {
    int status;
    unsigned long long count;
    std::string written{};                ///< into the place, as far as there is room
    std::function<void()> before_it = {}; ///< may throw
};

class Base64 {
public:
    static Base64& GetInstance();
    unsigned long long Encode(const void* source, unsigned long long length, char* destination,
                              unsigned long long size, Results* results);
    unsigned long long Decode(const char* source, unsigned long long length, void* destination,
                              unsigned long long size, Results* results);

    std::deque<Answer> answers;
    std::vector<Call> calls;

private:
    unsigned long long answer(Call call, char* place, Results* results);
};

} // namespace base64
