#pragma once

#include "exchange.hpp"
#include "vector.hpp"

namespace kernels {

namespace {

bool holds(const char* text, std::size_t length, const Exchange& exchange) {
    const Vector first = Vector::all(exchange.from[0]);
    const Vector second = Vector::all(exchange.from[1]);
    Vector found = Vector::zero();
    for (; length >= Vector::SIZE; text += Vector::SIZE, length -= Vector::SIZE) {
        const Vector part = Vector::load(text);
        found = found | equal_bytes(part, first) | equal_bytes(part, second);
    }
    bool any = !found.is_zero();
    for (; length != 0; ++text, --length) {
        any = any || *text == exchange.from[0] || *text == exchange.from[1];
    }
    return any;
}

void put(char* text, std::size_t length, const Exchange& exchange) {
    const auto difference = [&exchange](int i) {
        return static_cast<char>(exchange.from[i] ^ exchange.to[i]);
    };
    const Vector first = Vector::all(exchange.from[0]);
    const Vector second = Vector::all(exchange.from[1]);
    const Vector first_difference = Vector::all(difference(0));
    const Vector second_difference = Vector::all(difference(1));
    for (; length >= Vector::SIZE; text += Vector::SIZE, length -= Vector::SIZE) {
        const Vector part = Vector::load(text);
        (part ^ (equal_bytes(part, first) & first_difference) ^
         (equal_bytes(part, second) & second_difference))
            .store(text);
    }
    for (; length != 0; ++text, --length) {
        *text = *text == exchange.from[0]   ? exchange.to[0]
                : *text == exchange.from[1] ? exchange.to[1]
                                            : *text;
    }
}

} // namespace

} // namespace kernels
