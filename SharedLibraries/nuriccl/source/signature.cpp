#include <nuriccl/signature.hpp>

#include <nuriagent/safe.hpp>

#include <algorithm>
#include <cstddef>
#include <istream>
#include <memory>

namespace nuriccl {

const unsigned int Signature::SIGNATURE_SIZE;
const unsigned int Signature::STRING_SIGNATURE_SIZE;

namespace {

using Digest = std::unique_ptr<unsigned char[]>;

constexpr std::size_t STREAM_CHUNK = 0x100000;

Digest new_digest() { return Digest(new unsigned char[Signature::SIGNATURE_SIZE]); }

// The context after all `size` bytes at `data`; null stands for no bytes.
sha1_context hash(const void* data, std::size_t size) {
    sha1_context context;
    sha1_begin(&context);
    if (data != nullptr) {
        const auto* bytes = static_cast<const unsigned char*>(data);
        while (size != 0) { // sha1_hash counts in 32 bits
            const auto count = static_cast<unsigned int>(std::min<std::size_t>(size, 0x40000000));
            sha1_hash(bytes, count, &context);
            bytes += count;
            size -= count;
        }
    }
    return context;
}

unsigned char* binary_of(sha1_context context) {
    Digest digest = new_digest();
    sha1_end(digest.get(), &context);
    return digest.release();
}

std::string string_of(sha1_context context) {
    unsigned char digest[Signature::SIGNATURE_SIZE];
    sha1_end(digest, &context);
    return Signature::hexify(digest);
}

} // namespace

Signature::SignableObject::~SignableObject() = default;

// One signature in the making

Signature::Signature() { sha1_begin(&context_); }

Signature::~Signature() { delete[] digest_; }

Signature& Signature::update(const unsigned char* data, unsigned int length) {
    if (closed_ == 0 && data != nullptr) {
        sha1_hash(data, length, &context_);
    }
    return *this;
}

Signature& Signature::close() {
    if (closed_ == 0) {
        digest_ = new_digest().release();
        sha1_end(digest_, &context_);
        closed_ = 1;
    }
    return *this;
}

unsigned char* Signature::to_binary() const {
    if (closed_ == 0) {
        return nullptr;
    }
    Digest copy = new_digest();
    safe::MemoryCopy(copy.get(), SIGNATURE_SIZE, digest_, SIGNATURE_SIZE);
    return copy.release();
}

std::string Signature::to_string() const { return closed_ == 0 ? std::string() : hexify(digest_); }

// Binary signatures and strings

std::string Signature::hexify(unsigned char* binary) {
    static const char digits[] = "0123456789abcdef";
    std::string text;
    text.reserve(STRING_SIGNATURE_SIZE);
    for (unsigned int i = 0; i < SIGNATURE_SIZE; ++i) {
        text += digits[binary[i] >> 4];
        text += digits[binary[i] & 15];
    }
    return text;
}

void Signature::free_binary(unsigned char* binary) { delete[] binary; }

void Signature::free_binary(unsigned char** binary) {
    if (binary != nullptr) {
        delete[] * binary;
        *binary = nullptr;
    }
}

// Binary signatures in one call

unsigned char* Signature::binary(const unsigned char* data, unsigned int length) {
    return binary_of(hash(data, length));
}

unsigned char* Signature::binary() { return binary_of(hash(nullptr, 0)); }

unsigned char* Signature::binary(SignableObject* object) {
    return object != nullptr ? object->binary_signature() : binary();
}

unsigned char* Signature::binary(SignableObject& object) { return binary(&object); }

unsigned char* Signature::binary(const char* data, unsigned int length) {
    return binary_of(hash(data, length));
}

unsigned char* Signature::binary(const std::string& text) {
    return binary_of(hash(text.data(), text.size()));
}

unsigned char* Signature::binary(const wchar_t* text, unsigned int count) {
    return binary_of(hash(text, std::size_t{count} * sizeof(wchar_t)));
}

unsigned char* Signature::binary(const std::wstring& text) {
    return binary_of(hash(text.data(), text.size() * sizeof(wchar_t)));
}

unsigned char* Signature::binary(std::istream& stream) {
    if (stream.bad() || stream.eof()) {
        return binary();
    }
    sha1_context context = hash(nullptr, 0);
    try {
        const std::unique_ptr<char[]> chunk(new char[STREAM_CHUNK]);
        while (stream.good()) {
            stream.read(chunk.get(), STREAM_CHUNK);
            sha1_hash(reinterpret_cast<const unsigned char*>(chunk.get()),
                      static_cast<unsigned int>(stream.gcount()), &context);
        }
    } catch (...) { // a failing stream counts as an empty one
        return binary();
    }
    return binary_of(context);
}

// Signature strings in one call

std::string Signature::of(const unsigned char* data, unsigned int length) {
    return string_of(hash(data, length));
}

std::string Signature::of() { return string_of(hash(nullptr, 0)); }

std::string Signature::of(SignableObject* object) {
    if (object == nullptr) {
        return of();
    }
    return hexify(Digest(object->binary_signature()).get());
}

std::string Signature::of(SignableObject& object) { return of(&object); }

std::string Signature::of(const char* data, unsigned int length) {
    return string_of(hash(data, length));
}

std::string Signature::of(const std::string& text) {
    return string_of(hash(text.data(), text.size()));
}

std::string Signature::of(const wchar_t* text, unsigned int count) {
    return string_of(hash(text, std::size_t{count} * sizeof(wchar_t)));
}

std::string Signature::of(const std::wstring& text) {
    return string_of(hash(text.data(), text.size() * sizeof(wchar_t)));
}

std::string Signature::of(std::istream& stream) { return hexify(Digest(binary(stream)).get()); }

} // namespace nuriccl
