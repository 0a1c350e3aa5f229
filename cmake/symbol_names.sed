# What a demangler says of a symbol, in the words of the lists of exports. These are the same for
# both pointer sizes: the variants of a constructor or destructor are one, and the type behind
# va_list, which differs, is called by its name again.
s/\[abi:cxx11\]//
s/ >/>/g
s/std::__cxx11::/std::/g
s/std::basic_(istream|ostream)<char, std::char_traits<char>>/std::\1/g
s/std::basic_string<char, std::char_traits<char>, std::allocator<char>>/std::string/g
s/std::basic_string<(wchar_t), std::char_traits<\1>, std::allocator<\1>>/std::wstring/g
s/std::vector<([^<>,]*), std::allocator<\1>>/std::vector<\1>/g
/sprintfSafe/s/char\*&|__va_list_tag \(&\) \[1\]/va_list\&/
