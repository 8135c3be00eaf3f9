// Difference.cpp - calls and messages, field by field.

#include "Tools/Recording/Difference.h"

#include "Tools/Common/Text.h"
#include "Tools/Monitor/MessageDecoder.h"

#include <algorithm>

namespace Recording {
namespace {

using Monitor::DecodedMessage;
using Monitor::Field;
using Tools::FormatStatus;
using Tools::FormatText;

std::string CompareAnswers(const Event& first, const Event& second)
{
    if (first.isDone != second.isDone) {
        return first.isDone ? "it returned in the first and not in the second"
                            : "it returned in the second and not in the first";
    }
    if (first.thrown != second.thrown || first.isThrown != second.isThrown) {
        return "the exception is \"" + first.thrown + "\" and \"" + second.thrown + "\"";
    }
    if (first.status != second.status) {
        return "the status is " + FormatStatus(first.status) + " and " +
               FormatStatus(second.status);
    }
    if (first.outSize != second.outSize) {
        return FormatText("the size that it stored is %llu and %llu", UInt64{first.outSize},
                          UInt64{second.outSize});
    }
    if (first.outWritable != second.outWritable) {
        return FormatText("the writable flag is %d and %d", first.outWritable, second.outWritable);
    }
    return "";
}

/// Compares the bytes that both have.
std::string CompareBytes(const Event& first, const Event& second)
{
    const auto [place, other] = std::ranges::mismatch(first.data, second.data);
    return place == first.data.end() || other == second.data.end()
               ? ""
               : FormatText("byte %td is %02X and %02X", place - first.data.begin(),
                            unsigned{*place}, unsigned{*other});
}

std::string CompareCalls(const Event& first, const Event& second)
{
    const auto describe = [](const Event& call) {
        return DescribeCall(call, call.data.data(), call.data.size());
    };
    const std::string call = describe(first);
    const std::string other = describe(second);
    if (call != other) {
        return "it is " + call + " and " + other;
    }
    std::string difference = CompareBytes(first, second);
    difference = difference.empty() ? CompareAnswers(first, second) : difference;
    return difference.empty() ? "" : call + ": " + difference;
}

std::string DescribeField(const DecodedMessage& message, const Field& field, bool showsBytes)
{
    return showsBytes || field.meaning.empty()
               ? Tools::FormatHex(message.bytes.data() + field.offset, field.size, " ")
               : field.meaning;
}

std::string CompareField(const DecodedMessage& first, const DecodedMessage& second,
                         std::size_t index)
{
    const Field& field = first.fields.at(index);
    const Field& other = second.fields.at(index);
    if (DescribeField(first, field, true) == DescribeField(second, other, true)) {
        return "";
    }
    const bool showsBytes = field.meaning == other.meaning;
    return "its " + field.name + " is " + DescribeField(first, field, showsBytes) + " and " +
           DescribeField(second, other, showsBytes);
}

/// Compares two messages that are well formed. The parameter and the channel tell which value it is
/// about: they come before what follows from them.
std::string CompareFields(const DecodedMessage& first, const DecodedMessage& second)
{
    if (first.device != second.device) {
        return FormatText("its device is %llu and %llu", UInt64{first.device.value_or(0)},
                          UInt64{second.device.value_or(0)});
    }
    const auto isEarly = [](const Field& field) {
        return field.name == "parameter" || field.name == "channel index";
    };
    const std::size_t count = std::min(first.fields.size(), second.fields.size());
    for (const bool wantsEarly : {true, false}) {
        for (std::size_t index = 0; index < count; ++index) {
            std::string difference = isEarly(first.fields[index]) == wantsEarly &&
                                             first.fields[index].name == second.fields[index].name
                                         ? CompareField(first, second, index)
                                         : "";
            if (!difference.empty()) {
                return difference;
            }
        }
    }
    return "";
}

std::string CompareMessages(const Event& first, const Event& second)
{
    if (first.id != second.id) {
        return "its ID is " + FormatStatus(first.id) + " and " + FormatStatus(second.id);
    }
    const auto decode = [](const Event& message) {
        return Monitor::DecodeRequest(message.id, message.data.data(), message.data.size());
    };
    const DecodedMessage one = decode(first);
    const DecodedMessage other = decode(second);
    std::string difference =
        one.IsWellFormed() && other.IsWellFormed() ? CompareFields(one, other) : "";
    if (difference.empty() && first.dataSize != second.dataSize) {
        return FormatText("it has %llu and %llu bytes", UInt64{first.dataSize},
                          UInt64{second.dataSize});
    }
    return difference.empty() ? CompareBytes(first, second) : difference;
}

template <class Compare>
std::string CompareAll(const char* kind, const Events& first, const Events& second, Compare compare)
{
    for (std::size_t index = 0; index < std::min(first.size(), second.size()); ++index) {
        std::string difference = compare(first[index], second[index]);
        if (!difference.empty()) {
            return FormatText("%s %zu: ", kind, index + 1) + difference;
        }
    }
    return first.size() == second.size()
               ? ""
               : FormatText("there are %zu and %zu %ss", first.size(), second.size(), kind);
}

} // namespace

std::string FindDifference(const Events& first, const Events& second)
{
    std::string difference =
        CompareAll("call", SelectEvents(first, false), SelectEvents(second, false), CompareCalls);
    return !difference.empty() ? difference
                               : CompareAll("message", SelectEvents(first, true),
                                            SelectEvents(second, true), CompareMessages);
}

} // namespace Recording
