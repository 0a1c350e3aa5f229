/// @file
/// Tests of names that other programs choke on: they survive byte for byte, and what the program
/// prints of them keeps to one line and does not steer a terminal.

#include "support.hpp"

#include <iomanip>
#include <iterator>
#include <nuriccl/Base64Wrapper.hpp>
#include <nuriccl/filenamehelper.hpp>
#include <nuriccl/fsvlist.hpp>
#include <set>

namespace minibackup_test {

namespace {

// Names that are hostile as a whole.
const char* const HOSTILE_NAMES[] = {
    // Words of command lines and of manifests
    "-", "--", "-rf", "--help", "--exclude=*", "leave", "\nleave\n", "signature 0", "x\nsignature ",
    // Blanks and dots
    " ", "   ", " leading", "trailing ", "trailing\t", "...", "....", ". ", ".. ", ".hidden", "a ",
    // Escapes of manifests and of messages, and what looks like them
    "%", "%%", "%0", "%0a", "%0A", "%25", "%2f", "%00", "100%", "\\", "\\\\", "\\x0a", "\\n", "\\0",
    // Names from Windows: streams, drives, devices, long paths
    "file.txt", "file.txt:stream", "file.txt:", ":stream", "file.txt::$DATA", "C:", "C:\\dir",
    "con", "NUL", "dir\\file", "\\.\\", "\\\\server\\share", "\\\\?\\C:\\x", "\\\\?\\UNC\\s",
    "\\\\.\\x",
    // Wildcards
    "*", "?", "[a]", "*.*", "a*", "{a,b}", "~", "$HOME", "`id`", "$(id)", "'", "\"", "!", "&", ";",
    // Lines and terminals
    "\n", "a\nb", "\r", "\x1b[2J", "\x1b]0;title\x07", "\x9b[31m", "\xC2\x9b[31m", "\x7f", "\b\b",
    // No UTF-8: cut, out of place, longer than need be, surrogates, out of range, other code pages
    "\x80", "\xBF\xBF", "\xC3", "\xE2\x82", "\xF0\x9F\x98", "a\xC3(", "\xC0\x80", "\xC0\xAE",
    "\xE0\x80\xAF", "\xF0\x80\x80\xAF", "\xED\xA0\x80", "\xED\xA0\xBD\xED\xB8\x80",
    "\xF4\x90\x80\x80", "\xF8\x88\x80\x80\x80", "\xFE", "\xFF\xFE", "M\xFCller", "\x83\x65\x83\x58",
    // UTF-8: one letter made in two ways, marks on nothing, marks of direction, invisible ones
    "\xC3\xA9", "e\xCC\x81", "\xCC\x81",
    "\xE2\x80\xAE"
    "cod.exe",
    "\xE2\x80\xA8", "\xEF\xBB\xBF", "\xE2\x80\x8B", "a\xE2\x80\x8D", "\xEF\xBF\xBD", "\xEF\xBF\xBE",
    "\xF0\x9F\x98\x80", "\xF4\x8F\xBF\xBF", "\xD8\xB3\xD9\x84"};

std::set<std::string> hostile_names() {
    std::set<std::string> names(std::begin(HOSTILE_NAMES), std::end(HOSTILE_NAMES));
    for (int byte = 1; byte < 256; ++byte) {
        const char c = static_cast<char>(byte);
        if (c != '/') {
            names.insert({std::string{'x', c}, std::string{c, 'x'}});
            names.insert(c == '.' ? "..." : std::string{c});
            names.insert(std::string(255, c)); // as long as a name can be
        }
    }
    std::string longest;
    while (longest.size() < 254) {
        longest += "\xC3\xA9";
    }
    names.insert({longest + 'x', 'x' + longest, longest + '\xC3'});
    return names;
}

std::string utf8(std::uint32_t code) {
    const auto byte = [code](int shift, std::uint32_t mark) {
        return static_cast<char>(mark | (code >> shift & (mark == 0x80 ? 0x3FU : 0xFFU)));
    };
    return code < 0x80    ? std::string{byte(0, 0)}
           : code < 0x800 ? std::string{byte(6, 0xC0), byte(0, 0x80)}
           : code < 0x10000
               ? std::string{byte(12, 0xE0), byte(6, 0x80), byte(0, 0x80)}
               : std::string{byte(18, 0xF0), byte(12, 0x80), byte(6, 0x80), byte(0, 0x80)};
}

// One line that a terminal shows as it comes; told without the program's own means.
bool is_harmless(const std::string& line) {
    std::wstring characters;
    if (!nuriccl::FilenameHelper::multibyteToWide(characters, line, nuriccl::Encoding::CP_UTF8)) {
        return false;
    }
    const std::wstring steering = L"\u061c\u200e\u200f\u2028\u2029\u202a\u202b\u202c\u202d\u202e"
                                  L"\u2066\u2067\u2068\u2069\u206a\u206b\u206c\u206d\u206e\u206f";
    return std::none_of(characters.begin(), characters.end(), [&](wchar_t c) {
        return c < 0x20 || (c >= 0x7F && c < 0xA0) || steering.find(c) != std::wstring::npos;
    });
}

std::string in_hex(const std::string& bytes) {
    std::ostringstream text;
    for (const char c : bytes) {
        text << "\\x" << std::hex << std::setw(2) << std::setfill('0')
             << unsigned{static_cast<unsigned char>(c)};
    }
    return text.str();
}

// Each line is harmless, and there are as many different ones as things.
void expect_a_line_for_each(std::size_t things, const std::string& text) {
    const std::vector<std::string> lines = lines_of(text);
    EXPECT_EQ(things, lines.size());
    EXPECT_EQ(things, std::set<std::string>(lines.begin(), lines.end()).size());
    for (const std::string& line : lines) {
        EXPECT_TRUE(is_harmless(line)) << line;
    }
}

} // namespace

TEST_F(MinibackupTest, HostileNamesSurvive) {
    const std::set<std::string> names = hostile_names();
    for (const std::string place : {"files", "links", "directories"}) {
        fs::create_directory(at("s/" + place));
    }
    for (const std::string& name : names) {
        write_file(at("s/files/" + name), std::to_string(name.size() % 7));
        fs::create_symlink(name, at("s/links/" + name));
        fs::create_directory(at("s/directories/" + name));
        write_file(at("s/directories/" + name + '/' + name), "in it");
    }
    const Picture before = picture_of(source());
    ASSERT_EQ(4 + 4 * names.size(), before.size());
    const Outcome saved = save();
    ASSERT_TRUE(ended(saved, 0));
    EXPECT_EQ("", saved.err);
    const std::string manifest = read_file(at("b/" + runs().front()));
    EXPECT_TRUE(std::none_of(manifest.begin(), manifest.end(), [](char c) {
        return (static_cast<unsigned char>(c) < 0x20 && c != '\n') || c == 0x7F;
    }));
    const Outcome verified = verify();
    ASSERT_TRUE(ended(verified, 0));
    EXPECT_EQ("", verified.err);
    const Outcome restored = restore();
    ASSERT_TRUE(ended(restored, 0));
    EXPECT_EQ("", restored.err);
    EXPECT_EQ(before, picture_of(destination()));
}

TEST_F(MinibackupTest, EachHostileNameIsToldOnALineOfItsOwn) {
    const std::set<std::string> names = hostile_names();
    for (const std::string& name : names) {
        write_file(at("s/" + name), "content");
    }
    ASSERT_TRUE(ended(save(), 0));
    write_file(block_path("content"), "damaged");
    const Outcome verified = verify();
    ASSERT_TRUE(ended(verified, 1));
    expect_a_line_for_each(names.size(), verified.err);
    const Outcome restored = restore();
    ASSERT_TRUE(ended(restored, 1));
    expect_a_line_for_each(names.size(), restored.err);
    for (const std::string& name : names) {
        fs::remove(at("s/" + name));
        ASSERT_EQ(0, mkfifo(at("s/" + name).c_str(), 0600));
    }
    const Outcome saved = save();
    ASSERT_TRUE(ended(saved, 0));
    expect_a_line_for_each(names.size(), saved.err);
}

TEST_F(MinibackupTest, ListTellsHostileSourcesAndRunsOnALineEach) {
    const std::string name = "evil\n\x1b[2J\xff\xE2\x80\xAE";
    fs::rename(source(), at(name));
    ASSERT_TRUE(ended(run({"save", at(name), store()}), 0));
    fs::rename(at("b/" + runs().front()), at("b/0\n\x1b[2J"));
    const Outcome listed = run({"list", store()});
    ASSERT_TRUE(ended(listed, 0));
    expect_a_line_for_each(2, listed.out);
    EXPECT_TRUE(contains(listed.out, "\n0\\x0a\\x1b[2J "));
    EXPECT_TRUE(contains(listed.out, "  " + at("evil\\x0a\\x1b[2J\\xff\\xe2\\x80\\xae\n")));
    const Outcome restored = restore();
    ASSERT_TRUE(ended(restored, 0));
    expect_a_line_for_each(4, restored.out);
    EXPECT_TRUE(contains(restored.out, "run       0\\x0a\\x1b[2J\n"));
}

TEST_F(MinibackupTest, NamesAreShownAsTheyAreButForWhatDoesHarm) {
    const std::map<std::string, std::string> shown = {
        {"plain name.txt", "plain name.txt"},
        {"100%0a'\"*?:~", "100%0a'\"*?:~"},
        {"dir\\x0a", "dir\\\\x0a"},
        {"\n\x01\x1f\x7f", "\\x0a\\x01\\x1f\\x7f"},
        {"\xC2\x80\xC2\x9F\xC2\xA0", "\\xc2\\x80\\xc2\\x9f\xC2\xA0"},
        {"M\xC3\xBCller M\xFCller", "M\xC3\xBCller M\\xfcller"},
        {"e\xCC\x81 \xF0\x9F\x98\x80 \xF4\x8F\xBF\xBF",
         "e\xCC\x81 \xF0\x9F\x98\x80 \xF4\x8F\xBF\xBF"},
        {"cut \xF0\x9F\x98", "cut \\xf0\\x9f\\x98"},
        {"\xF0\x9F\x98(", "\\xf0\\x9f\\x98("},
        {"\xC0\x80\xED\xA0\x80\xF4\x90\x80\x80", "\\xc0\\x80\\xed\\xa0\\x80\\xf4\\x90\\x80\\x80"},
        {"\xD8\x9B\xD8\x9C\xD8\x9D", "\xD8\x9B\\xd8\\x9c\xD8\x9D"},
        {"\xE2\x80\x8D\xE2\x80\x8E\xE2\x80\x8F\xE2\x80\x90",
         "\xE2\x80\x8D\\xe2\\x80\\x8e\\xe2\\x80\\x8f\xE2\x80\x90"},
        {"\xE2\x80\xA7\xE2\x80\xA8\xE2\x80\xAE\xE2\x80\xAF",
         "\xE2\x80\xA7\\xe2\\x80\\xa8\\xe2\\x80\\xae\xE2\x80\xAF"},
        {"\xE2\x81\xA5\xE2\x81\xA6\xE2\x81\xAF\xE2\x81\xB0",
         "\xE2\x81\xA5\\xe2\\x81\\xa6\\xe2\\x81\\xaf\xE2\x81\xB0"},
        {"\xEF\xBB\xBF"
         "BOM",
         "\xEF\xBB\xBF"
         "BOM"}};
    for (const auto& [name, text] : shown) {
        ASSERT_EQ(0, mkfifo(at("s/" + name).c_str(), 0600));
    }
    const Outcome outcome = save();
    ASSERT_TRUE(ended(outcome, 0));
    for (const auto& [name, text] : shown) {
        EXPECT_TRUE(
            contains(outcome.err, "minibackup: " + at("s/" + text) + ": is a FIFO, left out\n"));
    }
    EXPECT_EQ(shown.size(), lines_of(outcome.err).size());
}

// A manifest may call itself by any text, which is told when it is not the version that is known.
TEST_F(MinibackupTest, EveryCharacterIsShownAsItIsOrInHex) {
    ASSERT_TRUE(ended(save(), 0));
    std::string text;
    std::string expected;
    for (std::uint32_t code = 1; code <= 0x110000; ++code) { // the last one is none
        const std::string bytes = utf8(code);
        if (code != ' ' && code != '\n') { // which end words and lines
            text += bytes;
            expected += code == '\\' ? "\\\\" : is_harmless(bytes) ? bytes : in_hex(bytes);
        }
    }
    write_file(at("b/" + runs().front()), "minibackup manifest " + text + '\n');
    const Outcome outcome = verify();
    ASSERT_EQ(1, outcome.status);
    EXPECT_NE(std::string::npos, outcome.err.find("'minibackup manifest " + expected + "';"));
    EXPECT_EQ(1U, lines_of(outcome.err).size());
}

// The mark of a store is text that anybody may have written.
TEST_F(MinibackupTest, TextWithNulIsShownToItsEnd) {
    ASSERT_TRUE(ended(save(), 0));
    write_file(at("b/minibackup.format"), std::string("minibackup store \0\0x\0", 21));
    EXPECT_TRUE(
        contains(verify().err, "is not KEY = VALUE: 'minibackup store \\x00\\x00x\\x00'\n"));
}

TEST_F(MinibackupTest, CsvListTellsHostileSourcesAndRunsOnALineEach) {
    const std::set<std::string> names(std::begin(HOSTILE_NAMES), std::end(HOSTILE_NAMES));
    std::vector<std::string> expected;
    for (const std::string& name : names) {
        fs::create_directory(at(name));
        ASSERT_TRUE(ended(run({"save", at(name), store()}), 0));
        expected.push_back(at(name));
    }
    fs::create_directory(at("base64:")); // a source that begins like an encoded one
    const auto go_there = [this] { static_cast<void>(!chdir(root.c_str())); };
    ASSERT_TRUE(ended(run({"save", "base64:", store()}, go_there), 0));
    expected.push_back("base64:");
    fs::rename(at("b/" + runs().back()), at("b/9,\"\n\x1b[2J"));
    const Outcome listed = run({"list", "--csv", store()});
    ASSERT_TRUE(ended(listed, 0));
    expect_a_line_for_each(expected.size() + 1, listed.out);
    const auto decoded = [](const std::string& field) {
        std::string name = field;
        if (field.compare(0, 7, "base64:") == 0) {
            EXPECT_TRUE(nuriccl::Base64Wrapper::decode(field.substr(7), name)) << field;
        }
        return name;
    };
    std::vector<std::string> sources;
    std::string last_run;
    for (const std::string& line : lines_of(listed.out)) {
        const std::vector<std::string> row = nuriccl::FSVList().parse(line).to_list();
        ASSERT_EQ(5U, row.size()) << line;
        sources.push_back(decoded(row[4]));
        last_run = decoded(row[0]);
    }
    sources.erase(sources.begin()); // the heading
    EXPECT_EQ(expected, sources);
    EXPECT_EQ("9,\"\n\x1b[2J", last_run);
}

} // namespace minibackup_test
