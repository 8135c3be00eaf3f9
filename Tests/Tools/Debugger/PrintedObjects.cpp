// PrintedObjects.cpp - one object of each kind that the debugger shows in a form of its own.
//
// Run by gdb, which stops in Stop and prints the objects of main.

#include <QX/QX.h>

namespace {

class LMeter : public QX::LRefCountedObject
{};

__attribute__((noinline)) void Stop()
{
    asm volatile("");
}

} // namespace

int main()
{
    const QX::String text("caf\xC3\xA9");
    const QX::String empty;
    const QX::String copy(text);
    QX::String field("abcdef");
    field.Lock(4);
    const QX::String16 wide("\xE2\x82\xAC 5");

    const auto buffer = QX::LByteBuffer::Create(3, 0, true);
    buffer->FillN('x', 1, -1);
    const QX::ConstRCPtr<QX::LIBuffer> reader = buffer;
    const auto longBuffer = QX::LTextBuffer::Create(40, 64, true);
    const auto noBytes = QX::LByteBuffer::Create(0, 0, true);
    noBytes->SetUnshareable(true);

    const QX::Variant nothing;
    QX::Variant flag;
    const unsigned char yes = 1;
    flag.Set(QX::Variant::kBool, &yes, 1);
    QX::Variant number;
    const QX::int32 minusFive = -5;
    number.Set(QX::Variant::kInt32, &minusFive, 4);
    QX::Variant gain;
    const double half = 0.5;
    gain.Set(QX::Variant::kDouble, &half, 8);
    QX::Variant word;
    word.Set("word");
    QX::Variant bytes;
    bytes.SetBuffer("\x01\x02", 2);
    QX::VariantEx shared;
    shared.Set(text);
    QX::VariantEx integer;
    const QX::int64 large = 1LL << 40;
    integer.Set(QX::Variant::kInt64, &large, 8);

    const QX::RCPtr<LMeter> meter(new LMeter);
    const QX::RCPtr<LMeter> null;
    const auto center = QX::LNotificationCenter::Create("application");

    QX::RCPtrArray<QX::LIBuffer, 1, 0> array;
    array.AppendItem(buffer);
    array.AppendItem(QX::RCPtr<QX::LIBuffer>());
    QX::StringArrayT<char> names;
    names.AppendItem(text);
    names.AppendItem("b");

    const auto message = QX::LNotification::Create("track.changed", buffer);
    const auto posted = QX::LNotification::Create("level", nullptr);
    posted->SetPosted(true);
    // Its first object has left, and the ring has turned round.
    QX::RCPtrQueue<QX::LNotification, 1> queue(nullptr, 3);
    queue.Enqueue(message);
    queue.Enqueue(message);
    queue.Dequeue();
    queue.Enqueue(posted);

    Stop();
}
