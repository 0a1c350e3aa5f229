/// @file
/// `list` and `verify`: what is in a store, and whether it is intact.

#include "commands.hpp"
#include "fields.hpp"
#include "manifest.hpp"
#include "progress.hpp"
#include "system/names.hpp"

#include <array>
#include <charconv>
#include <cstdio>
#include <map>
#include <nuriccl/string.hpp>
#include <nuriccl/util.hpp>

namespace minibackup {

namespace {

using nuriccl::to_str;

// A signature in 20 bytes: a store has one for each MiB.
using Digest = std::array<std::uint32_t, 5>;

Digest digest_of(const std::string& signature) {
    constexpr std::size_t DIGITS = 8; // of each number
    Digest digest{};
    const char* from = signature.data();
    for (std::uint32_t& number : digest) {
        std::from_chars(from, from + DIGITS, number, 16);
        from += DIGITS;
    }
    return digest;
}

class Verifier {
public:
    Verifier(Store& store, Progress& progress) : store_(store), progress_(progress) {}

    void check_run(const std::string& run, ManifestReader& manifest);
    std::size_t blocks() const { return lengths_.size(); }

private:
    std::string fault_of(const Record& piece);

    Store& store_;
    Progress& progress_;
    std::map<Digest, std::uint32_t> lengths_;   // of the blocks that were checked
    std::map<std::string, std::string> faults_; // of damaged blocks, by signature
};

void Verifier::check_run(const std::string& run, ManifestReader& manifest) {
    for (Record record; manifest.next(record);) {
        for (Record piece; manifest.next_piece(piece);) {
            const std::string fault = piece.kind == Record::Kind::BLOCK ? fault_of(piece) : "";
            if (!fault.empty()) {
                progress_.fault(nuriccl::string::format_string("run %s, file %s: %s", run.c_str(),
                                                               readable(manifest.path()).c_str(),
                                                               fault.c_str()));
            }
            progress_.advance(piece.length);
        }
    }
}

// What is wrong with the block, empty when nothing is. Each block is read once.
std::string Verifier::fault_of(const Record& piece) {
    const auto length = static_cast<std::uint32_t>(piece.length);
    const auto [known, fresh] = lengths_.emplace(digest_of(piece.signature), length);
    if (fresh) {
        try {
            store_.load(piece.signature, length);
        } catch (const Error& error) {
            faults_.emplace(piece.signature, error.what());
        }
    }
    const auto fault = faults_.find(piece.signature);
    if (fault != faults_.end()) {
        return fault->second;
    }
    return known->second == length ? "" : "the length of block " + piece.signature + " is wrong";
}

// Visits the manifests of all runs, and names those that are damaged.
template <class Visit>
void for_each_run(const Store& store, Progress& progress, Visit visit) {
    for (const std::string& run : store.runs()) {
        try {
            ManifestReader manifest(store, run);
            visit(run, manifest);
        } catch (const Error& error) {
            progress.fault("run " + readable(run) + ": " + error.what());
        }
    }
}

using Row = std::array<std::string, 5>;

void print_for_people(const Row& row) {
    std::printf("%-27s %-28s %10s %16s  %s\n", readable(row[0]).c_str(), row[1].c_str(),
                row[2].c_str(), row[3].c_str(), readable(row[4]).c_str());
}

void print_csv(const Row& row) {
    const std::string line =
        FieldList(',').write({encode_name(row[0]), row[1], row[2], row[3], encode_name(row[4])});
    std::puts(line.c_str());
}

} // namespace

int list(const std::string& store_path, const Options& options) {
    Progress progress(true);
    const Store store(store_path);
    const auto print = options.csv ? print_csv : print_for_people;
    print({"RUN", "SAVED", "FILES", "BYTES", "SOURCE"});
    for_each_run(store, progress, [print](const std::string& run, const ManifestReader& manifest) {
        print({run, time_text(manifest.time()), to_str(manifest.totals().files),
               to_str(manifest.totals().bytes), manifest.source()});
    });
    return progress.status();
}

int verify(const std::string& store_path, const Options& options) {
    Progress progress(options.quiet);
    Store store(store_path);
    Verifier verifier(store, progress);
    Totals totals;
    std::uint64_t runs = 0;
    for_each_run(store, progress, [&](const std::string& run, ManifestReader& manifest) {
        ++runs;
        totals.files += manifest.totals().files;
        totals.bytes += manifest.totals().bytes;
        progress.expect(manifest.totals().bytes);
        verifier.check_run(readable(run), manifest);
    });
    progress.summary({{"runs", to_str(runs)},
                      {"files", to_str(totals.files)},
                      {"content", byte_text(totals.bytes)},
                      {"blocks", to_str(std::uint64_t{verifier.blocks()})}},
                     totals.bytes);
    return progress.status();
}

} // namespace minibackup
