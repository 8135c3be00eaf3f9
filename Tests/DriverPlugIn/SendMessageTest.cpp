// SendMessageTest.cpp - the making, sending and releasing of a set-parameter message.

#include "DriverPlugIn/ServerLink.h"
#include "DriverPlugIn/Support/Bytes.h"
#include "DriverPlugIn/Support/PlugInFixture.h"

#include <QX/Buffer.h>
#include <QX/Exception.h>

#include <new>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::UnorderedElementsAreArray;

constexpr UInt32 kParameter = 0xFFFFFF05;

class ThrowingVariant : public QX::Variant
{
public:
    const void* GetConstPointer(UInt32& /*size*/) const override
    {
        throw QX::Exception<std::runtime_error>("thrown by the value");
    }
};

/// Claims more bytes than a message can carry.
class HugeVariant : public QX::Variant
{
public:
    const void* GetConstPointer(UInt32& size) const override
    {
        size = 0xFFFFFFF0;
        return this;
    }
};

class SendMessage : public PlugInFixture
{
protected:
    void SetUp() override
    {
        PlugInFixture::SetUp();
        PlatformCalls::SetServerPresent(true);
        MessagePortValid(&mInfo);
        const SInt32 one = 1;
        mValue.Set(QX::Variant::kInt32, &one, 4);
        PlatformCalls::ClearJournal();
        PlatformCalls::RecordBlocks();
    }

    SInt32 Send() { return SendMessageToServer(&mInfo, kParameter, mValue); }

    _PlugInInfo mInfo = MakeInfo(258);
    QX::Variant mValue;
};

TEST_F(SendMessage, MakesSendsAndReleasesInOrder)
{
    EXPECT_EQ(Send(), 0);

    // The message itself is one allocation.
    EXPECT_THAT(PlatformCalls::GetJournal(),
                ElementsAre("create dictionary null 2 null null", //
                            "create number null 3",               //
                            "add number as CoreAudioDeviceIDKey", //
                            "allocate 28",                        //
                            "create data null 28",                //
                            "add data as ParameterDataKey",       //
                            "create document null of dictionary", //
                            "send SLLM",                          //
                            "release document",                   //
                            "release data",                       //
                            "release number",                     //
                            "free 28",                            //
                            "release dictionary"));
}

TEST_F(SendMessage, ItsSendWaitsForNoReply)
{
    Send();

    ASSERT_THAT(PlatformCalls::GetSent(), SizeIs(1));
    const SentMessage& sent = PlatformCalls::GetSent().front();
    EXPECT_EQ(sent.port, mInfo.mMessagePort);
    EXPECT_EQ(sent.id, 0x534C4C4D);
    EXPECT_EQ(sent.sendTimeoutSeconds, 1.0);
    EXPECT_EQ(sent.receiveTimeoutSeconds, 0.001);
    EXPECT_EQ(sent.replyMode, nullptr);
    EXPECT_FALSE(sent.takesReply);
}

TEST_F(SendMessage, DocumentOfAnIntegerIsExactlyThis)
{
    Send();

    ASSERT_THAT(PlatformCalls::GetSent(), SizeIs(1));
    EXPECT_EQ(PlatformCalls::GetSent().front().data,
              std::string("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                          "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                          "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                          "<plist version=\"1.0\">\n"
                          "<dict>\n"
                          "\t<key>CoreAudioDeviceIDKey</key>\n"
                          "\t<integer>258</integer>\n"
                          "\t<key>ParameterDataKey</key>\n"
                          "\t<data>\n"
                          "\t") +
                  (kIsBigEndian ? "AAAAHAAAAAD///8FEAAAAAAAAAACAAAAAQAAAA=="
                                : "HAAAAAAAAAAF////EAAAAAAAAAACAAAAAQAAAA==") +
                  "\n"
                  "\t</data>\n"
                  "</dict>\n"
                  "</plist>\n");
}

TEST_F(SendMessage, DeviceIDIsReadAsASignedInteger)
{
    const struct
    {
        AudioDeviceID device;
        const char* text;
    } cases[] = {{0, "0"},
                 {0x7FFFFFFF, "2147483647"},
                 {0x80000000, "-2147483648"},
                 {0xFFFFFFFE, "-2"},
                 {0xFFFFFFFF, "-1"}};
    for (const auto& [device, text] : cases) {
        SCOPED_TRACE(device);
        PlatformCalls::ClearSent();
        mInfo.mDeviceID = device;

        Send();

        ASSERT_THAT(PlatformCalls::GetSent(), SizeIs(1));
        EXPECT_EQ(TakeApart(PlatformCalls::GetSent().front().data).deviceID, text);
    }
}

TEST_F(SendMessage, StatusOfTheSendPassesAndEverythingIsReleased)
{
    for (const SInt32 status : {-1, -2, -3, -4, -5, 77}) {
        SCOPED_TRACE(status);
        PlatformCalls::ClearJournal();
        PlatformCalls::AnswerSends({status});

        EXPECT_EQ(Send(), status);

        EXPECT_EQ(PlatformCalls::GetJournal().back(), "release dictionary");
        EXPECT_THAT(PlatformCalls::GetJournal(), SizeIs(13));
    }
    EXPECT_THAT(PlatformCalls::GetPortNames(), SizeIs(1));
}

TEST_F(SendMessage, NothingIsMadeWithoutAServer)
{
    mInfo.mMessagePort = nullptr;
    PlatformCalls::SetServerPresent(false);

    EXPECT_EQ(Send(), -3);

    EXPECT_THAT(PlatformCalls::GetJournal(),
                ElementsAre("create name null null " QX_VENDOR_PREFIX ".device.%s",
                            "open port null", "release name"));
}

