// Lists the file names that an agent on Windows has sent, in the code page of its system, on a
// terminal that shows UTF-8. Bytes that are no character there are left out, and that is told.
//
// usage: encoding [CODE_PAGE] < FILE     a name in each line; the code page as iconv calls it

#include <nuriccl/encoding.hpp>

#include <iostream>
#include <sstream>
#include <string>

namespace {

namespace Encoding = nuriccl::Encoding;

// Returns whether the name was converted without loss.
bool to_utf8(const std::string& name, const Encoding::CodePage& from, std::string& utf8) {
    const auto length = static_cast<unsigned int>(name.size());
    std::wstring wide;
    const bool read = Encoding::toWideChar(name.data(), length, wide, from, true);
    const auto count = static_cast<unsigned int>(wide.size());
    return Encoding::toMultibyte(wide.data(), count, utf8, Encoding::CP_UTF8) && read;
}

int list(std::istream& names, const Encoding::CodePage& from) {
    int faults = 0;
    for (std::string name; std::getline(names, name);) {
        std::string utf8;
        const bool whole = to_utf8(name, from, utf8);
        faults += whole ? 0 : 1;
        std::cout << utf8 << (whole ? "" : "   (not the whole name)") << '\n';
    }
    return faults == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::istringstream sample("Vertr\xe4ge\\M\xfcller & S\xf6hne.doc\n"
                                  "Preise in \x80.xls\n"
                                  "bad \x81 byte.txt\n");
        return list(sample, Encoding::CP_WIN1252);
    }
    Encoding::CodePage page(Encoding::CP_CUSTOM);
    page.init(argv[1]);
    std::wstring wide;
    if (!Encoding::toWideChar("a", 1, wide, page)) {
        std::cerr << "unknown code page " << page << '\n';
        return 2;
    }
    return list(std::cin, page);
}
