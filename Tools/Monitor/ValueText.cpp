// ValueText.cpp - values, levels and channels as text.

#include "Tools/Monitor/ValueText.h"

#include "Protocol/ServerProtocol.h"
#include "Tools/Common/Text.h"

#include <cmath>

namespace Monitor {
namespace {

struct Formatter
{
    std::string operator()(std::monostate) const { return "nothing"; }
    std::string operator()(SInt64 number) const { return std::to_string(number); }
    std::string operator()(double number) const { return Tools::FormatNumber(number); }
    std::string operator()(const std::string& text) const
    {
        return '"' + Tools::EscapeControls(text) + '"';
    }
    std::string operator()(const Bytes& bytes) const { return Tools::Count(bytes.size(), "byte"); }
    std::string operator()(const Levels& levels) const
    {
        return FormatChannel(levels.channelIndex) + ", " + FormatDecibels(levels.first) + " and " +
               FormatDecibels(levels.second);
    }
};

} // namespace

std::string FormatDecibels(double level)
{
    return Tools::FormatText("%.2f dB%s", level, level == kSilenceDecibels ? " (silent)" : "");
}

std::string FormatShortDecibels(double level)
{
    // The digits of a number that no driver means would push the columns apart.
    constexpr double kMostShown = 999.99;
    const bool isShown = std::fabs(level) < kMostShown || !std::isfinite(level);
    return level == kSilenceDecibels ? "silent"
                                     : Tools::FormatText(isShown ? "%.2f dB" : "%.0e dB", level);
}

std::string FormatChannel(UInt32 channelIndex)
{
    const UInt64 channel = static_cast<UInt32>(channelIndex + 1);
    return channel == 0 ? "master channel" : Tools::FormatText("channel %llu", channel);
}

std::string FormatShortChannel(UInt32 channelIndex)
{
    const UInt64 channel = static_cast<UInt32>(channelIndex + 1);
    return channel == 0 ? "master" : Tools::FormatText("ch %llu", channel);
}

std::string FormatValue(const Value& value)
{
    return std::visit(Formatter(), value);
}

} // namespace Monitor
