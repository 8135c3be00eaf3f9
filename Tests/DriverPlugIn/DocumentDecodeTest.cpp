// DocumentDecodeTest.cpp - sent documents, read by a property-list library that others wrote.

#include "DriverPlugIn/Support/Bytes.h"
#include "DriverPlugIn/Support/PlugInFixture.h"

#include <plist/plist.h>

#include <cstdlib>
#include <memory>

namespace {

using testing::SizeIs;

struct FreePropertyList
{
    void operator()(plist_t list) const { plist_free(list); }
};
using PropertyList = std::unique_ptr<void, FreePropertyList>;

class DocumentDecode : public PlugInFixture
{
protected:
    void SetUp() override
    {
        PlugInFixture::SetUp();
        PlatformCalls::SetServerPresent(true);
    }

    static PropertyList Decode()
    {
        const std::string& document = PlatformCalls::GetSent().back().data;
        plist_t list = nullptr;
        plist_from_xml(document.data(), static_cast<std::uint32_t>(document.size()), &list);
        return PropertyList(list);
    }

    static std::int64_t GetDeviceID(const PropertyList& list)
    {
        std::uint64_t number = 0;
        plist_get_uint_val(plist_dict_get_item(list.get(), "CoreAudioDeviceIDKey"), &number);
        return static_cast<std::int64_t>(number);
    }

    static std::string GetMessage(const PropertyList& list)
    {
        char* bytes = nullptr;
        std::uint64_t length = 0;
        plist_get_data_val(plist_dict_get_item(list.get(), "ParameterDataKey"), &bytes, &length);
        const std::string message(bytes, static_cast<std::size_t>(length));
        std::free(bytes);
        return message;
    }
};

TEST_F(DocumentDecode, FindsExactlyAnIntegerAndData)
{
    Open(258);
    SetInteger(258, kEnable, 1);

    const PropertyList list = Decode();

    ASSERT_NE(list, nullptr);
    ASSERT_EQ(plist_get_node_type(list.get()), PLIST_DICT);
    EXPECT_EQ(plist_dict_get_size(list.get()), 2u);
    EXPECT_EQ(plist_get_node_type(plist_dict_get_item(list.get(), "CoreAudioDeviceIDKey")),
              PLIST_UINT);
    EXPECT_EQ(plist_get_node_type(plist_dict_get_item(list.get(), "ParameterDataKey")), PLIST_DATA);
}

TEST_F(DocumentDecode, GivesTheDeviceAndTheMessageBack)
{
    Open(258);

    SetInteger(258, kState, 1);

    ASSERT_THAT(PlatformCalls::GetSent(), SizeIs(2));
    const PropertyList list = Decode();
    EXPECT_EQ(GetDeviceID(list), 258);
    EXPECT_EQ(ToHex(GetMessage(list)),
              kIsBigEndian ? "0000001C 00000000 FFFFFF05 10000000 00000000 02000000 01000000"
                           : "1C000000 00000000 05FFFFFF 10000000 00000000 02000000 01000000");
}

TEST_F(DocumentDecode, GivesALevelBack)
{
    Open(0xFFFFFFFE);

    SetLevel(0xFFFFFFFE, 1, 1.0F, 0.5F);

    const PropertyList list = Decode();
    EXPECT_EQ(GetDeviceID(list), -2);
    EXPECT_EQ(ToHex(GetMessage(list)),
              kIsBigEndian ? "0000002C 00000000 FFFFFF07 20000000 00000000 08000000 "
                             "00000000 00000000 C0181518 24C7587F 00000000"
                           : "2C000000 00000000 07FFFFFF 20000000 00000000 08000000 "
                             "00000000 00000000 7F58C724 181518C0 00000000");
}

} // namespace
