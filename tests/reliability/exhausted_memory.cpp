/// @file
/// What every exported function does when memory runs out.
///
/// The tables below name each function of both libraries, in the words of their lists of exports. A
/// function that is missing fails the test ExhaustedMemory.EveryFunction. One without a need for
/// memory is held to that; all others are called with each of their allocations failing.
///
/// Memory of the C library (zlib's, iconv's) counts, too, but under a sanitizer.

#include "support/environment.hpp"
#include "support/exhaustion.hpp"
#include "support/files.hpp"
#include "support/locale.hpp"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstring>
#include <fstream>
#include <iconv.h>
#include <list>
#include <locale>
#include <memory>
#include <nuriagent/base64.hpp>
#include <nuriagent/message.hpp>
#include <nuriagent/safe.hpp>
#include <nuriagent/schedule.hpp>
#include <nuriagent/sha1.hpp>
#include <nuriagent/trace.hpp>
#include <nuriccl/nuriccl.hpp>
#include <optional>
#include <set>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <vector>

namespace {

using namespace nuriccl;
using namespace exhaustion;

// What is promised of each function.
class Table {
public:
    /// @param scope  stands in front of the names of all functions that are added
    explicit Table(std::string scope) : scope_(std::move(scope)) {}

    /// A function, and one thing that is promised of it; there may be several.
    Table& operator()(const std::string& function, const Case& holds) {
        rows_.emplace_back(scope_ + function, holds);
        return *this;
    }

    /// Holds all that is promised.
    void hold() const {
        for (const auto& [function, holds] : rows_) {
            SCOPED_TRACE(function);
            holds();
        }
    }

    void add_names_to(std::set<std::string>& names) const {
        for (const auto& row : rows_) {
            names.insert(row.first);
        }
    }

private:
    std::string scope_;
    std::vector<std::pair<std::string, Case>> rows_;
};

using Text = std::string;
using Wide = std::wstring;
using Fields = std::vector<std::string>;

// The standard library keeps shorter texts without allocating.
const Text SHORT = "fifteen letters";
const Text BEFORE = "what the output held before the call";
const Wide BEFORE_W = L"what the output held before the call";
const Text PLAIN = "a text that is longer than that";
const Wide PLAIN_W = L"a text that is longer than that";
const Text UPPER = "A TEXT THAT IS LONGER THAN THAT";
const Wide UPPER_W = L"A TEXT THAT IS LONGER THAN THAT";

// Values that work without a copy constructor or an allocation of their own.

template <class T>
T made() {
    return T();
}

// A stream that writes to, or reads from, a place of its own.
class Place : public std::streambuf {
public:
    Place() { setp(room_.data(), room_.data() + room_.size()); }
    explicit Place(const char* text) {
        const std::size_t length = std::string_view(text).copy(room_.data(), room_.size());
        setg(room_.data(), room_.data(), room_.data() + length);
    }
    bool holds(std::string_view text) const {
        return std::string_view(pbase(), static_cast<std::size_t>(pptr() - pbase())) == text;
    }
    void rewind() {
        setp(pbase(), epptr());
        setg(eback(), eback(), egptr());
    }

private:
    std::array<char, 1000> room_;
};

struct Sink {
    Place place;
    std::ostream stream{&place};
};

struct Source {
    explicit Source(const char* text) : place(text) {}
    void rewind() {
        place.rewind();
        stream.clear();
    }
    Place place;
    std::istream stream{&place};
};

// What lists hold after a failure, and how they end after a success.

template <class List>
bool starts(const List& expected, const List& list) {
    return list.size() <= expected.size() && std::equal(list.begin(), list.end(), expected.begin());
}

bool ends(const Fields& expected, const Fields& list) {
    return list.size() >= expected.size() &&
           std::equal(expected.rbegin(), expected.rend(), list.rbegin());
}

} // namespace

// Text

namespace {

const Text BLANKS = " \t and whatever else is to be taken away: 0123456789";
const Text PADDED = "  \t a text that is longer than that \t  ";
const Text LINE = "fields of some length,of which there are,three in this line";
const Fields FIELDS = {"fields of some length", "of which there are", "three in this line"};
const Text QUOTED = "\"fields of some length\",\"of which there are\",\"three in this line\"";
const Fields KEPT = {"a field that was there before"};
const Text SHELL = "'a key of some length' = \"a value of some length\" other=\"one more value\"";
const std::map<Text, Text> PAIRS = {{"a key of some length", "a value of some length"},
                                    {"other", "one more value"}};
const Text MARKUP = "<a long text with markup & more>";
const Text MARKUP_ESCAPED = "&lt;a long text with markup &amp; more&gt;";
const Wide MARKUP_W = L"<a long text with markup & more>";
const Wide MARKUP_ESCAPED_W = L"&lt;a long text with markup &amp; more&gt;";
const Text CONTROLS = "a long text\twith\ncontrols";
const Text CONTROLS_ESCAPED = "a long text&#x09;with&#x0A;controls";
const Text DUMPED = "a title\nat 0000  610062                           ** a.b              **\n";

bool starts_fields(const Fields& fields) { return starts(FIELDS, fields); }

bool starts_added(const Fields& fields) {
    return !fields.empty() && fields[0] == KEPT[0] &&
           starts(FIELDS, Fields(fields.begin() + 1, fields.end()));
}

// By way of a list of arguments.
int format(Text& out, const char* text, ...) __attribute__((format(printf, 2, 3)));

int format(Text& out, const char* text, ...) {
    va_list arguments;
    va_start(arguments, text);
    const int count = string::sprintfSafe(out, text, arguments);
    va_end(arguments);
    return count;
}

bool is_empty(const Text& text) { return text.empty(); }

struct Word {
    const char* text = " 'a word of some length'=value";
    const char* cursor = text;
    Text word;
};

struct Space {
    char bytes[40] = "start";
};

Table string_table() {
    Table row("nuriccl::string::");
    row("crop_left(std::string&, std::string const&)",
        none(PADDED, [](auto& s) { return string::crop_left(s, BLANKS), s[0] == 'x'; }));
    row("crop_right(std::string&, std::string const&)",
        none(PADDED, [](auto& s) { return string::crop_right(s, " \t"), s.back() == 't'; }));
    row("crop_both(std::string&, std::string const&)",
        none(PADDED, [](auto& s) { return string::crop_both(s, " \t"), s == PLAIN; }));
    row("trim_left(std::string const&, std::string const&)", throws([] {
            return string::trim_left(PADDED, " \t") == "a text that is longer than that \t  ";
        }));
    row("trim_right(std::string const&, std::string const&)", throws([] {
            return string::trim_right(PADDED, " \t") == "  \t a text that is longer than that";
        }));
    row("trim_both(std::string const&, std::string const&)",
        throws([] { return string::trim_both(PADDED, " \t") == PLAIN; }));
    row("replace(std::string&, std::string const&, std::string const&)",
        strong(MARKUP, [](auto& s) {
            return string::replace(s, "<", "&lt;") && s.size() == MARKUP.size() + 3;
        }));
    row("SpanIncluding(std::string&, std::string)", // the caller copies a long set
        strong(PADDED, [](auto& s) { return string::SpanIncluding(s, BLANKS), s == "  \t a te"; }));
    row("ifind(std::string const&, std::string const&)",
        none([] { return string::ifind(PLAIN, "LONGER") == 15; }));
    row("icompare(std::string const&, std::string const&)",
        none([] { return string::icompare(PLAIN, UPPER) == 0; }));
    row("icompare(char const*, std::string const&)",
        none([] { return string::icompare(PLAIN.c_str(), UPPER) == 0; }));
    row("icompare(std::string const&, char const*)",
        none([] { return string::icompare(PLAIN, UPPER.c_str()) == 0; }));
    row("icompare(char const*, char const*)",
        none([] { return string::icompare(PLAIN.c_str(), UPPER.c_str()) == 0; }));
    row("CaseInsensitiveCompare::operator()(std::string const&, std::string const&) const",
        none([] { return !string::CaseInsensitiveCompare()(PLAIN, UPPER); }));
    row("NormalizeNameCaseInsensitive(std::string const&, std::string&)",
        strong(SHORT,
               [](auto& s) { return string::NormalizeNameCaseInsensitive(PLAIN, s), s == UPPER; }));
    row("NormalizeNameCaseInsensitive(std::string&)",
        none(PLAIN, [](auto& s) { return string::NormalizeNameCaseInsensitive(s), s == UPPER; }));
    row("strlcat(char*, char const*, unsigned int)", none(Space(), [](auto& to) {
            return string::strlcat(to.bytes, "ed", 40) == Text("started");
        }));
    row("strlcpy(char*, char const*, unsigned int)",
        none(Space(), [](auto& to) { return string::strlcpy(to.bytes, "ed", 40) == Text("ed"); }));

    row("unixshellstring_get_word(char const**, std::string&)",
        throws(
            Word(),
            [](auto& w) {
                return string::unixshellstring_get_word(&w.cursor, w.word) &&
                       w.word == "a word of some length";
            },
            [](auto& w) { return w.cursor == w.text; }));
    row("unixshellstring_get_keyed_values(char const*, std::map<std::string, std::string, "
        "std::less<std::string>, std::allocator<std::pair<std::string const, std::string>>>&)",
        throws(
            std::map<Text, Text>(),
            [](auto& pairs) {
                return string::unixshellstring_get_keyed_values(SHELL.c_str(), pairs) == 2 &&
                       pairs == PAIRS;
            },
            [](auto& pairs) { return starts(PAIRS, pairs); }));
    row("tokenize(std::string const&, std::vector<std::string>&, std::string const&)",
        throws(
            KEPT, [](auto& out) { return string::tokenize(LINE, out, ","), out == FIELDS; },
            starts_fields));
    row("tokenizeQuoted(std::string const&, std::vector<std::string>&, char)",
        throws(
            KEPT,
            [](auto& out) { return string::tokenizeQuoted(QUOTED, out, ',') && ends(FIELDS, out); },
            starts_added));
    row("tokenizeQuotedString(std::string const&, std::vector<std::string>&)",
        throws(
            KEPT,
            [](auto& out) { return string::tokenizeQuotedString(QUOTED, out), out == FIELDS; },
            starts_fields));
    row("split(std::string const&, char, std::vector<std::string>&)",
        throws(
            KEPT, [](auto& out) { return string::split(LINE, ',', out), ends(FIELDS, out); },
            starts_added));

    row("sprintfSafe(std::string&, char const*, va_list&)",
        throws(
            BEFORE,
            [](auto& out) { return format(out, "%2000d", 5) == 2000 && out.size() == 2000; },
            is_empty));
    row("sprintfSafe(std::string&, char const*, ...)",
        throws(
            SHORT,
            [](auto& out) { return string::sprintfSafe(out, "%40d", 5) == 40 && out.size() == 40; },
            is_empty));
    row("format_string(char const*, ...)", throws([] {
            return string::format_string("%s of %d", PLAIN.c_str(), 5) ==
                   "a text that is longer than that of 5";
        }));

    row("xml_escape(std::string&)",
        strong(MARKUP, [](auto& s) { return string::xml_escape(s), s == MARKUP_ESCAPED; }));
    row("xml_escape(std::wstring&)",
        strong(MARKUP_W, [](auto& s) { return string::xml_escape(s), s == MARKUP_ESCAPED_W; }));
    row("xml_unescape(std::string&)",
        none(MARKUP_ESCAPED, [](auto& s) { return string::xml_unescape(s), s == MARKUP; }));
    row("xml_unescape(std::wstring&)",
        none(MARKUP_ESCAPED_W, [](auto& s) { return string::xml_unescape(s), s == MARKUP_W; }));
    row("utf8_to_xml(std::string&)",
        strong(CONTROLS, [](auto& s) { return string::utf8_to_xml(s), s == CONTROLS_ESCAPED; }));
    row("utf8_to_xml(std::string const&)",
        throws([] { return string::utf8_to_xml(CONTROLS) == CONTROLS_ESCAPED; }));
    row("hex_dump(std::string&, char const*, int, char const*, char const*)",
        strong(BEFORE, [](auto& out) {
            return string::hex_dump(out, "a\0b", 3, "a title", "at") && out == DUMPED;
        }));
    return row;
}

} // namespace

