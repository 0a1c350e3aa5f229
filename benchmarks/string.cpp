#include "benchmark.hpp"
#include "data.hpp"

#include <nuriccl/string.hpp>

#include <boost/algorithm/string.hpp>
#include <boost/format.hpp>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <strings.h>
#ifdef NURICCL_BENCHMARK_64_BIT_PEERS
#include <absl/strings/match.h>
#include <absl/strings/str_format.h>
#include <absl/strings/str_replace.h>
#include <absl/strings/str_split.h>
#include <glib.h>
#include <memory>
#endif

namespace {

using namespace benchmarks;
namespace string = nuriccl::string;

// Comparison regardless of case

bool equal_by_hand(const std::string& a, const std::string& b) {
    if (a.size() != b.size()) {
        return false;
    }
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (std::toupper(static_cast<unsigned char>(a[i])) !=
            std::toupper(static_cast<unsigned char>(b[i]))) {
            return false;
        }
    }
    return true;
}

void compare_icompare(const std::string& id, const std::string& lower) {
    const std::string upper = boost::to_upper_copy(lower);
    Row row(id, [&] { return string::icompare(lower, upper) == 0; });
    row.peer("hand loop", [&] { return equal_by_hand(lower, upper); });
    row.peer("strcasecmp", [&] { return strcasecmp(lower.c_str(), upper.c_str()) == 0; });
    row.peer("Boost", [&] { return boost::algorithm::iequals(lower, upper); });
#ifdef NURICCL_BENCHMARK_64_BIT_PEERS
    row.peer("Abseil", [&] { return absl::EqualsIgnoreCase(lower, upper); });
    row.peer("GLib", [&] { return g_ascii_strcasecmp(lower.c_str(), upper.c_str()) == 0; });
#endif
    const std::string same = lower;
    row.limit("memcmp of equal texts",
              [&] { return std::memcmp(lower.data(), same.data(), lower.size()) == 0; });
}

// Fields

using Fields = std::vector<std::string>;

// 1 MiB of so many fields between commas.
std::string make_fields(std::size_t count) {
    Sequence sequence;
    std::string text(MIB, '\0');
    for (char& c : text) {
        c = static_cast<char>('a' + sequence.below(26));
    }
    for (std::size_t i = 1; i < count; ++i) {
        std::size_t place = 0;
        do {
            place = sequence.below(MIB);
        } while (text[place] == ',');
        text[place] = ',';
    }
    return text;
}

Fields split_by_memchr(const std::string& text) {
    Fields fields;
    const char* start = text.data();
    const char* const end = start + text.size();
    while (const void* const found =
               std::memchr(start, ',', static_cast<std::size_t>(end - start))) {
        const auto* const separator = static_cast<const char*>(found);
        fields.emplace_back(start, separator);
        start = separator + 1;
    }
    fields.emplace_back(start, end);
    return fields;
}

// XML

// Appends runs of ordinary characters as a whole.
void escape_by_runs(const std::string& text, std::string& out) {
    out.clear();
    std::size_t start = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char* entity = nullptr;
        switch (text[i]) {
        case '&':
            entity = "&amp;";
            break;
        case '<':
            entity = "&lt;";
            break;
        case '>':
            entity = "&gt;";
            break;
        default:
            continue;
        }
        out.append(text, start, i - start).append(entity);
        start = i + 1;
    }
    out.append(text, start, std::string::npos);
}

// Hex dump

// Each line by one snprintf. The size is a multiple of 16.
void dump_by_snprintf(const std::string& data, std::string& out) {
    out.clear();
    char line[80];
    for (std::size_t i = 0; i < data.size(); i += 16) {
        const auto* const b = reinterpret_cast<const unsigned char*>(data.data() + i);
        char shown[16];
        for (std::size_t k = 0; k < 16; ++k) {
            shown[k] = std::isprint(b[k]) != 0 ? data[i + k] : '.';
        }
        const int count = std::snprintf(
            line, sizeof line,
            "%04x  %02x%02x%02x%02x%02x%02x%02x%02x%02x%02x%02x%02x%02x%02x%02x%02x ** %.16s **\n",
            static_cast<unsigned int>(i), b[0], b[1], b[2], b[3], b[4], b[5], b[6], b[7], b[8],
            b[9], b[10], b[11], b[12], b[13], b[14], b[15], shown);
        out.append(line, static_cast<std::size_t>(count));
    }
}

} // namespace

TEST_CASE("icompare", "[string]") {
    compare_icompare("string.icompare.20", "backup-2026-november");
    std::string text;
    while (text.size() < KIB) {
        text += "backup-2026-november/volume_7 ";
    }
    text.resize(KIB);
    compare_icompare("string.icompare.1k", text);
}

