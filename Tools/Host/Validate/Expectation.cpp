// Expectation.cpp - reads messages by itself and compares them field by field.

#include "Tools/Host/Validate/Expectation.h"

#include "Protocol/ServerProtocol.h"
#include "Tools/Common/Text.h"
#include "Tools/Monitor/PropertyListReader.h"

#include <cmath>
#include <cstring>

namespace Validate {
namespace {

using Tools::FormatText;

constexpr UInt32 kInt32Type = 2;
constexpr UInt32 kBufferType = 8;

std::string DescribeID(SInt32 id)
{
    const std::string code = Tools::FormatFourCharCode(static_cast<UInt32>(id));
    return code.empty() ? FormatText("%lld", SInt64{id}) : "'" + code + "'";
}

UInt32 LoadLittle(const unsigned char* bytes)
{
    return UInt32{bytes[0]} | UInt32{bytes[1]} << 8 | UInt32{bytes[2]} << 16 |
           UInt32{bytes[3]} << 24;
}

template <class T>
T LoadHost(const unsigned char* bytes)
{
    T value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

std::string CompareNumbers(const char* field, UInt32 found, UInt32 expected)
{
    return found == expected ? ""
                             : FormatText("the %s is %lld (0x%08llX) instead of %lld (0x%08llX)",
                                          field, SInt64{static_cast<SInt32>(found)}, UInt64{found},
                                          SInt64{static_cast<SInt32>(expected)}, UInt64{expected});
}

/// The level of a gain, in decibels: silence for 0 and below, NaN for NaN.
double ConvertGain(Float32 gain)
{
    return gain <= 0.0F ? kSilenceDecibels : 20.0 * std::log10(static_cast<double>(gain));
}

std::string CompareLevels(const char* field, double found, Float32 gain)
{
    const double expected = ConvertGain(gain);
    const bool isNaN = std::isnan(found) && std::isnan(expected);
    // The logarithm's last bit is the C library's choice.
    constexpr double kTolerance = 1e-12;
    const bool isNear = std::fabs(found - expected) <= kTolerance * std::fabs(expected);
    if (found == expected || isNaN || isNear) {
        return "";
    }
    return FormatText("the %s level of the gain %s is %s dB instead of %s dB", field,
                      Tools::FormatNumber(static_cast<double>(gain)).c_str(),
                      Tools::FormatNumber(found).c_str(), Tools::FormatNumber(expected).c_str());
}

std::string CompareRecord(const unsigned char* record, const ExpectedMessage& expected)
{
    const Float32 first = LoadHost<Float32>(expected.data.data());
    const Float32 second = LoadHost<Float32>(expected.data.data() + sizeof first);
    std::string difference =
        CompareLevels("first", LoadHost<double>(record + kLevelRecordFirstOffset), first);
    if (difference.empty()) {
        difference =
            CompareLevels("second", LoadHost<double>(record + kLevelRecordSecondOffset), second);
    }
    if (difference.empty()) {
        difference =
            CompareNumbers("channel index", LoadHost<UInt32>(record + kLevelRecordChannelOffset),
                           expected.channel - 1);
    }
    return difference;
}

std::string CompareParameter(const Bytes& bytes, const ExpectedMessage& expected)
{
    const bool isWord = expected.value == PropertyRules::Value::kWord;
    const UInt32 dataSize = isWord ? 4 : kLevelRecordSize;
    const UInt32 size = dataSize + kMessageOverhead;
    if (bytes.size() != size) {
        return "the set-parameter message has " + Tools::Count(bytes.size(), "byte") +
               FormatText(" instead of %llu", UInt64{size});
    }
    const unsigned char* const value = bytes.data() + kMessageValueOffset;
    const struct
    {
        const char* field;
        UInt32 found;
        UInt32 expected;
    } words[] = {
        {"length word", LoadHost<UInt32>(bytes.data() + kMessageLengthOffset), size},
        {"reserved word", LoadHost<UInt32>(bytes.data() + kMessageReservedOffset), 0},
        {"parameter", LoadHost<UInt32>(bytes.data() + kMessageParameterOffset),
         static_cast<UInt32>(expected.rule.parameter)},
        {"value's length", LoadLittle(value), dataSize + kSerializedValueHeaderSize},
        {"value's reserved word", LoadLittle(value + 4), 0},
        {"value's type", LoadLittle(value + 8), isWord ? kInt32Type : kBufferType},
    };
    for (const auto& word : words) {
        std::string difference = CompareNumbers(word.field, word.found, word.expected);
        if (!difference.empty()) {
            return difference;
        }
    }
    const unsigned char* const data = value + kSerializedValueHeaderSize;
    return isWord
               ? CompareNumbers("value", LoadLittle(data), LoadHost<UInt32>(expected.data.data()))
               : CompareRecord(data, expected);
}

std::string CompareDocument(const Profile& profile, const Message& message,
                            const ExpectedMessage& expected)
{
    std::vector<Monitor::Finding> findings;
    const std::string_view document(reinterpret_cast<const char*>(message.data.data()),
                                    message.data.size());
    Monitor::PropertyList list = Monitor::ReadPropertyList(document, findings);
    if (!findings.empty()) {
        return FormatText("the document is wrong at offset %zu: %s", findings.front().offset,
                          findings.front().text.c_str());
    }
    const Monitor::Entry* const device = list.Find(profile.deviceKey);
    const Monitor::Entry* const data = list.Find(profile.dataKey);
    if (device == nullptr || !device->integer) {
        return "the dictionary has no integer \"" + profile.deviceKey + "\"";
    }
    if (data == nullptr || !data->data) {
        return "the dictionary has no data \"" + profile.dataKey + "\"";
    }
    if (list.entries.size() != 2) {
        return FormatText("the number of the dictionary's entries is %zu instead of 2",
                          list.entries.size());
    }
    // The ID's bits as a signed number.
    if (*device->integer != static_cast<SInt32>(expected.device)) {
        return FormatText("the device is %lld instead of %lld", *device->integer,
                          SInt64{static_cast<SInt32>(expected.device)});
    }
    return CompareParameter(*data->data, expected);
}

std::string DescribeIDs(const std::vector<Message>& messages)
{
    std::string text;
    for (const Message& message : messages) {
        text += text.empty() ? "" : ", ";
        text += DescribeID(message.id);
    }
    return text.empty() ? "none" : Tools::Shorten(text);
}

} // namespace

std::vector<ExpectedMessage> ListMessages(const PropertyRules& property, const Request& request)
{
    const UInt32 word = LoadHost<UInt32>(request.data.data());
    std::vector<ExpectedMessage> messages;
    for (const MessageRule& rule : property.messages) {
        const bool isForZero = rule.when == MessageRule::When::kZero;
        if (rule.when == MessageRule::When::kAlways || isForZero == (word == 0)) {
            messages.push_back(
                {rule, request.device, request.channel, property.value, request.data});
        }
    }
    return messages;
}

std::string CompareMessages(const Profile& profile, const std::vector<Message>& messages,
                            const std::vector<ExpectedMessage>& expected)
{
    for (std::size_t index = 0; index < messages.size() && index < expected.size(); ++index) {
        const Message& message = messages[index];
        const ExpectedMessage& wanted = expected[index];
        const std::string place = FormatText("message %zu, ", index + 1);
        if (message.id != wanted.rule.id) {
            return place + "is " + DescribeID(message.id) + " instead of " +
                   DescribeID(wanted.rule.id);
        }
        std::string difference;
        if (wanted.rule.hasParameter) {
            difference = CompareDocument(profile, message, wanted);
        } else if (!message.data.empty()) {
            difference =
                "it carries " + Tools::Count(message.data.size(), "byte") + " instead of none";
        }
        if (!difference.empty()) {
            return place + DescribeID(message.id).append(": ").append(difference);
        }
    }
    if (messages.size() != expected.size()) {
        return Tools::Count(messages.size(), "message") +
               FormatText(" arrived instead of %zu: ", expected.size()) + DescribeIDs(messages);
    }
    return "";
}

Bytes MakeWord(UInt32 word)
{
    Bytes bytes(sizeof word);
    std::memcpy(bytes.data(), &word, sizeof word);
    return bytes;
}

Bytes MakeGains(Float32 first, Float32 second)
{
    Bytes bytes(2 * sizeof first);
    std::memcpy(bytes.data(), &first, sizeof first);
    std::memcpy(bytes.data() + sizeof first, &second, sizeof second);
    return bytes;
}

} // namespace Validate
