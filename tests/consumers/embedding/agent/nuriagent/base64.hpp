#pragma once

namespace base64 {

struct Results {
    int status;
};

class Base64 {
public:
    static Base64& GetInstance();
    unsigned long long Encode(const void* source, unsigned long long length, char* destination,
                              unsigned long long size, Results* results);
    unsigned long long Decode(const char* source, unsigned long long length, void* destination,
                              unsigned long long size, Results* results);
};

} // namespace base64
