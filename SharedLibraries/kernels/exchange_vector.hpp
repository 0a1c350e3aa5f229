#pragma once

#include "exchange.hpp"
#include "vector.hpp"

namespace kernels {

namespace {

bool holds(const char* text, std::size_t length, const Exchange& exchange) {
    if (length < Vector::SIZE) {
        bool any = false;
        for (; length != 0; ++text, --length) {
            any = any || *text == exchange.from[0] || *text == exchange.from[1];
        }
        return any;
    }
    const Vector first = Vector::all(exchange.from[0]);
    const Vector second = Vector::all(exchange.from[1]);
    const auto find = [&](const char* place) {
        const Vector part = Vector::load(place);
        return equal_bytes(part, first) | equal_bytes(part, second);
    };
    const char* const last = text + length - Vector::SIZE; // its vector overlaps the one before
    Vector found = find(last);
    for (; text < last; text += Vector::SIZE) {
        found = found | find(text);
    }
    return !found.is_zero();
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
