// ValueTypesTest.cpp - the monitor has a table of value types of its own, so that it can find
// errors of the framework; this test shows that the two agree.

#include "Tools/Monitor/MessageDecoder.h"
#include "Tools/Monitor/ValueText.h"

#include "QXFramework/Values/VariantTestSupport.h"

#include <iterator>

namespace QX {
namespace {

// Returns what the monitor reads of a message with the record of `value`.
Monitor::DecodedMessage DecodeRecord(const VariantEx& value)
{
    Monitor::DecodedMessage message;
    message.bytes = FromHex("00000000 00000000 01000000");
    message.bytes.resize(100);
    const uint32 length = Variant::Serialize(value, message.bytes.data() + 12, 88);
    message.bytes.resize(12 + length);
    message.bytes[0] = static_cast<unsigned char>(message.bytes.size());
    Monitor::DecodeSetParameter(message);
    return message;
}

TEST(MonitorValueTypes, AgreeWithThoseOfTheFramework)
{
    char memory[2] = {};
    VariantEx constPointer;
    constPointer.SetConstPointer(memory, 2);
    const struct
    {
        Variant::Type type;
        const char* name;
        VariantEx value;
        const char* expected;
    } rows[] = {
        {Variant::kEmpty, "kEmpty", VariantEx(), "nothing"},
        {Variant::kBool, "kBool", OfBool(200), "200"},
        {Variant::kInt32, "kInt32", OfInt32(-2), "-2"},
        {Variant::kInt64, "kInt64", OfInt64(-5000000000), "-5000000000"},
        {Variant::kFloat, "kFloat", OfFloat(0.5f), "0.5"},
        {Variant::kDouble, "kDouble", OfDouble(-1.25), "-1.25"},
        {Variant::kPointer, "kPointer", OfPointer(memory, 1), "1 byte"},
        {Variant::kConstPointer, "kConstPointer", constPointer, "2 bytes"},
        {Variant::kBuffer, "kBuffer", OfBytes("abc"), "3 bytes"},
        {Variant::kString, "kString", OfText("a"), "\"a\""},
        {Variant::kConstBuffer, "kConstBuffer", OfConstBytes("abcd"), "4 bytes"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);

        const Monitor::DecodedMessage message = DecodeRecord(row.value);

        ASSERT_TRUE(message.type.has_value());
        EXPECT_EQ(*message.type, row.type);
        EXPECT_STREQ(Monitor::GetTypeName(*message.type), row.name);
        EXPECT_EQ(Monitor::FormatValue(message.value), row.expected);
    }
    EXPECT_EQ(Monitor::GetTypeName(std::size(rows)), nullptr);
}

} // namespace
} // namespace QX
