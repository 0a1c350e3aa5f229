// A program to look into.

#include <nuriccl/Version.hpp>

void stop() {}

int main() {
    const nuriccl::Version version("7.12.345");
    stop();
    return version.m_major == 7 ? 0 : 1;
}
