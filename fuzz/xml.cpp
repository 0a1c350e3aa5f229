// XML escaping, narrow and wide: unescaping undoes escaping, and both agree with replacing one
// entity after the other.

#include "fuzz.hpp"
#include "support/text_model.hpp"

#include <nuriccl/string.hpp>

namespace {

template <class Text>
void check(const Text& text) {
    Text escaped = text;
    nuriccl::string::xml_escape(escaped);
    FUZZ_REQUIRE(escaped == text_model::xml_escape(text));

    Text unescaped = text;
    nuriccl::string::xml_unescape(unescaped);
    FUZZ_REQUIRE(unescaped == text_model::xml_unescape(text));

    nuriccl::string::xml_unescape(escaped);
    FUZZ_REQUIRE(escaped == text);
}

void check_references(const std::string& text) {
    std::string expected;
    for (const char c : text) {
        expected += text_model::reference(c);
    }
    std::string in_place = text;
    nuriccl::string::utf8_to_xml(in_place);
    FUZZ_REQUIRE(in_place == expected);
    FUZZ_REQUIRE(nuriccl::string::utf8_to_xml(std::as_const(text)) == expected);
}

// Bytes hardly ever spell an entity by chance: these stand for one each.
std::string with_entities(std::string text) {
    text_model::replace_all(text, "1", "&amp;");
    text_model::replace_all(text, "2", "&lt;");
    text_model::replace_all(text, "3", "&gt;");
    text_model::replace_all(text, "4", "amp;");
    return text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text = with_entities(text_of(data, size));
    check(text);
    check(std::wstring(text.begin(), text.end()));
    check_references(text);
    return 0;
}
