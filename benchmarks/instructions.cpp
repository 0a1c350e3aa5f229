/// @file
/// Makes one call of the library over and over, for scripts/instructions to count its instructions.
///
/// usage: instructions             lists the names of the calls
///        instructions CALL COUNT  makes the call so often
///        instructions --features  prints the sets of instructions that the library would use here

#include "data.hpp"

#include <nuriccl/nuriccl.hpp>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <kernels/cpu.hpp>
#include <string>
#include <vector>

namespace {

using namespace benchmarks;
using namespace nuriccl;

// What the calls work on, made before any of them.
struct Input {
    std::string bytes = random_bytes(4 * KIB);
    std::string short_bytes = random_bytes(64);
    std::string base64 = encoded(bytes);
    std::string short_base64 = encoded(short_bytes);
    std::string lower = "backup-2026-november";
    std::string upper = "BACKUP-2026-NOVEMBER";
    std::string long_lower = std::string(KIB, 'a');
    std::string long_upper = std::string(KIB, 'A');
    std::string list = make_list();
    std::string source = make_source();
    std::string time_text = "2026-11-21T08:43:58.07-05:30";
    isotime time = to_isotime(time_text);
    Encoding::CodePage utf8 = Encoding::CP_UTF8;
    Encoding::CodePage windows = Encoding::CP_WIN1252;
    std::string name = "caf\xc3\xa9-m\xc3\xa9nage-1.txt";
    std::string windows_name = "caf\xe9-m\xe9nage-0001.txt";
    std::wstring wide_name = widened(name, utf8);
    std::wstring wide_source = widened(source, utf8);
    std::string path = "/var//lib/backup///volumes/0042/data//2026-11-21/snapshot.db";
    std::string dotted_path = "/var/lib/./backup/volumes/../volumes/0042//data/snapshot0.db";
    CharacterEncoder encoder{CharacterEncoder::DEFAULT_CHARS_TO_ENCODE};
    std::string escaped = encoder.encode(source);
    FSVList fields = FSVList().parse(list);
    Buffer buffer{4096};

    static std::string encoded(const std::string& bytes) {
        std::string text;
        Base64Wrapper::encode(bytes, text);
        return text;
    }

    // Fields of 0 to 23 letters.
    static std::string make_list() {
        std::string text;
        for (std::size_t i = 0; text.size() < 4 * KIB; ++i) {
            text.append(i % 24, 'x') += ',';
        }
        return text;
    }

    // One character in sixty-four is to be escaped in XML, and one in names.
    static std::string make_source() {
        std::string text;
        while (text.size() < 4 * KIB) {
            text += "the quick brown fox & sixty-three other characters: no more of it";
        }
        return text;
    }

