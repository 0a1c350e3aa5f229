#include "data.hpp"

namespace benchmarks {

std::size_t Sequence::below(std::size_t limit) {
    state_ ^= state_ << 13; // xorshift of 64 bits
    state_ ^= state_ >> 7;
    state_ ^= state_ << 17;
    return static_cast<std::size_t>(state_ % limit);
}

std::string random_bytes(std::size_t size) {
    Sequence sequence;
    std::string bytes(size, '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>(sequence.below(256));
    }
    return bytes;
}

const std::array<std::string, 16>& mixed_names() {
    static const std::array<std::string, 16> names = {
        "backup-2026-11-21.db",
        "caf\xc3\xa9-m\xc3\xa9nage-1.txt",
        "r\xc3\xa9sum\xc3\xa9-final-v2.pd",
        "libnuriccl.so.1.0.0x",
        "\xc3\x9c"
        "bersicht-2026.xls",
        "invoice_000001.html",
        "stra\xc3\x9f"
        "e-karte-7.png",
        "node_modules/.cache0",
        "\xe6\x97\xa5\xe6\x9c\xac\xe8\xaa\x9e-2026.doc",
        "system32-drivers.sys",
        "\xce\xb1\xce\xb2\xce\xb3\xce\xb4\xce\xb5-notes.md",
        "mail-archive-03.mbox",
        "se\xc3\xb1or-ni\xc3\xb1o-01.jpg",
        "virtual-machine.vmdk",
        "\xd0\xbe\xd1\x82\xd1\x87\xd0\xb5\xd1\x82-2026.od",
        "snapshot-000042.vhdx"};
    return names;
}

const std::array<std::string, 16>& ascii_names() {
    static const std::array<std::string, 16> names = {
        "backup-2026-11-21.db", "cafe-menage-0001.txt", "resume-final-ver2.pd",
        "libnuriccl.so.1.0.0x", "overview-0-2026.xlsx", "invoice_000001.html0",
        "street-and-map-7.png", "node_modules/.cache0", "japanese-of-2026.doc",
        "system32-drivers.sys", "alpha-beta-notes.txt", "mail-archive-03.mbox",
        "senor-and-nino01.jpg", "virtual-machine.vmdk", "report-2026-12.odt00",
        "snapshot-000042.vhdx"};
    return names;
}

const std::array<std::string, 16>& windows_names() {
    static const std::array<std::string, 16> names = {"backup-2026-11-21.db",
                                                      "caf\xe9-m\xe9nage-0001.txt",
                                                      "r\xe9sum\xe9-final-ver2.pd",
                                                      "libnuriccl.so.1.0.0x",
                                                      "\xdc"
                                                      "bersicht-2026.xlsx0",
                                                      "invoice_000001.html0",
                                                      "stra\xdf"
                                                      "e-karte-07.png",
                                                      "node_modules/.cache0",
                                                      "prix-100\x80-2026.docx",
                                                      "system32-drivers.sys",
                                                      "\xc5ngstr\xf6m-notes.text",
                                                      "mail-archive-03.mbox",
                                                      "se\xf1or-ni\xf1o-001.jpeg",
                                                      "virtual-machine.vmdk",
                                                      "\xabquote\xbb-2026-12.odt",
                                                      "snapshot-000042.vhdx"};
    return names;
}

} // namespace benchmarks