TEST(ExhaustedMemory, String) { string_table().hold(); }

// Buffers

namespace {

const char BYTES[] = "forty bytes that a block is filled with.";
constexpr unsigned int LENGTH = sizeof BYTES - 1;

Buffer filled() {
    Buffer buffer(LENGTH);
    std::memcpy(buffer.begin_update(), BYTES, LENGTH);
    buffer.end_update(LENGTH);
    return buffer;
}

bool holds_bytes(const Buffer& buffer) {
    return buffer.data_length() == LENGTH && std::memcmp(buffer.data(), BYTES, LENGTH) == 0;
}

// A Buffer with an update that is open.
struct Updated {
    Updated() { buffer.begin_update(); }
    bool is_whole() const { return holds_bytes(buffer); }
    Buffer buffer = filled();
};

bool still_whole(const Updated& updated) { return updated.is_whole(); }

struct Two {
    Buffer a = filled();
    Buffer b = a;
};

// Tells whether the Buffer is as it was, and not in an update.
bool both_are_whole(Two& two) {
    EXPECT_THROW(two.a.end_update(0), std::logic_error);
    return holds_bytes(two.a) && holds_bytes(two.b) && two.a.data() == two.b.data();
}

// A Buffer whose replacement in its update is traced.
struct Traced : Updated {
    ~Traced() { csl::set_trace_stream(earlier); }
    Place place;
    std::ostream stream{&place};
    std::ostream* earlier = csl::set_trace_stream(&stream);
    Buffer other = Buffer(1);
};

class TracingMemory {
public:
    TracingMemory() { nuritrace::tMEMORY = true; }
    ~TracingMemory() { nuritrace::tMEMORY = false; }
    TracingMemory(const TracingMemory&) = delete;
    TracingMemory& operator=(const TracingMemory&) = delete;
};

bool replaces_traced(Traced& traced) {
    const TracingMemory tracing;
    traced.buffer = std::move(traced.other);
    return !traced.is_whole();
}

class Block : public Buffer::ControlBlockBase {
public:
    Block() : ControlBlockBase(nullptr) {}
    unsigned int Release() override { return 0; }
};

Table buffer_table() {
    Table row("nuriccl::Buffer::");
    row("Buffer()", none([] { return Buffer().empty(); }));
    row("Buffer(unsigned int)", throws([] { return Buffer(LENGTH).capacity() >= LENGTH; }));
    row("Buffer(nuriccl::Buffer const&)",
        none(filled, [](auto& b) { return holds_bytes(Buffer(b)); }));
    row("Buffer(nuriccl::Buffer const&)",
        throws(
            made<Updated>, [](auto& u) { return holds_bytes(Buffer(u.buffer)); }, still_whole));
    row("Buffer(nuriccl::Buffer&&)",
        none(filled, [](auto& b) { return holds_bytes(Buffer(std::move(b))); }));
    row("~Buffer()",
        none(std::optional<Buffer>(filled()), [](auto& b) { return b.reset(), true; }));
    row("operator=(nuriccl::Buffer const&)",
        none(made<Two>, [](auto& two) { return holds_bytes(two.a = Buffer(two.b)); }));
    row("operator=(nuriccl::Buffer const&)", throws(
                                                 made<Updated>,
                                                 [](auto& u) {
                                                     Buffer to;
                                                     return holds_bytes(to = u.buffer);
                                                 },
                                                 still_whole));
    row("operator=(nuriccl::Buffer&&)", none(filled, [](auto& b) {
            Buffer to;
            return holds_bytes(to = std::move(b));
        }));
    row("operator=(nuriccl::Buffer&&)", // writes a trace; what is left of a record may be lost
        ends_by(BAD_ALLOC | SUCCEEDS, made<Traced>, replaces_traced, still_whole));
    row("capacity() const", none(filled, [](auto& b) { return b.capacity() >= LENGTH; }));
    row("data() const", none(filled, [](auto& b) { return b.data() != nullptr; }));
    row("data_length() const", none(filled, [](auto& b) { return b.data_length() == LENGTH; }));
    row("empty() const", none(filled, [](auto& b) { return !b.empty(); }));
    row("data_length(unsigned int)", none(made<Updated>, [](auto& u) {
            return u.buffer.data_length(1), u.buffer.data_length() == 1;
        }));
    row("begin_update()", none(filled, [](auto& b) { return b.begin_update() != nullptr; }));
    row("begin_update()",
        throws(
            made<Two>, [](auto& two) { return two.a.begin_update() != two.b.data(); },
            both_are_whole));
    row("end_update(unsigned int)", none(made<Updated>, [](auto& u) {
            return u.buffer.end_update(1), u.buffer.data_length() == 1;
        }));
    row("segment(unsigned int, unsigned int) const",
        none(filled, [](auto& b) { return b.segment(10, 20).data_length() == 20; }));
    row("segment(unsigned int, unsigned int) const",
        throws(
            made<Updated>, [](auto& u) { return u.buffer.segment(10, 20).data_length() == 20; },
            still_whole));
    row("ControlBlockBase::ControlBlockBase(void*)",
        none(made<Block>, [](auto&) { return Block().ref_count() == 1; }));
    row("ControlBlockBase::AddRef()", none(made<Block>, [](auto& b) { return b.AddRef() == 1; }));
    row("ControlBlockBase::ref_count() const",
        none(made<Block>, [](auto& b) { return b.ref_count() == 1; }));
    return row;
}

// A full ring of nine Buffers, all the same one.
MultiBuffer nine() {
    MultiBuffer stream;
    const Buffer buffer = filled();
    for (int i = 0; i < 9; ++i) {
        stream.push_back(buffer);
    }
    return stream;
}

constexpr unsigned int NINE = 9 * LENGTH;

bool is_nine(const MultiBuffer& stream) {
    return stream.buffer_count() == 9 && stream.data_length() == NINE &&
           holds_bytes(stream.front()) && holds_bytes(stream.back());
}

struct Push {
    Buffer buffer = filled();
    MultiBuffer stream = nine();
};

bool nothing_pushed(const Push& push) { return is_nine(push.stream) && holds_bytes(push.buffer); }

struct Assignment {
    MultiBuffer from = nine();
    MultiBuffer to = MultiBuffer(Buffer(5));
};

bool nothing_assigned(const Assignment& assignment) {
    return is_nine(assignment.from) && assignment.to.buffer_count() == 1;
}

// The first Buffer is in an update.
struct UpdatedFront {
    MultiBuffer stream = nine();
    char flat[NINE];
    UpdatedFront() {
        Buffer& front = stream.front();
        std::memcpy(front.begin_update(), BYTES, LENGTH);
        front.data_length(LENGTH);
    }
};

bool front_is_whole(const UpdatedFront& updated) { return is_nine(updated.stream); }

Table multibuffer_table() {
    Table row("nuriccl::");
    row("swap(nuriccl::MultiBuffer&, nuriccl::MultiBuffer&)",
        none(made<Assignment>, [](auto& a) { return swap(a.from, a.to), is_nine(a.to); }));
    row("MultiBuffer::MultiBuffer()", none([] { return MultiBuffer().empty(); }));
    row("MultiBuffer::MultiBuffer(nuriccl::Buffer const&)",
        throws(
            filled, [](auto& b) { return holds_bytes(MultiBuffer(std::as_const(b)).front()); },
            [](auto& b) { return holds_bytes(b); }));
    row("MultiBuffer::MultiBuffer(nuriccl::Buffer&&)",
        throws(
            filled, [](auto& b) { return holds_bytes(MultiBuffer(std::move(b)).front()); },
            [](auto& b) { return holds_bytes(b); }));
    row("MultiBuffer::MultiBuffer(nuriccl::MultiBuffer const&)",
        throws(
            nine, [](auto& s) { return is_nine(MultiBuffer(std::as_const(s))); }, is_nine));
    row("MultiBuffer::MultiBuffer(nuriccl::MultiBuffer&&)",
        none(nine, [](auto& s) { return is_nine(MultiBuffer(std::move(s))); }));
    row("MultiBuffer::~MultiBuffer()",
        none(std::optional<MultiBuffer>(nine()), [](auto& s) { return s.reset(), true; }));
    row("MultiBuffer::operator=(nuriccl::MultiBuffer const&)",
        throws(
            made<Assignment>, [](auto& a) { return is_nine(a.to = std::as_const(a.from)); },
            nothing_assigned));
    row("MultiBuffer::operator=(nuriccl::MultiBuffer&&)",
        none(made<Assignment>, [](auto& a) { return is_nine(a.to = std::move(a.from)); }));
    row("MultiBuffer::push_back(nuriccl::Buffer const&)",
        throws(
            made<Push>,
            [](auto& p) { return p.stream.push_back(p.buffer), p.stream.buffer_count() == 10; },
            nothing_pushed));
    row("MultiBuffer::push_back(nuriccl::Buffer&&)",
        throws(
            made<Push>,
            [](auto& p) {
                return p.stream.push_back(std::move(p.buffer)), p.stream.buffer_count() == 10;
            },
            nothing_pushed));
    row("MultiBuffer::push_front(nuriccl::Buffer const&)",
        throws(
            made<Push>,
            [](auto& p) { return p.stream.push_front(p.buffer), p.stream.buffer_count() == 10; },
            nothing_pushed));
    row("MultiBuffer::push_front(nuriccl::Buffer&&)",
        throws(
            made<Push>,
            [](auto& p) {
                return p.stream.push_front(std::move(p.buffer)), p.stream.buffer_count() == 10;
            },
            nothing_pushed));
    row("MultiBuffer::pop_back()",
        none(nine, [](auto& s) { return s.pop_back(), s.buffer_count() == 8; }));
    row("MultiBuffer::pop_front()",
        none(nine, [](auto& s) { return s.pop_front(), s.buffer_count() == 8; }));
    row("MultiBuffer::back()", none(nine, [](auto& s) { return holds_bytes(s.back()); }));
    row("MultiBuffer::back() const",
        none(nine, [](const auto& s) { return holds_bytes(s.back()); }));
    row("MultiBuffer::front()", none(nine, [](auto& s) { return holds_bytes(s.front()); }));
    row("MultiBuffer::front() const",
        none(nine, [](const auto& s) { return holds_bytes(s.front()); }));
    row("MultiBuffer::begin()", none(nine, [](auto& s) { return holds_bytes(*s.begin()); }));
    row("MultiBuffer::end()", none(nine, [](auto& s) { return holds_bytes(*--s.end()); }));
    row("MultiBuffer::begin() const",
        none(nine, [](const auto& s) { return holds_bytes(*s.begin()); }));
    row("MultiBuffer::end() const",
        none(nine, [](const auto& s) { return holds_bytes(*--s.end()); }));
    row("MultiBuffer::cbegin() const",
        none(nine, [](auto& s) { return holds_bytes(*s.cbegin()); }));
    row("MultiBuffer::cend() const", none(nine, [](auto& s) { return holds_bytes(*--s.cend()); }));
    row("MultiBuffer::buffer_count() const",
        none(nine, [](auto& s) { return s.buffer_count() == 9; }));
    row("MultiBuffer::data_length() const",
        none(nine, [](auto& s) { return s.data_length() == NINE; }));
    row("MultiBuffer::empty() const", none(nine, [](auto& s) { return !s.empty(); }));
    row("MultiBuffer::clear()", none(nine, [](auto& s) { return s.clear(), s.empty(); }));
    row("MultiBuffer::swap(nuriccl::MultiBuffer&)",
        none(made<Assignment>, [](auto& a) { return a.from.swap(a.to), is_nine(a.to); }));
    row("MultiBuffer::copy(void*, unsigned int) const", none(nine, [](auto& s) {
            char flat[NINE];
            return s.copy(flat, NINE) == NINE;
        }));
    row("MultiBuffer::coalesce(void*, unsigned int)", none(nine, [](auto& s) {
            char flat[99];
            return s.coalesce(flat, 99) == 99 && s.data_length() == NINE - 99;
        }));
    row("MultiBuffer::coalesce(void*, unsigned int)",
        throws(
            made<UpdatedFront>,
            [](auto& u) {
                return u.stream.coalesce(u.flat, 9) == 9 && u.stream.data_length() == NINE - 9;
            },
            front_is_whole));
    row("MultiBuffer::split(unsigned int)", throws([] { return MultiBuffer(filled()); },
                                                   [](auto& s) {
                                                       return s.split(9).data_length() == 9 &&
                                                              s.data_length() == LENGTH - 9;
                                                   },
                                                   [](auto& s) { return holds_bytes(s.front()); }));
    return row;
}

} // namespace