    static std::wstring widened(const std::string& text, const Encoding::CodePage& page) {
        std::wstring wide;
        Encoding::toWideChar(text.data(), static_cast<unsigned int>(text.size()), wide, page);
        return wide;
    }
};

// Output is kept from call to call, as by callers that care.
struct Output {
    std::string text;
    std::wstring wide;
};

using Call = void (*)(const Input&, Output&);

void to_bytes(const std::wstring& wide, Output& out, const Encoding::CodePage& page) {
    Encoding::toMultibyte(wide.data(), static_cast<unsigned int>(wide.size()), out.text, page);
}

void to_wide(const std::string& text, Output& out, const Encoding::CodePage& page) {
    Encoding::toWideChar(text.data(), static_cast<unsigned int>(text.size()), out.wide, page);
}

const struct {
    const char* name;
    Call call;
} CALLS[] = {
    {"Signature::binary 4 KiB",
     [](const Input& in, Output&) { Signature::free_binary(Signature::binary(in.bytes)); }},
    {"Signature::binary 64 B",
     [](const Input& in, Output&) { Signature::free_binary(Signature::binary(in.short_bytes)); }},
    {"Base64Wrapper::encode 4 KiB",
     [](const Input& in, Output& out) { Base64Wrapper::encode(in.bytes, out.text); }},
    {"Base64Wrapper::encode 64 B",
     [](const Input& in, Output& out) { Base64Wrapper::encode(in.short_bytes, out.text); }},
    {"Base64Wrapper::decode 4 KiB",
     [](const Input& in, Output& out) { Base64Wrapper::decode(in.base64, out.text); }},
    {"Base64Wrapper::decode 64 B",
     [](const Input& in, Output& out) { Base64Wrapper::decode(in.short_base64, out.text); }},
    {"Buffer new 4 KiB", [](const Input&, Output&) { const Buffer buffer(4096); }},
    {"Buffer copy", [](const Input& in, Output&) { const Buffer copy(in.buffer); }},
    {"Buffer::segment",
     [](const Input& in, Output&) { const Buffer part = in.buffer.segment(1000, 2000); }},
    {"MultiBuffer append 100",
     [](const Input& in, Output&) {
         MultiBuffer stream;
         for (int i = 0; i < 100; ++i) {
             stream.push_back(in.buffer);
         }
     }},
    {"string::icompare 20 B",
     [](const Input& in, Output&) { string::icompare(in.lower, in.upper); }},
    {"string::icompare 1 KiB",
     [](const Input& in, Output&) { string::icompare(in.long_lower, in.long_upper); }},
    {"string::split 4 KiB",
     [](const Input& in, Output&) {
         std::vector<std::string> fields;
         string::split(in.list, ',', fields);
     }},
    {"string::format_string",
     [](const Input&, Output& out) {
         out.text = string::format_string("%s: %d files, %u bytes", "/var/lib", 1234, 5678901U);
     }},
    {"string::xml_escape 4 KiB",
     [](const Input& in, Output& out) {
         out.text = in.source;
         string::xml_escape(out.text);
     }},
    {"string::hex_dump 4 KiB",
     [](const Input& in, Output& out) {
         string::hex_dump(out.text, in.bytes.data(), 4096, nullptr, nullptr);
     }},
    {"to_str int", [](const Input&, Output& out) { out.text = to_str(1234567); }},
    {"fromStr int",
     [](const Input&, Output&) {
         int number = 0;
         fromStr(number, "1234567", std::dec);
     }},
    {"to_str isotime", [](const Input& in, Output& out) { out.text = to_str(in.time); }},
    {"to_isotime", [](const Input& in, Output&) { to_isotime(in.time_text); }},
    {"toWideChar UTF-8 name", [](const Input& in, Output& out) { to_wide(in.name, out, in.utf8); }},
    {"toMultibyte UTF-8 name",
     [](const Input& in, Output& out) { to_bytes(in.wide_name, out, in.utf8); }},
    {"toWideChar ASCII 4 KiB",
     [](const Input& in, Output& out) { to_wide(in.source, out, in.utf8); }},
    {"toMultibyte ASCII 4 KiB",
     [](const Input& in, Output& out) { to_bytes(in.wide_source, out, in.utf8); }},
    {"toWideChar Windows-1252 name",
     [](const Input& in, Output& out) { to_wide(in.windows_name, out, in.windows); }},
    {"toMultibyte Windows-1252 name",
     [](const Input& in, Output& out) { to_bytes(in.wide_name, out, in.windows); }},
    {"FilenameHelper::squeeze",
     [](const Input& in, Output& out) { out.text = FilenameHelper::squeeze(in.path); }},
    {"FilenameHelper::join",
     [](const Input& in, Output& out) { out.text = FilenameHelper::join(in.path, in.lower); }},
    {"FilenameHelper::squeeze_filename",
     [](const Input& in, Output& out) {
         out.text = in.dotted_path;
         FilenameHelper::squeeze_filename(out.text);
     }},
    {"CharacterEncoder::encode 4 KiB",
     [](const Input& in, Output& out) { out.text = in.encoder.encode(in.source); }},
    {"CharacterEncoder::decode 4 KiB",
     [](const Input& in, Output& out) { out.text = in.encoder.decode(in.escaped); }},
    {"FSVList::parse 4 KiB", [](const Input& in, Output&) { FSVList().parse(in.list); }},
    {"FSVList::to_str 4 KiB", [](const Input& in, Output& out) { out.text = in.fields.to_str(); }},
};

void print_features() {
    static constexpr struct {
        kernels::Instructions set;
        const char* name;
    } SETS[] = {
        {kernels::SSSE3, "SSSE3"},
        {kernels::AVX2, "AVX2"},
        {kernels::SHA, "SHA"},
        {kernels::VBMI, "VBMI"},
    };
    for (const auto& each : SETS) {
        if ((kernels::instructions_at_hand() & each.set) != 0) {
            std::printf("%s\n", each.name);
        }
    }
}

} // namespace

int main(int count, char** arguments) {
    if (count == 1) {
        for (const auto& each : CALLS) {
            std::printf("%s\n", each.name);
        }
        return 0;
    }
    if (count == 2 && std::strcmp(arguments[1], "--features") == 0) {
        print_features();
        return 0;
    }
    for (const auto& each : CALLS) {
        if (count == 3 && std::strcmp(arguments[1], each.name) == 0) {
            const Input input;
            Output output;
            const long repeats = std::strtol(arguments[2], nullptr, 10);
            for (long i = 0; i < repeats; ++i) {
                each.call(input, output);
            }
            return 0;
        }
    }
    std::fputs("usage: instructions [CALL COUNT | --features]\n", stderr);
    return 2;
}
