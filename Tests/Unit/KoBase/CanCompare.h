#pragma once

#include <type_traits>
#include <utility>

template <typename Left, typename Right, typename = void>
constexpr bool HAS_EQUAL = false;
template <typename Left, typename Right>
constexpr bool HAS_EQUAL<Left, Right, std::void_t<decltype(std::declval<Left>() == std::declval<Right>())>> = true;

template <typename Left, typename Right, typename = void>
constexpr bool HAS_UNEQUAL = false;
template <typename Left, typename Right>
constexpr bool HAS_UNEQUAL<Left, Right, std::void_t<decltype(std::declval<Left>() != std::declval<Right>())>> = true;

/// True when == or != between the two types compiles, whichever stands on the left.
template <typename One, typename Other>
constexpr bool CanCompare()
{
    return HAS_EQUAL<One, Other> || HAS_EQUAL<Other, One> || HAS_UNEQUAL<One, Other> || HAS_UNEQUAL<Other, One>;
}

template <typename Type, typename = void>
constexpr bool CAN_COMPARE_WITH_ZERO = false;
/// True when a comparison with the number 0 compiles, which is a constant for NULL too.
template <typename Type>
constexpr bool CAN_COMPARE_WITH_ZERO<Type, std::void_t<decltype(std::declval<Type>() == 0)>> = true;
