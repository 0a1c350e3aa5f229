"""The rows of the performance table: what they are called, what a number in them counts and what is
to be reached. The benchmarks know a row by its id.
"""

from dataclasses import dataclass

OURS = "nuriccl"
LIMIT = "limit: "
REFERENCE = "reference: "

# Appended to the id of a row that was measured with SHA instructions on both sides.
SHA_VARIANT = ".sha"


@dataclass(frozen=True)
class Goal:
    """How many times as fast as a peer we want to be."""

    peer: str
    speed: float
    bits: int = 0  # pointer size of the program that the peer is timed in; 0: that of ours


def at_most(peer, times):
    """The goal of taking at most so many times what the peer takes."""
    return Goal(peer, 1 / times)


@dataclass(frozen=True)
class Row:
    id: str
    title: str
    goals_64: tuple = ()
    goals_32: tuple | None = None  # None: those of 64 bit
    calls: int = 1  # calls of the library in one sample
    unit: str = "ns"

    def goals(self, bits):
        return self.goals_64 if bits == 64 or self.goals_32 is None else self.goals_32


def _in_64_bit(*goals):
    return tuple(Goal(goal.peer, goal.speed, 64) for goal in goals)


EVP = "OpenSSL EVP"
CACHED = "cached iconv"
OPENED = "iconv opened per call"
VECTOR = "shared_ptr<vector<char>>"
PATH = "filesystem::path"

_NAMES = 16  # texts that one sample converts
_NUMBERS = 256

