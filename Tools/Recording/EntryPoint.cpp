// EntryPoint.cpp - the table of names.

#include "Tools/Recording/EntryPoint.h"

const char* Recording::GetEntryPointName(Action action)
{
    switch (action) {
    case Action::kOpen:
        return "AudioDriverPlugInOpen";
    case Action::kClose:
        return "AudioDriverPlugInClose";
    case Action::kInfo:
        return "AudioDriverPlugInDeviceGetPropertyInfo";
    case Action::kGet:
        return "AudioDriverPlugInDeviceGetProperty";
    case Action::kSet:
        return "AudioDriverPlugInDeviceSetProperty";
    case Action::kStreamInfo:
        return "AudioDriverPlugInStreamGetPropertyInfo";
    case Action::kStreamGet:
        return "AudioDriverPlugInStreamGetProperty";
    case Action::kStreamSet:
        return "AudioDriverPlugInStreamSetProperty";
    case Action::kSleep:
        break;
    }
    return "";
}

bool Recording::IsStream(Action action)
{
    return action == Action::kStreamInfo || action == Action::kStreamGet ||
           action == Action::kStreamSet;
}
