#include "benchmark.hpp"
#include "data.hpp"

#include <nuriccl/signature.hpp>

#include <algorithm>
#include <array>
#include <boost/uuid/detail/sha1.hpp>
#include <cstdint>
#include <cstring>
#ifdef NURICCL_BENCHMARK_64_BIT_PEERS
#include <glib.h>
#include <memory>
#include <openssl/evp.h>
#endif

namespace {

using namespace benchmarks;

using Digest = std::array<unsigned char, 20>;

const unsigned char* bytes_of(const std::string& data) {
    return reinterpret_cast<const unsigned char*>(data.data());
}

Digest by_nuriccl(const std::string& data) {
    unsigned char* const binary =
        nuriccl::Signature::binary(data.data(), static_cast<unsigned int>(data.size()));
    Digest digest;
    std::copy_n(binary, digest.size(), digest.begin());
    nuriccl::Signature::free_binary(binary);
    return digest;
}

Digest from_words(const std::uint32_t (&words)[5]) {
    Digest digest;
    for (std::size_t i = 0; i < digest.size(); ++i) {
        digest[i] = static_cast<unsigned char>(words[i / 4] >> (24 - 8 * (i % 4)));
    }
    return digest;
}

Digest by_boost(const std::string& data) {
    boost::uuids::detail::sha1 hash;
    hash.process_bytes(data.data(), data.size());
    unsigned int words[5];
    hash.get_digest(words);
    return from_words(words);
}

// SHA-1 in portable C as it has been written for thirty years: all rounds unrolled, the variables
// renamed instead of moved.
class UnrolledSha1 {
public:
    static Digest of(const std::string& data) {
        UnrolledSha1 hash;
        const unsigned char* const bytes = bytes_of(data);
        const std::size_t whole = data.size() / 64 * 64;
        for (std::size_t i = 0; i < whole; i += 64) {
            hash.transform(bytes + i);
        }
        unsigned char last[128] = {};
        const std::size_t rest = data.size() - whole;
        std::copy_n(bytes + whole, rest, last);
        last[rest] = 0x80;
        const std::size_t size = rest < 56 ? 64 : 128;
        const std::uint64_t bits = std::uint64_t{data.size()} * 8;
        for (std::size_t i = 0; i < 8; ++i) {
            last[size - 1 - i] = static_cast<unsigned char>(bits >> (8 * i));
        }
        for (std::size_t i = 0; i < size; i += 64) {
            hash.transform(last + i);
        }
        return from_words(hash.state_);
    }

private:
    using Word = std::uint32_t;

    static Word rotate(Word value, int count) { return value << count | value >> (32 - count); }

    Word loaded(int i) {
        Word word;
        std::memcpy(&word, block_ + std::size_t{4} * static_cast<std::size_t>(i), sizeof word);
        return schedule_[i] = __builtin_bswap32(word);
    }

    Word expanded(int i) {
        Word& word = schedule_[i & 15];
        word = rotate(
            schedule_[(i + 13) & 15] ^ schedule_[(i + 8) & 15] ^ schedule_[(i + 2) & 15] ^ word, 1);
        return word;
    }

    // One round for each stage of the algorithm.
    void r0(Word a, Word& b, Word c, Word d, Word& e, int i) {
        e += ((b & (c ^ d)) ^ d) + loaded(i) + 0x5a827999 + rotate(a, 5);
        b = rotate(b, 30);
    }
    void r1(Word a, Word& b, Word c, Word d, Word& e, int i) {
        e += ((b & (c ^ d)) ^ d) + expanded(i) + 0x5a827999 + rotate(a, 5);
        b = rotate(b, 30);
    }
    void r2(Word a, Word& b, Word c, Word d, Word& e, int i) {
        e += (b ^ c ^ d) + expanded(i) + 0x6ed9eba1 + rotate(a, 5);
        b = rotate(b, 30);
    }
    void r3(Word a, Word& b, Word c, Word d, Word& e, int i) {
        e += (((b | c) & d) | (b & c)) + expanded(i) + 0x8f1bbcdc + rotate(a, 5);
        b = rotate(b, 30);
    }
    void r4(Word a, Word& b, Word c, Word d, Word& e, int i) {
        e += (b ^ c ^ d) + expanded(i) + 0xca62c1d6 + rotate(a, 5);
        b = rotate(b, 30);
    }

