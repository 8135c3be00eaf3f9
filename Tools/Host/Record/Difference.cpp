// Difference.cpp - calls and messages, field by field.

#include "Tools/Host/Record/Difference.h"

#include "Tools/Common/Text.h"
#include "Tools/Host/Status.h"

#include <algorithm>
#include <cstring>

namespace Record {
namespace {

using Tools::FormatText;
using Validate::Event;

std::string DescribeID(SInt32 id)
{
    return Host::FormatStatus(id);
}

std::string CompareAnswers(const Event& first, const Event& second)
{
    if (first.isDone != second.isDone) {
        return first.isDone ? "it returned in the first and not in the second"
                            : "it returned in the second and not in the first";
    }
    if (std::strcmp(first.thrown, second.thrown) != 0 || first.isThrown != second.isThrown) {
        return std::string("the exception is \"") + first.thrown + "\" and \"" + second.thrown +
               "\"";
    }
    if (first.status != second.status) {
        return "the status is " + Host::FormatStatus(first.status) + " and " +
               Host::FormatStatus(second.status);
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

std::string CompareCalls(const Event& first, const Event& second)
{
    const std::string call = Validate::DescribeCall(first);
    const std::string other = Validate::DescribeCall(second);
    if (call != other) {
        return "it is " + call + " and " + other;
    }
    const std::string difference = CompareAnswers(first, second);
    return difference.empty() ? "" : call + ": " + difference;
}

std::string CompareMessages(const Event& first, const Event& second)
{
    if (first.id != second.id) {
        return "its ID is " + DescribeID(first.id) + " and " + DescribeID(second.id);
    }
    if (first.dataSize != second.dataSize) {
        return FormatText("it has %llu and %llu bytes", UInt64{first.dataSize},
                          UInt64{second.dataSize});
    }
    const std::size_t size = std::min(std::size_t{first.dataSize}, Event::kMostData);
    const auto [place, other] = std::mismatch(first.data, first.data + size, second.data);
    return place == first.data + size
               ? ""
               : FormatText("byte %d is %02X and %02X", static_cast<int>(place - first.data),
                            unsigned{*place}, unsigned{*other});
}

template <class Compare>
std::string CompareAll(const char* kind, const Events& first, const Events& second, Compare compare)
{
    for (std::size_t index = 0; index < std::min(first.size(), second.size()); ++index) {
        const std::string difference = compare(first[index], second[index]);
        if (!difference.empty()) {
            return FormatText("%s %zu: ", kind, index + 1) + difference;
        }
    }
    return first.size() == second.size()
               ? ""
               : FormatText("there are %zu and %zu %ss", first.size(), second.size(), kind);
}

} // namespace

Events SelectEvents(const Events& events, bool areMessages)
{
    Events selected;
    std::ranges::copy_if(events, std::back_inserter(selected),
                         [&](const Event& event) { return event.isMessage == areMessages; });
    return selected;
}

std::string FindDifference(const Events& first, const Events& second)
{
    const std::string difference =
        CompareAll("call", SelectEvents(first, false), SelectEvents(second, false), CompareCalls);
    return !difference.empty() ? difference
                               : CompareAll("message", SelectEvents(first, true),
                                            SelectEvents(second, true), CompareMessages);
}

} // namespace Record
