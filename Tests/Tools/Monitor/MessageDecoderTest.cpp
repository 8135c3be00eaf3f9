// MessageDecoderTest.cpp - well-formed requests of both byte orders, and what is said of others.

#include "Tools/Monitor/MessageDecoder.h"

#include "Protocol/ServerProtocol.h"
#include "Tests/Tools/Monitor/Messages.h"
#include "Tools/Monitor/ValueText.h"

#include <gtest/gtest.h>

namespace {

using Monitor::ByteOrder;
using Monitor::Bytes;
using Monitor::DecodedMessage;
using Monitor::Field;
using Monitor::Finding;
using Monitor::Levels;
using ToolsTests::FromHex;
using ToolsTests::MakeDocument;

DecodedMessage DecodeBytes(const Bytes& bytes)
{
    DecodedMessage message;
    message.id = kSetParameterMessage;
    message.bytes = bytes;
    Monitor::DecodeSetParameter(message);
    return message;
}

DecodedMessage DecodeDocument(const std::string& document)
{
    return Monitor::DecodeRequest(kSetParameterMessage,
                                  reinterpret_cast<const unsigned char*>(document.data()),
                                  document.size());
}

std::string DescribeFindings(const DecodedMessage& message)
{
    std::string text;
    for (const Finding& finding : message.findings) {
        text += std::string(GetName(finding.place)) + " " + std::to_string(finding.offset) + ": " +
                finding.text + "\n";
    }
    return text;
}

std::string DescribeFields(const DecodedMessage& message)
{
    std::string text;
    for (const Field& field : message.fields) {
        text += std::to_string(field.offset) + "+" + std::to_string(field.size) + " " + field.name +
                ": " + field.meaning + "\n";
    }
    return text;
}

TEST(MessageDecoder, DecodesAStateOfEitherByteOrder)
{
    const struct
    {
        const char* what;
        const char* bytes;
        ByteOrder order;
    } kCases[] = {
        {"big-endian", ToolsTests::kBigEndianState, ByteOrder::kBig},
        {"little-endian", ToolsTests::kLittleEndianState, ByteOrder::kLittle},
    };
    for (const auto& entry : kCases) {
        SCOPED_TRACE(entry.what);

        const DecodedMessage message = DecodeBytes(FromHex(entry.bytes));

        EXPECT_EQ(DescribeFindings(message), "");
        EXPECT_EQ(message.byteOrder, entry.order);
        EXPECT_EQ(message.parameter, -251);
        EXPECT_EQ(message.type, 2u);
        EXPECT_EQ(std::get<SInt64>(message.value), 1);
    }
}

TEST(MessageDecoder, DecodesALevelOfEitherByteOrder)
{
    for (const char* const bytes : {ToolsTests::kBigEndianLevel, ToolsTests::kLittleEndianLevel}) {
        SCOPED_TRACE(bytes);

        const DecodedMessage message = DecodeBytes(FromHex(bytes));

        EXPECT_EQ(DescribeFindings(message), "");
        EXPECT_EQ(message.parameter, -249);
        const Levels& levels = std::get<Levels>(message.value);
        EXPECT_EQ(levels.first, 0.0);
        EXPECT_EQ(levels.second, -6.020599913279624);
        EXPECT_EQ(levels.channelIndex, 0u);
    }
}

TEST(MessageDecoder, DecodesAWholeDocument)
{
    const DecodedMessage message =
        DecodeDocument(MakeDocument("258", ToolsTests::kBigEndianLevelText));

    EXPECT_EQ(DescribeFindings(message), "");
    EXPECT_EQ(message.device, 258u);
    EXPECT_EQ(message.bytes, FromHex(ToolsTests::kBigEndianLevel));
    EXPECT_EQ(message.dataSize, 353u);
}

TEST(MessageDecoder, ReadsTheDeviceAsTheBitsOfASignedNumber)
{
    EXPECT_EQ(DecodeDocument(MakeDocument("-2", ToolsTests::kBigEndianStateText)).device,
              0xFFFFFFFEu);
    EXPECT_EQ(DecodeDocument(MakeDocument("0", ToolsTests::kBigEndianStateText)).device, 0u);
}

TEST(MessageDecoder, ReadsAnEnableOfAllOnesAsMinusOne)
{
    const DecodedMessage message =
        DecodeBytes(FromHex("0000001C 00000000 FFFFFF06 10000000 00000000 02000000 FFFFFFFF"));

    EXPECT_EQ(DescribeFindings(message), "");
    EXPECT_EQ(message.parameter, -250);
    EXPECT_EQ(std::get<SInt64>(message.value), -1);
}

TEST(MessageDecoder, NamesTheMasterChannel)
{
    const DecodedMessage message =
        DecodeBytes(FromHex("0000002C 00000000 FFFFFF07 20000000 00000000 08000000 "
                            "C08F380000000000 4034000000000000 FFFFFFFF"));

    EXPECT_EQ(DescribeFindings(message), "");
    EXPECT_EQ(Monitor::FormatValue(message.value),
              "master channel, -999.00 dB (silent) and 20.00 dB");
}

TEST(MessageDecoder, ListsTheFieldsOfALevel)
{
    const DecodedMessage message = DecodeBytes(FromHex(ToolsTests::kLittleEndianLevel));

    EXPECT_EQ(DescribeFields(message), "0+4 message length: 44, little-endian\n"
                                       "4+4 reserved: 0\n"
                                       "8+4 parameter: -249, level\n"
                                       "12+4 value length: 32\n"
                                       "16+4 value reserved: 0\n"
                                       "20+4 value type: 8, kBuffer\n"
                                       "24+8 first level: 0.00 dB\n"
                                       "32+8 second level: -6.02 dB\n"
                                       "40+4 channel index: 0, channel 1\n");
}

TEST(MessageDecoder, AcceptsSimpleMessagesWithoutData)
{
    EXPECT_TRUE(Monitor::DecodeRequest(kOpenDirectMonitorMessage, nullptr, 0).IsWellFormed());
    EXPECT_TRUE(Monitor::DecodeRequest(kCloseDirectMonitorMessage, nullptr, 0).IsWellFormed());
}

TEST(MessageDecoder, RefusesSimpleMessagesWithDataAndUnknownOnes)
{
    const Bytes data = {1, 2, 3};

    EXPECT_EQ(DescribeFindings(Monitor::DecodeRequest(kOpenDirectMonitorMessage, data.data(), 3)),
              "document 0: 3 bytes came with a message that has none\n");
    EXPECT_EQ(DescribeFindings(Monitor::DecodeRequest(7, nullptr, 0)),
              "request 0: unknown message ID\n");
    EXPECT_EQ(DescribeFindings(Monitor::DecodeRequest(kSetParameterMessage, nullptr, 0)),
              "document 0: no property list: the document is empty\n");
}

TEST(MessageDecoder, NamesWhatIsWrongInTheDictionary)
{
    const std::string device = "<key>CoreAudioDeviceIDKey</key><integer>258</integer>";
    const std::string data = "<key>ParameterDataKey</key><data>" +
                             std::string(ToolsTests::kBigEndianStateText) + "</data>";
    const struct
    {
        const char* what;
        std::string entries;
        const char* expected;
    } kCases[] = {
        {"nothing wrong", device + data, ""},
        {"other order", data + device, ""},
        {"no keys", "",
         "document 7: missing key: the dictionary has no \"CoreAudioDeviceIDKey\"\n"
         "document 7: missing key: the dictionary has no \"ParameterDataKey\"\n"},
        {"no device", data,
         "document 7: missing key: the dictionary has no \"CoreAudioDeviceIDKey\"\n"},
        {"no data", device,
         "document 7: missing key: the dictionary has no \"ParameterDataKey\"\n"},
        {"device is text", "<key>CoreAudioDeviceIDKey</key><string>258</string>" + data,
         "document 44: wrong type: \"CoreAudioDeviceIDKey\" is <string>, not <integer>\n"},
        {"data is text", device + "<key>ParameterDataKey</key><string>AA==</string>",
         "document 93: wrong type: \"ParameterDataKey\" is <string>, not <data>\n"},
        {"third key", device + "<key>More</key><true/>" + data,
         "document 66: unexpected key \"More\"\n"},
        {"device twice", device + device + data,
         "document 66: the key \"CoreAudioDeviceIDKey\" is there twice\n"},
        {"device of 64 bits", "<key>CoreAudioDeviceIDKey</key><integer>2147483648</integer>" + data,
         "document 44: the device ID 2147483648 does not fit in a signed 32-bit number\n"},
        {"device below 32 bits",
         "<key>CoreAudioDeviceIDKey</key><integer>-2147483649</integer>" + data,
         "document 44: the device ID -2147483649 does not fit in a signed 32-bit number\n"},
    };
    for (const auto& entry : kCases) {
        SCOPED_TRACE(entry.what);

        EXPECT_EQ(
            DescribeFindings(DecodeDocument("<plist><dict>" + entry.entries + "</dict></plist>")),
            entry.expected);
    }
}

TEST(MessageDecoder, NamesWhatIsWrongInTheMessage)
{
    const struct
    {
        const char* what;
        const char* bytes;
        const char* expected;
    } kCases[] = {
        {"no bytes", "", "message 0: truncated: the message length needs 4 bytes, 0 are left\n"},
        {"length word", "0000001D 00000000 FFFFFF05 10000000 00000000 02000000 01000000",
         "message 0: wrong length word: it says 29 (big-endian) or 486539264 (little-endian), the "
         "message has 28 bytes\n"},
        {"reserved word", "0000001C 00000100 FFFFFF05 10000000 00000000 02000000 01000000",
         "message 4: the reserved word is not 0\n"},
        {"parameter", "0000001C 00000000 FFFFFF04 10000000 00000000 02000000 01000000",
         "message 8: unknown parameter -252\n"},
        {"parameter of the other order",
         "0000001C 00000000 05FFFFFF 10000000 00000000 02000000 01000000",
         "message 8: unknown parameter 100663295\n"},
        {"value length too long", "0000001C 00000000 FFFFFF05 11000000 00000000 02000000 01000000",
         "message 12: wrong length word: the value says 17 bytes, the message has 16 for it\n"},
        {"value length too short", "0000001C 00000000 FFFFFF05 0F000000 00000000 02000000 01000000",
         "message 12: wrong length word: the value says 15 bytes, the message has 16 for it\n"
         "message 24: kInt32 has 4 bytes of data, not 3\n"},
        {"value length of the other order",
         "0000001C 00000000 FFFFFF05 00000010 00000000 02000000 01000000",
         "message 12: wrong length word: the value says 268435456 bytes, the message has 16 for "
         "it\n"},
        {"value length below its header",
         "0000001C 00000000 FFFFFF05 0B000000 00000000 02000000 01000000",
         "message 12: wrong length word: the value says 11 bytes, the message has 16 for it\n"},
        {"value reserved", "0000001C 00000000 FFFFFF05 10000000 00000001 02000000 01000000",
         "message 16: the value's reserved word is not 0\n"},
        {"unknown type", "0000001C 00000000 FFFFFF05 10000000 00000000 0B000000 01000000",
         "message 20: unknown type 11\n"},
        {"largest type", "0000001C 00000000 FFFFFF05 10000000 00000000 FFFFFFFF 01000000",
         "message 20: unknown type 4294967295\n"},
        {"state as float", "0000001C 00000000 FFFFFF05 10000000 00000000 04000000 0000803F",
         "message 20: wrong type: state takes kInt32, not kFloat\n"},
        {"level as integer", "0000001C 00000000 FFFFFF07 10000000 00000000 02000000 01000000",
         "message 20: wrong type: level takes kBuffer, not kInt32\n"},
        {"enable as buffer", "0000001C 00000000 FFFFFF06 10000000 00000000 08000000 01000000",
         "message 20: wrong type: enable takes kInt32, not kBuffer\n"},
        {"integer of 3 bytes", "0000001B 00000000 FFFFFF05 0F000000 00000000 02000000 010000",
         "message 24: kInt32 has 4 bytes of data, not 3\n"},
        {"integer of no bytes", "00000018 00000000 FFFFFF05 0C000000 00000000 02000000",
         "message 24: kInt32 has 4 bytes of data, not 0\n"},
        {"empty with data", "0000001C 00000000 FFFFFF05 10000000 00000000 00000000 01000000",
         "message 20: wrong type: state takes kInt32, not kEmpty\n"
         "message 24: kEmpty has 0 bytes of data, not 4\n"},
        {"string without NUL", "0000001A 00000000 FFFFFF05 0E000000 00000000 09000000 6162",
         "message 20: wrong type: state takes kInt32, not kString\n"
         "message 24: the string has no terminating NUL\n"},
        {"string with two NULs", "0000001B 00000000 FFFFFF05 0F000000 00000000 09000000 610000",
         "message 20: wrong type: state takes kInt32, not kString\n"
         "message 24: there are bytes after the string's NUL\n"},
        {"level of 19 bytes",
         "0000002B 00000000 FFFFFF07 1F000000 00000000 08000000 "
         "0000000000000000 0000000000000000 000000",
         "message 24: the level record has 19 bytes, not 20\n"},
        {"level of 24 bytes",
         "00000030 00000000 FFFFFF07 24000000 00000000 08000000 "
         "0000000000000000 0000000000000000 0000000000000000",
         "message 24: the level record has 24 bytes, not 20\n"},
        {"level of no bytes", "00000018 00000000 FFFFFF07 0C000000 00000000 08000000",
         "message 24: the level record has 0 bytes, not 20\n"},
        {"bytes left over", "0000001E 00000000 FFFFFF05 10000000 00000000 02000000 01000000 AAAA",
         "message 12: wrong length word: the value says 16 bytes, the message has 18 for it\n"},
    };
    for (const auto& entry : kCases) {
        SCOPED_TRACE(entry.what);

        EXPECT_EQ(DescribeFindings(DecodeBytes(FromHex(entry.bytes))), entry.expected);
    }
}

TEST(MessageDecoder, ReadsWhatItCanOfAWrongMessage)
{
    const DecodedMessage message =
        DecodeBytes(FromHex("0000001E 00000000 FFFFFF04 10000000 00000000 02000000 07000000 AAAA"));

    EXPECT_EQ(std::get<SInt64>(message.value), 7);
    EXPECT_EQ(DescribeFields(message), "0+4 message length: 30, big-endian\n"
                                       "4+4 reserved: 0\n"
                                       "8+4 parameter: -252, unknown\n"
                                       "12+4 value length: 16\n"
                                       "16+4 value reserved: 0\n"
                                       "20+4 value type: 2, kInt32\n"
                                       "24+4 value: 7\n"
                                       "28+2 left over: \n");
}

TEST(MessageDecoder, ReadsTheValueOfEveryType)
{
    const struct
    {
        const char* what;
        const char* value; ///< type word and data
        const char* expected;
    } kCases[] = {
        {"empty", "00000000", "nothing"},         {"bool", "01000000 C8", "200"},
        {"int32", "02000000 FEFFFFFF", "-2"},     {"int64", "03000000 FEFFFFFFFFFFFFFF", "-2"},
        {"float", "04000000 0000003F", "0.5"},    {"double", "05000000 000000000000F0BF", "-1"},
        {"pointer", "06000000 AABB", "2 bytes"},  {"const pointer", "07000000 AABB", "2 bytes"},
        {"buffer", "08000000 AABBCC", "3 bytes"}, {"string", "09000000 61090A00", "\"a\\t\\n\""},
        {"const buffer", "0A000000", "0 bytes"},
    };
    for (const auto& entry : kCases) {
        SCOPED_TRACE(entry.what);
        const Bytes value = FromHex(entry.value);
        Bytes bytes = FromHex("00000000 00000000 00000001 00000000 00000000");
        bytes.insert(bytes.end(), value.begin(), value.end());
        bytes[3] = static_cast<unsigned char>(bytes.size());
        bytes[12] = static_cast<unsigned char>(bytes.size() - 12);

        const DecodedMessage message = DecodeBytes(bytes);

        EXPECT_EQ(DescribeFindings(message), "message 8: unknown parameter 1\n");
        EXPECT_EQ(Monitor::FormatValue(message.value), entry.expected);
    }
}

TEST(MessageDecoder, NamesTheFieldThatATruncatedMessageEndsIn)
{
    const struct
    {
        std::size_t size;
        const char* expected;
    } kCases[] = {
        {3, "message 0: truncated: the message length needs 4 bytes, 3 are left\n"},
        {4, "message 4: truncated: the reserved needs 4 bytes, 0 are left\n"},
        {10, "message 8: truncated: the parameter needs 4 bytes, 2 are left\n"},
        {15, "message 12: truncated: the value length needs 4 bytes, 3 are left\n"},
        {16, "message 16: truncated: the value reserved needs 4 bytes, 0 are left\n"},
        {23, "message 20: truncated: the value type needs 4 bytes, 3 are left\n"},
        {27, "message 24: kInt32 has 4 bytes of data, not 3\n"},
    };
    const Bytes whole = FromHex(ToolsTests::kBigEndianState);
    for (const auto& entry : kCases) {
        SCOPED_TRACE(entry.size);
        const auto end = whole.begin() + static_cast<std::ptrdiff_t>(entry.size);

        const std::string findings = DescribeFindings(DecodeBytes(Bytes(whole.begin(), end)));

        EXPECT_TRUE(findings.ends_with(entry.expected)) << findings;
    }
}

TEST(MessageDecoder, FindsFaultWithEveryChangedByteOfTheHeaders)
{
    for (const char* const text : {ToolsTests::kBigEndianState, ToolsTests::kLittleEndianLevel}) {
        const Bytes whole = FromHex(text);
        for (std::size_t offset = 0; offset < 24; ++offset) {
            for (int bit = 0; bit < 8; ++bit) {
                SCOPED_TRACE(offset);
                Bytes changed = whole;
                changed[offset] = static_cast<unsigned char>(changed[offset] ^ 1 << bit);

                const DecodedMessage message = DecodeBytes(changed);

                // The lowest bits of the parameter lead from one known parameter to another.
                const bool isOtherParameter =
                    Monitor::GetParameterName(*message.parameter) != nullptr && offset >= 8 &&
                    offset < 12;
                EXPECT_TRUE(!message.IsWellFormed() || isOtherParameter);
            }
        }
    }
}

TEST(MessageDecoder, EndsOnEveryTruncationOfALevel)
{
    const Bytes whole = FromHex(ToolsTests::kLittleEndianLevel);
    for (std::size_t size = 0; size < whole.size(); ++size) {
        SCOPED_TRACE(size);
        const auto end = whole.begin() + static_cast<std::ptrdiff_t>(size);

        const DecodedMessage message = DecodeBytes(Bytes(whole.begin(), end));

        EXPECT_FALSE(message.IsWellFormed());
        std::size_t covered = 0;
        for (const Field& field : message.fields) {
            EXPECT_EQ(field.offset, covered);
            covered += field.size;
        }
        EXPECT_EQ(covered, size);
    }
}

} // namespace
