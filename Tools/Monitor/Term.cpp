// Term.cpp - what a term looks at, and how its value is written.

#include "Tools/Monitor/Term.h"

#include "Protocol/ServerProtocol.h"
#include "Tools/Common/Nearest.h"
#include "Tools/Common/Text.h"

#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <string_view>

namespace Monitor {
namespace {

/// The whole text as a number: decimal or hexadecimal, with or without a sign.
std::optional<SInt64> ParseNumber(std::string_view text)
{
    const bool isNegative = text.starts_with('-');
    text.remove_prefix(isNegative ? 1 : 0);
    const int base = text.starts_with("0x") ? 16 : 10;
    text.remove_prefix(base == 16 ? 2 : 0);
    // No sign is left; the numbers of the protocol have 32 bits.
    UInt32 number = 0;
    const char* const end = text.data() + text.size();
    const auto [read, error] = std::from_chars(text.data(), end, number, base);
    if (error != std::errc() || read != end) {
        return std::nullopt;
    }
    return isNegative ? -SInt64{number} : SInt64{number};
}

std::optional<double> ParseLevel(const std::string& text)
{
    char* end = nullptr;
    const double level = std::strtod(text.c_str(), &end);
    const bool isWhole = !text.empty() && *end == '\0' && std::isspace(text.front()) == 0;
    return isWhole && std::isfinite(level) ? std::optional(level) : std::nullopt;
}

std::optional<SInt64> ParseParameter(const std::string& text)
{
    for (const UInt32 parameter : {kDirectMonitorEnableParameter, kDirectMonitorLevelParameter,
                                   kDirectMonitorStateParameter}) {
        const SInt32 number = static_cast<SInt32>(parameter);
        if (text == GetParameterName(number)) {
            return number;
        }
    }
    return ParseNumber(text);
}

/// Four characters, in single quotes or bare, or a number.
std::optional<SInt64> ParseMessageID(const std::string& text)
{
    if (const std::optional<SInt64> number = ParseNumber(text)) {
        return number;
    }
    const std::optional<UInt32> code = Tools::ParseFourCharCode(text);
    return code ? std::optional<SInt64>(static_cast<SInt32>(*code)) : std::nullopt;
}

/// What the protocol has room for.
bool IsInRange(Subject subject, SInt64 number)
{
    const bool isUnsigned = subject == Subject::kDevice || subject == Subject::kChannel;
    return number >= (isUnsigned ? 0 : std::numeric_limits<SInt32>::min()) &&
           number <= std::numeric_limits<UInt32>::max();
}

template <class T>
bool Compare(Comparison comparison, T left, T right)
{
    switch (comparison) {
    case Comparison::kEqual:
        return left == right;
    case Comparison::kUnequal:
        return left != right;
    case Comparison::kLess:
        return left < right;
    case Comparison::kLessOrEqual:
        return left <= right;
    case Comparison::kGreater:
        return left > right;
    case Comparison::kGreaterOrEqual:
        return left >= right;
    }
    return false;
}

double RoundAsShown(double level)
{
    return std::isfinite(level) ? std::round(level * 100) / 100 : level;
}

/// The number that the message carries for the subject, unless that is level or malformed.
std::optional<SInt64> GetNumber(const DecodedMessage& message, Subject subject)
{
    const auto getValue = [&](UInt32 parameter) -> std::optional<SInt64> {
        const SInt64* const value = std::get_if<SInt64>(&message.value);
        const bool isSet = message.IsWellFormed() && value != nullptr &&
                           message.parameter == static_cast<SInt32>(parameter);
        return isSet ? std::optional(*value) : std::nullopt;
    };
    switch (subject) {
    case Subject::kDevice:
        return message.device;
    case Subject::kChannel:
        if (const Levels* const levels = std::get_if<Levels>(&message.value)) {
            return static_cast<UInt32>(levels->channelIndex + 1);
        }
        return std::nullopt;
    case Subject::kParameter:
        return message.parameter;
    case Subject::kMessage:
        return message.id;
    case Subject::kEnable:
        return getValue(kDirectMonitorEnableParameter);
    case Subject::kState:
        return getValue(kDirectMonitorStateParameter);
    case Subject::kLevel:
    case Subject::kMalformed:
        break;
    }
    return std::nullopt;
}

} // namespace

bool Term::Holds(const DecodedMessage& message) const
{
    if (subject == Subject::kMalformed) {
        return !message.IsWellFormed();
    }
    if (subject == Subject::kLevel) {
        const Levels* const levels = std::get_if<Levels>(&message.value);
        return message.IsWellFormed() && levels != nullptr &&
               (Compare(comparison, RoundAsShown(levels->first), level) ||
                Compare(comparison, RoundAsShown(levels->second), level));
    }
    const std::optional<SInt64> carried = GetNumber(message, subject);
    return carried && Compare(comparison, *carried, number);
}

std::string ReadTermValue(Term& term, const std::string& text)
{
    if (term.subject == Subject::kLevel) {
        const std::optional<double> level = ParseLevel(text);
        term.level = level.value_or(0);
        return level ? "" : "\"" + text + "\" is not a number of decibels";
    }
    const bool isParameter = term.subject == Subject::kParameter;
    const bool isMessage = term.subject == Subject::kMessage;
    const std::optional<SInt64> number = isParameter ? ParseParameter(text)
                                         : isMessage ? ParseMessageID(text)
                                                     : ParseNumber(text);
    if (isParameter && !number) {
        return "\"" + text + "\" is not a parameter; " +
               Tools::SuggestNearest(text, {"enable", "level", "state"}) +
               "there are enable, level, state and numbers";
    }
    if (isMessage && !number) {
        return "\"" + text + "\" is not a message ID: four characters, such as SLLM, or a number";
    }
    if (!number || !IsInRange(term.subject, *number)) {
        const bool isUnsigned =
            term.subject == Subject::kDevice || term.subject == Subject::kChannel;
        return "\"" + text + "\" is not a number of 32 bits" +
               (isUnsigned ? " without a sign" : "");
    }
    // The message has these signed; 0xFFFFFF06 is the parameter -250.
    const bool isSigned = term.subject != Subject::kDevice && term.subject != Subject::kChannel;
    term.number = isSigned ? static_cast<SInt32>(static_cast<UInt32>(*number)) : *number;
    return "";
}

} // namespace Monitor
