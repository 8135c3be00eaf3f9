// StringFwd.h - the string template's name, for headers that only mention strings.
#pragma once

namespace QX {

/// The element type that a string of CharT converts to and from.
template <class CharT>
struct CounterpartOf;
/// UTF-16 for UTF-8.
template <>
struct CounterpartOf<char>
{
    /// The element type.
    using type = unsigned short;
};
/// UTF-8 for UTF-16.
template <>
struct CounterpartOf<unsigned short>
{
    /// The element type.
    using type = char;
};

/// The framework's string over CharT; OtherT is the element type that it converts to and from.
template <class CharT, class OtherT = typename CounterpartOf<CharT>::type>
class StringT;

} // namespace QX
