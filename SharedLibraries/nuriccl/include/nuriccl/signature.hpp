#pragma once

/// @file
/// Signatures: SHA-1 digests (FIPS 180-4) of bytes, text, streams and objects.
///
/// Use them to recognise equal content and damaged content. They are no protection against somebody
/// who makes two contents with one signature on purpose.
///
/// Thread safety: a Signature object is used by one thread at a time; the static functions keep no
/// state.
///
/// @code{.cpp}
/// nuriccl::Signature signature;
/// signature.update(reinterpret_cast<const unsigned char*>("abc"), 3).close();
/// assert(signature.to_string() == "a9993e364706816aba3e25717850c26c9cd0d89d");
/// assert(signature.to_string() == nuriccl::Signature::of(std::string("abc")));
/// @endcode
///
/// A signature is either binary, `SIGNATURE_SIZE` bytes in an array that the caller releases with
/// `free_binary`, or a string of `STRING_SIGNATURE_SIZE` lower-case hexadecimal digits.

#include <nuriagent/sha1.hpp>
#include <nuriccl/export.hpp>

#include <iosfwd>
#include <string>

namespace nuriccl {

/// A SHA-1 signature in the making. See the top of signature.hpp.
class NURICCL_API Signature {
public:
    static const unsigned int SIGNATURE_SIZE = 20;        ///< bytes of a binary signature
    static const unsigned int STRING_SIGNATURE_SIZE = 40; ///< characters of a signature string

    /// An object that can sign itself.
    class NURICCL_API SignableObject {
    public:
        virtual ~SignableObject();

        /// @return a new binary signature from `new unsigned char[]`; never null
        virtual unsigned char* binary_signature() = 0;
    };

    /// An open signature of no bytes.
    Signature();

    Signature(const Signature&) = delete;
    Signature& operator=(const Signature&) = delete;

    virtual ~Signature();

    /// Adds `length` bytes; a null `data` adds none. Does nothing once the signature is closed.
    Signature& update(const unsigned char* data, unsigned int length);

    /// Finishes the signature. Does nothing once it is closed; it cannot be reopened.
    /// @throws std::bad_alloc with the signature still open
    Signature& close();

    /// @return a new binary signature, which the caller owns; null before `close`
    /// @throws std::bad_alloc
    unsigned char* to_binary() const;

    /// @return the signature string; empty before `close`
    /// @throws std::bad_alloc
    std::string to_string() const;

    /// @return the signature string of the binary signature that starts at `binary`
    /// @throws std::bad_alloc
    static std::string hexify(unsigned char* binary);

    /// Releases a binary signature; null is fine.
    static void free_binary(unsigned char* binary);

    /// Releases the binary signature that `*binary` points to and sets it to null; null is fine in
    /// both places.
    static void free_binary(unsigned char** binary);

    /// @name Binary signatures in one call
    ///
    /// | argument | signed bytes |
    /// |---|---|
    /// | none, a null pointer | none |
    /// | bytes and count, text | the bytes |
    /// | wide text, or its pointer and count of characters | four bytes a character, as in memory |
    /// | a stream | what is left of it |
    /// | a signable object | what `SignableObject::binary_signature` gives; null as no bytes |
    ///
    /// A stream is read in chunks of 1 MiB from one buffer. It counts as empty when it is bad or
    /// at its end when it comes, when it throws (as every stream whose `exceptions` include
    /// `eofbit` does at its end), and when there is no memory for the buffer. A stream that turns
    /// bad without throwing is signed as far as it could be read: ask the stream, not the
    /// signature.
    ///
    /// @return a new array, which the caller releases with `free_binary`; never null, provided
    ///         that a signable object keeps its word
    /// @throws std::bad_alloc
    /// @{

    /// Of `length` bytes.
    static unsigned char* binary(const unsigned char* data, unsigned int length);
    /// Of no bytes.
    static unsigned char* binary();
    /// What the object gives; of no bytes when it is null.
    static unsigned char* binary(SignableObject* object);
    /// What the object gives.
    static unsigned char* binary(SignableObject& object);
    /// Of `length` characters.
    static unsigned char* binary(const char* data, unsigned int length);
    /// Of a text, NULs in it included.
    static unsigned char* binary(const std::string& text);
    /// Of `count` wide characters, four bytes each.
    static unsigned char* binary(const wchar_t* text, unsigned int count);
    /// Of a wide text, four bytes a character.
    static unsigned char* binary(const std::wstring& text);
    /// Of what is left of the stream.
    static unsigned char* binary(std::istream& stream);
    /// @}

    /// @name Signature strings in one call
    /// The same signatures as strings.
    /// @throws std::bad_alloc
    /// @{

    /// Of `length` bytes.
    static std::string of(const unsigned char* data, unsigned int length);
    /// Of no bytes.
    static std::string of();
    /// What the object gives; of no bytes when it is null.
    static std::string of(SignableObject* object);
    /// What the object gives.
    static std::string of(SignableObject& object);
    /// Of `length` characters.
    static std::string of(const char* data, unsigned int length);
    /// Of a text, NULs in it included.
    static std::string of(const std::string& text);
    /// Of `count` wide characters, four bytes each.
    static std::string of(const wchar_t* text, unsigned int count);
    /// Of a wide text, four bytes a character.
    static std::string of(const std::wstring& text);
    /// Of what is left of the stream.
    static std::string of(std::istream& stream);
    /// @}

private:
    unsigned int closed_ = 0;
    sha1_context context_;
    unsigned char* digest_ = nullptr; // set when the signature is closed
};

} // namespace nuriccl
