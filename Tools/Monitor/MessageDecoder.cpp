// MessageDecoder.cpp - requests and the set-parameter message.

#include "Tools/Monitor/MessageDecoder.h"

#include "Protocol/ServerProtocol.h"
#include "Tools/Common/Text.h"
#include "Tools/Monitor/PropertyListReader.h"
#include "Tools/Monitor/ValueDecoder.h"

#include <limits>
#include <string_view>

namespace Monitor {
namespace {

using Tools::FormatText;

void ReportInDocument(DecodedMessage& message, std::size_t offset, std::string text)
{
    message.findings.push_back({Place::kDocument, offset, std::move(text)});
}

/// Finds the entry of that key and kind. Reports one that is missing or of another kind.
Entry* FindEntry(DecodedMessage& message, PropertyList& list, const char* key, const char* kind)
{
    Entry* const entry = list.Find(key);
    if (entry == nullptr) {
        ReportInDocument(message, list.offset,
                         FormatText("missing key: the dictionary has no \"%s\"", key));
        return nullptr;
    }
    if (entry->kind != kind) {
        ReportInDocument(
            message, entry->valueOffset,
            FormatText("wrong type: \"%s\" is <%s>, not <%s>", key, entry->kind.c_str(), kind));
        return nullptr;
    }
    return entry;
}

void ReportForeignKeys(DecodedMessage& message, const PropertyList& list)
{
    bool hasDevice = false;
    bool hasData = false;
    for (const Entry& entry : list.entries) {
        bool foreign = false;
        bool& seen = entry.key == kCoreAudioDeviceIDKey ? hasDevice
                     : entry.key == kParameterDataKey   ? hasData
                                                        : foreign;
        if (&seen == &foreign) {
            ReportInDocument(message, entry.keyOffset,
                             "unexpected key \"" + Tools::Shorten(entry.key) + "\"");
        } else if (seen) {
            ReportInDocument(message, entry.keyOffset,
                             "the key \"" + entry.key + "\" is there twice");
        }
        seen = true;
    }
}

void DecodeDocument(DecodedMessage& message, std::string_view document)
{
    PropertyList list = ReadPropertyList(document, message.findings);
    message.elements = ListElements(list);
    if (!list.isDictionary) {
        return;
    }
    ReportForeignKeys(message, list);
    const Entry* const device = FindEntry(message, list, kCoreAudioDeviceIDKey, "integer");
    if (device != nullptr && device->integer) {
        const SInt64 number = *device->integer;
        if (number < std::numeric_limits<SInt32>::min() ||
            number > std::numeric_limits<SInt32>::max()) {
            ReportInDocument(
                message, device->valueOffset,
                FormatText("the device ID %lld does not fit in a signed 32-bit number", number));
        } else {
            message.device = static_cast<UInt32>(number);
        }
    }
    Entry* const data = FindEntry(message, list, kParameterDataKey, "data");
    if (data != nullptr && data->data) {
        message.bytes = std::move(*data->data);
        DecodeSetParameter(message);
    }
}

/// Tells the sender's byte order from the length word, or says that it does not tell.
void DetermineByteOrder(DecodedMessage& message, FieldReader& fields, const unsigned char* word)
{
    const UInt64 size = message.bytes.size();
    const UInt64 big = LoadNumber(word, 4, ByteOrder::kBig);
    const UInt64 little = LoadNumber(word, 4, ByteOrder::kLittle);
    // Of a wrong length word, the reading that is nearer to the size is the likelier one.
    const auto distance = [size](UInt64 length) {
        return length > size ? length - size : size - length;
    };
    message.byteOrder = distance(big) < distance(little) ? ByteOrder::kBig : ByteOrder::kLittle;
    const UInt64 length = *message.byteOrder == ByteOrder::kBig ? big : little;
    fields.SetMeaning(FormatText("%llu, %s", length, GetName(*message.byteOrder)));
    if (length != size) {
        fields.Report(FormatText("wrong length word: it says %llu (big-endian) or %llu "
                                 "(little-endian), the message has %s",
                                 big, little, Tools::Count(size, "byte").c_str()));
    }
}

void ReadReserved(FieldReader& fields, UInt64 reserved)
{
    if (reserved != 0) {
        fields.Report("the reserved word is not 0");
    }
}

} // namespace

DecodedMessage DecodeRequest(SInt32 id, const unsigned char* data, std::size_t size)
{
    DecodedMessage message;
    message.id = id;
    message.dataSize = size;
    if (id == kSetParameterMessage) {
        DecodeDocument(message, {reinterpret_cast<const char*>(data), size});
    } else if (GetMessageMeaning(id) == nullptr) {
        message.findings.push_back({Place::kRequest, 0, "unknown message ID"});
    } else if (size != 0) {
        ReportInDocument(message, 0,
                         Tools::Count(size, "byte") + " came with a message that has none");
    }
    return message;
}

void DecodeSetParameter(DecodedMessage& message)
{
    FieldReader fields(message);
    const unsigned char* word = nullptr;
    UInt64 number = 0;
    if (!fields.ReadBytes("message length", 4, word)) {
        return;
    }
    DetermineByteOrder(message, fields, word);
    if (!fields.Read("reserved", 4, *message.byteOrder, number)) {
        return;
    }
    ReadReserved(fields, number);
    if (!fields.Read("parameter", 4, *message.byteOrder, number)) {
        return;
    }
    message.parameter = static_cast<SInt32>(static_cast<UInt32>(number));
    const char* const name = GetParameterName(*message.parameter);
    const int parameter = static_cast<int>(*message.parameter);
    fields.SetMeaning(FormatText("%d, %s", parameter, name != nullptr ? name : "unknown"));
    if (name == nullptr) {
        fields.Report(FormatText("unknown parameter %d", parameter));
    }
    DecodeValue(message, fields);
}

} // namespace Monitor