    void transform(const unsigned char* block) {
        block_ = block;
        Word a = state_[0];
        Word b = state_[1];
        Word c = state_[2];
        Word d = state_[3];
        Word e = state_[4];
#define NURICCL_FIVE(round, i)                                                                     \
    round(a, b, c, d, e, i), round(e, a, b, c, d, (i) + 1), round(d, e, a, b, c, (i) + 2),         \
        round(c, d, e, a, b, (i) + 3), round(b, c, d, e, a, (i) + 4)
        NURICCL_FIVE(r0, 0);
        NURICCL_FIVE(r0, 5);
        NURICCL_FIVE(r0, 10);
        r0(a, b, c, d, e, 15);
        r1(e, a, b, c, d, 16);
        r1(d, e, a, b, c, 17);
        r1(c, d, e, a, b, 18);
        r1(b, c, d, e, a, 19);
        NURICCL_FIVE(r2, 20);
        NURICCL_FIVE(r2, 25);
        NURICCL_FIVE(r2, 30);
        NURICCL_FIVE(r2, 35);
        NURICCL_FIVE(r3, 40);
        NURICCL_FIVE(r3, 45);
        NURICCL_FIVE(r3, 50);
        NURICCL_FIVE(r3, 55);
        NURICCL_FIVE(r4, 60);
        NURICCL_FIVE(r4, 65);
        NURICCL_FIVE(r4, 70);
        NURICCL_FIVE(r4, 75);
#undef NURICCL_FIVE
        state_[0] += a;
        state_[1] += b;
        state_[2] += c;
        state_[3] += d;
        state_[4] += e;
    }

    Word state_[5] = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476, 0xc3d2e1f0};
    Word schedule_[16];
    const unsigned char* block_ = nullptr;
};

#ifdef NURICCL_BENCHMARK_64_BIT_PEERS
// Algorithm and context are kept, as OpenSSL recommends.
class Evp {
public:
    Digest operator()(const std::string& data) const {
        Digest digest;
        EVP_DigestInit_ex2(context_.get(), algorithm_.get(), nullptr);
        EVP_DigestUpdate(context_.get(), data.data(), data.size());
        EVP_DigestFinal_ex(context_.get(), digest.data(), nullptr);
        return digest;
    }

private:
    std::unique_ptr<EVP_MD, decltype(&EVP_MD_free)> algorithm_{
        EVP_MD_fetch(nullptr, "SHA1", nullptr), EVP_MD_free};
    std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context_{EVP_MD_CTX_new(),
                                                                     EVP_MD_CTX_free};
};

Digest by_glib(const std::string& data) {
    const std::unique_ptr<GChecksum, decltype(&g_checksum_free)> sum(
        g_checksum_new(G_CHECKSUM_SHA1), g_checksum_free);
    g_checksum_update(sum.get(), bytes_of(data), static_cast<gssize>(data.size()));
    Digest digest;
    gsize size = digest.size();
    g_checksum_get_digest(sum.get(), digest.data(), &size);
    return digest;
}
#endif

void compare(const std::string& id, const std::string& data) {
    Row row(id, [&] { return by_nuriccl(data); });
    row.peer("unrolled C", [&] { return UnrolledSha1::of(data); });
    row.peer("Boost", [&] { return by_boost(data); });
#ifdef NURICCL_BENCHMARK_64_BIT_PEERS
    const Evp evp;
    row.peer("OpenSSL EVP", [&] { return evp(data); });
    row.peer("GLib", [&] { return by_glib(data); });
#endif
}

} // namespace

TEST_CASE("SHA-1", "[signature]") {
    compare("signature.mib", random_bytes(MIB));
    compare("signature.64", random_bytes(64));
}
