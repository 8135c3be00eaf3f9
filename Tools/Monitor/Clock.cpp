// Clock.cpp - the time of day as text.

#include "Tools/Monitor/Clock.h"

#include "Tools/Common/Text.h"

#include <ctime>
#include <sys/time.h>

std::string Monitor::FormatLocalTime()
{
    timeval now = {};
    gettimeofday(&now, nullptr);
    const std::time_t seconds = now.tv_sec;
    std::tm local = {};
    localtime_r(&seconds, &local);
    return Tools::FormatText("%02d:%02d:%02d.%03d", local.tm_hour, local.tm_min, local.tm_sec,
                             static_cast<int>(now.tv_usec / 1000));
}
