// Picture.h - the live view as lines of cells, made of the state by one function.
//
//     qxmon  org.qxaudio.device.{...}
//     4 messages  3.9/s  0 malformed  'OpLM' 1  'ClLM' 0
//     device          enable       state  rate/s malformed  sender
//     258                  1           1     2.9         0  4711 qxhost
//       ch 1             0.00 dB [##################]   -6.02 dB [################  ]
//
// Nothing here knows a terminal: a screen only paints the cells, and a test reads them.
#pragma once

#include "Tools/Monitor/Live/State.h"
#include "Tools/Monitor/Live/View.h"

namespace Monitor {

enum class Style : unsigned char
{
    kPlain,
    kTitle,
    kStrong,
    kFaint,
    kGood,    ///< a bar up to 0 dB
    kWarning, ///< a bar above 0 dB
    kBad      ///< malformed messages
};

/// One place of the screen; its character is a printable one of ASCII.
struct Cell
{
    char character = ' ';
    Style style = Style::kPlain;
};

using Line = std::vector<Cell>;

struct Picture
{
    std::vector<Line> lines; ///< as many as the view has rows; each has the view's columns
    std::size_t first = 0;   ///< the view's first line, or the last one that makes sense
};

/// Returns the picture of a state at a time of the state's clock.
Picture MakePicture(const LiveState& state, const View& view, double now);

/// The line's characters, without blanks at its end.
std::string GetText(const Line& line);

} // namespace Monitor
