#include "commands.hpp"

#include <list>
#include <nuriccl/file.hpp>
#include <nuriccl/filenamehelper.hpp>
#include <nuriccl/tempfile.hpp>
#include <nuriccl/util.hpp>

namespace nuriccl_tool {

namespace {

using nuriccl::FilenameHelper;
using Text = const std::string&;

int join(const Call& call) {
    call.print(FilenameHelper::join(call.arguments[0], call.arguments[1]));
    return YES;
}

int split(const Call& call) {
    return for_each_item(call, [&](Text path) {
        std::list<std::string> parts;
        FilenameHelper::split_filename(path, parts);
        for (const std::string& part : parts) {
            call.print(part);
        }
        return true;
    });
}

std::string normalized(std::string path) {
    FilenameHelper::squeeze_filename(path);
    return path;
}

std::string kinds_of(Text path) {
    std::string kinds = FilenameHelper::isRelative(path) ? "relative" : "absolute";
    const auto add = [&](bool is_so, const char* kind) { kinds += is_so ? kind : ""; };
    add(FilenameHelper::isDevice(path), " device");
    add(FilenameHelper::hasWildCard(path), " wildcard");
    add(FilenameHelper::hasRecurseMarker(path), " marker");
    add(FilenameHelper::isGlobalRootDevicePath(path), " globalroot");
    add(FilenameHelper::isShadowCopyDevicePath(path), " shadow-copy");
    return kinds;
}

bool is_exclusion(Text name) {
    return nuriccl::TempFile::ExclusionClassByNameAndType(name,
                                                          nuriccl::TempFile::ExclusionType::SYSTEM);
}

Action edit(const char* name, const char* purpose, std::string (*edit)(Text)) {
    return {name, "[PATH]...", 0, ANY_NUMBER, purpose, edit_items(edit)};
}

Action ask(const char* name, const char* arguments, const char* purpose, bool (*is_so)(Text)) {
    return {name, arguments, 0, ANY_NUMBER, purpose, ask_items(is_so)};
}

} // namespace

const Command PATH = {
    "path",
    "paths joined, taken apart, cleaned and classified",
    {{"join", "DIR NAME", 2, 2, "NAME in DIR", join},
     {"split", "[PATH]...", 0, ANY_NUMBER, "the components, one a line", split},
     edit("squeeze", "one '/' for several", [](Text p) { return FilenameHelper::squeeze(p); }),
     edit("normalize", "without '.' and '..', as far as text can tell",
          [](Text p) { return normalized(p); }),
     edit("dir", "the directory part, with its '/'",
          [](Text p) { return FilenameHelper::getDirName(p); }),
     edit("chop", "without a '/' at the end",
          [](Text p) { return FilenameHelper::chopSeparator(p); }),
     edit("append", "with a '/' at the end",
          [](Text p) { return FilenameHelper::appendSeparator(p); }),
     edit("mark", "with a recurse marker '/./' at the end",
          [](Text p) { return FilenameHelper::appendRecurseMarker(p); }),
     edit("insert-mark", "with a recurse marker before the last name",
          [](Text p) { return FilenameHelper::insertRecurseMarker(p); }),
     edit("unmark", "without its first recurse marker",
          [](Text p) { return FilenameHelper::removeRecurseMarker(p); }),
     edit("below", "the pattern for all that is below",
          [](Text p) { return FilenameHelper::selectAllBelowPath(p); }),
     edit("plain", "without wildcards",
          [](Text p) { return FilenameHelper::removeWildcardMarker(p); }),
     edit("base-stream", "without the stream of 'name:stream'",
          [](Text p) { return FilenameHelper::convertAltStreamName(p); }),
     edit("parts", "the number of components",
          [](Text p) { return nuriccl::to_str(nuriccl::File::parts(p)); }),
     edit("classify", "what kind of name it is", kinds_of),
     ask("exists", "[PATH]...", "status 0 if all are there",
         [](Text p) { return nuriccl::File::exists(p); }),
     ask("is-dir", "[PATH]...", "status 0 if all are directories, not links",
         [](Text p) { return nuriccl::File::IsRegularDirectory(p); }),
     ask("is-exclusion", "[NAME]...", "status 0 if all are classes of exclusions", is_exclusion)},
    {ZERO},
    "Edits each PATH, or each line of standard input, and prints it on a line. But for 'exists'\n"
    "and 'is-dir' only the text counts. 'classify' tells absolute or relative, device ('/'),\n"
    "wildcard ('*' or '?'), marker ('/./'), globalroot and shadow-copy (Windows devices).\n",
    "$ nuriccl-tool path join backup/ /etc\n"
    "backup/etc\n"
    "$ nuriccl-tool path normalize /home/./user/../anna a//b\n"
    "/home/anna\n"
    "a/b\n"
    "$ nuriccl-tool path dir /home/anna/\n"
    "/home/\n"
    "$ printf '/data/./logs/*\\nnotes\\n' | nuriccl-tool path classify\n"
    "absolute wildcard marker\n"
    "relative\n"
    "$ nuriccl-tool path is-dir /no/such/place || echo no\n"
    "no\n",
};

} // namespace nuriccl_tool