TEST_F(SendMessage, FailedCreationSendsNothingAndReleasesWhatWasMadeInOrder)
{
    const struct
    {
        const char* what;
        Call call;
        std::vector<std::string> journal;
    } cases[] = {
        {"dictionary", Call::kDictionaryCreate, {"create dictionary null 2 null null"}},
        {"number",
         Call::kNumberCreate,
         {"create dictionary null 2 null null", "create number null 3", "release dictionary"}},
        {"data",
         Call::kDataCreate,
         {"create dictionary null 2 null null", "create number null 3",
          "add number as CoreAudioDeviceIDKey", "allocate 28", "create data null 28",
          "release number", "free 28", "release dictionary"}},
        {"document",
         Call::kDocumentCreate,
         {"create dictionary null 2 null null", "create number null 3",
          "add number as CoreAudioDeviceIDKey", "allocate 28", "create data null 28",
          "add data as ParameterDataKey", "create document null of dictionary", "release data",
          "release number", "free 28", "release dictionary"}},
    };
    for (const auto& [what, call, journal] : cases) {
        SCOPED_TRACE(what);
        PlatformCalls::ClearJournal();
        PlatformCalls::Fail(call);

        EXPECT_EQ(Send(), -3);

        EXPECT_EQ(PlatformCalls::GetJournal(), journal);
        PlatformCalls::Allow(call);
    }
}

TEST_F(SendMessage, MessageWithoutBytesMakesNoData)
{
    PlatformCalls::RefuseMemory(28);
    EXPECT_EQ(Send(), -3);
    EXPECT_THAT(PlatformCalls::GetJournal(),
                ElementsAre("create dictionary null 2 null null", "create number null 3",
                            "add number as CoreAudioDeviceIDKey", "allocate 28", "release number",
                            "release dictionary"));

    PlatformCalls::ClearJournal();
    HugeVariant huge;
    EXPECT_EQ(SendMessageToServer(&mInfo, kParameter, huge), -3);
    EXPECT_THAT(PlatformCalls::GetJournal(),
                ElementsAre("create dictionary null 2 null null", "create number null 3",
                            "add number as CoreAudioDeviceIDKey", "release number",
                            "release dictionary"));
}

TEST_F(SendMessage, PortThatAnotherThreadTookAwayIsInvalidAndEverythingIsReleased)
{
    PlatformCalls::RunDuring(Call::kDictionaryCreate, [&] { mInfo.mMessagePort = nullptr; });

    EXPECT_EQ(Send(), -3);

    EXPECT_THAT(PlatformCalls::GetSent(), IsEmpty());
    EXPECT_EQ(PlatformCalls::GetJournal().back(), "release dictionary");
}

TEST_F(SendMessage, ValueThatDoesNotSerializeIsSentUninitialised)
{
    mValue.SetPointer(&mInfo, 0);
    PlatformCalls::PoisonAllocations();

    EXPECT_EQ(Send(), 0);

    ASSERT_THAT(PlatformCalls::GetSent(), SizeIs(1));
    EXPECT_EQ(ToHex(TakeApart(PlatformCalls::GetSent().front().data).message),
              kIsBigEndian ? "00000018 00000000 FFFFFF05 A5A5A5A5 A5A5A5A5 A5A5A5A5"
                           : "18000000 00000000 05FFFFFF A5A5A5A5 A5A5A5A5 A5A5A5A5");
}

// An exception frees the buffer, and not what the platform has made for the message by then.

TEST_F(SendMessage, ExceptionOfThePlatformFreesTheBufferAlone)
{
    const struct
    {
        const char* what;
        Call call;
        const char* lastEntry;
        std::vector<std::string> leftBehind;
    } cases[] = {
        {"number", Call::kNumberCreate, "create number null 3", {"dictionary"}},
        {"data", Call::kDataCreate, "free 28", {"dictionary", "number"}},
        {"document", Call::kDocumentCreate, "free 28", {"dictionary", "number", "data"}},
        {"send", Call::kSend, "free 28", {"dictionary", "number", "data", "document"}},
    };
    for (const auto& [what, call, lastEntry, leftBehind] : cases) {
        SCOPED_TRACE(what);
        PlatformCalls::Throw(call);

        EXPECT_THROW(Send(), QX::ExceptionBase);

        EXPECT_EQ(PlatformCalls::GetJournal().back(), lastEntry);
        EXPECT_THAT(PlatformCalls::ReleaseLeftBehind(), UnorderedElementsAreArray(leftBehind));
        PlatformCalls::Allow(call);
    }
}

TEST_F(SendMessage, ExceptionOfTheValueFreesTheBufferAlone)
{
    ThrowingVariant value;

    EXPECT_THROW(SendMessageToServer(&mInfo, kParameter, value), QX::ExceptionBase);

    EXPECT_THAT(PlatformCalls::GetSent(), IsEmpty());
    ExpectLeftBehind({"dictionary", "number"});
}

TEST_F(SendMessage, MissingMemoryForTheBufferObjectThrows)
{
    PlatformCalls::RefuseMemory(sizeof(QX::LByteBuffer));

    EXPECT_THROW(Send(), std::bad_alloc);

    EXPECT_THAT(PlatformCalls::GetJournal(),
                ElementsAre("create dictionary null 2 null null", "create number null 3",
                            "add number as CoreAudioDeviceIDKey"));
    ExpectLeftBehind({"dictionary", "number"});
}

} // namespace
