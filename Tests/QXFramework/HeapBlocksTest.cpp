// HeapBlocksTest.cpp - how many blocks of the heap each operation asks for.
//
// A reallocation counts as one. Docs/Performance.md shows the numbers to users.

#include "Support/FailingHeap.h"

#include <QX/QX.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

using QX::LNotification;
using QX::LNotificationCenter;
using QX::LNotificationClient;
using QX::LNotificationDistributor;
using QX::RCPtr;
using QX::String;
using QX::String16;
using QX::Variant;

/// Returns how many blocks the operation asks for.
template <class Operation>
int Blocks(Operation operation)
{
    const TestSupport::FailingHeap heap(0);
    operation();
    return heap.CountRequests();
}

class LSilent : public QX::LNotificationReceiver
{
public:
    void HandleNotification(const RCPtr<LNotificationDistributor>&,
                            const QX::ConstRCPtr<LNotification>&) override
    {}
    QX::int32 ForceUnregisterNotification(const RCPtr<LNotificationDistributor>& distributor,
                                          const char*) override
    {
        return distributor->UnregisterNotificationClient(RCPtr<LNotificationClient>(this));
    }
};

TEST(HeapBlocks, AreOneForAnObjectAndOneForTheBytesOfABuffer)
{
    EXPECT_EQ(Blocks([] { RCPtr<QX::LRefCountedObject>(new QX::LRefCountedObject); }), 1);
    EXPECT_EQ(Blocks([] { QX::LByteBuffer::Create(16, 0, true); }), 2);

    const RCPtr<QX::LIBuffer> buffer = QX::LByteBuffer::Create(16, 0, true);
    EXPECT_EQ(Blocks([&] { const RCPtr<QX::LIBuffer> copy(buffer); }), 0);
    EXPECT_EQ(Blocks([&] { RCPtr<QX::LIBuffer>::Downcast(RCPtr<QX::LRefCountedObject>(buffer)); }),
              0);
    EXPECT_EQ(Blocks([&] { buffer->CreateCopy(16, 0); }), 2);
    EXPECT_EQ(Blocks([&] { buffer->ResizeBytes(17); }), 1);
}

TEST(HeapBlocks, AreTwoForAStringAndNoneForACopyOrAnEmptyOne)
{
    const String text("0123456789");
    const String equal("0123456789");

    EXPECT_EQ(Blocks([] { const String made("0123456789"); }), 2);
    EXPECT_EQ(Blocks([] { const String made; }), 0);
    EXPECT_EQ(Blocks([] { const String made(""); }), 0);
    EXPECT_EQ(Blocks([&] { const String copy(text); }), 0);
    EXPECT_EQ(Blocks([&] { EXPECT_EQ(text, equal); }), 0);
    EXPECT_EQ(Blocks([&] { text.GetSubString(2, 3); }), 2);
    EXPECT_EQ(Blocks([&] { text.GetSubString(10, 1); }), 0);
    EXPECT_EQ(Blocks([&] { text.ToLower(); }), 2);
}

TEST(HeapBlocks, OfAnAppendAreOneForTheTextAndTwoForASharedOne)
{
    const String piece("abc");
    String text("0123456789");
    EXPECT_EQ(Blocks([&] { text += piece; }), 1);
    EXPECT_EQ(Blocks([&] { text += 'x'; }), 1);

    String shared(text);
    EXPECT_EQ(Blocks([&] { shared += piece; }), 2);

    String roomy;
    roomy.Lock(100);
    roomy.Assign("0123456789", String::kWholeText);
    roomy.Release();
    EXPECT_EQ(Blocks([&] { roomy += piece; }), 0);
}

TEST(HeapBlocks, OfNumberTextAndFormattedTextAreTwo)
{
    EXPECT_EQ(Blocks([] { String::FormatNumber(-123456, 0); }), 2);
    EXPECT_EQ(Blocks([] { String::FormatNumber(-1234.5, 2); }), 2);
    EXPECT_EQ(Blocks([] { String::Format("%s=%d", "level", 7); }), 2);
}

TEST(HeapBlocks, OfAStringFromTheOtherWidthAreTwoAndForALongOneThree)
{
    const String text(std::string(64, 'x').c_str());
    const String16 wide(text);
    const String longText(std::string(4096, 'x').c_str());
    const String16 longWide(longText);

    EXPECT_EQ(Blocks([&] { const String16 converted(text); }), 2);
    EXPECT_EQ(Blocks([&] { const String converted(wide); }), 2);
    EXPECT_EQ(Blocks([&] { const String16 converted(longText); }), 2);
    EXPECT_EQ(Blocks([&] { const String converted(longWide); }), 3);
}

TEST(HeapBlocks, OfAVariantAreOneForBytesAndNoneForANumber)
{
    Variant value;
    unsigned char record[64];
    const int number = 7;

    EXPECT_EQ(Blocks([&] { value.Set(Variant::kInt32, &number, sizeof number); }), 0);
    EXPECT_EQ(Blocks([&] { Variant::Serialize(value, record, sizeof record); }), 0);
    EXPECT_EQ(Blocks([&] { Variant::Deserialize(value, record, sizeof record); }), 0);
    EXPECT_EQ(Blocks([&] { value.Set("abc"); }), 1);
    EXPECT_EQ(Blocks([&] { Variant::Serialize(value, record, sizeof record); }), 0);
    EXPECT_EQ(Blocks([&] { Variant::Deserialize(value, record, sizeof record); }), 1);
}

TEST(HeapBlocks, OfAnArrayAreOneWheneverItsGranuleIsPassed)
{
    const RCPtr<QX::LRefCountedObject> item(new QX::LRefCountedObject);
    RCPtr<QX::LRefCountedObject> removed;
    QX::RCPtrArray<QX::LRefCountedObject, 1, 0> exact;
    exact.AppendItem(item);
    EXPECT_EQ(Blocks([&] { exact.AppendItem(item); }), 1);
    EXPECT_EQ(Blocks([&] { exact.RemoveLast(removed); }), 1);

    QX::RCPtrArray<QX::LRefCountedObject, 256, 256> roomy;
    roomy.AppendItem(item);
    EXPECT_EQ(Blocks([&] { roomy.AppendItem(item); }), 0);
    EXPECT_EQ(Blocks([&] { roomy.RemoveLast(removed); }), 0);
}

TEST(HeapBlocks, OfANotificationAreOneAndNoneToPostAndDeliverIt)
{
    const RCPtr<LNotificationCenter> center = LNotificationCenter::Create("blocks");
    const RCPtr<LNotificationClient> first(new LSilent);
    const RCPtr<LNotificationClient> second(new LSilent);
    center->RegisterNotificationClient(first, "known", 0);
    RCPtr<LNotification> message;

    EXPECT_EQ(Blocks([] { LNotification::GetNotificationID("known"); }), 0);
    EXPECT_EQ(Blocks([&] { message = LNotification::Create("known", nullptr); }), 1);
    EXPECT_EQ(Blocks([&] { center->PostForBroadcast(message); }), 0);
    EXPECT_EQ(Blocks([&] { center->DeliverPendingNotifications(false); }), 0);
    EXPECT_EQ(Blocks([&] { center->DeliverNotificationAllClients(message); }), 0);
    // A record and its slot, and the slot again.
    EXPECT_EQ(Blocks([&] { center->RegisterNotificationClient(second, "known", 0); }), 2);
    EXPECT_EQ(Blocks([&] { center->UnregisterNotificationClient(second, "known"); }), 1);

    center->UnregisterNotificationClient(first, "known");
}

} // namespace
