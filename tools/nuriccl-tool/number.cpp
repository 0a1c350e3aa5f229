#include "commands.hpp"

#include <algorithm>
#include <iterator>
#include <minibackup/system/names.hpp>
#include <nuriccl/util.hpp>

namespace nuriccl_tool {

namespace {

using nuriccl::Manipulator;

Manipulator base_of(const std::string& name) {
    return name == "dec"   ? std::dec
           : name == "hex" ? std::hex
           : name == "oct" ? std::oct
                           : throw UsageError("there is no base '" + minibackup::readable(name) +
                                              "', but dec, hex and oct");
}

// The text as a number of the type `Read`, printed by way of `Shown`, which is as wide or wider.
template <class Read, class Shown = Read>
std::string read_and_print(const std::string& text, Manipulator from, Manipulator to) {
    Read value{};
    return nuriccl::fromStr(value, text, from) ? nuriccl::to_str(static_cast<Shown>(value), to)
                                               : throw BadInput("is not such a number");
}

struct Type {
    const char* name;
    std::string (*read_and_print)(const std::string& text, Manipulator from, Manipulator to);
};

constexpr Type TYPES[] = {
    {"short", read_and_print<short, int>}, {"ushort", read_and_print<unsigned short, unsigned int>},
    {"int", read_and_print<int>},          {"uint", read_and_print<unsigned int>},
    {"llong", read_and_print<long long>},  {"ullong", read_and_print<unsigned long long>},
};

const Type& type_of(const std::string& name) {
    const auto* const found = std::find_if(std::begin(TYPES), std::end(TYPES),
                                           [&](const Type& type) { return type.name == name; });
    return found != std::end(TYPES)
               ? *found
               : throw UsageError("there is no type '" + minibackup::readable(name) +
                                  "', but short, int and llong, with 'u' in front or not");
}

int run(const Call& call) {
    const Manipulator from = base_of(call.option('f', "dec"));
    const Manipulator to = base_of(call.option('t', "dec"));
    const Type& type = type_of(call.option('k', "llong"));
    return edit_items([&](const std::string& item) { return type.read_and_print(item, from, to); })(
        call);
}

} // namespace

const Command NUMBER = {
    "number",
    "numbers as agents read them, in three bases",
    {{"", "[NUMBER]...", 0, ANY_NUMBER, "", run}},
    {{'f', "from", "BASE", "dec, hex or oct: how to read; dec unless given"},
     {'k', "kind", "TYPE", "what to store: short, int or llong, or ushort, uint, ullong"},
     {'t', "to", "BASE", "dec, hex or oct: how to print; dec unless given"},
     ZERO},
    "Reads each NUMBER, or the one on each line of standard input, as agents do: what follows a\n"
    "number does not count, and types with a sign take the numbers of those without. It is stored\n"
    "as llong, in 64 bits, unless told otherwise.\n",
    "$ nuriccl-tool number --to hex 255 -- -1\n"
    "ff\n"
    "ffffffffffffffff\n"
    "$ nuriccl-tool number --from hex --kind int ff ffffffff 12xyz\n"
    "255\n"
    "-1\n"
    "18\n"
    "$ nuriccl-tool number none || echo no\n"
    "no\n",
};

} // namespace nuriccl_tool