ROWS = (
    Row(
        "signature.mib",
        "SHA-1, 1 MiB, no SHA instructions",
        (Goal(EVP, 0.80),),
        (*_in_64_bit(Goal(EVP, 0.75)), Goal("unrolled C", 1.5)),
    ),
    Row("signature.mib.sha", "SHA-1, 1 MiB, SHA instructions", (), (*_in_64_bit(Goal(EVP, 0)),)),
    Row(
        "signature.64",
        "SHA-1, 64 B, no SHA instructions",
        (Goal(EVP, 1.15),),
        _in_64_bit(Goal(EVP, 1.0)),
    ),
    Row("signature.64.sha", "SHA-1, 64 B, SHA instructions", (), (*_in_64_bit(Goal(EVP, 0)),)),
    Row(
        "signature.stream",
        "SHA-1 of a stream of 1 GiB, no SHA instructions",
        (Goal("openssl dgst", 0.78), Goal("sha1sum", 1.35)),
        _in_64_bit(Goal("openssl dgst", 0.78), Goal("sha1sum", 1.35)),
    ),
    Row(
        "signature.stream.sha",
        "SHA-1 of a stream of 1 GiB, SHA instructions",
        (),
        _in_64_bit(Goal("openssl dgst", 0)),
    ),
    Row(
        "Base64Wrapper.encode.4k",
        "Base64 encode, 4 KiB",
        (Goal("OpenSSL", 8),),
        _in_64_bit(Goal("OpenSSL", 7)),
    ),
    Row(
        "Base64Wrapper.decode.4k",
        "Base64 decode, 4 KiB",
        (Goal("OpenSSL", 6),),
        _in_64_bit(Goal("OpenSSL", 5)),
    ),
    Row(
        "Base64Wrapper.encode.mib",
        "Base64 encode, 1 MiB",
        (Goal("OpenSSL", 6),),
        _in_64_bit(Goal("OpenSSL", 6)),
    ),
    Row(
        "Base64Wrapper.decode.mib",
        "Base64 decode, 1 MiB",
        (Goal("OpenSSL", 6),),
        _in_64_bit(Goal("OpenSSL", 5)),
    ),
    Row(
        "Base64Wrapper.encode.64",
        "Base64 encode, 64 B",
        (Goal("OpenSSL", 1.5),),
        _in_64_bit(Goal("OpenSSL", 1.4)),
    ),
    Row(
        "Base64Wrapper.decode.64",
        "Base64 decode, 64 B",
        (Goal("OpenSSL", 1.25),),
        _in_64_bit(Goal("OpenSSL", 1.15)),
    ),
    Row("Zlib.deflate", "Deflate, 1 MiB of source text", (Goal("zlib", 0.97),)),
    Row("Zlib.inflate", "Inflate, 1 MiB of source text", (Goal("zlib", 0.95),)),
    Row("buffer.new", "Buffer, new, 4 KiB", (Goal(VECTOR, 1.4),), (Goal(VECTOR, 2.5),)),
    Row("buffer.copy", "Buffer, copy", (Goal(VECTOR, 1.0),), (Goal(VECTOR, 0.95),)),
    Row(
        "buffer.segment",
        "Buffer, segment",
        (Goal(VECTOR, 0.9), Goal("Abseil Cord", 2.7)),
        (Goal(VECTOR, 0.9),),
    ),
    Row(
        "MultiBuffer.append",
        "MultiBuffer, append 1000",
        (Goal("Abseil Cord", 4.5), Goal("deque of shared_ptr", 0.7)),
        (Goal("deque of shared_ptr", 0.7),),
    ),
    Row(
        "MultiBuffer.copy",
        "MultiBuffer, copy out 1000 x 4 KiB",
        (Goal("memcpy loop", 0.97),),
    ),
    Row(
        "string.icompare.20",
        "icompare, 20 B, equal but for case",
        (Goal("strcasecmp", 0.7), Goal("Abseil", 2)),
        (Goal("strcasecmp", 0.7),),
    ),
    Row(
        "string.icompare.1k",
        "icompare, 1 KiB, equal but for case",
        (Goal("strcasecmp", 0.8), Goal("Abseil", 2)),
        (Goal("strcasecmp", 0.7),),
    ),
    Row(
        "string.split",
        "split, 1 MiB, 100,000 fields",
        (Goal("Abseil", 1.25),),
        (Goal("memchr loop", 1.3),),
    ),
    Row(
        "fsvlist.parse",
        "FSVList, parse 1 MiB",
        (Goal("libcsv", 1.35),),
        (Goal("hand loop", 1.0),),
    ),
    Row("fsvlist.write", "FSVList, write 1 MiB", (), (Goal("hand loop", 1.0),)),
    Row(
        "fsvlist.write_quoted",
        "FSVList, write 1 MiB, all quoted",
        (Goal("libcsv", 0.9),),
        (Goal("hand loop", 1.0),),
    ),
    Row(
        "string.xml_escape",
        "xml_escape, 1 MiB of source text",
        (Goal("Abseil", 1.15),),
        (Goal("run-copy loop", 1.5),),
    ),
    Row("string.format_string", "format_string, three formats", (Goal("snprintf", 0.95),), calls=3),
    Row(
        "string.hex_dump",
        "hex_dump, 1 MiB",
        (Goal("snprintf a line", 8),),
        (Goal("snprintf a line", 10),),
    ),
    Row("util.int_to_text", "int to text", (Goal("snprintf", 4),), calls=_NUMBERS),
    Row("util.text_to_int", "text to int", (Goal("strtol", 1.5),), calls=_NUMBERS),
    Row("util.time_to_text", "time stamp to text", (Goal("snprintf", 5),)),
    Row("util.text_to_time", "text to time stamp", (Goal("sscanf", 5),)),
    Row(
        "encoding.name.wide",
        "UTF-8 name to wide, 20 B",
        (Goal(OPENED, 7), Goal(CACHED, 1.5)),
        calls=_NAMES,
    ),
    Row(
        "encoding.name.back",
        "wide name to UTF-8, 20 B",
        (Goal(OPENED, 7), Goal(CACHED, 1.5)),
        calls=_NAMES,
    ),
    Row(
        "encoding.ascii_name.wide",
        "ASCII name to wide, 20 B",
        (Goal(OPENED, 7), Goal(CACHED, 3)),
        calls=_NAMES,
    ),
    Row(
        "encoding.ascii_name.back",
        "wide name to ASCII, 20 B",
        (Goal(OPENED, 7), Goal(CACHED, 3)),
        calls=_NAMES,
    ),
    Row("encoding.ascii.wide", "UTF-8 to wide, 1 MiB ASCII", (Goal(CACHED, 3.5),)),
    Row("encoding.ascii.back", "wide to UTF-8, 1 MiB ASCII", (Goal(CACHED, 5),)),
    Row("encoding.mixed.wide", "UTF-8 to wide, 1 MiB mixed", (Goal(CACHED, 1.1),)),
    Row("encoding.mixed.back", "wide to UTF-8, 1 MiB mixed", (Goal(CACHED, 1.1),)),
    Row(
        "encoding.windows_name.wide",
        "Windows-1252 name to wide, 20 B",
        (Goal(CACHED, 2.5),),
        calls=_NAMES,
    ),
    Row(
        "encoding.windows_name.back",
        "wide name to Windows-1252, 20 B",
        (Goal(CACHED, 2.5),),
        calls=_NAMES,
    ),
    Row("filenamehelper.squeeze", "squeeze, 60-byte path", (Goal(PATH, 3),)),
    Row("filenamehelper.join", "join, 60-byte path", (Goal(PATH, 3),)),
    Row("filenamehelper.squeeze_filename", "squeeze_filename, 60-byte path", (Goal(PATH, 3),)),
    Row(
        "CharacterEncoder.encode",
        "CharacterEncoder, encode 4 KiB",
        (Goal("byte loop over std::set", 5),),
    ),
    Row("CharacterEncoder.decode", "CharacterEncoder, decode 4 KiB", (Goal("byte loop", 5),)),
    Row("load.dlopen", "dlopen of the library", (at_most("empty C++ library", 2.2),)),
    Row("load.size", "size of the library, stripped", (at_most("256 KiB", 1),), unit="B"),
    Row(
        "minibackup.save",
        "minibackup save of /usr/include, CPU time",
        (at_most("reads, zlib and SHA-1", 1.05),),
    ),
    Row(
        "minibackup.save.user",
        "the same without the kernel's share",
        (at_most("reads, zlib and SHA-1", 1.05),),
    ),
)
