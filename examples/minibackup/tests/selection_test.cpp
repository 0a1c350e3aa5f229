/// @file
/// Tests of what a save takes in: exclusions, and a SOURCE with a recurse marker.

#include "support.hpp"

#include <nuriccl/filenamehelper.hpp>
#include <set>

namespace minibackup_test {

namespace {

using nuriccl::FilenameHelper;
using Names = std::set<std::string>;

class Selection : public MinibackupTest {
protected:
    /// Makes files, with the directories that they are in, below the source.
    void make_files(const Names& names) const {
        for (const std::string& name : names) {
            fs::create_directories(at("s/" + name).substr(0, at("s/" + name).rfind('/')));
            write_file(at("s/" + name), name);
        }
    }

    /// Saves with these options and restores what was saved, which must be as it was.
    /// @return the paths of what is no directory, and of empty directories with a '/' behind
    Names saved(std::vector<std::string> options, const std::string& from) {
        fs::remove_all(store());
        options.insert(options.begin(), "save");
        options.insert(options.end(), {from, store()});
        outcome = run(options);
        EXPECT_TRUE(ended(outcome, 0));
        EXPECT_TRUE(ended(verify(), 0));
        EXPECT_TRUE(ended(restore(), 0));
        return names_in(picture_of(destination()));
    }

    Names saved(const std::vector<std::string>& options) { return saved(options, source()); }

    static Names names_in(const Picture& picture) {
        Names names;
        for (auto entry = picture.upper_bound(""); entry != picture.end(); ++entry) {
            const std::string path = entry->first.substr(1);
            const auto below = picture.lower_bound('/' + path + '/');
            const bool empty = below == picture.end() ||
                               below->first.compare(0, path.size() + 2, '/' + path + '/');
            if (!S_ISDIR(entry->second.type_and_mode)) {
                names.insert(path);
            } else if (empty) {
                names.insert(path + '/');
            }
        }
        return names;
    }

