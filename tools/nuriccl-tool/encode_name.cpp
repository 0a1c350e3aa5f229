#include "commands.hpp"

#include <minibackup/system/names.hpp>
#include <nuriccl/CharacterEncoder.hpp>

namespace nuriccl_tool {

namespace {

using nuriccl::CharacterEncoder;

// The characters of a set by its name.
std::string characters_of(const std::string& set) {
    return set == "file"   ? CharacterEncoder::DEFAULT_CHARS_TO_ENCODE
           : set == "vm"   ? CharacterEncoder::VMNAME_CHARS_TO_ENCODE
           : set == "line" ? CharacterEncoder::UNPRINTABLE_CHARS_TO_ENCODE
                           : throw UsageError("there is no set '" + minibackup::readable(set) +
                                              "', but file, vm, line and vsphere");
}

int vsphere(const Call& call) {
    return edit_items(call.has('d') ? CharacterEncoder::decode_vSphereVM_name
                                    : CharacterEncoder::encode_vSphereVM_name)(call);
}

int run(const Call& call) {
    const std::string set = call.option('s', "file");
    if (set == "vsphere") {
        return vsphere(call);
    }
    const char escape = call.character('e', '%');
    CharacterEncoder encoder(characters_of(set));
    encoder.protect(call.option('p', ""));
    return edit_items([&](std::string item) {
        call.has('d') ? CharacterEncoder::decode(item, escape) : encoder.encode(item, escape);
        return item;
    })(call);
}

} // namespace

const Command ENCODE_NAME = {
    "encode-name",
    "names made safe for where characters are forbidden, and back",
    {{"", "[NAME]...", 0, ANY_NUMBER, "", run}},
    {{'d', "decode", nullptr, "turn safe names back"},
     {'e', "escape", "CHARACTER", "what escapes, '%' unless given; it is escaped, too"},
     {'p', "protect", "CHARACTERS", "escape these, too"},
     {'s', "set", "SET", "what is forbidden: file, vm, line or vsphere"},
     ZERO},
    "Escapes in each NAME, or in each line of standard input, every byte that is forbidden, as "
    "'%'\n"
    "and two hexadecimal digits. The sets are\n"
    "\n"
    "  file     what file names must not hold: \\ / : * ? < > | % \" (unless told otherwise)\n"
    "  vm       what names of virtual machines must not hold: the same, ';' and ','\n"
    "  line     control characters, and \" , - / # ^\n"
    "  vsphere  % / \\, as VMware vSphere does; escape and protect count for nothing\n",
    "$ nuriccl-tool encode-name 'a:b' '100%'\n"
    "a%3ab\n"
    "100%25\n"
    "$ nuriccl-tool encode-name --decode 'a%3ab'\n"
    "a:b\n"
    "$ printf 'two\\nlines\\0' | nuriccl-tool encode-name --zero --set line | tr '\\0' '\\n'\n"
    "two%0alines\n",
};

} // namespace nuriccl_tool
