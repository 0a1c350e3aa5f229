#include "exclusions.hpp"

#include "system/os.hpp"

#include <algorithm>
#include <fnmatch.h>
#include <list>
#include <nuriccl/filenamehelper.hpp>
#include <nuriccl/tempfile.hpp>

namespace minibackup {

namespace {

using nuriccl::FilenameHelper;
using nuriccl::TempFile;

struct ExclusionClass {
    std::string name;
    std::vector<std::string> files; // paths below the root
};

// The library knows the names; which files they mean here, this program does. Their content is of
// no use once the system that made them was shut down.
const std::vector<ExclusionClass>& known_classes() {
    static const std::vector<ExclusionClass> classes = {
        {"Memory Page File",
         {"pagefile.sys", "swapfile.sys", "swapfile", "swap.img", "swap/swapfile"}},
        {"Power Management", {"hiberfil.sys"}},
    };
    return classes;
}

bool has_dots(const std::string& pattern) {
    std::list<std::string> names;
    FilenameHelper::split_filename(pattern, names);
    return std::any_of(names.begin(), names.end(),
                       [](const std::string& name) { return name == "." || name == ".."; });
}

} // namespace

void Exclusions::add_pattern(const std::string& text) {
    const std::string squeezed = FilenameHelper::squeeze(text);
    std::string pattern = FilenameHelper::chopSeparator(squeezed);
    const bool for_path = pattern.find('/') != std::string::npos;
    if (!FilenameHelper::isRelative(pattern)) {
        pattern.erase(0, 1);
    }
    if (pattern.empty() || has_dots(pattern)) {
        throw Error("the pattern '" + text + "'", "matches nothing below the source");
    }
    const mode_t only = squeezed.back() == '/' ? S_IFDIR : 0;
    rules_.push_back({std::move(pattern), for_path, only, FNM_PATHNAME});
}

void Exclusions::add_class(const std::string& name) {
    const auto& classes = known_classes();
    const auto known = std::find_if(classes.begin(), classes.end(),
                                    [&](const ExclusionClass& c) { return c.name == name; });
    if (known == classes.end() ||
        !TempFile::ExclusionClassByNameAndType(name, TempFile::ExclusionType::SYSTEM)) {
        throw Error("the exclusion class '" + name + "'",
                    "is none of the known ones:" + exclusion_classes());
    }
    for (std::string pattern : known->files) {
        TempFile::PathToPattern(pattern);
        rules_.push_back({std::move(pattern), true, S_IFREG, FNM_PATHNAME | FNM_CASEFOLD});
    }
}

bool Exclusions::match(const std::string& path, mode_t mode) const {
    const std::string name = path.substr(path.rfind('/') + 1); // npos + 1 is 0
    return std::any_of(rules_.begin(), rules_.end(), [&](const Rule& rule) {
        const std::string& text = rule.for_path ? path : name;
        return (rule.only == 0 || rule.only == (mode & S_IFMT)) &&
               fnmatch(rule.pattern.c_str(), text.c_str(), rule.match_flags) == 0;
    });
}

std::string exclusion_classes() {
    std::string text;
    for (const ExclusionClass& known : known_classes()) {
        text += "\n  " + known.name + ':';
        for (const std::string& file : known.files) {
            text += ' ' + file;
        }
    }
    return text;
}

} // namespace minibackup
