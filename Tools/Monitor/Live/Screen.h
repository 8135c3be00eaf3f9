// Screen.h - a terminal that shows pictures and gives keys, if this qxmon was built with ncurses.
#pragma once

#include "Tools/Monitor/Live/Picture.h"

#include <memory>

namespace Monitor {

/// Tells why the standard input and output are no such terminal, or returns "".
std::string DescribeScreenFault();

/// The terminal is a screen from its opening to the end of this object. Threads: one.
class IScreen
{
public:
    virtual ~IScreen() = default;

    /// Takes over the terminal's size. It is then in `rows` and `columns`.
    virtual void TakeSize(std::size_t& rows, std::size_t& columns) = 0;
    virtual void Paint(const Picture& picture) = 0;
    /// The next key that has been pressed, or nothing. Keys without a meaning are left out.
    virtual std::optional<Key> ReadKey() = 0;
};

/// Returns null if the terminal cannot be used after all.
std::unique_ptr<IScreen> OpenScreen(bool isColoured);

} // namespace Monitor
