#include "commands.hpp"

#include <nuriccl/fsvlist.hpp>

namespace nuriccl_tool {

namespace {

class List : public nuriccl::FSVList {
public:
    explicit List(const Call& call) : FSVList(call.option('s', ",")) {
        quote_ = call.option('q', "\"").empty() ? '\0' : call.character('q', '"');
    }

    std::string join(const std::vector<std::string>& fields, bool quote_all) {
        fields_ = fields;
        return to_str(quote_all);
    }
};

int run(const Call& call) {
    List list(call);
    if (call.has('j')) {
        print_bytes(list.join(call.items(), call.has('a')) + '\n');
        return YES;
    }
    if (call.arguments.size() > 1) {
        throw UsageError("takes one LINE, or fields with --join");
    }
    for (const std::string& field : list.parse(call.text(), call.has('l')).to_list()) {
        call.print(field);
    }
    return YES;
}

} // namespace

const Command FIELDS = {
    "fields",
    "the fields of a CSV line, and a line of fields",
    {{"", "[LINE | FIELD...]", 0, ANY_NUMBER, "", run}},
    {{'a', "all", nullptr, "with --join: quote every field"},
     {'j', "join", nullptr, "make a line of the FIELDs, or of the lines of standard input"},
     {'l', "literal", nullptr, "without --join: quotes are ordinary characters"},
     {'q', "quote", "CHARACTER", "what quotes a field, '\"' unless given; '' for nothing"},
     {'s', "separator", "TEXT", "what separates fields, ',' unless given"},
     ZERO},
    "Prints the fields of LINE, or of standard input without the line feed at its end, one a\n"
    "line. Line feeds in quotes belong to a field: use --zero then, which ends each with NUL.\n",
    "$ nuriccl-tool fields 'a,\"b,c\",\"say \"\"hi\"\"\"'\n"
    "a\n"
    "b,c\n"
    "say \"hi\"\n"
    "$ nuriccl-tool fields --join a 'b,c' 'say \"hi\"'\n"
    "a,\"b,c\",\"say \"\"hi\"\"\"\n"
    "$ nuriccl-tool fields --separator ';' 'a;b' | nuriccl-tool fields --join --all\n"
    "\"a\",\"b\"\n",
};

} // namespace nuriccl_tool
