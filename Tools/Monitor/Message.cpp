// Message.cpp - the names that the monitor gives to the numbers of the protocol.

#include "Tools/Monitor/Message.h"

#include "Protocol/ServerProtocol.h"

#include <iterator>

namespace Monitor {

const char* GetName(ByteOrder order)
{
    return order == ByteOrder::kBig ? "big-endian" : "little-endian";
}

const char* GetName(Place place)
{
    switch (place) {
    case Place::kRequest:
        return "request";
    case Place::kDocument:
        return "document";
    case Place::kMessage:
        return "message";
    }
    return "";
}

const char* GetParameterName(SInt32 parameter)
{
    switch (static_cast<UInt32>(parameter)) {
    case kDirectMonitorStateParameter:
        return "state";
    case kDirectMonitorEnableParameter:
        return "enable";
    case kDirectMonitorLevelParameter:
        return "level";
    default:
        return nullptr;
    }
}

const char* GetTypeName(UInt32 type)
{
    static constexpr const char* kNames[] = {"kEmpty",  "kBool",   "kInt32",      "kInt64",
                                             "kFloat",  "kDouble", "kPointer",    "kConstPointer",
                                             "kBuffer", "kString", "kConstBuffer"};
    return type < std::size(kNames) ? kNames[type] : nullptr;
}

const char* GetMessageMeaning(SInt32 id)
{
    switch (id) {
    case kOpenDirectMonitorMessage:
        return "open: a non-zero state follows";
    case kCloseDirectMonitorMessage:
        return "close: the state has become 0";
    case kSetParameterMessage:
        return "set a parameter";
    default:
        return nullptr;
    }
}

} // namespace Monitor
