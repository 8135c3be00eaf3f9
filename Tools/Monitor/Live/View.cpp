// View.cpp - what the keys of the live view do.

#include "Tools/Monitor/Live/View.h"

#include <algorithm>

namespace Monitor {
namespace {

void Type(View& view, Key key)
{
    constexpr std::size_t kMostTyped = 30;
    switch (key.kind) {
    case Key::Kind::kEnter:
        view.filter = view.typed;
        view.first = 0;
        view.isTyping = false;
        break;
    case Key::Kind::kEscape:
        view.isTyping = false;
        break;
    case Key::Kind::kBackspace:
        if (!view.typed.empty()) {
            view.typed.pop_back();
        }
        break;
    case Key::Kind::kCharacter:
        if (key.character >= ' ' && key.character <= '~' && view.typed.size() < kMostTyped) {
            view.typed.push_back(key.character);
        }
        break;
    default:
        break;
    }
}

/// The keys that are characters.
void PressCharacter(View& view, char character)
{
    switch (character) {
    case '?':
    case 'h':
        view.isHelp = !view.isHelp;
        break;
    case 's':
        view.order = view.order == Order::kDevice ? Order::kRate
                     : view.order == Order::kRate ? Order::kMalformed
                                                  : Order::kDevice;
        view.first = 0; // what the order is about comes first
        break;
    case 'f':
        view.isFrozen = !view.isFrozen;
        break;
    case '/':
        view.isTyping = true;
        view.typed.clear();
        break;
    default:
        break;
    }
}

} // namespace

const char* GetName(Order order)
{
    switch (order) {
    case Order::kDevice:
        return "device";
    case Order::kRate:
        return "rate";
    case Order::kMalformed:
        return "malformed";
    }
    return "";
}

bool View::Press(Key key)
{
    if (isTyping) {
        Type(*this, key);
        return true;
    }
    // The title, the totals, the headings and the keys take four rows; two of a page stay in view.
    const std::size_t page = rows > 6 ? rows - 6 : 1;
    switch (key.kind) {
    case Key::Kind::kCharacter:
        PressCharacter(*this, key.character);
        return key.character != 'q';
    case Key::Kind::kEscape:
        isHelp = false;
        break;
    case Key::Kind::kUp:
        first -= std::min<std::size_t>(first, 1);
        break;
    case Key::Kind::kDown:
        ++first;
        break;
    case Key::Kind::kPageUp:
        first -= std::min(first, page);
        break;
    case Key::Kind::kPageDown:
        first += page;
        break;
    case Key::Kind::kEnter:
    case Key::Kind::kBackspace:
        break;
    }
    return true;
}

} // namespace Monitor