    Outcome outcome; ///< of the last save
};

} // namespace

// Exclusions

TEST_F(Selection, PatternsLeaveOutWhatTheyMatch) {
    const Names all = {"a.o",   ".a.o",      "b.c",           "cache",       "Cache",
                       "d/a.o", "d/cache/n", "d/e/a.o",       "d/e/cache/y", "d/e/b.c",
                       "d/*",   "d/[x]",     "d/back\\slash", "d/e/xcache",  "cached/z"};
    make_files(all);
    struct Case {
        std::vector<std::string> patterns;
        Names left_out; // empty directories that come of it have their own names
    };
    for (const auto& [patterns, left_out] : std::vector<Case>{
             {{}, {}},
             {{"none"}, {}},
             {{"a.o"}, {"a.o", "d/a.o", "d/e/a.o"}},
             {{"*.o"}, {"a.o", ".a.o", "d/a.o", "d/e/a.o"}},
             {{"?a.o"}, {".a.o"}},
             {{".*"}, {".a.o"}},
             {{"[ab].?"}, {"a.o", "b.c", "d/a.o", "d/e/a.o", "d/e/b.c"}},
             {{"cache"}, {"cache", "d/cache/n", "d/e/cache/y"}},
             {{"cache/"}, {"d/cache/n", "d/e/cache/y"}},
             {{"cache//"}, {"d/cache/n", "d/e/cache/y"}},
             {{"/cache"}, {"cache"}},
             {{"//cache"}, {"cache"}},
             {{"/cache/"}, {}},
             {{"d/cache"}, {"d/cache/n"}},
             {{"d//cache/"}, {"d/cache/n"}},
             {{"/d/cache"}, {"d/cache/n"}},
             {{"e/cache"}, {}}, // a path is matched from its start
             {{"*/cache"}, {"d/cache/n"}},
             {{"*/*/cache"}, {"d/e/cache/y"}},
             {{"d*cache"}, {}}, // nothing matches a '/'
             {{"d?cache"}, {}},
             {{"d[/]cache"}, {}},
             {{"d/?"}, {"d/*", "d/e/a.o", "d/e/cache/y", "d/e/b.c", "d/e/xcache"}},
             {{"d/\\*"}, {"d/*"}},
             {{"\\[x]"}, {"d/[x]"}},
             {{"[x]"}, {}},
             {{"back\\slash"}, {}},
             {{"back\\\\slash"}, {"d/back\\slash"}},
             {{"CACHE"}, {}},
             {{"a.o", "/d/e/", "[x]"},
              {"a.o", "d/a.o", "d/e/a.o", "d/e/cache/y", "d/e/b.c", "d/e/xcache"}},
         }) {
        SCOPED_TRACE(::testing::PrintToString(patterns));
        std::vector<std::string> options;
        for (const std::string& pattern : patterns) {
            options.insert(options.end(), {"--exclude", pattern});
        }
        Names expected;
        std::set_difference(all.begin(), all.end(), left_out.begin(), left_out.end(),
                            std::inserter(expected, expected.end()));
        EXPECT_EQ(expected, saved(options));
    }
}

TEST_F(Selection, DirectoriesMayBeEmptiedAndLinksAndFifosLeftOut) {
    make_files({"d/a", "e/b"});
    fs::create_directory_symlink("d", at("s/link"));
    ASSERT_EQ(0, mkfifo(at("s/fifo").c_str(), 0600));
    EXPECT_EQ(Names({"d/", "e/b", "link"}), saved({"-x", "/d/*", "-x", "fifo", "-x", "link/"}));
    EXPECT_EQ("", outcome.err); // the FIFO was not even met
    EXPECT_EQ(Names({"d/a", "e/b"}), saved({"--exclude=link", "--exclude=f*"}));
    EXPECT_EQ(Names(), saved({"--exclude=*"}));
}

TEST_F(Selection, PatternsMatchNamesOfAnyBytes) {
    make_files({"\xff", "x\xff", "\xC3\xA9", "a\nb", "a b"});
    EXPECT_EQ(Names({"\xC3\xA9", "a\nb", "a b"}), saved({"--exclude", "*\xff"}));
    EXPECT_EQ(Names({"\xff", "x\xff", "a b"}), saved({"--exclude", "\xC3?", "--exclude", "a\n*"}));
    EXPECT_EQ(Names({"a\nb", "a b"}), saved({"--exclude", "*[\x80-\xff]"}));
}

TEST_F(Selection, WhatIsLeftOutIsCounted) {
    make_files({"a.o", "b.o", "d/a.o", "cache/a.o", "cache/b.o", "kept"});
    saved({"--exclude", "*.o", "--exclude", "cache", "--exclude", "none"});
    EXPECT_TRUE(contains(outcome.out, "\nfiles     1\nexcluded  1 directories, 3 others\nread "));
    saved({"--exclude", "none"});
    EXPECT_TRUE(contains(outcome.out, "\nexcluded  0 directories, 0 others\n"));
}

TEST_F(Selection, PatternsThatMatchNothingAreRefused) {
    for (const std::string pattern :
         {"", "/", "///", ".", "..", "./a", "a/./b", "a/../b", "a/.."}) {
        const Outcome refused = run({"save", "--exclude", pattern, source(), store()});
        ASSERT_TRUE(ended(refused, 2)) << pattern;
        EXPECT_TRUE(contains(refused.err, "the pattern '" + pattern + "': matches nothing"));
        EXPECT_FALSE(fs::exists(store()));
    }
}

TEST_F(Selection, ClassesLeaveOutTheirFilesAtTheRoot) {
    const Names pages = {"pagefile.sys", "SwapFile.SYS", "swapfile", "swap.img", "swap/swapfile"};
    const Names power = {"HIBERFIL.SYS", "hiberfil.sys"};
    const Names others = {"d/pagefile.sys", "pagefile.sys2",  "xpagefile.sys",
                          "pagefileXsys",   "d/hiberfil.sys", "swap/other"};
    make_files(pages);
    make_files(power);
    make_files(others);
    Names without_pages = others;
    without_pages.insert(power.begin(), power.end());
    Names without_power = others;
    without_power.insert(pages.begin(), pages.end());
    EXPECT_EQ(without_pages, saved({"--exclude-class", "Memory Page File"}));
    EXPECT_TRUE(contains(outcome.out, "\nexcluded  0 directories, 5 others\n"));
    EXPECT_EQ(without_power, saved({"-X", "Power Management"}));
    EXPECT_TRUE(contains(outcome.out, "\nexcluded  0 directories, 2 others\n"));
    EXPECT_EQ(others, saved({"-XPower Management", "--exclude-class=Memory Page File"}));
    const std::string help = run({"save", "--help"}).out;
    EXPECT_TRUE(contains(help, "\n  Memory Page File: pagefile.sys swapfile.sys swapfile swap.img "
                               "swap/swapfile\n  Power Management: hiberfil.sys\n"));
}

TEST_F(Selection, ClassesMeanRegularFilesOnly) {
    make_files({"pagefile.sys/kept"});
    fs::create_symlink("nowhere", at("s/swapfile"));
    EXPECT_EQ(Names({"pagefile.sys/kept", "swapfile"}), saved({"-X", "Memory Page File"}));
}

TEST_F(Selection, UnknownClassesAreRefusedAndTheKnownOnesNamed) {
    for (const std::string name : {"", "None", "memory page file", "Memory Page File ", "\n"}) {
        const Outcome refused = run({"save", "--exclude-class", name, source(), store()});
        ASSERT_TRUE(ended(refused, 2)) << name;
        EXPECT_TRUE(contains(refused.err, "the exclusion class '"));
        EXPECT_TRUE(contains(refused.err, "  Memory Page File: "));
        EXPECT_TRUE(contains(refused.err, "  Power Management: "));
        EXPECT_EQ(3U, lines_of(refused.err).size());
        EXPECT_FALSE(fs::exists(store()));
    }
}

// Options in a file

class OptionsFile : public Selection {
protected:
    /// Saves with the options in a file and returns what was saved.
    Names saved_with(const std::string& text, std::vector<std::string> more = {}) {
        write_file(at("options"), text);
        more.insert(more.end(), {"--options", at("options")});
        return saved(more);
    }