TEST(ExhaustedMemory, Buffer) { buffer_table().hold(); }
TEST(ExhaustedMemory, MultiBuffer) { multibuffer_table().hold(); }

// Base64, zlib and signatures

namespace {

const Text BASE64 = "Zm9ydHkgYnl0ZXMgdGhhdCBhIGJsb2NrIGlzIGZpbGxlZCB3aXRoLg==";
const Text BYTES_TEXT = BYTES;
using Bytes = std::vector<char>;
const Bytes BASE64_BYTES(BASE64.begin(), BASE64.end());
const Bytes BYTES_VECTOR(BYTES_TEXT.begin(), BYTES_TEXT.end());

// Exhausted memory is the result false, and a string is as it was.
template <class Call>
Case refuses(Call call) {
    return ends_by(REPORTS, SHORT, call, [](auto& out) { return out == SHORT; });
}

// The same for a vector, of which nothing is promised.
template <class Call>
Case refuses_vector(Call call) {
    return ends_by(REPORTS, Bytes(), call, [](auto&) { return true; });
}

struct Raised {
    Base64Wrapper::exception exception{Text(PLAIN)};
    Base64Wrapper::encode_failure encoding;
    Base64Wrapper::decode_failure decoding;
};

using Base64Error = Base64Wrapper::exception;
using EncodeFailure = Base64Wrapper::encode_failure;
using DecodeFailure = Base64Wrapper::decode_failure;

// Tells whether an object can be destroyed without an allocation.
template <class T, class... Arguments>
Case destroys(const Arguments&... arguments) {
    return none([=] { return std::make_unique<T>(arguments...); },
                [](auto& object) { return object.reset(), true; });
}

Table base64_table() {
    Table row("nuriccl::Base64Wrapper::");
    row("decode(std::string const&, std::string&)",
        refuses([](auto& out) { return Base64Wrapper::decode(BASE64, out) && out == BYTES; }));
    row("decode(std::vector<char> const&, std::vector<char>&)", refuses_vector([](auto& out) {
            return Base64Wrapper::decode(BASE64_BYTES, out) && out == BYTES_VECTOR;
        }));
    row("encode(std::string const&, std::string&)",
        refuses([](auto& out) { return Base64Wrapper::encode(BYTES_TEXT, out) && out == BASE64; }));
    row("encode(std::string const&, std::string&, nuriccl::Base64Wrapper::EncodingVariant)",
        refuses([](auto& out) {
            return Base64Wrapper::encode(BYTES_TEXT, out, Base64Wrapper::url_safe) && out == BASE64;
        }));
    row("encode(std::vector<char> const&, std::vector<char>&)", refuses_vector([](auto& out) {
            return Base64Wrapper::encode(BYTES_VECTOR, out) && out == BASE64_BYTES;
        }));
    row("encode(std::vector<char> const&, std::vector<char>&, "
        "nuriccl::Base64Wrapper::EncodingVariant)",
        refuses_vector([](auto& out) {
            return Base64Wrapper::encode(BYTES_VECTOR, out, Base64Wrapper::url_safe) &&
                   out == BASE64_BYTES;
        }));
    row("exception::exception(std::string)", // the caller copies the text
        throws([] { return Base64Error(PLAIN).what() == PLAIN; }));
    row("exception::what() const",
        none(made<Raised>, [](auto& e) { return e.exception.what() == PLAIN; }));
    row("exception::~exception()", destroys<Base64Error>(PLAIN));
    row("encode_failure::encode_failure()",
        throws([] { return Text("encoding failure") == EncodeFailure().what(); }));
    row("encode_failure::~encode_failure()", destroys<EncodeFailure>());
    row("decode_failure::decode_failure()",
        throws([] { return std::string_view(DecodeFailure().what()) == "decoding failure"; }));
    row("decode_failure::~decode_failure()", destroys<DecodeFailure>());
    return row;
}

Text deflated(const Text& bytes) {
    Text packed;
    Zlib::Deflate(packed, bytes);
    return packed;
}

const Text PACKED = deflated(BYTES_TEXT);

Zlib::Bytes shared(const Text& bytes) {
    return Zlib::Bytes(new std::vector<unsigned char>(bytes.begin(), bytes.end()));
}

struct Blocks {
    Zlib::Bytes bytes = shared(BYTES_TEXT);
    Zlib::Bytes packed = shared(PACKED);
    Zlib::Bytes out = shared(BYTES_TEXT); // the right size, and not what is unpacked
    Blocks() { std::reverse(out->begin(), out->end()); }
};

bool sizes_are_kept(const Blocks& blocks) {
    return blocks.out->size() == LENGTH && blocks.packed->size() == PACKED.size();
}

// Our own allocations throw, zlib's give false.
constexpr unsigned ZLIB = BAD_ALLOC | REPORTS;

Table zlib_table() {
    const auto any = [](auto&) { return true; };
    Table row("nuriccl::Zlib::");
    row("Deflate(boost::shared_ptr<std::vector<unsigned char>>, "
        "boost::shared_ptr<std::vector<unsigned char>>)",
        ends_by(
            ZLIB, made<Blocks>,
            [](auto& b) { return Zlib::Deflate(b.out, b.bytes) && *b.out == *b.packed; }, any));
    row("Deflate(boost::shared_ptr<std::vector<unsigned char>>, "
        "boost::shared_ptr<std::vector<unsigned char>>, int)",
        ends_by(
            ZLIB, made<Blocks>,
            [](auto& b) { return Zlib::Deflate(b.out, b.bytes, 6) && *b.out == *b.packed; }, any));
    row("Deflate(std::string&, std::string const&)",
        ends_by(
            ZLIB, Text(), [](auto& out) { return Zlib::Deflate(out, BYTES_TEXT) && out == PACKED; },
            any));
    const Text inflate = "Inflate(boost::shared_ptr<std::vector<unsigned char>>, "
                         "boost::shared_ptr<std::vector<unsigned char>>)";
#ifdef NURICCL_TEST_MALLOC // only zlib allocates
    row(inflate, ends_by(
                     REPORTS, made<Blocks>,
                     [](auto& b) { return Zlib::Inflate(b.out, b.packed) && *b.out == *b.bytes; },
                     sizes_are_kept));
#endif
    row(inflate, with_spared_malloc(throws(
                     made<Blocks>, [](auto& b) { return Zlib::Inflate(b.packed, b.packed); },
                     sizes_are_kept)));
    row("Inflate(std::string&, unsigned int, std::string const&)",
        ends_by(
            ZLIB, Text(), [](auto& out) { return Zlib::Inflate(out, 50, PACKED) && out == BYTES; },
            [](auto& out) { return out.empty() || out.size() == 50; }));
    return row;
}

const Text ABC = "abc";
const Text OF_ABC = "a9993e364706816aba3e25717850c26c9cd0d89d";
const Text OF_NOTHING = "da39a3ee5e6b4b0d3255bfef95601890afd80709";
const Text OF_WIDE = Signature::of("a\0\0\0b\0\0\0c\0\0\0", 12);
const auto* const ABC_BYTES = reinterpret_cast<const unsigned char*>("abc");

// Tells whether a binary signature is that of the string, and releases it.
bool is(unsigned char* binary, const Text& expected) {
    bool same = true;
    for (unsigned int i = 0; i < Signature::SIGNATURE_SIZE; ++i) {
        const auto digit = [&](std::size_t at) {
            return std::string_view("0123456789abcdef").find(expected[at]);
        };
        same &= binary[i] == digit(2 * i) * 16 + digit(2 * i + 1);
    }
    Signature::free_binary(binary);
    return same;
}

struct Signable : Signature::SignableObject {
    unsigned char* binary_signature() override { return Signature::binary(ABC); }
};

struct Streamed {
    std::unique_ptr<Source> source = std::make_unique<Source>("abc");
    std::istream& from_start() {
        source->rewind();
        return source->stream;
    }
};

// A stream whose chunk finds no memory counts as empty.
template <class Signed>
Case signs_stream(Signed of_stream) {
    const auto call = [of_stream](Streamed& s) { return of_stream(s.from_start(), OF_ABC); };
    const auto read = [of_stream](Streamed& s) { return of_stream(s.from_start(), OF_ABC); };
    return ends_by(BAD_ALLOC | REPORTS, made<Streamed>, call, read);
}

std::unique_ptr<Signature> open_signature() {
    auto signature = std::make_unique<Signature>();
    signature->update(ABC_BYTES, 3);
    return signature;
}

std::unique_ptr<Signature> closed_signature() {
    auto signature = open_signature();
    signature->close();
    return signature;
}

bool is_open(const std::unique_ptr<Signature>& signature) { return signature->to_string().empty(); }

struct Released {
    unsigned char* binary = Signature::binary();
};

Table signature_table() {
    Table row("nuriccl::Signature::");
    row("SignableObject::~SignableObject()", destroys<Signable>());
    row("Signature()", none([] {
            Signature signature;
            return true;
        }));
    row("~Signature()", none(closed_signature, [](auto& s) { return s.reset(), true; }));
    row("update(unsigned char const*, unsigned int)",
        none(open_signature, [](auto& s) { return s->update(ABC_BYTES, 3), true; }));
    row("close()", throws(
                       open_signature, [](auto& s) { return &s->close() == s.get(); }, is_open));
    row("to_binary() const",
        throws(closed_signature, [](auto& s) { return is(s->to_binary(), OF_ABC); }));
    row("to_string() const",
        throws(closed_signature, [](auto& s) { return s->to_string() == OF_ABC; }));
    row("hexify(unsigned char*)", throws([] {
            unsigned char zeros[20] = {};
            return Signature::hexify(zeros).size() == 40;
        }));
    row("free_binary(unsigned char*)",
        none(made<Released>, [](auto& r) { return Signature::free_binary(r.binary), true; }));
    row("free_binary(unsigned char**)", none(made<Released>, [](auto& r) {
            return Signature::free_binary(&r.binary), r.binary == nullptr;
        }));

    row("binary()", throws([] { return is(Signature::binary(), OF_NOTHING); }));
    row("binary(char const*, unsigned int)",
        throws([] { return is(Signature::binary("abc", 3), OF_ABC); }));
    row("binary(unsigned char const*, unsigned int)",
        throws([] { return is(Signature::binary(ABC_BYTES, 3), OF_ABC); }));
    row("binary(std::string const&)", throws([] { return is(Signature::binary(ABC), OF_ABC); }));
    row("binary(wchar_t const*, unsigned int)",
        throws([] { return is(Signature::binary(L"abc", 3), OF_WIDE); }));
    row("binary(std::wstring const&)",
        throws(Wide(L"abc"), [](auto& w) { return is(Signature::binary(w), OF_WIDE); }));
    row("binary(nuriccl::Signature::SignableObject&)",
        throws(Signable(), [](auto& o) { return is(Signature::binary(o), OF_ABC); }));
    row("binary(nuriccl::Signature::SignableObject*)",
        throws(Signable(), [](auto& o) { return is(Signature::binary(&o), OF_ABC); }));
    row("binary(std::istream&)",
        signs_stream([](auto& s, auto& right) { return is(Signature::binary(s), right); }));

    row("of()", throws([] { return Signature::of() == OF_NOTHING; }));
    row("of(char const*, unsigned int)", throws([] { return Signature::of("abc", 3) == OF_ABC; }));
    row("of(unsigned char const*, unsigned int)",
        throws([] { return Signature::of(ABC_BYTES, 3) == OF_ABC; }));
    row("of(std::string const&)", throws([] { return Signature::of(ABC) == OF_ABC; }));
    row("of(wchar_t const*, unsigned int)",
        throws([] { return Signature::of(L"abc", 3) == OF_WIDE; }));
    row("of(std::wstring const&)",
        throws(Wide(L"abc"), [](auto& w) { return Signature::of(w) == OF_WIDE; }));
    row("of(nuriccl::Signature::SignableObject&)",
        throws(Signable(), [](auto& o) { return Signature::of(o) == OF_ABC; }));
    row("of(nuriccl::Signature::SignableObject*)",
        throws(Signable(), [](auto& o) { return Signature::of(&o) == OF_ABC; }));
    row("of(std::istream&)",
        signs_stream([](auto& s, auto& right) { return Signature::of(s) == right; }));
    return row;
}

} // namespace

