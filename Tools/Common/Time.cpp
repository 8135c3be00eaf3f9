// Time.cpp - the real-time clock through the C library.

#include "Tools/Common/Time.h"

#include "Tools/Common/Text.h"

#include <chrono>
#include <cstdio>
#include <ctime>

namespace Tools {
namespace {

constexpr UInt64 kSecond = 1'000'000'000;

} // namespace

UInt64 GetTime()
{
    const auto time = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<UInt64>(std::chrono::duration_cast<std::chrono::nanoseconds>(time).count());
}

std::string FormatUTC(UInt64 nanoseconds)
{
    const std::time_t seconds = static_cast<std::time_t>(nanoseconds / kSecond);
    std::tm parts = {};
    gmtime_r(&seconds, &parts);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &parts);
    return text + FormatText(".%06lluZ", nanoseconds / 1000 % 1'000'000);
}

std::optional<UInt64> ParseUTC(const std::string& text)
{
    std::tm parts = {};
    unsigned micros = 0;
    int end = 0;
    // What is written in another way comes out different below.
    if (std::sscanf(text.c_str(), "%4d-%2d-%2dT%2d:%2d:%2d.%6uZ%n", &parts.tm_year, &parts.tm_mon,
                    &parts.tm_mday, &parts.tm_hour, &parts.tm_min, &parts.tm_sec, &micros,
                    &end) != 7) {
        return std::nullopt;
    }
    parts.tm_year -= 1900;
    parts.tm_mon -= 1;
    const std::time_t seconds = timegm(&parts);
    if (seconds < 0) {
        return std::nullopt;
    }
    const UInt64 nanoseconds = static_cast<UInt64>(seconds) * kSecond + UInt64{micros} * 1000;
    return FormatUTC(nanoseconds) == text ? std::optional<UInt64>(nanoseconds) : std::nullopt;
}

std::string FormatTimeOfDay(UInt64 nanoseconds)
{
    const std::time_t seconds = static_cast<std::time_t>(nanoseconds / kSecond);
    std::tm local = {};
    localtime_r(&seconds, &local);
    return FormatText("%02d:%02d:%02d.%03d", local.tm_hour, local.tm_min, local.tm_sec,
                      static_cast<int>(nanoseconds % kSecond / 1'000'000));
}

} // namespace Tools
