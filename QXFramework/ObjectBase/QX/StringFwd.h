// StringFwd.h - the string template's name, for headers that only mention strings.
#pragma once

namespace QX {

template <class CharT>
struct CounterpartOf;
template <>
struct CounterpartOf<char>
{
    using type = unsigned short;
};
template <>
struct CounterpartOf<unsigned short>
{
    using type = char;
};

/// The framework's string over CharT; OtherT is the element type that it converts to and from.
template <class CharT, class OtherT = typename CounterpartOf<CharT>::type>
class StringT;

} // namespace QX
