// Checking which error value a call throws.
//
// Components throw plain enumerations by value; thrownBy<E>(action) runs the
// action and returns the value of E it threw, or nullopt when it threw nothing
// or something else. Compare it with std::optional(E::Value) in EXPECT_EQ; the
// PrintTo below makes failures show the number instead of raw bytes.
#pragma once

#include <cstdint>
#include <optional>
#include <ostream>
#include <type_traits>

namespace vivark {

template <class E>
requires std::is_enum_v<E>
void PrintTo(const E& value, std::ostream* os) {
    *os << static_cast<uint64_t>(value);
}

namespace test {

template <class E, class Action>
std::optional<E> thrownBy(Action&& action) {
    try {
        action();
    } catch (E value) {
        return value;
    } catch (...) {
    }
    return std::nullopt;
}

}  // namespace test
}  // namespace vivark