TEST(ExhaustedMemory, Base64Wrapper) { base64_table().hold(); }
TEST(ExhaustedMemory, Zlib) { zlib_table().hold(); }
TEST(ExhaustedMemory, Signature) { signature_table().hold(); }

// Encoding

namespace {

using Encoding::CodePage;

// The name of the locale is long then.
class LongLocale {
public:
    LongLocale() = default;

private:
    scoped::CLocale locale_{"C.UTF-8", LC_CTYPE};
};

bool same(const CodePage& a, const CodePage& b) {
    return a.m_codePage == b.m_codePage && a.m_number == b.m_number && a.m_locale == b.m_locale &&
           a.m_name == b.m_name;
}

CodePage utf16() { return {Encoding::CP_UTF16}; }

// Without room in the name of the locale.
CodePage default_page() {
    CodePage page(Encoding::CP_DEFAULT);
    std::string().swap(page.m_locale);
    return page;
}

const char LONG_NAME[] = "WINDOWS-1252//TRANSLIT";

// Leaves the description as it was.
template <class Call>
Case describes(Call call) {
    return throws(default_page, call, [](auto& page) { return same(page, default_page()); });
}

// iconv without memory cannot be told from a code page that it does not know: the result is false.
constexpr unsigned ICONV = BAD_ALLOC | REPORTS;
const Text UTF16 = Text("\xff\xfe", 2) + [] {
    Text text;
    for (const char c : PLAIN) {
        text += c;
        text += '\0';
    }
    return text;
}();
const auto UTF16_LENGTH = static_cast<unsigned int>(UTF16.size());
const auto PLAIN_LENGTH = static_cast<unsigned int>(PLAIN.size());

template <class Prototype, class Call>
Case converts(unsigned ends, Prototype prototype, Call call) {
    return ends_by(ends, prototype, call, [](auto&) { return true; });
}

// The memory of the environment's locale is the standard library's, which does not bear it when
// malloc fails for a locale that it copies.
template <class Out, class Call>
Case changes_case(const Out& before, Call call) {
    return with_spared_malloc(throws(before, call));
}

Table encoding_table() {
    using namespace Encoding;
    Table row("");
    row("nuriccl::operator<<(std::ostream&, nuriccl::Encoding::CodePage const&)",
        none(made<Sink>, [page = utf16()](auto& sink) {
            return sink.stream << page, sink.place.holds("UTF-16");
        }));
    row("nuriccl::Encoding::CodePage::CodePage(nuriccl::Encoding::CodePages_e)",
        throws([] { return CodePage(CP_UTF16).m_name == "UTF-16"; }));
    row("nuriccl::Encoding::CodePage::init(nuriccl::Encoding::CodePages_e)",
        describes([](auto& page) { return page.init(CP_UTF16), page.m_name == "UTF-16"; }));
    row("nuriccl::Encoding::CodePage::init(unsigned int)",
        describes([](auto& page) { return page.init(37u), page.m_number == 37; }));
    row("nuriccl::Encoding::CodePage::init(char const*)",
        describes([](auto& page) { return page.init(LONG_NAME), page.m_name == LONG_NAME; }));
    row("nuriccl::Encoding::CodePage::init(unsigned int, char const*)", describes([](auto& page) {
            return page.init(37, LONG_NAME), page.m_name == LONG_NAME && page.m_number == 37;
        }));
    row("nuriccl::Encoding::CodePage::isDefault() const",
        none(default_page, [](auto& page) { return page.isDefault(); }));
    row("nuriccl::Encoding::CodePage::operator==(nuriccl::Encoding::CodePage const&) const",
        none(utf16, [page = utf16()](auto& other) { return page == other; }));
    row("nuriccl::Encoding::getDefaultCodePage()",
        throws([] { return getDefaultCodePage().m_name == "UTF-8"; }));
    row("nuriccl::Encoding::codePageToString(nuriccl::Encoding::CodePage const&)",
        none(utf16,
             [](auto& page) { return codePageToString(page) == std::string_view("UTF16"); }));

    const auto to_multibyte = [](const CodePage& page, const Text& right) {
        return [&right, page](auto& out) {
            return toMultibyte(PLAIN_W.data(), PLAIN_LENGTH, out, page) && out == right;
        };
    };
    const Text multibyte = "nuriccl::Encoding::toMultibyte(wchar_t const*, unsigned int, "
                           "std::string&, nuriccl::Encoding::CodePage const&, char const*, bool)";
    row(multibyte, converts(BAD_ALLOC, Text(), to_multibyte(CP_DEFAULT, PLAIN)));
    row(multibyte, converts(BAD_ALLOC, Text(), to_multibyte(CP_UTF8, PLAIN)));
    row(multibyte, converts(ICONV, Text(), to_multibyte(CP_UTF16, UTF16)));
    const Text wide = "nuriccl::Encoding::toWideChar(char const*, unsigned int, std::wstring&, "
                      "nuriccl::Encoding::CodePage const&, bool)";
    row(wide, converts(BAD_ALLOC, Wide(), [page = CodePage(CP_DEFAULT)](auto& out) {
            return toWideChar("aaaaaaaa", 8, out, page) && out == L"aaaaaaaa";
        }));
    row(wide, converts(BAD_ALLOC, Wide(), [page = CodePage(CP_UTF8)](auto& out) {
            return toWideChar(PLAIN.data(), PLAIN_LENGTH, out, page) && out == PLAIN_W;
        }));
    row(wide, converts(ICONV, Wide(), [page = CodePage(CP_UTF16)](auto& out) {
            return toWideChar(UTF16.data(), UTF16_LENGTH, out, page) && out == PLAIN_W;
        }));

    row("nuriccl::Encoding::ToUpperCase::ToUpperCase(std::locale const&)",
        none([] { return ToUpperCase(std::locale())(L'a') == L'A'; }));
    row("nuriccl::Encoding::ToLowerCase::ToLowerCase(std::locale const&)",
        none([] { return ToLowerCase(std::locale())(L'A') == L'a'; }));
    row("nuriccl::Encoding::toUpperCase(std::string const&, std::string&)",
        changes_case(Text(), [](auto& out) { return toUpperCase(PLAIN, out) && out == UPPER; }));
    row("nuriccl::Encoding::toUpperCase(std::wstring const&, std::wstring&)",
        changes_case(Wide(),
                     [](auto& out) { return toUpperCase(PLAIN_W, out) && out == UPPER_W; }));
    row("nuriccl::Encoding::toLowerCase(std::string const&, std::string&)",
        changes_case(Text(), [](auto& out) { return toLowerCase(UPPER, out) && out == PLAIN; }));
    row("nuriccl::Encoding::toLowerCase(std::wstring const&, std::wstring&)",
        changes_case(Wide(),
                     [](auto& out) { return toLowerCase(UPPER_W, out) && out == PLAIN_W; }));

    const auto upper = ToUpperCase(std::locale());
    const auto lower = ToLowerCase(std::locale());
    row("bool nuriccl::transformString<nuriccl::Encoding::ToUpperCase>(std::string const&, "
        "std::string&, nuriccl::Encoding::ToUpperCase const&)",
        throws(Text(),
               [upper](auto& out) { return transformString(PLAIN, out, upper) && out == UPPER; }));
    row("bool nuriccl::transformString<nuriccl::Encoding::ToUpperCase>(std::wstring const&, "
        "std::wstring&, nuriccl::Encoding::ToUpperCase const&)",
        throws(Wide(), [upper](auto& out) {
            return transformString(PLAIN_W, out, upper) && out == UPPER_W;
        }));
    row("bool nuriccl::transformString<nuriccl::Encoding::ToLowerCase>(std::string const&, "
        "std::string&, nuriccl::Encoding::ToLowerCase const&)",
        throws(Text(),
               [lower](auto& out) { return transformString(UPPER, out, lower) && out == PLAIN; }));
    row("bool nuriccl::transformString<nuriccl::Encoding::ToLowerCase>(std::wstring const&, "
        "std::wstring&, nuriccl::Encoding::ToLowerCase const&)",
        throws(Wide(), [lower](auto& out) {
            return transformString(UPPER_W, out, lower) && out == PLAIN_W;
        }));
    return row;
}

// Keeps iconv's modules loaded, whose memory is the C library's own.
class LoadedConverters {
public:
    LoadedConverters()
        : to_(iconv_open("UTF-16", "UTF32LE")), from_(iconv_open("UTF32LE", "UTF-16")) {}
    ~LoadedConverters() {
        iconv_close(to_);
        iconv_close(from_);
    }
    LoadedConverters(const LoadedConverters&) = delete;
    LoadedConverters& operator=(const LoadedConverters&) = delete;

private:
    iconv_t to_;
    iconv_t from_;
};

Table encoder_table() {
    using Encoder = CharacterEncoder;
    static const Encoder encoder(Encoder::DEFAULT_CHARS_TO_ENCODE);
    static const Text NAME = "a name: of some length";
    static const Text ENCODED = "a name%3a of some length";
    static const Text LINES = "some lines\nof text";
    static const Text LINES_ENCODED = "some lines%0aof text";
    Table row("nuriccl::CharacterEncoder::");
    row("CharacterEncoder(std::string const&)",
        none([] { return Encoder(PLAIN).encoded_size("a") == 4; }));
    row("protect(std::string const&)",
        none(encoder, [](auto& e) { return e.protect(PLAIN), e.encoded_size("a") == 4; }));
    row("protect(char)",
        none(encoder, [](auto& e) { return e.protect('a'), e.encoded_size("a") == 4; }));
    row("encoded_size(std::string const&) const",
        none([] { return encoder.encoded_size(NAME) == 25; }));
    row("encoded_size(std::string const&, char) const",
        none([] { return encoder.encoded_size(NAME, '%') == 25; }));
    row("encode(std::string const&) const", throws([] { return encoder.encode(NAME) == ENCODED; }));
    row("encode(std::string&, char) const",
        strong(NAME, [](auto& s) { return encoder.encode(s, '%') && s == ENCODED; }));
    row("encode(char const*, char*, int, char) const", none(Space(), [](auto& to) {
            return encoder.encode(NAME.c_str(), to.bytes, 40, '%') == 1 && to.bytes == ENCODED;
        }));
    row("decode(std::string const&) const", throws([] { return encoder.decode(ENCODED) == NAME; }));
    row("decode(std::string&, char)",
        none(ENCODED, [](auto& s) { return Encoder::decode(s, '%') && s == NAME; }));
    row("decode(char*, char)",
        none(ENCODED, [](auto& s) { return Encoder::decode(s.data(), '%') && s.c_str() == NAME; }));
    row("encode_unprintable(std::string&, char)", strong(LINES, [](auto& s) {
            return Encoder::encode_unprintable(s, '%') && s == LINES_ENCODED;
        }));
    row("encode_unprintable(char*, int, char)", none(LINES + Text(3, char()), [](auto& s) {
            return Encoder::encode_unprintable(s.data(), 21, '%') == 1;
        }));
    row("decode_unprintable(std::string const&, char)",
        throws([] { return Encoder::decode_unprintable(LINES_ENCODED, '%') == LINES; }));
    row("encode_vSphereVM_name(std::string const&)", throws([] {
            return Encoder::encode_vSphereVM_name("a name/of some length") ==
                   "a name%2fof some length";
        }));
    row("decode_vSphereVM_name(std::string const&)",
        throws(Text("a name%2fof some length"), [](auto& s) {
            return Encoder::decode_vSphereVM_name(s) == "a name/of some length";
        }));
    return row;
}

} // namespace

