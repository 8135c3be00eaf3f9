// FuzzSetParamMessage.cpp - set-parameter messages on the way from the serializer to the decoder.
//
// A value of any type, serialized and sent as a document, is decoded to the same parameter, type
// and value, in either byte order. A message of arbitrary bytes that is decoded without findings
// has exactly the bytes that its decoded value is encoded to. Every finding lies in the input.

#include "FuzzCheck.h"
#include "FuzzInput.h"

#include "DriverPlugIn/DeviceMessageSerializer.h"
#include "Protocol/ServerProtocol.h"
#include "Tools/Monitor/MessageDecoder.h"
#include "Tools/Monitor/StateTable.h"

#include <CoreFoundation/CoreFoundation.h>
#include <Standin/LiveObjects.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <string>
#include <utility>

namespace {

using Monitor::ByteOrder;
using Monitor::Bytes;
using Monitor::DecodedMessage;
using QX::LIBuffer;
using QX::RCPtr;
using QX::Variant;

constexpr ByteOrder kHostOrder =
    std::endian::native == std::endian::big ? ByteOrder::kBig : ByteOrder::kLittle;
constexpr ByteOrder kForeignOrder =
    kHostOrder == ByteOrder::kBig ? ByteOrder::kLittle : ByteOrder::kBig;

void AppendNumber(Bytes& bytes, UInt64 number, int size, ByteOrder order)
{
    for (int index = 0; index < size; ++index) {
        const int place = order == ByteOrder::kBig ? size - 1 - index : index;
        bytes.push_back(static_cast<unsigned char>(number >> (8 * place) & 0xFF));
    }
}

/// The message of a well-formed one's parameter, value and byte order.
Bytes Encode(const DecodedMessage& message)
{
    const ByteOrder order = *message.byteOrder;
    const auto* const levels = std::get_if<Monitor::Levels>(&message.value);
    const UInt32 dataSize = levels != nullptr ? 20 : 4;
    Bytes bytes;
    AppendNumber(bytes, dataSize + 24, 4, order);
    AppendNumber(bytes, 0, 4, order);
    AppendNumber(bytes, static_cast<UInt32>(*message.parameter), 4, order);
    AppendNumber(bytes, dataSize + 12, 4, ByteOrder::kLittle);
    AppendNumber(bytes, 0, 4, ByteOrder::kLittle);
    AppendNumber(bytes, levels != nullptr ? 8 : 2, 4, ByteOrder::kLittle);
    if (levels != nullptr) {
        AppendNumber(bytes, std::bit_cast<UInt64>(levels->first), 8, order);
        AppendNumber(bytes, std::bit_cast<UInt64>(levels->second), 8, order);
        AppendNumber(bytes, levels->channelIndex, 4, order);
    } else {
        AppendNumber(bytes, static_cast<UInt64>(std::get<SInt64>(message.value)), 4,
                     ByteOrder::kLittle);
    }
    return bytes;
}

DecodedMessage Decode(Bytes bytes)
{
    DecodedMessage message;
    message.id = kSetParameterMessage;
    message.device = 0;
    message.bytes = std::move(bytes);
    Monitor::DecodeSetParameter(message);
    return message;
}

DecodedMessage DecodeDocument(CFDataRef document)
{
    return Monitor::DecodeRequest(kSetParameterMessage, CFDataGetBytePtr(document),
                                  static_cast<std::size_t>(CFDataGetLength(document)));
}

/// The document that carries a message, as the platform writes it. The caller releases it.
CFDataRef MakeDocument(UInt32 device, const unsigned char* bytes, std::size_t size)
{
    const CFMutableDictionaryRef dictionary =
        CFDictionaryCreateMutable(nullptr, 2, nullptr, nullptr);
    const CFNumberRef number = CFNumberCreate(nullptr, kCFNumberSInt32Type, &device);
    const CFDataRef data = CFDataCreate(nullptr, bytes, static_cast<CFIndex>(size));
    CFDictionaryAddValue(dictionary, CFSTR(kCoreAudioDeviceIDKey), number);
    CFDictionaryAddValue(dictionary, CFSTR(kParameterDataKey), data);
    const CFDataRef document = CFPropertyListCreateXMLData(nullptr, dictionary);
    CFRelease(data);
    CFRelease(number);
    CFRelease(dictionary);
    FUZZ_CHECK(document != nullptr);
    return document;
}

void CheckFindings(const DecodedMessage& message)
{
    for (const Monitor::Finding& finding : message.findings) {
        const bool isInMessage = finding.place == Monitor::Place::kMessage;
        FUZZ_CHECK(finding.offset <= (isInMessage ? message.bytes.size() : message.dataSize));
        FUZZ_CHECK(!finding.text.empty());
    }
    std::size_t offset = 0;
    for (const Monitor::Field& field : message.fields) {
        FUZZ_CHECK(field.offset == offset && field.size > 0);
        offset += field.size;
    }
    FUZZ_CHECK(offset <= message.bytes.size());
    FUZZ_CHECK(!message.IsWellFormed() || offset == message.bytes.size());
}

bool IsSameValue(const Monitor::Value& left, const Monitor::Value& right)
{
    const auto* const leftLevels = std::get_if<Monitor::Levels>(&left);
    const auto* const rightLevels = std::get_if<Monitor::Levels>(&right);
    if (leftLevels != nullptr && rightLevels != nullptr) {
        // Bit by bit, so that a NaN equals itself.
        return std::bit_cast<UInt64>(leftLevels->first) ==
                   std::bit_cast<UInt64>(rightLevels->first) &&
               std::bit_cast<UInt64>(leftLevels->second) ==
                   std::bit_cast<UInt64>(rightLevels->second) &&
               leftLevels->channelIndex == rightLevels->channelIndex;
    }
    const auto* const leftReal = std::get_if<double>(&left);
    const auto* const rightReal = std::get_if<double>(&right);
    if (leftReal != nullptr && rightReal != nullptr) {
        return *leftReal == *rightReal || (std::isnan(*leftReal) && std::isnan(*rightReal));
    }
    if (leftLevels != nullptr || rightLevels != nullptr || leftReal != nullptr ||
        rightReal != nullptr || left.index() != right.index()) {
        return false;
    }
    if (const auto* const bytes = std::get_if<Bytes>(&left)) {
        return *bytes == std::get<Bytes>(right);
    }
    if (const auto* const text = std::get_if<std::string>(&left)) {
        return *text == std::get<std::string>(right);
    }
    const auto* const integer = std::get_if<SInt64>(&left);
    return integer == nullptr || *integer == std::get<SInt64>(right);
}

/// Arbitrary bytes as a message: what is well formed can be built again, byte by byte.
void CheckMessage(const uint8_t* data, std::size_t size)
{
    const DecodedMessage message = Decode(Bytes(data, data + size));
    Monitor::StateTable states;
    states.Take(message);

    CheckFindings(message);
    FUZZ_CHECK(states.GetMalformed() == (message.IsWellFormed() ? 0u : 1u));
    if (message.IsWellFormed()) {
        FUZZ_CHECK(Encode(message) == message.bytes);
    }
}

/// Arbitrary bytes as a document: the device and the message that it carries, put into a document
/// of the platform's own, are decoded to the same.
void CheckDocument(SInt32 id, const uint8_t* data, std::size_t size)
{
    const DecodedMessage message = Monitor::DecodeRequest(id, data, size);
    Monitor::StateTable states;
    states.Take(message);

    CheckFindings(message);
    if (!message.device || message.bytes.empty()) {
        FUZZ_CHECK(id != kSetParameterMessage || !message.IsWellFormed());
        return;
    }
    const CFDataRef document =
        MakeDocument(*message.device, message.bytes.data(), message.bytes.size());
    const DecodedMessage again = DecodeDocument(document);
    FUZZ_CHECK(again.device == message.device && again.bytes == message.bytes);
    FUZZ_CHECK(again.parameter == message.parameter && again.type == message.type);
    FUZZ_CHECK(again.findings.size() <= message.findings.size());
    FUZZ_CHECK(IsSameValue(again.value, message.value));
    CFRelease(document);
}

void SetValue(Variant& value, uint8_t choice, const uint8_t* data, std::size_t size)
{
    const UInt32 length = static_cast<UInt32>(size);
    const auto type = static_cast<Variant::Type>(choice % 12);
    if (type == Variant::kString) {
        value.Set(std::string(reinterpret_cast<const char*>(data), size).c_str());
    } else if (type == Variant::kPointer) {
        value.SetPointer(const_cast<uint8_t*>(data), length);
    } else if (type == Variant::kConstPointer) {
        value.SetConstPointer(data, length);
    } else {
        unsigned char scalar[8] = {};
        // Not memcpy: an empty input has no address.
        std::copy_n(data, std::min<std::size_t>(size, sizeof scalar), scalar);
        const UInt32 scalarSize = type == Variant::kBool                               ? 1
                                  : type == Variant::kInt32 || type == Variant::kFloat ? 4
                                                                                       : 8;
        const bool isBlock = type >= Variant::kBuffer;
        value.Set(type, isBlock ? data : scalar, isBlock ? length : scalarSize);
    }
}

/// The value as the monitor shows it.
Monitor::Value Show(const Variant& value, UInt32 parameter)
{
    UInt32 size = 0;
    const auto* const data = static_cast<const unsigned char*>(value.GetConstPointer(size));
    switch (value.GetType()) {
    case Variant::kEmpty:
        return std::monostate();
    case Variant::kBool:
        return SInt64{data[0]};
    case Variant::kInt32:
    case Variant::kInt64:
        return SInt64{value.GetInt64()};
    case Variant::kFloat:
        return static_cast<double>(value.GetFloat());
    case Variant::kDouble:
        return value.GetDouble();
    case Variant::kString:
        return std::string(value.GetCStr());
    default:
        break;
    }
    if (parameter == kDirectMonitorLevelParameter && value.GetType() == Variant::kBuffer &&
        size == 20) {
        Monitor::Levels levels = {};
        std::memcpy(&levels.first, data, 8);
        std::memcpy(&levels.second, data + 8, 8);
        std::memcpy(&levels.channelIndex, data + 16, 4);
        return levels;
    }
    return size == 0 ? Bytes() : Bytes(data, data + size);
}

/// The message as a host of the other byte order would have built it.
Bytes Swap(Bytes bytes, bool isLevel)
{
    const auto reverse = [&bytes](std::size_t first, std::size_t size) {
        for (std::size_t last = first + size - 1; first < last; ++first, --last) {
            std::swap(bytes.at(first), bytes.at(last));
        }
    };
    reverse(0, 4);
    reverse(8, 4);
    if (isLevel) {
        reverse(24, 8);
        reverse(32, 8);
        reverse(40, 4);
    }
    return bytes;
}

void CheckDecoded(const DecodedMessage& decoded, const Variant& value, UInt32 parameter,
                  ByteOrder order)
{
    const Monitor::Value shown = Show(value, parameter);
    CheckFindings(decoded);
    FUZZ_CHECK(decoded.byteOrder == order);
    FUZZ_CHECK(decoded.parameter == static_cast<SInt32>(parameter));
    FUZZ_CHECK(decoded.type == value.GetType());
    FUZZ_CHECK(IsSameValue(decoded.value, shown));
    const bool isInteger =
        parameter == kDirectMonitorEnableParameter || parameter == kDirectMonitorStateParameter;
    const bool isWanted = (isInteger && value.GetType() == Variant::kInt32) ||
                          std::holds_alternative<Monitor::Levels>(shown);
    FUZZ_CHECK(decoded.IsWellFormed() == isWanted);
}

/// A value of any type, from the serializer through a document to the decoder.
void CheckValue(FuzzInput& input)
{
    static constexpr UInt32 kParameters[] = {
        kDirectMonitorStateParameter, kDirectMonitorEnableParameter, kDirectMonitorLevelParameter};
    const uint8_t choice = input.TakeByte();
    const UInt32 parameter = choice < 0xC0 ? kParameters[choice % 3] : input.TakeWord();
    const UInt32 device = input.TakeWord();
    const uint8_t type = input.TakeByte();
    std::size_t size = 0xFFFF;
    const uint8_t* const data = input.TakeBytes(size);
    Variant value;
    SetValue(value, type, data, size);
    UInt32 valueSize = 0;
    value.GetConstPointer(valueSize);
    RCPtr<LIBuffer> buffer = QX::LByteBuffer::Create(0, 0, true);

    const UInt32 length = DeviceMessageSerializer::CreateSetParamMessage(parameter, value, buffer);

    FUZZ_CHECK(buffer->GetSizeBytes() == valueSize + 24);
    if (valueSize == 0 &&
        (value.GetType() == Variant::kPointer || value.GetType() == Variant::kConstPointer)) {
        // The one value without a serialized form: its bytes are not initialised.
        FUZZ_CHECK(length == static_cast<UInt32>(QX::kResultFailure));
        return;
    }
    FUZZ_CHECK(length == valueSize + 12);
    const auto* const bytes = static_cast<const unsigned char*>(buffer->GetRawPtr());
    const CFDataRef document = MakeDocument(device, bytes, buffer->GetSizeBytes());
    const DecodedMessage decoded = DecodeDocument(document);
    CFRelease(document);
    FUZZ_CHECK(decoded.device == device);
    FUZZ_CHECK(decoded.bytes == Bytes(bytes, bytes + buffer->GetSizeBytes()));
    CheckDecoded(decoded, value, parameter, kHostOrder);
    const bool isLevel = std::holds_alternative<Monitor::Levels>(decoded.value);
    CheckDecoded(Decode(Swap(decoded.bytes, isLevel)), value, parameter, kForeignOrder);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const SInt32 liveBefore = StandinGetTotalLiveObjectCount();
    FuzzInput input(data, size);
    // The first byte says what the rest is.
    switch (input.TakeByte()) {
    case 'd':
        CheckDocument(kSetParameterMessage, data + 1, size - 1);
        break;
    case 'm':
        CheckMessage(data + 1, size - 1);
        break;
    case 'r': {
        const auto id = static_cast<SInt32>(input.TakeWord());
        std::size_t rest = size;
        const uint8_t* const bytes = input.TakeBytes(rest);
        CheckDocument(id, bytes, rest);
        break;
    }
    default:
        CheckValue(input);
        break;
    }
    FUZZ_CHECK(StandinGetTotalLiveObjectCount() == liveBefore);
    return 0;
}
