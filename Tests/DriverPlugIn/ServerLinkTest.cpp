// ServerLinkTest.cpp - the server's port and the messages without data.

#include "DriverPlugIn/ServerLink.h"
#include "DriverPlugIn/Support/PlugInFixture.h"

#include "Protocol/ServerProtocol.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class ServerLink : public PlugInFixture
{
protected:
    _PlugInInfo mInfo = MakeInfo(258);
};

TEST_F(ServerLink, NameIsMadeAndReleasedWhetherTheServerIsThereOrNot)
{
    for (const bool isPresent : {false, true}) {
        SCOPED_TRACE(isPresent);
        PlatformCalls::SetServerPresent(isPresent);
        PlatformCalls::ClearJournal();

        EXPECT_EQ(MessagePortValid(&mInfo), isPresent ? 1 : 0);

        EXPECT_EQ(mInfo.mMessagePort != nullptr, isPresent);
        EXPECT_THAT(PlatformCalls::GetJournal(),
                    ElementsAre("create name null null " QX_VENDOR_PREFIX ".device.%s",
                                "open port null", "release name"));
        EXPECT_EQ(PlatformCalls::GetPortNames().back(),
                  QX_VENDOR_PREFIX ".device.{D4625471-DE74-400f-93D2-5E71BB706A64}");
    }
    EXPECT_STREQ(kServerPortName,
                 QX_VENDOR_PREFIX ".device.{D4625471-DE74-400f-93D2-5E71BB706A64}");
}

TEST_F(ServerLink, AbsentServerIsLookedForAgainUntilItIsThere)
{
    EXPECT_EQ(MessagePortValid(&mInfo), 0);
    EXPECT_EQ(MessagePortValid(&mInfo), 0);
    PlatformCalls::SetServerPresent(true);
    EXPECT_EQ(MessagePortValid(&mInfo), 1);

    EXPECT_THAT(PlatformCalls::GetPortNames(), SizeIs(3));
}

TEST_F(ServerLink, NameThatCannotBeMadeLeavesNoPort)
{
    PlatformCalls::SetServerPresent(true);
    PlatformCalls::Fail(Call::kStringCreate);

    EXPECT_EQ(MessagePortValid(&mInfo), 0);

    EXPECT_THAT(PlatformCalls::GetPortNames(), IsEmpty());
    EXPECT_EQ(mInfo.mMessagePort, nullptr);
    EXPECT_EQ(SendSimpleMessageToServer(&mInfo, kOpenDirectMonitorMessage), -3);
    EXPECT_THAT(PlatformCalls::GetSent(), IsEmpty());
}

TEST_F(ServerLink, PortIsKeptAndNotLookedAtAgain)
{
    PlatformCalls::SetServerPresent(true);
    MessagePortValid(&mInfo);
    const CFMessagePortRef port = mInfo.mMessagePort;
    PlatformCalls::SetServerPresent(false);
    PlatformCalls::ClearJournal();

    EXPECT_EQ(MessagePortValid(&mInfo), 1);

    EXPECT_EQ(mInfo.mMessagePort, port);
    EXPECT_THAT(PlatformCalls::GetJournal(), IsEmpty());
}

TEST_F(ServerLink, EachRecordOpensAPortOfItsOwnUnderTheSameName)
{
    PlatformCalls::SetServerPresent(true);
    _PlugInInfo other = MakeInfo(259);

    MessagePortValid(&mInfo);
    MessagePortValid(&other);

    EXPECT_NE(mInfo.mMessagePort, other.mMessagePort);
    EXPECT_THAT(PlatformCalls::GetPortNames(), ElementsAre(kServerPortName, kServerPortName));
}

TEST_F(ServerLink, LaterOfTwoStoresStays)
{
    PlatformCalls::SetServerPresent(true);
    CFMessagePortRef portOfAnotherThread = nullptr;
    PlatformCalls::RunDuring(Call::kPortOpen, [&] {
        MessagePortValid(&mInfo);
        portOfAnotherThread = mInfo.mMessagePort;
    });

    EXPECT_EQ(MessagePortValid(&mInfo), 1);

    EXPECT_NE(portOfAnotherThread, nullptr);
    EXPECT_NE(mInfo.mMessagePort, nullptr);
    EXPECT_NE(mInfo.mMessagePort, portOfAnotherThread);
}

TEST_F(ServerLink, FailedLookUpStoresNullOverThePortOfAnotherThread)
{
    PlatformCalls::RunDuring(Call::kPortOpen, [&] {
        PlatformCalls::SetServerPresent(true);
        MessagePortValid(&mInfo);
        PlatformCalls::SetServerPresent(false);
    });

    EXPECT_EQ(MessagePortValid(&mInfo), 0);

    EXPECT_EQ(mInfo.mMessagePort, nullptr);
}

TEST_F(ServerLink, SimpleMessageHasNoDataAndWaitsForAReplyThatIsDiscarded)
{
    PlatformCalls::SetServerPresent(true);

    EXPECT_EQ(SendSimpleMessageToServer(&mInfo, kOpenDirectMonitorMessage), 0);

    ASSERT_THAT(PlatformCalls::GetSent(), SizeIs(1));
    const SentMessage& sent = PlatformCalls::GetSent().front();
    EXPECT_EQ(sent.port, mInfo.mMessagePort);
    EXPECT_EQ(sent.id, 0x4F704C4D);
    EXPECT_FALSE(sent.hasData);
    EXPECT_EQ(sent.sendTimeoutSeconds, 1.0);
    EXPECT_EQ(sent.receiveTimeoutSeconds, 0.001);
    EXPECT_EQ(sent.replyMode, kCFRunLoopDefaultMode);
    EXPECT_FALSE(sent.takesReply);
}

TEST_F(ServerLink, SimpleMessageWithoutAServerIsInvalidAndNotSent)
{
    EXPECT_EQ(SendSimpleMessageToServer(&mInfo, kOpenDirectMonitorMessage), -3);

    EXPECT_THAT(PlatformCalls::GetSent(), IsEmpty());
}

TEST_F(ServerLink, StatusOfEverySendPassesAndThePortStays)
{
    PlatformCalls::SetServerPresent(true);
    PlatformCalls::AnswerSends({-1, -2, -3, -4, -5, 77});

    for (const SInt32 status : {-1, -2, -3, -4, -5, 77}) {
        SCOPED_TRACE(status);
        EXPECT_EQ(SendSimpleMessageToServer(&mInfo, status), status);
        EXPECT_EQ(PlatformCalls::GetSent().back().id, status);
    }

    EXPECT_EQ(PlatformCalls::CountPorts(), 1);
    EXPECT_NE(mInfo.mMessagePort, nullptr);
}

TEST(ServerProtocol, VendorPrefixTakesOnlyLettersDigitsDotsAndHyphens)
{
    for (const char* const legal : {"org.qxaudio", "com.Some-Vendor.2", "azAZ09"}) {
        EXPECT_TRUE(IsVendorPrefix(legal)) << legal;
    }
    // The last six are the neighbours of letters and digits.
    for (const char* const illegal :
         {"", "org.%s", "org qx", "org_qx", "org~qx", "`", "{", "@", "[", "/", ":"}) {
        EXPECT_FALSE(IsVendorPrefix(illegal)) << illegal;
    }
}

TEST(ServerProtocol, CodesAreTheirCharactersFromTheHighByteDown)
{
    EXPECT_EQ(MakeFourCharCode("DGme"), 0x44476D65u);
    EXPECT_EQ(MakeFourCharCode("\xFF\x80\x7F\x01"), 0xFF807F01u);
}

} // namespace
