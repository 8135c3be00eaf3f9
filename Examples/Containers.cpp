// Containers.cpp - an array of shared objects, an array of strings, and a queue between threads.

#include <QX/QX.h>
#include <iostream>
#include <thread>

class LTrack : public QX::LRefCountedObject
{
public:
    explicit LTrack(const char* name)
        : mName(name)
    {}
    const QX::String& GetName() const { return mName; }

private:
    const QX::String mName;
};

int main()
{
    QX::RCPtrArray<LTrack, 8, 8> tracks;
    tracks.AppendItem(QX::RCPtr<LTrack>(new LTrack("drums")));
    tracks.InsertItem(0, QX::RCPtr<LTrack>(new LTrack("bass")));
    auto walk = tracks.GetBegin();
    for (QX::uint32 left = tracks.GetCount(); left != 0; --left) {
        std::cout << (*walk.GetCurrentMoveNext())->GetName() << "\n";
    }
    if (tracks.Swap(0, 2) == QX::kResultOutOfRange) {
        std::cout << "there is no third\n";
    }

    QX::StringArrayT<char> names;
    names.AppendItem("Drums");
    std::cout << names.FindString("drums", true) << " " << names.FindString("drums", false) << "\n";

    QX::Mutex mutex;
    QX::RCPtrQueue<LTrack, 16> queue(&mutex, 16);
    std::thread loader([&queue] { queue.Enqueue(QX::RCPtr<LTrack>(new LTrack("keys"))); });
    loader.join();
    QX::RCPtr<LTrack> next;
    while (queue.TryDequeue(next)) {
        std::cout << next->GetName() << "\n";
    }
}
