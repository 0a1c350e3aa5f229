// XML escaping, narrow and wide: unescaping undoes escaping, and both agree with replacing one
// entity after the other.

#include "fuzz.hpp"

#include <nuriccl/string.hpp>

namespace {

template <class Text>
void replace_all(Text& text, const Text& from, const Text& to) {
    for (auto found = text.find(from); found != Text::npos;
         found = text.find(from, found + to.size())) {
        text.replace(found, from.size(), to);
    }
}

template <class Text>
Text escaped_one_by_one(Text text) {
    replace_all(text, widened<Text>("&"), widened<Text>("&amp;"));
    replace_all(text, widened<Text>("<"), widened<Text>("&lt;"));
    replace_all(text, widened<Text>(">"), widened<Text>("&gt;"));
    return text;
}

template <class Text>
Text unescaped_one_by_one(Text text) {
    replace_all(text, widened<Text>("&gt;"), widened<Text>(">"));
    replace_all(text, widened<Text>("&lt;"), widened<Text>("<"));
    replace_all(text, widened<Text>("&amp;"), widened<Text>("&"));
    return text;
}

template <class Text>
void check(const Text& text) {
    Text escaped = text;
    nuriccl::string::xml_escape(escaped);
    FUZZ_REQUIRE(escaped == escaped_one_by_one(text));

    Text unescaped = text;
    nuriccl::string::xml_unescape(unescaped);
    FUZZ_REQUIRE(unescaped == unescaped_one_by_one(text));

    nuriccl::string::xml_unescape(escaped);
    FUZZ_REQUIRE(escaped == text);
}

// Bytes hardly ever spell an entity by chance: these stand for one each.
std::string with_entities(std::string text) {
    replace_all<std::string>(text, "1", "&amp;");
    replace_all<std::string>(text, "2", "&lt;");
    replace_all<std::string>(text, "3", "&gt;");
    replace_all<std::string>(text, "4", "amp;");
    return text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text = with_entities(text_of(data, size));
    check(text);
    check(std::wstring(text.begin(), text.end()));
    return 0;
}
