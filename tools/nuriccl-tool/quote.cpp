#include "commands.hpp"

#include <nuriccl/fsvlist.hpp>
#include <nuriccl/string.hpp>

namespace nuriccl_tool {

namespace {

using nuriccl::FSVList;

constexpr char MARK = '"';

std::string quoted(const std::string& field, const std::string& separator, bool always) {
    std::string text;
    FSVList::QuoteStringCSV(field, text, MARK, separator.c_str(), "", 0, "", false, always);
    return text;
}

std::string dequoted(const std::string& text, const std::string& separator) {
    unsigned int position = 0;
    std::string field;
    FSVList::DequoteStringCSV(position, text, field, nullptr, nullptr, MARK, separator.c_str(), 0,
                              "", false);
    return position == static_cast<unsigned int>(std::string::npos)
               ? field
               : throw BadInput("is more than one field");
}

int csv(const Call& call) {
    const std::string separator = call.option('s', ",");
    return edit_items([&](const std::string& item) {
        return call.has('d') ? dequoted(item, separator) : quoted(item, separator, call.has('a'));
    })(call);
}

int xml(const Call& call) {
    const auto edit = call.has('d')
                          ? static_cast<void (*)(std::string&)>(nuriccl::string::xml_unescape)
                          : static_cast<void (*)(std::string&)>(nuriccl::string::xml_escape);
    return edit_items([&](std::string item) {
        edit(item);
        return item;
    })(call);
}

int references(const Call& call) {
    if (call.has('d')) {
        throw UsageError("references cannot be decoded");
    }
    return edit_items([](const std::string& item) { return nuriccl::string::utf8_to_xml(item); })(
        call);
}

} // namespace

const Command QUOTE = {
    "quote",
    "texts quoted for CSV or XML, and back",
    {{"csv", "[TEXT]...", 0, ANY_NUMBER, "as a field of a line, in quotes if need be", csv},
     {"xml", "[TEXT]...", 0, ANY_NUMBER, "with entities for '&', '<' and '>'", xml},
     {"references", "[TEXT]...", 0, ANY_NUMBER, "with '&#xhh;' for control characters",
      references}},
    {{'a', "all", nullptr, "csv: quote every field"},
     {'d', "decode", nullptr, "csv, xml: the other way round"},
     {'s', "separator", "TEXT", "csv: what separates fields, ',' unless given"},
     ZERO},
    "Quotes each TEXT, or each line of standard input, and prints it on a line.\n",
    "$ nuriccl-tool quote csv plain 'a,b' 'say \"hi\"'\n"
    "plain\n"
    "\"a,b\"\n"
    "\"say \"\"hi\"\"\"\n"
    "$ nuriccl-tool quote csv --decode '\"a,b\"'\n"
    "a,b\n"
    "$ nuriccl-tool quote xml 'if a < b && c'\n"
    "if a &lt; b &amp;&amp; c\n"
    "$ printf 'a\\tb\\n' | nuriccl-tool quote references\n"
    "a&#x09;b\n",
};

} // namespace nuriccl_tool