TEST(ExhaustedMemory, Encoding) {
    const LongLocale locale;
    const scoped::Variable environment("LC_ALL", "C.UTF-8");
    const std::locale loaded("C.UTF-8"); // its tables are the C library's own
    const LoadedConverters converters;
    encoding_table().hold();
}

TEST(ExhaustedMemory, CharacterEncoder) { encoder_table().hold(); }

// Values and schedules

namespace {

const Text TIME = "2026-11-21T08:43:58.07-05:30";
const isotime TIME_RECORD = to_isotime(TIME);
const Text HEX = "                    12"; // by a stream

// Reads a number by a stream; what it is read into stays as it was.
template <class T>
Case reads_number() {
    return strong(T{1}, [](T& out) { return fromStr(out, HEX, std::hex) && out == T{0x12}; });
}

// Digits in groups of three, for which a stream allocates.
class Groups : public std::numpunct<char> {
protected:
    std::string do_grouping() const override { return "\3"; }
};

class GroupingLocale {
public:
    GroupingLocale() { std::locale::global(std::locale(earlier_, new Groups)); }
    ~GroupingLocale() { std::locale::global(earlier_); }
    GroupingLocale(const GroupingLocale&) = delete;
    GroupingLocale& operator=(const GroupingLocale&) = delete;

private:
    std::locale earlier_;
};

template <class T>
Case reads_character() {
    return none(T{1}, [](T& out) { return fromStr(out, PLAIN) && out == 'a'; });
}

template <class T>
Case writes_long_number() {
    return throws(
        [] { return to_str(static_cast<T>(1) << 62, std::oct) == "400000000000000000000"; });
}

template <class T>
Case writes_short_number() {
    return none([] { return to_str(static_cast<T>(1) << 30, std::oct) == "10000000000"; });
}

template <class T>
Case writes_number() {
    if constexpr (sizeof(T) == 8) {
        return writes_long_number<T>();
    } else {
        return writes_short_number<T>();
    }
}

Table util_table() {
    Table row("");
    row("nuriccl::to_str(bool)", none([] { return to_str(true) == "true"; }));
    row("nuriccl::to_str(char const*)", throws([] { return to_str(PLAIN.c_str()) == PLAIN; }));
    row("nuriccl::to_str(std::string const&)", throws([] { return to_str(PLAIN) == PLAIN; }));
    row("nuriccl::to_str(double)",
        throws([] { return to_str(1e20) == "100000000000000000000.00"; }));
    row("nuriccl::to_str(isotime const&)", throws([] { return to_str(TIME_RECORD) == TIME; }));
    row("nuriccl::to_str(isotime const&, std::ios_base& (*)(std::ios_base&))",
        throws([] { return to_str(TIME_RECORD, std::dec) == TIME; }));
    row("nuriccl::to_str(int, std::ios_base& (*)(std::ios_base&))", writes_number<int>());
    row("nuriccl::to_str(unsigned int, std::ios_base& (*)(std::ios_base&))",
        writes_number<unsigned int>());
    row("nuriccl::to_str(long, std::ios_base& (*)(std::ios_base&))", writes_number<long>());
    row("nuriccl::to_str(unsigned long, std::ios_base& (*)(std::ios_base&))",
        writes_number<unsigned long>());
    row("nuriccl::to_str(long long, std::ios_base& (*)(std::ios_base&))",
        writes_number<long long>());
    row("nuriccl::to_str(unsigned long long, std::ios_base& (*)(std::ios_base&))",
        writes_number<unsigned long long>());

    const Text manipulator = ", std::ios_base& (*)(std::ios_base&))";
    row("bool nuriccl::fromStr<char>(char&, std::string const&" + manipulator,
        reads_number<char>());
    row("bool nuriccl::fromStr<unsigned char>(unsigned char&, std::string const&" + manipulator,
        reads_number<unsigned char>());
    row("bool nuriccl::fromStr<short>(short&, std::string const&" + manipulator,
        reads_number<short>());
    row("bool nuriccl::fromStr<unsigned short>(unsigned short&, std::string const&" + manipulator,
        reads_number<unsigned short>());
    row("bool nuriccl::fromStr<int>(int&, std::string const&" + manipulator, reads_number<int>());
    row("bool nuriccl::fromStr<unsigned int>(unsigned int&, std::string const&" + manipulator,
        reads_number<unsigned int>());
    row("bool nuriccl::fromStr<long long>(long long&, std::string const&" + manipulator,
        reads_number<long long>());
    row("bool nuriccl::fromStr<unsigned long long>(unsigned long long&, std::string const&" +
            manipulator,
        reads_number<unsigned long long>());
    row("bool nuriccl::fromStr<char>(char&, std::string const&)", reads_character<char>());
    row("bool nuriccl::fromStr<unsigned char>(unsigned char&, std::string const&)",
        reads_character<unsigned char>());
    row("bool nuriccl::fromStr<bool>(bool&, std::string const&)",
        none(false, [](auto& out) { return fromStr(out, "true") && out; }));
    row("bool nuriccl::fromStr<bool>(bool&, std::string const&" + manipulator,
        none(false, [](auto& out) { return fromStr(out, "true", std::dec) && out; }));
    row("bool nuriccl::fromStr<isotime>(isotime&, std::string const&)",
        none(isotime(), [](auto& out) { return fromStr(out, TIME) && out.day == 21; }));
    row("bool nuriccl::fromStr<isotime>(isotime&, std::string const&" + manipulator,
        none(isotime(), [](auto& out) { return fromStr(out, TIME, std::dec) && out.day == 21; }));
    row("nuriccl::to_isotime(std::string const&)", none([] { return to_isotime(TIME).day == 21; }));

    row("std::dec(std::ios_base&)",
        none(made<Sink>, [](auto& sink) { return &std::dec(sink.stream) == &sink.stream; }));
    row("std::hex(std::ios_base&)",
        none(made<Sink>, [](auto& sink) { return &std::hex(sink.stream) == &sink.stream; }));
    row("std::oct(std::ios_base&)",
        none(made<Sink>, [](auto& sink) { return &std::oct(sink.stream) == &sink.stream; }));
    return row;
}

Table functor_table() {
    Table row("nuriccl::");
    row("ToString::operator()(std::string const&) const",
        throws([] { return ToString()(PLAIN) == PLAIN; }));
    row("ToString::operator()(char const*) const",
        throws([] { return ToString()(PLAIN.c_str()) == PLAIN; }));
    row("ToString::operator()(bool) const", none([] { return ToString()(false) == "false"; }));
    row("ToString::operator()(int) const",
        none([] { return ToString()(-2147483647) == "-2147483647"; }));
    row("ToString::operator()(unsigned int) const",
        none([] { return ToString()(4294967295u) == "4294967295"; }));
    row("ToLower::operator()(char) const", none([] { return ToLower()('A') == 'a'; }));
    row("StringMatcher::operator()(std::string const&) const",
        none(StringMatcher(PLAIN, true), [](auto& matcher) { return matcher(UPPER); }));
    return row;
}

bool same_version(const Version& a, const Version& b) { return a.compare_build(b) == 0; }

Table version_table() {
    static const Text LONG = "0000000000000007.12.345";
    static const Version VERSION("7.12.345");
    Table row("nuriccl::Version::");
    row("Version(char const*)",
        throws([] { return same_version(Version(LONG.c_str()), VERSION); }));
    row("Version(std::string const&)", throws([] { return same_version(Version(LONG), VERSION); }));
    row("init(std::string const&)",
        throws(
            Version("1.2.3"), [](auto& v) { return v.init(LONG), same_version(v, VERSION); },
            [](auto& v) { return same_version(v, Version("1.2.3")); }));
    row("compare(nuriccl::Version const&, nuriccl::Version::granularity const&) const",
        none([] { return VERSION.compare(VERSION, Version::BUILD) == 0; }));
    row("compare_major(nuriccl::Version const&) const",
        none([] { return VERSION.compare_major(VERSION) == 0; }));
    row("compare_minor(nuriccl::Version const&) const",
        none([] { return VERSION.compare_minor(VERSION) == 0; }));
    row("compare_patch(nuriccl::Version const&) const",
        none([] { return VERSION.compare_patch(VERSION) == 0; }));
    row("compare_build(nuriccl::Version const&) const",
        none([] { return VERSION.compare_build(VERSION) == 0; }));
    row("compare_major(std::string const&) const",
        throws([] { return VERSION.compare_major(LONG) == 0; }));
    row("compare_minor(std::string const&) const",
        throws([] { return VERSION.compare_minor(LONG) == 0; }));
    row("compare_patch(std::string const&) const",
        throws([] { return VERSION.compare_patch(LONG) == 0; }));
    row("compare_build(std::string const&) const",
        throws([] { return VERSION.compare_build(LONG) == 0; }));
    return row;
}

const Text SCHEDULE = "0,30 8-18/2 1,15 1-3 1-5";
const Text MINUTES = "20,40,50,51,52,53";
const Text HOURS = "10,14,15,16,17,18";
const Text DAYS = "1010101010101010101010101010101";

bool same_cron(const Cron& a, const Cron& b) {
    return std::memcmp(&a.block(), &b.block(), sizeof(cronblk)) == 0 && a.valid() == b.valid();
}

// Leaves the schedule as it was.
template <class Call>
Case schedules(Call call) {
    return throws(Cron("1 2 3 4 5"), call,
                  [](auto& cron) { return same_cron(cron, Cron("1 2 3 4 5")); });
}

Table cron_table() {
    static const Cron CRON(SCHEDULE);
    Table row("nuriccl::Cron::");
    row("Cron(std::string const&)", throws([] { return same_cron(Cron(SCHEDULE), CRON); }));
    row("convert(std::string const&)",
        schedules([](auto& cron) { return cron.convert(SCHEDULE) && same_cron(cron, CRON); }));
    row("to_str() const", throws([] { return CRON.to_str() == SCHEDULE; }));
    row("Minute() const", none([] { return CRON.Minute() == 0; }));
    row("Minute(std::string const&)",
        none(CRON, [](auto& cron) { return cron.Minute(MINUTES) != 0 && cron.Minute() == 20; }));
    row("Hour() const", none([] { return CRON.Hour() == 8; }));
    row("Hour(std::string const&)",
        none(CRON, [](auto& cron) { return cron.Hour(HOURS) != 0 && cron.Hour() == 10; }));
    row("IsSubDaily() const", none([] { return CRON.IsSubDaily(); }));
    row("SetIntraDailyHours(std::string, IntervalSet const&)", // the caller copies a long field
        throws(
            CRON,
            [](auto& cron) {
                return cron.SetIntraDailyHours(MINUTES, {22, 4, 2}) && cron.Hour() == 0;
            },
            [](auto& cron) { return same_cron(cron, CRON); }));
    row("Days() const",
        throws(CRON, [](auto& cron) { return cron.Days() == "1000000000000010000000000000000"; }));
    row("Days(std::string const&)",
        schedules([](auto& cron) { return cron.Days(DAYS), cron.block().days == 0xAAAAAAAA; }));
    row("DaysOfWeek() const", none([] { return CRON.DaysOfWeek() == "0111110"; }));
    row("DaysOfWeek(std::string const&)", none(CRON, [](auto& cron) {
            return cron.DaysOfWeek(DAYS), cron.block().weekdays == 0x55;
        }));
    row("Months(unsigned int const&)",
        none(CRON, [](auto& cron) { return cron.Months(5), cron.block().months == 5; }));
    row("LastDayOfMonth() const", none([] { return !CRON.LastDayOfMonth(); }));
    row("LastDayOfMonth(bool)",
        none(CRON, [](auto& cron) { return cron.LastDayOfMonth(true), cron.LastDayOfMonth(); }));
    return row;
}

} // namespace

