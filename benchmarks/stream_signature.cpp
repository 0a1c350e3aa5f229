/// @file
/// Prints the signature of a file, as `sha1sum` does.
///
/// usage: stream_signature FILE

#include <nuriccl/signature.hpp>

#include <fstream>
#include <iostream>

int main(int count, char** arguments) {
    if (count != 2) {
        std::cerr << "usage: stream_signature FILE\n";
        return 2;
    }
    std::ifstream file(arguments[1], std::ios::binary);
    if (!file) {
        std::cerr << arguments[1] << ": cannot be read\n";
        return 1;
    }
    std::cout << nuriccl::Signature::of(file) << "  " << arguments[1] << '\n';
    return 0;
}