TEST_CASE("split", "[string]") {
    constexpr std::size_t COUNT = 100'000;
    const std::string text = make_fields(COUNT);
    Row row("string.split", [&] {
        Fields fields;
        string::split(text, ',', fields);
        return fields;
    });
    REQUIRE(split_by_memchr(text).size() == COUNT);
    row.peer("memchr loop", [&] { return split_by_memchr(text); });
    row.peer("Boost", [&] {
        Fields fields;
        boost::algorithm::split(fields, text, [](char c) { return c == ','; });
        return fields;
    });
#ifdef NURICCL_BENCHMARK_64_BIT_PEERS
    row.peer("Abseil", [&] { return Fields(absl::StrSplit(text, ',')); });
    // It makes C strings: what they hold is checked once, and they are what is timed.
    const auto by_glib = [&] {
        return std::unique_ptr<gchar*, decltype(&g_strfreev)>(g_strsplit(text.c_str(), ",", -1),
                                                              g_strfreev);
    };
    gchar* const* const strings = by_glib().release();
    const bool same = Fields(strings, strings + COUNT) == split_by_memchr(text);
    g_strfreev(const_cast<gchar**>(strings));
    REQUIRE(same);
    row.reference("GLib", by_glib);
#endif
}

TEST_CASE("format_string", "[string]") {
    const char* const path = "/var/lib/backup/volume_7";
    const std::string expected = "/var/lib/backup/volume_7: 1234 files, 5678901 bytes|"
                                 "block 42 of 1000 (4.2%)|0x00c0ffee  error -5";
    const auto joined = [](const std::string& a, const std::string& b, const std::string& c) {
        return a + '|' + b + '|' + c;
    };
    // The three results are made anew each time, as a log does, and are not joined when timed.
    struct Three {
        std::string a, b, c;
        bool operator==(const Three& other) const {
            return a == other.a && b == other.b && c == other.c;
        }
    };
    const auto by_snprintf = [](auto... arguments) {
        char buffer[256];
        const int count = std::snprintf(buffer, sizeof buffer, arguments...);
        return std::string(buffer, static_cast<std::size_t>(count));
    };
    const auto by_nuriccl = [&] {
        return Three{string::format_string("%s: %d files, %u bytes", path, 1234, 5678901U),
                     string::format_string("block %d of %d (%.1f%%)", 42, 1000, 4.2),
                     string::format_string("0x%08x  %s %d", 0xc0ffeeU, "error", -5)};
    };
    const Three three = by_nuriccl();
    REQUIRE(joined(three.a, three.b, three.c) == expected);
    Row row("string.format_string", by_nuriccl);
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security" // the formats are literals, behind a template
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    row.peer("snprintf", [&] {
        return Three{by_snprintf("%s: %d files, %u bytes", path, 1234, 5678901U),
                     by_snprintf("block %d of %d (%.1f%%)", 42, 1000, 4.2),
                     by_snprintf("0x%08x  %s %d", 0xc0ffeeU, "error", -5)};
    });
#pragma GCC diagnostic pop
    row.peer("Boost", [&] {
        return Three{(boost::format("%s: %d files, %u bytes") % path % 1234 % 5678901U).str(),
                     (boost::format("block %d of %d (%.1f%%)") % 42 % 1000 % 4.2).str(),
                     (boost::format("0x%08x  %s %d") % 0xc0ffeeU % "error" % -5).str()};
    });
#ifdef NURICCL_BENCHMARK_64_BIT_PEERS
    row.peer("Abseil", [&] {
        return Three{absl::StrFormat("%s: %d files, %u bytes", path, 1234, 5678901U),
                     absl::StrFormat("block %d of %d (%.1f%%)", 42, 1000, 4.2),
                     absl::StrFormat("0x%08x  %s %d", 0xc0ffeeU, "error", -5)};
    });
#endif
}

TEST_CASE("xml_escape", "[string]") {
    const std::string text = source_text(MIB);
    std::string out;
    // In place: the text has to be copied first, which the others do as they go.
    Row row("string.xml_escape", [&]() -> const std::string& {
        out = text;
        string::xml_escape(out);
        return out;
    });
    std::string other;
    row.peer("run-copy loop", [&]() -> const std::string& {
        escape_by_runs(text, other);
        return other;
    });
    row.peer("Boost", [&]() -> const std::string& {
        other = text;
        boost::replace_all(other, "&", "&amp;");
        boost::replace_all(other, "<", "&lt;");
        boost::replace_all(other, ">", "&gt;");
        return other;
    });
#ifdef NURICCL_BENCHMARK_64_BIT_PEERS
    row.peer("Abseil", [&] {
        return absl::StrReplaceAll(text, {{"&", "&amp;"}, {"<", "&lt;"}, {">", "&gt;"}});
    });
#endif
    row.limit("memcpy of the result", [&]() -> const std::string& {
        std::memcpy(other.data(), out.data(), out.size());
        return other;
    });
}

TEST_CASE("hex_dump", "[string]") {
    const std::string data = random_bytes(MIB);
    std::string out;
    Row row("string.hex_dump", [&]() -> const std::string& {
        string::hex_dump(out, data.data(), static_cast<int>(data.size()), nullptr, nullptr);
        return out;
    });
    std::string other;
    row.peer("snprintf a line", [&]() -> const std::string& {
        dump_by_snprintf(data, other);
        return other;
    });
    row.limit("memcpy of the result", [&]() -> const std::string& {
        std::memcpy(other.data(), out.data(), out.size());
        return other;
    });
}
