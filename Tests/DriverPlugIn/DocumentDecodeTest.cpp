// DocumentDecodeTest.cpp - sent documents, read by libplist.

#include "DriverPlugIn/Support/Bytes.h"
#include "DriverPlugIn/Support/PlugInFixture.h"

#include <plist/plist.h>

#include <cstdlib>
#include <memory>

namespace {

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

TEST_F(DocumentDecode, GivesTheDeviceAndTheMessageBackAndNothingElse)
{
    Open(258);
    Open(0xFFFFFFFE);
    const struct
    {
        const char* what;
        AudioDeviceID device;
        UInt32 property;
        std::int64_t deviceID;
        const char* message;
    } cases[] = {
        {"state", 258, kState, 258,
         kIsBigEndian ? "0000001C 00000000 FFFFFF05 10000000 00000000 02000000 01000000"
                      : "1C000000 00000000 05FFFFFF 10000000 00000000 02000000 01000000"},
        {"level", 0xFFFFFFFE, kLevel, -2,
         kIsBigEndian ? "0000002C 00000000 FFFFFF07 20000000 00000000 08000000 "
                        "00000000 00000000 C0181518 24C7587F 00000000"
                      : "2C000000 00000000 07FFFFFF 20000000 00000000 08000000 "
                        "00000000 00000000 7F58C724 181518C0 00000000"},
    };
    for (const auto& [what, device, property, deviceID, message] : cases) {
        SCOPED_TRACE(what);
        EXPECT_EQ(property == kLevel ? SetLevel(device, 1, 1.0F, 0.5F)
                                     : SetInteger(device, property, 1),
                  0);

        const PropertyList list = Decode();

        ASSERT_NE(list, nullptr);
        ASSERT_EQ(plist_get_node_type(list.get()), PLIST_DICT);
        EXPECT_EQ(plist_dict_get_size(list.get()), 2u);
        EXPECT_EQ(plist_get_node_type(plist_dict_get_item(list.get(), "CoreAudioDeviceIDKey")),
                  PLIST_UINT);
        EXPECT_EQ(GetDeviceID(list), deviceID);
        EXPECT_EQ(ToHex(GetMessage(list)), message);
    }
}

} // namespace
