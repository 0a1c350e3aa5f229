#pragma once

/// @file
/// Calls of functions by a caller whose stack is aligned to 4 bytes only, as old 32-bit programs
/// have it.
///
/// The functions are called right by the code in assembler below: a function that a compiler makes
/// may align the stack on its own account.

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <type_traits>
#include <utility>

#ifndef __i386__
#error "the other architectures have no such callers"
#endif

// Copies `count` words to the end of the stack, `lowered` bytes below the place where the
// convention has them, and calls the function.
extern "C" std::uint64_t nuriccl_test_call_misaligned(std::size_t lowered, const void* function,
                                                      const std::uint32_t* words,
                                                      std::size_t count);
asm(R"(
    .text
    .type nuriccl_test_call_misaligned, @function
nuriccl_test_call_misaligned:
    push %ebp
    mov %esp, %ebp
    push %esi
    push %edi
    mov 16(%ebp), %esi
    mov 20(%ebp), %ecx
    lea (,%ecx,4), %eax
    sub %eax, %esp
    and $-16, %esp
    sub 8(%ebp), %esp
    mov %esp, %edi
    cld
    rep movsl
    call *12(%ebp)
    lea -8(%ebp), %esp
    pop %edi
    pop %esi
    pop %ebp
    ret
    .size nuriccl_test_call_misaligned, . - nuriccl_test_call_misaligned
)");

namespace misaligned {

/// How many bytes the stack is below a place of 16.
inline constexpr std::size_t LOWERED[] = {4, 8, 12};

// The words of a call, in order.
class Words {
public:
    template <class T>
    void add(const T& value) {
        static_assert(std::is_trivially_copyable_v<T>);
        if constexpr (std::is_integral_v<T> && sizeof(T) < 4) {
            add(static_cast<std::uint32_t>(value));
        } else {
            static_assert(sizeof(T) % 4 == 0);
            std::memcpy(&words_[count_], &value, sizeof value);
            count_ += sizeof value / 4;
        }
    }

    std::uint64_t call(std::size_t lowered, const void* function) const {
        return nuriccl_test_call_misaligned(lowered, function, words_.data(), count_);
    }

private:
    std::array<std::uint32_t, 32> words_;
    std::size_t count_ = 0;
};

template <class Parameter>
void add(Words& words, std::remove_reference_t<Parameter>& argument) {
    if constexpr (std::is_reference_v<Parameter>) {
        words.add(&argument);
    } else {
        words.add(argument);
    }
}

// Keeps parameters from being deduced from the arguments.
template <class T>
struct Same {
    using type = T;
};

// What a compiler makes of a call. An object of a class comes back in a place whose address is
// passed in front of all else, and everything else in registers.
template <class Result, class... Parameters>
Result call_address(std::size_t lowered, const void* function,
                    typename Same<Parameters>::type... arguments) {
    Words words;
    if constexpr (std::is_class_v<Result>) {
        alignas(Result) unsigned char place[sizeof(Result)];
        words.add(static_cast<void*>(place));
        (add<Parameters>(words, arguments), ...);
        words.call(lowered, function);
        auto* const returned = std::launder(reinterpret_cast<Result*>(place));
        Result result = std::move(*returned);
        returned->~Result();
        return result;
    } else {
        (add<Parameters>(words, arguments), ...);
        [[maybe_unused]] const std::uint64_t returned = words.call(lowered, function);
        if constexpr (std::is_same_v<Result, bool>) {
            return (returned & 0xff) != 0; // the rest of the register may be anything
        } else if constexpr (!std::is_void_v<Result>) {
            static_assert(std::is_integral_v<Result>);
            return static_cast<Result>(returned);
        }
    }
}

/// Calls a function, which must not throw, with the stack `lowered` bytes below a place of 16.
template <class Result, class... Parameters>
Result call(std::size_t lowered, Result (*function)(Parameters...),
            typename Same<Parameters>::type... arguments) {
    return call_address<Result, Parameters...>(
        lowered, reinterpret_cast<const void*>(function),
        static_cast<typename Same<Parameters>::type>(arguments)...);
}

/// The same for a member function that is not virtual, whose object is a parameter like any other.
template <class Class, class Result, class... Parameters>
Result call(std::size_t lowered, Result (Class::*function)(Parameters...) const,
            const Class& object, typename Same<Parameters>::type... arguments) {
    const void* address; // a pointer to a member begins with it
    static_assert(sizeof function >= sizeof address);
    std::memcpy(&address, &function, sizeof address);
    return call_address<Result, const Class&, Parameters...>(
        lowered, address, object, static_cast<typename Same<Parameters>::type>(arguments)...);
}

} // namespace misaligned
