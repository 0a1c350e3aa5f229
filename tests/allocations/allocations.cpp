/// @file
/// No allocation where none is needed.
///
/// | members | case |
/// |---|---|
/// | calls that need none | Allocations.None |
/// | calls that return one text, block or digest | Allocations.OneForTheResult |
/// | calls with a place to write to | Allocations.NoneIntoRoom |
/// | `string::format_string` | Allocations.FormattedText |
/// | `string::split`, `FSVList::parse` | Allocations.Fields |
/// | `MultiBuffer` | Allocations.Ring |
/// | calls whose result grows | Allocations.Growth |

#include "support/allocation.hpp"

#include <gtest/gtest.h>
#include <nuriccl/nuriccl.hpp>

namespace {

using namespace nuriccl;

// The standard library keeps shorter texts without allocating.
const std::string SHORT = "fifteen letters";
const std::string LONG = "a text that is longer than that";

const std::string BLOCK(4096, 'x');
const std::string PATH = "/var/lib/backup/volumes/0042/data/2026-11";
const std::string TIME = "2026-11-21T08:43:58.07-05:30";

// What a call may build once for all later ones is not counted.
template <class Call>
std::size_t count(Call call) {
    call();
    return allocation::count(call);
}

std::string base64_of(const std::string& bytes) {
    std::string text;
    Base64Wrapper::encode(bytes, text);
    return text;
}

std::string deflated(const std::string& bytes) {
    std::string packed;
    Zlib::Deflate(packed, bytes);
    return packed;
}

// So many fields in turn short and long, without a separator behind the last one.
std::string line_of(std::size_t fields) {
    std::string line;
    for (std::size_t i = 0; i < fields; ++i) {
        line += (i == 0 ? "" : ",") + (i % 2 == 0 ? SHORT : LONG);
    }
    return line;
}

// What a vector allocates that so many elements are added to one by one.
std::size_t growth_of_vector(std::size_t elements) {
    return count([elements] {
        std::vector<std::string> vector;
        for (std::size_t i = 0; i < elements; ++i) {
            vector.emplace_back();
        }
    });
}

} // namespace

TEST(Allocations, None) {
    const std::string other = "A TEXT THAT IS LONGER THAN THIS";
    EXPECT_EQ(count([&] { string::icompare(LONG, other); }), 0u);
    EXPECT_EQ(count([&] { string::icompare(LONG.c_str(), other.c_str()); }), 0u);
    EXPECT_EQ(count([&] { string::CaseInsensitiveCompare()(LONG, other); }), 0u);
    EXPECT_EQ(count([&] { string::ifind(LONG, "LONGER"); }), 0u);
    EXPECT_EQ(count([] { to_str(-2147483647, std::dec); }), 0u);
    EXPECT_EQ(count([] { to_str(12345.67); }), 0u);
    EXPECT_EQ(count([] {
                  int number = 0;
                  fromStr(number, SHORT, std::dec);
              }),
              0u);
    EXPECT_EQ(count([] { to_isotime(TIME); }), 0u);
    EXPECT_EQ(count([] { FilenameHelper::hasWildCard(PATH); }), 0u);
    EXPECT_EQ(count([] { const Encoding::CodePage page(Encoding::CP_WIN1252); }), 0u);
    const Buffer buffer(100);
    EXPECT_EQ(count([&] { const Buffer copy(buffer); }), 0u);
    EXPECT_EQ(count([&] { const Buffer part = buffer.segment(10, 20); }), 0u);
}

TEST(Allocations, OneForTheResult) {
    EXPECT_EQ(count([] { const Buffer buffer(4096); }), 1u);
    EXPECT_EQ(count([] { Signature::of(BLOCK); }), 1u);
    EXPECT_EQ(count([] { Signature::free_binary(Signature::binary(BLOCK)); }), 1u);
    EXPECT_EQ(count([] { base64_of(BLOCK); }), 1u);
    EXPECT_EQ(count([] { deflated(BLOCK); }), 1u);
    const isotime time = to_isotime(TIME);
    EXPECT_EQ(count([&] { to_str(time); }), 1u);
    EXPECT_EQ(count([] { FilenameHelper::squeeze(PATH); }), 1u);
    const CharacterEncoder encoder(CharacterEncoder::DEFAULT_CHARS_TO_ENCODE);
    EXPECT_EQ(count([&] { encoder.encode(PATH); }), 1u);
    EXPECT_EQ(count([&] { encoder.decode(PATH); }), 1u);
    EXPECT_EQ(count([] { // the text itself, and nothing as there is nothing to escape
                  std::string text = LONG;
                  string::xml_escape(text);
              }),
              1u);
    EXPECT_EQ(count([] {
                  std::string text = LONG + '&';
                  string::xml_escape(text);
              }),
              2u);
}