TEST(ExhaustedMemory, Util) {
    util_table().hold();
    const GroupingLocale locale;
    util_table().hold();
}

TEST(ExhaustedMemory, StringFunctors) { functor_table().hold(); }
TEST(ExhaustedMemory, Version) { version_table().hold(); }
TEST(ExhaustedMemory, Cron) { cron_table().hold(); }

// Lists and maps

namespace {

const Text RECORD = "\"fields of some length\",\"of which, there are\",\"three in \"\"this line\"";
const Text RECORD_WRITTEN =
    "fields of some length,\"of which, there are\",\"three in \"\"this line\"";
const Fields RECORD_FIELDS = {"fields of some length", "of which, there are",
                              "three in \"this line"};
const Text LONG_SEPARATOR = " and then, as the next field, ";

bool has_record(const FSVList& list) { return list.to_list() == RECORD_FIELDS; }

struct Reading {
    unsigned int position = 0;
    Text out = SHORT;
};

Table fsvlist_table() {
    const FSVList read = FSVList().parse(RECORD);
    Table row("nuriccl::FSVList::");
    row("FSVList(std::string const&)",
        throws([] { return FSVList(LONG_SEPARATOR).to_str().empty(); }));
    row("field_separator(std::string const&)",
        throws(
            FSVList().parse("a,b"),
            [](auto& list) { return &list.field_separator(LONG_SEPARATOR) == &list; },
            [](auto& list) { return list.to_str() == "a,b"; }));
    row("parse(std::string const&, bool)",
        throws(
            FSVList().parse("a,b"), [](auto& list) { return &list.parse(RECORD) == &list; },
            [](auto& list) { return list.to_str() == "a,b"; }));
    row("to_str(bool) const",
        throws(
            read, [](auto& list) { return list.to_str() == RECORD_WRITTEN; }, has_record));
    row("to_list() const",
        throws(
            read, [](auto& list) { return list.to_list() == RECORD_FIELDS; }, has_record));
    row("QuoteStringCSV(std::string const&, std::string&, char, char const*, char const*, char, "
        "char const*, bool, bool)",
        strong(SHORT, [](auto& out) {
            return FSVList::QuoteStringCSV("a, b", out, '"', ",", "", 0, "", false, false) &&
                   out == "fifteen letters,\"a, b\"";
        }));
    row("DequoteStringCSV(unsigned int&, std::string const&, std::string&, unsigned int*, unsigned "
        "int*, char, char const*, char, char const*, bool)",
        throws(
            Reading(),
            [](auto& r) {
                return FSVList::DequoteStringCSV(r.position, RECORD, r.out, nullptr, nullptr, '"',
                                                 ",", 0, "", false) &&
                       r.out == RECORD_FIELDS[0];
            },
            [](auto& r) { return r.position == 0; }));
    return row;
}

const char MAP_TEXT[] = "a name of some length|address of some length,another one of some length\n"
                        "the next name of some length|an address of some length\n";

AddressMap saved_map() {
    AddressMap map;
    map["a name of some length"] = {"address of some length", "another one of some length"};
    map["the next name of some length"] = {"an address of some length"};
    return map;
}

struct Loaded {
    std::unique_ptr<Source> source = std::make_unique<Source>(MAP_TEXT);
    AddressMap map;
    bool load() {
        source->rewind();
        map.Load(source->stream);
        return map.size() == 2;
    }
};

// A stream without memory, or a file that cannot be opened for lack of it, is an error of the
// map's.
constexpr unsigned MAP = BAD_ALLOC | OTHER_ERROR;

Table address_map_table(const Text& file) {
    static const AddressMap SAVED = saved_map();
    const auto holds_some = [](const AddressMap& map) { return starts(SAVED, map); };
    const auto any = [](auto&) { return true; };
    Table row("nuriccl::AddressMap::");
    row("Save(std::ostream&) const", throws(made<Sink>, [](auto& sink) {
            sink.place.rewind();
            SAVED.Save(sink.stream);
            return sink.place.holds(MAP_TEXT);
        }));
    row("Load(std::istream&)", ends_by(
                                   MAP, made<Loaded>, [](auto& loaded) { return loaded.load(); },
                                   [=](auto& loaded) { return holds_some(loaded.map); }));
    row("Save(std::string const&) const",
        ends_by(
            MAP, 0, [file](auto&) { return SAVED.Save(file), true; }, any));
    row("Load(std::string const&)",
        ends_by(
            MAP, AddressMap(), [file](auto& map) { return map.Load(file), map.size() == 2; },
            holds_some));
    return row;
}

} // namespace

