// Takes messages out of a stream that arrives in pieces of any size. In front of each message
// stands its length, two bytes, the high one first. The bytes of a message are never copied
// together: it is handed on as the pieces that it came in.
//
// usage: MultiBuffer [SIZE]     of the pieces; 5 without it

#include <nuriccl/MultiBuffer.hpp>
#include <nuriccl/util.hpp>

#include <cstring>
#include <iostream>
#include <stdexcept>
#include <string>
#include <utility>

namespace {

class MessageReader {
public:
    void add(nuriccl::Buffer piece) { stream_.push_back(std::move(piece)); }

    // Moves the next message out of the stream, if all of it has arrived.
    bool next(nuriccl::MultiBuffer& message) {
        unsigned char header[2];
        if (stream_.copy(header, sizeof header) < sizeof header) {
            return false;
        }
        const unsigned int length = header[0] * 256U + header[1];
        if (length > MOST) { // the stream is out of step: nothing behind this can be trusted
            throw std::runtime_error("message of " + std::to_string(length) + " bytes");
        }
        if (stream_.data_length() < sizeof header + length) {
            return false;
        }
        stream_.coalesce(header, sizeof header);
        message = stream_.split(length);
        return true;
    }

private:
    static constexpr unsigned int MOST = 1000;
    nuriccl::MultiBuffer stream_;
};

nuriccl::Buffer piece_of(const std::string& bytes) {
    const auto length = static_cast<unsigned int>(bytes.size());
    nuriccl::Buffer piece(length);
    std::memcpy(piece.begin_update(), bytes.data(), length);
    piece.end_update(length);
    return piece;
}

} // namespace

int main(int argc, char** argv) {
    unsigned int size = 5;
    if (argc > 1 && (!nuriccl::fromStr(size, argv[1]) || size == 0)) {
        std::cerr << "no size: " << argv[1] << '\n';
        return 2;
    }
    const std::string stream("\0\012begin run1\0\0\0\007list /a\xff\xff", 25);
    try {
        MessageReader reader;
        for (std::size_t at = 0; at < stream.size(); at += size) {
            reader.add(piece_of(stream.substr(at, size)));
            for (nuriccl::MultiBuffer message; reader.next(message);) {
                std::cout << "message of " << message.data_length() << " bytes: [";
                for (const nuriccl::Buffer& part : message) {
                    const auto* const bytes = reinterpret_cast<const char*>(part.data());
                    std::cout << std::string(bytes, part.data_length()) << '|';
                }
                std::cout << "]\n";
            }
        }
    } catch (const std::runtime_error& error) {
        std::cerr << "connection closed: " << error.what() << '\n';
        return 1;
    }
    return 0;
}
