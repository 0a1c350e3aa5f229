#include "benchmark.hpp"
#include "data.hpp"

#include <nuriccl/fsvlist.hpp>

#include <algorithm>
#include <string>
#include <vector>
#ifdef NURICCL_BENCHMARK_64_BIT_PEERS
#include <csv.h>
#endif

namespace {

using namespace benchmarks;
using nuriccl::FSVList;
using Fields = std::vector<std::string>;

// Words, numbers and names; one in eight has a comma or a quote in it.
Fields make_fields() {
    Sequence sequence;
    Fields fields;
    for (std::size_t size = 0; size < MIB; size += fields.back().size() + 1) {
        std::string field;
        for (std::size_t i = 4 + sequence.below(20); i != 0; --i) {
            field += static_cast<char>('a' + sequence.below(26));
        }
        switch (sequence.below(16)) {
        case 0:
            field += ", and " + field;
            break;
        case 1:
            field.insert(0, "say \"") += '"';
            break;
        default:
            break;
        }
        fields.push_back(std::move(field));
    }
    return fields;
}

// Enough for the line unless there are many quotes.
std::size_t room_for(const Fields& fields) {
    std::size_t size = 0;
    for (const std::string& field : fields) {
        size += field.size() + 3;
    }
    return size;
}

bool has_to_be_quoted(const std::string& field) {
    return field.find_first_of(",\"\r\n") != std::string::npos;
}

std::string write_by_hand(const Fields& fields, bool quote_all) {
    std::string line;
    line.reserve(room_for(fields));
    for (const std::string& field : fields) {
        if (!line.empty()) {
            line += ',';
        }
        if (!quote_all && !has_to_be_quoted(field)) {
            line += field;
            continue;
        }
        line += '"';
        std::size_t start = 0; // of a run that ends in a quote
        for (std::size_t quote = 0; (quote = field.find('"', start)) != std::string::npos;
             start = quote + 1) {
            line.append(field, start, quote + 1 - start) += '"';
        }
        line.append(field, start, std::string::npos) += '"';
    }
    return line;
}

// Reads what was written so: whole fields are in quotes, or none of them is.
Fields parse_by_hand(const std::string& line) {
    Fields fields;
    std::size_t i = 0;
    while (i < line.size()) {
        if (line[i] != '"') {
            const std::size_t end = std::min(line.find(',', i), line.size());
            fields.emplace_back(line, i, end - i);
            i = end + 1;
            continue;
        }
        std::string field;
        for (++i; i < line.size(); ++i) {
            if (line[i] == '"') {
                if (i + 1 == line.size() || line[i + 1] != '"') {
                    break;
                }
                ++i;
            }
            field += line[i];
        }
        fields.push_back(std::move(field));
        i += 2;
    }
    return fields;
}

#ifdef NURICCL_BENCHMARK_64_BIT_PEERS
class LibcsvParser {
public:
    LibcsvParser() { csv_init(&parser_, 0); }
    LibcsvParser(const LibcsvParser&) = delete;
    LibcsvParser& operator=(const LibcsvParser&) = delete;
    ~LibcsvParser() { csv_free(&parser_); }

    Fields parse(const std::string& line) {
        Fields fields;
        const auto add = [](void* field, std::size_t size, void* list) {
            static_cast<Fields*>(list)->emplace_back(static_cast<const char*>(field), size);
        };
        csv_parse(&parser_, line.data(), line.size(), add, nullptr, &fields);
        csv_fini(&parser_, add, nullptr, &fields);
        return fields;
    }

private:
    csv_parser parser_;
};

// It always quotes.
std::string write_by_libcsv(const Fields& fields) {
    std::string line;
    line.reserve(room_for(fields));
    std::string room;
    for (const std::string& field : fields) {
        if (!line.empty()) {
            line += ',';
        }
        room.resize(std::max(room.size(), 2 * field.size() + 2)); // all of it may be doubled
        line.append(room, 0, csv_write(room.data(), room.size(), field.data(), field.size()));
    }
    return line;
}
#endif

} // namespace

TEST_CASE("Parsing", "[fsvlist]") {
    const Fields fields = make_fields();
    const std::string line = write_by_hand(fields, false);
    FSVList list;
    // Each makes the fields anew. Ours keeps them; they are checked apart, since looking at them
    // copies them.
    Row row("fsvlist.parse", [&] {
        list.parse(line);
        return true;
    });
    const bool ours_right = list.to_list() == fields;
    REQUIRE(ours_right);
    Fields result;
    const auto keep = [&](Fields parsed) {
        result = std::move(parsed);
        return true;
    };
    const auto check = [&] {
        const bool right = result == fields;
        REQUIRE(right);
        result.clear();
    };
    const auto by_hand = [&] { return keep(parse_by_hand(line)); };
    by_hand();
    check();
    row.peer("hand loop", by_hand);
#ifdef NURICCL_BENCHMARK_64_BIT_PEERS
    LibcsvParser parser;
    const auto by_libcsv = [&] { return keep(parser.parse(line)); };
    by_libcsv();
    check();
    row.peer("libcsv", by_libcsv);
#endif
}

TEST_CASE("Writing", "[fsvlist]") {
    const Fields fields = make_fields();
    FSVList list;
    list.parse(write_by_hand(fields, true));
    {
        Row row("fsvlist.write", [&] { return list.to_str(); });
        row.peer("hand loop", [&] { return write_by_hand(fields, false); });
    }
    Row row("fsvlist.write_quoted", [&] { return list.to_str(true); });
    row.peer("hand loop", [&] { return write_by_hand(fields, true); });
#ifdef NURICCL_BENCHMARK_64_BIT_PEERS
    row.peer("libcsv", [&] { return write_by_libcsv(fields); });
#endif
}