TEST(ExhaustedMemory, FSVList) { fsvlist_table().hold(); }

TEST(ExhaustedMemory, AddressMap) {
    const files::Directory directory;
    address_map_table(directory / "map").hold();
}

// Names of files, and the system

namespace {

using Name = FilenameHelper;
const Text PATH = "/a path of/some length";
const Wide PATH_W = L"/a path of/some length";
const std::list<Text> PARTS = {"/", "a path of", "some length"};
const Text DEVICE = "\\\\?\\globalroot\\device\\harddiskvolumeshadowcopy1";

Table filename_table() {
    using Encoding::CP_UTF8;
    Table row("nuriccl::FilenameHelper::");
    row("isDirectory(std::string const&)", none([] { return !Name::isDirectory(PATH); }));
    row("isDirectory(std::wstring const&)", none([] { return !Name::isDirectory(PATH_W); }));
    row("hasRecurseMarker(std::string const&, bool*, bool)",
        none([] { return !Name::hasRecurseMarker(PATH); }));
    row("hasRecurseMarker(std::wstring const&)",
        none([] { return !Name::hasRecurseMarker(PATH_W); }));
    row("isUNCDevicePath(std::string const&)", none([] { return !Name::isUNCDevicePath(PATH); }));
    row("isUNCDevicePath(std::wstring const&)",
        none([] { return !Name::isUNCDevicePath(PATH_W); }));
    row("isDevice(std::string const&)", none([] { return !Name::isDevice(PATH); }));
    row("isDevice(std::wstring const&)", none([] { return !Name::isDevice(PATH_W); }));
    row("isGlobalRootDevicePath(std::string const&)",
        throws([] { return Name::isGlobalRootDevicePath(DEVICE); }));
    row("isShadowCopyDevicePath(std::string const&)",
        throws([] { return Name::isShadowCopyDevicePath(DEVICE); }));
    row("isRelative(std::string const&)", none([] { return !Name::isRelative(PATH); }));
    row("isRelative(std::wstring const&)", none([] { return !Name::isRelative(PATH_W); }));
    row("hasWildCard(std::string const&)", none([] { return !Name::hasWildCard(PATH); }));
    row("hasWildCard(std::wstring const&)", none([] { return !Name::hasWildCard(PATH_W); }));

    row("addUnipathMarker(std::string const&)",
        throws([] { return Name::addUnipathMarker(PATH) == PATH; }));
    row("addUnipathMarker(std::wstring const&)",
        throws([] { return Name::addUnipathMarker(PATH_W) == PATH_W; }));
    row("removeUnipathMarker(std::string const&)",
        throws([] { return Name::removeUnipathMarker(PATH) == PATH; }));
    row("removeUnipathMarker(std::wstring const&)",
        throws([] { return Name::removeUnipathMarker(PATH_W) == PATH_W; }));
    row("getProperCaseAnsi(std::string const&)",
        throws([] { return Name::getProperCaseAnsi(PATH) == PATH; }));
    row("removeRecurseMarker(std::string const&, bool)",
        throws([] { return Name::removeRecurseMarker(PATH) == PATH; }));
    row("removeRecurseMarker(std::wstring const&)",
        throws([] { return Name::removeRecurseMarker(PATH_W) == PATH_W; }));
    row("convertAltStreamName(std::string)",
        throws([] { return Name::convertAltStreamName(PATH) == PATH; }));
    row("convertAltStreamName(std::wstring)",
        throws([] { return Name::convertAltStreamName(PATH_W) == PATH; }));
    row("removeWildcardMarker(std::string)",
        throws([] { return Name::removeWildcardMarker(PATH) == PATH; }));
    row("squeeze(std::string const&, std::string const&)",
        throws([] { return Name::squeeze(PATH) == PATH; }));
    row("squeeze(std::wstring const&, std::wstring const&)",
        throws([] { return Name::squeeze(PATH_W, L"--") == PATH_W; }));
    row("chopSeparator(std::string const&)",
        throws([] { return Name::chopSeparator(PATH) == PATH; }));
    row("chopSeparator(std::wstring const&)",
        throws([] { return Name::chopSeparator(PATH_W) == PATH_W; }));
    row("join(std::string const&, std::string const&, std::string const&)",
        throws([] { return Name::join(PATH, "b").size() == 24; }));
    row("join(std::wstring const&, std::wstring const&, std::wstring const&)",
        throws([] { return Name::join(PATH_W, L"b").size() == 24; }));
    row("appendSeparator(std::string const&, std::string const&)",
        throws([] { return Name::appendSeparator(PATH).size() == 23; }));
    row("appendSeparator(std::wstring const&, std::wstring const&)",
        throws([] { return Name::appendSeparator(PATH_W).size() == 23; }));
    row("getDirName(std::string const&)",
        throws([] { return Name::getDirName(PATH) == "/a path of/"; }));
    row("getDirName(std::wstring const&)",
        throws([] { return Name::getDirName(PATH_W) == L"/a path of/"; }));
    row("appendRecurseMarker(std::string const&, bool)",
        throws([] { return Name::appendRecurseMarker(PATH).size() == 25; }));
    row("appendRecurseMarker(std::wstring const&)",
        throws([] { return Name::appendRecurseMarker(PATH_W).size() == 26; }));
    row("insertRecurseMarker(std::string const&)",
        throws([] { return Name::insertRecurseMarker(PATH).size() == 24; }));
    row("insertRecurseMarker(std::wstring const&)",
        throws([] { return Name::insertRecurseMarker(PATH_W).size() == 24; }));
    row("selectAllBelowPath(std::string const&)",
        throws([] { return Name::selectAllBelowPath(PATH).size() == 26; }));
    row("selectAllBelowPath(std::wstring const&)",
        throws([] { return Name::selectAllBelowPath(PATH_W).size() == 28; }));

    row("split_filename(std::string const&, std::list<std::string, std::allocator<std::string>>&)",
        throws(
            std::list<Text>{PLAIN},
            [](auto& parts) { return Name::split_filename(PATH, parts), parts == PARTS; },
            [](auto& parts) { return starts(PARTS, parts); }));
    row("squeeze_filename(std::string&)", strong(PATH + "/.", [](auto& path) {
            return Name::squeeze_filename(path) && path == PATH;
        }));

    row("wideToMultibyte(std::string&, std::wstring const&, nuriccl::Encoding::CodePages_e, bool)",
        throws(Text(), [](auto& out) {
            return Name::wideToMultibyte(out, PATH_W, CP_UTF8) && out == PATH;
        }));
    row("wideToMultibyte(std::wstring const&, nuriccl::Encoding::CodePages_e, bool)",
        throws([] { return Name::wideToMultibyte(PATH_W, CP_UTF8) == PATH; }));
    row("multibyteToWide(std::wstring&, std::string const&, nuriccl::Encoding::CodePages_e, bool)",
        throws(Wide(), [](auto& out) {
            return Name::multibyteToWide(out, PATH, CP_UTF8) && out == PATH_W;
        }));
    row("multibyteToWide(std::string const&, nuriccl::Encoding::CodePages_e, bool)",
        throws([] { return Name::multibyteToWide(PATH, CP_UTF8) == PATH_W; }));
    row("CodePage_UTF8::operator()(std::string const&) const",
        throws([] { return Name::CodePage_UTF8()(PATH) == PATH; }));
    row("UTF8_CodePage::operator()(std::string const&) const",
        throws([] { return Name::UTF8_CodePage()(PATH) == PATH; }));
    return row;
}

// The lock of this program's file.
const char LOCK[] = "/proc/self/exe";

struct Locked : SingleInstance {
    Locked() { EXPECT_EQ(checkForSingleInstance(LOCK), 0); }
};

struct Unlocking {
    std::optional<Locked> locked = std::optional<Locked>(std::in_place);
};

Table system_table() {
    Table row("nuriccl::");
    row("File::exists(std::string const&)", none([] { return !File::exists(PATH); }));
    row("File::IsRegularDirectory(std::string const&)",
        none([] { return !File::IsRegularDirectory(PATH); }));
    row("File::parts(std::string const&)", none([] { return File::parts(PATH) == 3; }));
    row("TempFile::ExclusionClassByNameAndType(std::string const&, "
        "nuriccl::TempFile::ExclusionType::values)",
        none([] {
            return !TempFile::ExclusionClassByNameAndType(PLAIN, TempFile::ExclusionType::SYSTEM);
        }));
    row("TempFile::PathToPattern(std::string&)",
        none(PATH, [](auto& path) { return TempFile::PathToPattern(path), path == PATH; }));
    row("ftokey(char const*)", none([] { return ftokey(LOCK) != -1; }));
    row("SingleInstance::SingleInstance()",
        none([] { return SingleInstance().ReleaseMutex() == 0; }));
    row("SingleInstance::~SingleInstance()",
        none(made<Unlocking>, [](auto& lock) { return lock.locked.reset(), true; }));
    row("SingleInstance::checkForSingleInstance(char const*)",
        none(made<SingleInstance>,
             [](auto& lock) { return lock.checkForSingleInstance(LOCK) == 0; }));
    row("SingleInstance::isSingleInstanceAvailable(char const*) const",
        none(made<Locked>, [](auto& lock) { return lock.isSingleInstanceAvailable(LOCK); }));
    row("SingleInstance::ReleaseMutex()",
        none(made<Locked>, [](auto& lock) { return lock.ReleaseMutex() == 0; }));
    return row;
}

} // namespace