TEST(Allocations, NoneIntoRoom) {
    std::string out(2 * BLOCK.size(), '\0');
    const std::string text = base64_of(BLOCK);
    EXPECT_EQ(count([&] { Base64Wrapper::decode(text, out); }), 0u);
    const std::string packed = deflated(BLOCK);
    EXPECT_EQ(count([&] { Zlib::Inflate(out, 4096, packed); }), 0u);
    const Encoding::CodePage page(Encoding::CP_UTF8);
    std::wstring wide;
    const auto length = static_cast<unsigned int>(LONG.size());
    EXPECT_EQ(count([&] { Encoding::toWideChar(LONG.data(), length, wide, page); }), 0u);
    EXPECT_EQ(count([&] { Encoding::toMultibyte(wide.data(), length, out, page); }), 0u);
    ASSERT_EQ(out, LONG);
}

TEST(Allocations, FormattedText) {
    EXPECT_EQ(count([] { string::format_string("%s", SHORT.c_str()); }), 0u);
    EXPECT_EQ(count([] { string::format_string("%s", LONG.c_str()); }), 1u);
    EXPECT_EQ(count([] { string::format_string("%2000d", 5); }), 1u);
}

TEST(Allocations, Fields) {
    for (const std::size_t fields : {1u, 2u, 7u, 100u, 1000u}) {
        const std::string line = line_of(fields);
        const std::size_t long_fields = fields / 2;
        const auto split = [&](std::size_t room) {
            std::vector<std::string> out;
            out.reserve(room);
            string::split(line, ',', out);
            ASSERT_EQ(out.size(), fields);
        };
        EXPECT_EQ(count([&] { split(fields); }), long_fields + 1) << "room included";
        EXPECT_EQ(count([&] { split(0); }), long_fields + 1) << "one for the table";
        EXPECT_LE(count([&] { FSVList().parse(line); }), long_fields + 1) << "one for the table";
    }
}

// Many small calls into one list grow it as one by one does.
TEST(Allocations, SplitIntoAListThatGrows) {
    constexpr std::size_t CALLS = 1000;
    const auto split = [&] {
        std::vector<std::string> out;
        for (std::size_t i = 0; i < CALLS; ++i) {
            string::split(SHORT, ',', out);
        }
        ASSERT_EQ(out.size(), CALLS);
    };
    EXPECT_LE(count(split), growth_of_vector(CALLS));
}

TEST(Allocations, Ring) {
    const Buffer buffer(100);
    EXPECT_EQ(count([&] { MultiBuffer stream(buffer); }), 1u);
    MultiBuffer stream(buffer);
    stream.push_back(buffer);
    stream.push_back(buffer);
    const auto rotate = [&] {
        stream.pop_front();
        stream.push_back(buffer);
    };
    EXPECT_EQ(count(rotate), 0u);
    EXPECT_LE(count([&] {
                  MultiBuffer grown;
                  for (int i = 0; i < 1000; ++i) {
                      grown.push_back(buffer);
                  }
              }),
              13u);
}

// These add to a result whose size they do not know beforehand.
TEST(Allocations, Growth) {
    std::string out;
    EXPECT_EQ(count([] {
                  std::string fresh;
                  string::hex_dump(fresh, BLOCK.data(), 4096, nullptr, nullptr);
              }),
              1u);
    EXPECT_EQ(count([&] { string::hex_dump(out, BLOCK.data(), 4096, nullptr, nullptr); }), 0u);
    EXPECT_EQ(count([&] { Base64Wrapper::encode(BLOCK, out); }), 0u) << "there is room";
    EXPECT_LE(count([] { FilenameHelper::join(PATH, SHORT); }), 2u);
    EXPECT_LE(count([] {
                  std::string path = PATH;
                  FilenameHelper::squeeze_filename(path);
              }),
              6u);
    FSVList list;
    list.parse(line_of(100));
    EXPECT_EQ(count([&] { list.to_str(); }), 1u);
    EXPECT_EQ(count([&] { list.to_str(true); }), 1u);
}