    void expect_refused(const std::string& text, const std::string& message) {
        SCOPED_TRACE(text);
        write_file(at("options"), text);
        const Outcome refused = run({"save", "--options", at("options"), source(), store()});
        EXPECT_TRUE(ended(refused, 2));
        EXPECT_EQ("minibackup: " + message + '\n', refused.err);
        EXPECT_EQ("", refused.out);
        EXPECT_FALSE(fs::exists(store()));
    }

    void expect_refused_here(const std::string& text, const std::string& message) {
        expect_refused(text, at("options") + ": " + message);
    }
};

TEST_F(OptionsFile, StandsForTheOptionsInIt) {
    make_files({"a.o", "b.c", "d/a.o", "d/e", "swapfile", "hiberfil.sys"});
    const Names all = {"a.o", "b.c", "d/a.o", "d/e", "swapfile", "hiberfil.sys"};
    EXPECT_EQ(all, saved_with(""));
    EXPECT_EQ(all, saved_with("\n  \t\r\n# exclude = b.c\n   # \"\nquiet = no\n"));
    EXPECT_NE("", outcome.out);
    EXPECT_EQ(Names({"b.c", "d/e", "swapfile", "hiberfil.sys"}), saved_with("exclude = *.o"));
    EXPECT_EQ(Names({"a.o", "d/a.o", "d/e", "swapfile"}),
              saved_with("exclude=b.c\r\n\texclude-class  =  \"Power Management\"\r\n"));
    EXPECT_EQ(Names({"b.c", "d/"}),
              saved_with("exclude = *.o\nexclude = 'd/e'\n"
                         "exclude-class = Memory\\ Page\\ File\n"
                         "exclude-class = 'Power Management'\nquiet = yes\n"));
    EXPECT_EQ("", outcome.out);
}

TEST_F(OptionsFile, AddsToTheCommandLineAndToOtherFiles) {
    make_files({"a", "b", "c", "d"});
    write_file(at("other"), "exclude = b\n");
    EXPECT_EQ(Names({"d"}),
              saved_with("exclude = a\nquiet = no\n", {"-x", "c", "-o", at("other"), "-q"}));
    EXPECT_EQ("", outcome.out);
}

TEST_F(OptionsFile, ValuesAreQuotedAndEscapedAsInAShell) {
    const Names all = {"a b", "a\"b",  "a'b",  "a=b", "a\\b",     "#a",
                       "a#b", "\x1b[", "\xff", "*",   "\xC3\xA9", "kept"};
    make_files(all);
    EXPECT_EQ(Names({"kept"}),
              saved_with("exclude = \"a b\"\nexclude = a\\\"b\nexclude = \"a'b\"\n"
                         "exclude = 'a=b'\nexclude = 'a\\\\\\\\b'\nexclude = #a\nexclude = a#b\n"
                         "exclude = \"\x1b\\\\[\"\nexclude = \xff\nexclude = '\\\\*'\n"
                         "exclude = \xC3\xA9\n"));
    EXPECT_EQ(Names(), saved_with("exclude = \\*\n")); // which is a lone star
}

TEST_F(OptionsFile, LinesThatAreNoSettingAreRefused) {
    for (const auto& [line, shown] : std::map<std::string, std::string>{
             {"exclude", "exclude"},
             {"exclude =", "exclude ="},
             {"exclude = ''", "exclude = ''"},
             {"= a", "= a"},
             {"exclude a", "exclude a"},
             {"exclude : a", "exclude : a"},
             {"exclude = a b", "exclude = a b"},
             {"exclude = a, b", "exclude = a, b"},
             {"exclude = a exclude = b", "exclude = a exclude = b"},
             {"exclude = a # why", "exclude = a # why"},
             {"exclude = it's", "exclude = it's"},
             {"exclude = \"a b", "exclude = \"a b"},
             {"exclude = a\\", "exclude = a\\\\"},
             {"--exclude a", "--exclude a"},
             {"[save]", "[save]"},
             {std::string("exclude = a\0", 12), "exclude = a\\x00"},
             {std::string("\0exclude = a", 12), "\\x00exclude = a"},
             {"\x1b[2J\xE2\x80\xAE\xff", "\\x1b[2J\\xe2\\x80\\xae\\xff"}}) {
        expect_refused_here("quiet = yes\n\n" + line + "\nexclude = b\n",
                            "line 3 is not KEY = VALUE: '" + shown + '\'');
    }
}

TEST_F(OptionsFile, OptionsThatDoNotBelongThereAreRefused) {
    for (const auto& [key, shown] :
         std::map<std::string, std::string>{{"unknown", "unknown"},
                                            {"Exclude", "Exclude"},
                                            {"exclud", "exclud"},
                                            {"x", "x"},
                                            {"--exclude", "--exclude"},
                                            {"help", "help"},
                                            {"options", "options"},
                                            {"csv", "csv"},
                                            {"run", "run"},
                                            {"'a b'", "a b"},
                                            {"'='", "="},
                                            {"\"\x1b[2J\xff\"", "\\x1b[2J\\xff"}}) {
        expect_refused_here(key + " = yes\n", "save has no option '" + shown + "' for a file");
    }
}

TEST_F(OptionsFile, ValuesThatAreWrongAreRefused) {
    for (const std::string value : {"maybe", "Yes", "1", "true", "'yes '", "'\x1b[2J'"}) {
        expect_refused_here("quiet = " + value, "quiet is neither 'yes' nor 'no'");
    }
    const std::string nothing = ": matches nothing below the source";
    expect_refused("exclude = /", "the pattern '/'" + nothing);
    expect_refused("exclude = ok\nexclude = a/../b\n", "the pattern 'a/../b'" + nothing);
    expect_refused("exclude = \"\x1b/..\"", "the pattern '\\x1b/..'" + nothing);
    write_file(at("options"), "exclude-class = Memory\n");
    const Outcome refused = run({"save", "--options", at("options"), source(), store()});
    ASSERT_TRUE(ended(refused, 2));
    EXPECT_TRUE(contains(refused.err, "the exclusion class 'Memory': is none of the known ones:"));
    EXPECT_FALSE(fs::exists(store()));
}

TEST_F(OptionsFile, FileThatCannotBeReadIsNamed) {
    make_files({"a", "b"});
    const std::string last = "exclude = b\n";
    EXPECT_EQ(Names({"a"}), saved_with(std::string(65536 - last.size(), '\n') + last));
    fs::remove_all(store());
    expect_refused_here(std::string(65537 - last.size(), '\n') + last,
                        "is longer than 65536 bytes");
    for (const auto& [name, reason] :
         std::map<std::string, std::string>{{"none", "cannot open: No such file or directory"},
                                            {"none\n", "cannot open: No such file or directory"},
                                            {"s", "cannot read: Is a directory"}}) {
        const Outcome refused = run({"save", "--options", at(name), source(), store()});
        ASSERT_TRUE(ended(refused, 2));
        EXPECT_TRUE(contains(refused.err, ": " + reason));
        EXPECT_EQ(1U, lines_of(refused.err).size());
        EXPECT_FALSE(fs::exists(store()));
    }
}

// Recurse markers

class RecurseMarker : public Selection {
protected:
    RecurseMarker() {
        make_files({"top", "a/1", "a/b/2", "a/b/c/3", "a/bb/4", "a/*/5", "z/6"});
        fs::create_directory_symlink("a", at("s/link"));
        fs::create_directory(at("s/a/empty"));
    }