TEST(ExhaustedMemory, FilenameHelper) {
    const LongLocale locale;
    filename_table().hold();
}

TEST(ExhaustedMemory, System) { system_table().hold(); }

// The agent's services

namespace {

using I18NMessage::Parameter;

VI18NError plain_error() { return {60, 8267, I18NMessage::error}; }

struct Recorded {
    ~Recorded() {
        trace.reset();
        csl::set_trace_stream(earlier);
    }
    Place place;
    std::ostream stream{&place};
    std::ostream* earlier = csl::set_trace_stream(&stream);
    std::optional<csl::NuriTrace> trace = std::optional<csl::NuriTrace>(std::in_place, 1);
};

struct Started : Recorded {
    Started() { trace->Message("a file of some length", "a function", 5).text = PLAIN; }
};

const Text TRACED = "[1] a file of some length(5): a function: a text that is longer than that\n";

const Text DAYS_FIELD = "0,2,4,6,8,10,12,14,16,18,20,22,24,26,28,30";

sha1_context begun() {
    sha1_context context;
    sha1_begin(&context);
    return context;
}

Table agent_table() {
    using base64::Base64;
    Table row("");
    row("I18NMessage::Parameter::Parameter(char const*)",
        throws([] { return Parameter(PLAIN.c_str()).text() == PLAIN; }));
    row("VI18NError::VI18NError(int, int, I18NMessage::MessageSeverity)",
        throws([] { return VI18NError(60, 8267, I18NMessage::error).message_set() == 60; }));
    row("VI18NError::VI18NError(int, int, I18NMessage::MessageSeverity, I18NMessage::Parameter "
        "const&)",
        throws(Parameter(PLAIN.c_str()), [](auto& text) {
            return VI18NError(60, 4145, I18NMessage::error, text).parameters()[0].text() == PLAIN;
        }));
    row("VI18NError::message_set() const",
        none(plain_error, [](auto& error) { return error.message_set() == 60; }));
    row("VI18NError::message_number() const",
        none(plain_error, [](auto& error) { return error.message_number() == 8267; }));
    row("VI18NError::severity() const",
        none(plain_error, [](auto& error) { return error.severity() == I18NMessage::error; }));
    row("VI18NError::parameters() const",
        none(plain_error, [](auto& error) { return error.parameters().empty(); }));
    row("VI18NError::what() const",
        none(plain_error, [](auto& error) { return *error.what() == 'R'; }));
    row("VI18NError::~VI18NError()", destroys<VI18NError>(60, 8267, I18NMessage::error));

    row("base64::Base64::GetInstance()",
        none([] { return &Base64::GetInstance() == &Base64::GetInstance(); }));
    row("base64::Base64::Encode(void const*, unsigned long long, char*, unsigned long long, "
        "base64::Results*) const",
        none(Space(), [](auto& to) {
            return Base64::GetInstance().Encode("abc", 3, to.bytes, 40, nullptr) == 4;
        }));
    row("base64::Base64::Decode(char const*, unsigned long long, void*, unsigned long long, "
        "base64::Results*) const",
        none(Space(), [](auto& to) {
            return Base64::GetInstance().Decode("YWJj", 4, to.bytes, 40, nullptr) == 3;
        }));

    row("csl::set_trace_stream(std::ostream*)", none([] {
            std::ostream* const earlier = csl::set_trace_stream(nullptr);
            return csl::set_trace_stream(earlier) == nullptr;
        }));
    row("csl::NuriTrace::NuriTrace(int)", none([] {
            const csl::NuriTrace trace(1);
            return true;
        }));
    row("csl::NuriTrace::Message(char const*, char const*, unsigned int)",
        throws(made<Recorded>, [](auto& r) {
            return r.trace->Message("a file of some length", "a function", 5).text.empty();
        }));
    const auto ended = [](auto& r) {
        return r.trace.reset(), r.place.holds(TRACED) || r.place.holds("");
    };
    row("csl::NuriTrace::~NuriTrace()",
        ends_by(SUCCEEDS, made<Started>, ended, ended)); // the record may be lost
    row("csl::NuriTrace::write()",
        ends_by(SUCCEEDS, made<Started>, ended, ended)); // private; called by the destructor

    row("pln_crn2str(cronblk const*)", throws(Cron(SCHEDULE).block(), [](auto& block) {
            return pln_crn2str(&block) == SCHEDULE;
        }));
    row("pln_str2crn(cronblk*, std::string const&)",
        throws(
            cronblk(),
            [](auto& block) { return pln_str2crn(&block, SCHEDULE) != 0 && block.months == 14; },
            [](auto& block) { return block.months == 0; }));
    row("pln_ent2msk(unsigned int*, std::string const&, unsigned int, unsigned int, bool)",
        none(0u, [](auto& mask) {
            return pln_ent2msk(&mask, DAYS_FIELD, 0, 31) != 0 && mask == 0x55555555;
        }));
    row("pln_ent2msk64(unsigned int*, unsigned int*, std::string const&, unsigned int)",
        none(0u, [](auto& mask) { return pln_ent2msk64(&mask, &mask, DAYS_FIELD, 64) != 0; }));

    row("safe::MemoryCopy(void*, unsigned int, void const*, unsigned int)",
        none(Space(), [](auto& to) {
            return safe::MemoryCopy(to.bytes, 40, BYTES, 40), to.bytes[39] == '.';
        }));
    row("safe::MemoryCopy(void*, unsigned int, void const*, unsigned int)", // its error has a text
        ends_by(
            BAD_ALLOC | SUCCEEDS, Space(),
            [](auto& to) {
                try {
                    safe::MemoryCopy(to.bytes, 39, BYTES, 40);
                    return false;
                } catch (const std::range_error&) {
                    return to.bytes[0] == 's';
                }
            },
            [](auto& to) { return to.bytes[0] == 's'; }));
    row("safe::StringToInt32(std::string const&)",
        none([] { return safe::StringToInt32(HEX) == 12; }));

    row("sha1_begin(sha1_context*)", none(sha1_context(), [](auto& context) {
            return sha1_begin(&context), context.length_low == 0;
        }));
    row("sha1_hash(unsigned char const*, unsigned int, sha1_context*)",
        none(begun, [](auto& context) {
            return sha1_hash(ABC_BYTES, 3, &context), context.length_low == 3;
        }));
    row("sha1_end(unsigned char*, sha1_context*)", none(begun, [](auto& context) {
            unsigned char digest[20];
            sha1_end(digest, &context);
            return digest[0] == 0xda;
        }));
    return row;
}

} // namespace

TEST(ExhaustedMemory, Agent) { agent_table().hold(); }

// Completeness

namespace {

// The functions among the symbols that a library exports.
void add_functions_of(const Text& library, std::set<Text>& functions) {
    std::ifstream list(NURICCL_SHARED_LIBRARIES "/" + library + "/exports.txt");
    ASSERT_TRUE(list) << library;
    for (Text line; std::getline(list, line);) {
        const bool is_comment = line[0] == '#';
        const bool is_function = line.find('(') != Text::npos;
        if (!is_comment && is_function) {
            functions.insert(line);
        }
    }
}

} // namespace

TEST(ExhaustedMemory, EveryFunction) {
    std::set<Text> exported;
    add_functions_of("nuriccl", exported);
    add_functions_of("nuriagent", exported);
    std::set<Text> held;
    for (const Table& table :
         {string_table(), buffer_table(), multibuffer_table(), base64_table(), zlib_table(),
          signature_table(), encoding_table(), encoder_table(), util_table(), functor_table(),
          version_table(), cron_table(), fsvlist_table(), address_map_table(""), filename_table(),
          system_table(), agent_table()}) {
        table.add_names_to(held);
    }
    for (const Text& function : exported) {
        EXPECT_EQ(held.count(function), 1u) << "No table has " << function;
    }
    for (const Text& function : held) {
        EXPECT_EQ(exported.count(function), 1u) << "No library exports " << function;
    }
}
