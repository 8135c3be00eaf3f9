// View.h - how the user looks at the live state, and the keys that change it.
#pragma once

#include <cstddef>
#include <string>

namespace Monitor {

enum class Order
{
    kDevice,
    kRate,     ///< the highest first
    kMalformed ///< the most first
};

/// "device", "rate" or "malformed".
const char* GetName(Order order);

struct Key
{
    enum class Kind
    {
        kCharacter,
        kEnter,
        kEscape,
        kBackspace,
        kUp,
        kDown,
        kPageUp,
        kPageDown
    };

    Kind kind = Kind::kCharacter;
    char character = '\0';
};

struct View
{
    /// Takes over what the key asks for. Returns false if that is the end of the view.
    bool Press(Key key);

    std::size_t rows = 24;    ///< 0 stands for as many as it takes, without a line of keys
    std::size_t columns = 80; ///< at least 1
    std::string port;
    Order order = Order::kDevice;
    std::string filter; ///< only devices whose number or sender contains this are shown
    std::string typed;  ///< the next filter, while it is typed
    bool isTyping = false;
    bool isHelp = false;
    bool isFrozen = false;
    std::size_t first = 0; ///< the first line of the devices that is shown
};

} // namespace Monitor