    Names saved_from(const std::string& path) { return saved({}, root + path); }

    void expect_refused(const std::string& path, const std::string& reason) {
        fs::remove_all(store());
        const Outcome refused = run({"save", root + path, store()});
        ASSERT_TRUE(ended(refused, 2)) << path;
        EXPECT_TRUE(contains(refused.err, reason));
        EXPECT_EQ(1U, lines_of(refused.err).size());
        EXPECT_FALSE(fs::exists(store()));
    }
};

TEST_F(RecurseMarker, WhatFollowsItIsSavedWithAllBelowIt) {
    EXPECT_EQ(Names({"a/b/2", "a/b/c/3"}), saved_from("/s/./a/b"));
    EXPECT_EQ(Names({"b/2", "b/c/3"}), saved_from("/s/a/./b"));
    EXPECT_EQ(Names({"a/b/c/3"}), saved_from("/s/./a/b/c/3"));
    EXPECT_EQ(Names({"a/empty/"}), saved_from("/s/./a/empty"));
    EXPECT_EQ(Names({"top"}), saved_from("/s/./top"));
    EXPECT_EQ(Names({"a/*/5"}), saved_from("/s/./a/*/5"));
    EXPECT_EQ(Names({"s/z/6"}), saved_from("/./s/z"));
}

TEST_F(RecurseMarker, DirectoriesThatLeadThereAreRestoredAsTheyWere) {
    fs::permissions(at("s/a"), fs::perms(0750));
    fs::permissions(source(), fs::perms(0711));
    Picture expected = picture_of(source());
    for (auto entry = expected.begin(); entry != expected.end();) {
        const std::string& path = entry->first;
        const bool kept = path.empty() || path == "/a" || path == "/a/b" || path == "/a/b/2" ||
                          path == "/a/b/c" || path == "/a/b/c/3";
        entry = kept ? std::next(entry) : expected.erase(entry);
    }
    ASSERT_EQ(6U, expected.size());
    saved_from("/s/./a/b");
    EXPECT_EQ(expected, picture_of(destination()));
}

TEST_F(RecurseMarker, AtTheEndItSelectsEverything) {
    const Names all = names_in(picture_of(source()));
    for (const std::string end : {"/./", "/./*", "/././", "/.//", "/./.", "//.//*", "/././*"}) {
        EXPECT_EQ(all, saved_from("/s" + end)) << end;
    }
    EXPECT_EQ(all, saved({}, FilenameHelper::appendRecurseMarker(source())));
    EXPECT_EQ(all, saved({}, FilenameHelper::selectAllBelowPath(source())));
}

TEST_F(RecurseMarker, SpellingsOfTheSameMeanTheSame) {
    const Names below = {"a/b/2", "a/b/c/3"};
    for (const std::string path : {"/./a/b/", "/./a//b", "/.//a/b", "/./a/./b", "/./a/b/.",
                                   "/./a/b/*", "/././a/b", "//./a/b", "/z/.././a/b"}) {
        EXPECT_EQ(below, saved_from("/s" + path)) << path;
    }
    EXPECT_EQ(below, saved({}, FilenameHelper::selectAllBelowPath(source() + "/./a/b")));
    EXPECT_EQ(Names({"b/2", "b/c/3"}), saved({}, FilenameHelper::insertRecurseMarker(at("s/a/b"))));
}

TEST_F(RecurseMarker, DirectoryInFrontMayBeTheRootOrRelative) {
    Names expected;
    for (const std::string& name : names_in(picture_of(at("s/a")))) {
        expected.insert(at("s/a").substr(1) + '/' + name);
    }
    EXPECT_EQ(expected, saved({}, "/." + at("s/a")));
    const auto go_there = [this] { static_cast<void>(!chdir(source().c_str())); };
    for (const std::string path : {".", "./", "./a/..", "././"}) {
        fs::remove_all(store());
        ASSERT_TRUE(ended(run({"save", path, store()}, go_there), 0));
        ASSERT_TRUE(ended(restore(), 0));
        EXPECT_EQ(picture_of(source()), picture_of(destination())) << path;
    }
    fs::remove_all(store());
    ASSERT_TRUE(ended(run({"save", "././z", store()}, go_there), 0));
    ASSERT_TRUE(ended(restore(), 0));
    EXPECT_EQ(Names({"z/6"}), names_in(picture_of(destination())));
}

TEST_F(RecurseMarker, PathInFrontOfItIsReadAsTheSystemReadsIt) {
    fs::create_directories(at("far/deep"));
    fs::create_directories(at("far/a"));
    write_file(at("far/a/other"), "other");
    fs::create_directory_symlink("../far/deep", at("s/away"));
    EXPECT_EQ(Names({"a/other"}), saved_from("/s/away/.././a")); // not s/a
    EXPECT_EQ(Names({"b/2", "b/c/3"}), saved_from("/s/link/./b"));
}

TEST_F(RecurseMarker, LinksOnTheWayAreSavedAsLinks) {
    for (const std::string end : {"", "/", "/*"}) {
        EXPECT_EQ(Names({"link"}), saved_from("/s/./link" + end));
        EXPECT_EQ("a", link_target(at("d/link")));
        EXPECT_EQ("", outcome.err);
    }
    const Outcome cut = run({"save", at("s/./link/b\n"), store()});
    ASSERT_TRUE(ended(cut, 1));
    EXPECT_EQ("minibackup: " + at("s/link") +
                  ": is no directory itself, 'b\\x0a' in it is not saved\n",
              cut.err);
    ASSERT_TRUE(ended(restore(), 0));
    EXPECT_EQ(Names({"link"}), names_in(picture_of(destination())));
}

TEST_F(RecurseMarker, WhatIsMissingOrNoDirectoryIsRefused) {
    expect_refused("/s/./none", at("s/none") + ": cannot get the status: No such file");
    expect_refused("/s/./a/none/b", at("s/a/none") + ": cannot get the status: No such file");
    expect_refused("/s/./a*", at("s/a*") + ": cannot get the status: No such file");
    expect_refused("/s/./top/b", at("s/top") + ": cannot open: Not a directory");
    expect_refused("/none/./a", at("none/") + ": cannot open: No such file");
    expect_refused("/s/top/./a", at("s/top/") + ": cannot open: Not a directory");
}

TEST_F(RecurseMarker, ParentsBehindItAreRefused) {
    for (const std::string path :
         {"/s/./..", "/s/./../s/a", "/s/./a/..", "/s/./a/../z", "/s/./../*"}) {
        expect_refused(path, root + path + ": holds a '..' behind the '/./'");
    }
    make_files({"...", "..a"}); // these are names
    EXPECT_EQ(Names({"..."}), saved_from("/s/./..."));
    EXPECT_EQ(Names({"..a"}), saved_from("/s/./..a"));
}

TEST_F(RecurseMarker, FifoThatIsSelectedIsNamedAndNotOpened) {
    ASSERT_EQ(0, mkfifo(at("s/fifo").c_str(), 0600));
    EXPECT_EQ(Names(), saved_from("/s/./fifo"));
    EXPECT_TRUE(contains(outcome.err, at("s/fifo") + ": is a FIFO, left out"));
}

TEST_F(RecurseMarker, ExclusionsHoldBelowWhatIsSelected) {
    EXPECT_EQ(Names({"a/b/2"}), saved({"-x", "a", "-x", "b", "-x", "c"}, at("s/./a/b")));
    EXPECT_TRUE(contains(outcome.out, "\nexcluded  1 directories, 0 others\n"));
    EXPECT_EQ(Names({"a/b/2"}), saved({"-x", "/a/b/c"}, at("s/./a/b")));
    EXPECT_EQ(Names({"a/b/2", "a/b/c/3"}), saved({"-x", "/c"}, at("s/./a/b")));
    EXPECT_EQ(Names({"a/b/2", "a/b/c/3"}), saved({"-x", "/a", "-x", "a/b/"}, at("s/./a/b")));
    EXPECT_EQ(Names({"2"}), saved({"-x", "/c"}, at("s/a/b/./")));
    EXPECT_EQ(Names({"top"}), saved({"-x", "top"}, at("s/./top")));
    make_files({"swap/swapfile"});
    EXPECT_EQ(Names({"swap/"}), saved({"-X", "Memory Page File"}, at("s/./swap")));
    EXPECT_EQ(Names({"swapfile"}), saved({"-x", "none"}, at("s/swap/./")));
}

TEST_F(RecurseMarker, WayThatLeadsIntoTheStoreIsRefused) {
    ASSERT_TRUE(ended(run({"save", at("s/z"), at("s/a/store")}), 0));
    for (const std::string path : {"/./a/store", "/./a/store/blocks", "/a/store/./"}) {
        const Outcome refused = run({"save", source() + path, at("s/a/store")});
        ASSERT_TRUE(ended(refused, 2)) << path;
        EXPECT_TRUE(
            contains(refused.err, source() + path + ": is the store itself, or lies in it"));
    }
    ASSERT_TRUE(ended(run({"save", at("s/./a"), at("s/a/store")}), 0));
    ASSERT_TRUE(ended(run({"restore", at("s/a/store"), destination()}), 0));
    EXPECT_TRUE(fs::exists(at("d/a/b/2")));
    EXPECT_FALSE(fs::exists(at("d/a/store")));
}

TEST_F(RecurseMarker, ListTellsTheSourceAsItWasCalled) {
    saved_from("/s/./a/b");
    EXPECT_TRUE(contains(run({"list", store()}).out, "  " + root + "/s/./a/b\n"));
}

} // namespace minibackup_test
