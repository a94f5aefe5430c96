#pragma once
// What emscripten's standard library lacks of C++20, in the forms that are used here. The build
// includes it before every source of the module (-include); nothing else does.
#include "web/module/float_text.h"

#include <algorithm>
#include <bit>
#include <functional>
#include <iterator>
#include <type_traits>

#if _LIBCPP_VERSION >= 15000
#error "This library has these itself"
#endif

namespace std {

template <class To, class From>
constexpr To bit_cast(const From& from) noexcept {
    static_assert(sizeof(To) == sizeof(From) && is_trivially_copyable_v<To> &&
                  is_trivially_copyable_v<From>);
    return __builtin_bit_cast(To, from);
}

inline from_chars_result from_chars(const char* first, const char* last, double& value) {
    return float_text::Parse(first, last, value);
}
inline from_chars_result from_chars(const char* first, const char* last, float& value) {
    return float_text::Parse(first, last, value);
}
inline to_chars_result to_chars(char* first, char* last, float value) {
    return float_text::Write(first, last, value);
}

namespace ranges {

template <class Range, class Value, class Projection = identity>
constexpr auto find(Range&& range, const Value& value, Projection projection = {}) {
    auto at = std::begin(range);
    while (at != std::end(range) && !(std::invoke(projection, *at) == value)) {
        ++at;
    }
    return at;
}

template <class Range, class Test>
constexpr auto find_if(Range&& range, Test test) {
    return std::find_if(std::begin(range), std::end(range), test);
}

template <class Range, class Test>
constexpr bool all_of(Range&& range, Test test) {
    return std::all_of(std::begin(range), std::end(range), test);
}

template <class Range, class Test>
constexpr bool any_of(Range&& range, Test test) {
    return std::any_of(std::begin(range), std::end(range), test);
}

template <class Range, class Value>
constexpr bool binary_search(Range&& range, const Value& value) {
    return std::binary_search(std::begin(range), std::end(range), value);
}

template <class Range, class Value>
constexpr auto count(Range&& range, const Value& value) {
    return std::count(std::begin(range), std::end(range), value);
}

template <class A, class B>
constexpr bool equal(A&& a, B&& b) {
    return std::equal(std::begin(a), std::end(a), std::begin(b), std::end(b));
}

template <class Range, class Out>
constexpr auto copy(Range&& range, Out out) {
    return std::copy(std::begin(range), std::end(range), out);
}

template <class Range, class Out>
constexpr auto move(Range&& range, Out out) {
    return std::move(std::begin(range), std::end(range), out);
}

template <class Range, class Out, class Function>
constexpr auto transform(Range&& range, Out out, Function function) {
    return std::transform(std::begin(range), std::end(range), out, function);
}

template <class Range, class Value>
constexpr void fill(Range&& range, const Value& value) {
    std::fill(std::begin(range), std::end(range), value);
}

template <class Range, class Value>
constexpr void replace(Range&& range, const Value& from, const Value& to) {
    std::replace(std::begin(range), std::end(range), from, to);
}

// Projections in place of an order, as all of these take them.
template <class Compare, class Projection>
constexpr auto projected(Compare compare, Projection projection) {
    return [=](const auto& a, const auto& b) {
        return std::invoke(compare, std::invoke(projection, a), std::invoke(projection, b));
    };
}

template <class Range, class Compare = std::less<>, class Projection = identity>
constexpr auto min_element(Range&& range, Compare compare = {}, Projection projection = {}) {
    return std::min_element(std::begin(range), std::end(range), projected(compare, projection));
}

template <class Range, class Compare = std::less<>, class Projection = identity>
constexpr auto max_element(Range&& range, Compare compare = {}, Projection projection = {}) {
    return std::max_element(std::begin(range), std::end(range), projected(compare, projection));
}

template <class Range, class Compare = std::less<>, class Projection = identity>
constexpr void sort(Range&& range, Compare compare = {}, Projection projection = {}) {
    std::sort(std::begin(range), std::end(range), projected(compare, projection));
}

template <class Range, class Compare = std::less<>, class Projection = identity>
void stable_sort(Range&& range, Compare compare = {}, Projection projection = {}) {
    std::stable_sort(std::begin(range), std::end(range), projected(compare, projection));
}

} // namespace ranges

} // namespace std
