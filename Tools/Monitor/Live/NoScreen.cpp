// NoScreen.cpp - the screen of a qxmon that was built without ncurses.

#include "Tools/Monitor/Live/Screen.h"

namespace Monitor {

std::string DescribeScreenFault()
{
    return "this qxmon was built without ncurses: --live works with --once only";
}

std::unique_ptr<IScreen> OpenScreen(bool)
{
    return nullptr;
}

} // namespace Monitor
