// BundleTest.cpp - the bundle as a host sees it: loaded by path, called by name, unloaded.

#include "DriverPlugIn/Support/Heap.h"
#include "DriverPlugIn/Support/LoadedBundle.h"
#include "Support/BuildKind.h"

#include <gtest/gtest.h>

#include <QX/Exception.h>

#include <Standin/LiveObjects.h>

#include <filesystem>
#include <string>

#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

namespace {

constexpr OSStatus kWhat = 0x77686174;
constexpr OSStatus kWho = 0x77686F3F;
constexpr UInt32 kEnable = 0x44476D65;

constexpr const char* kNames[] = {
    "AudioDriverPlugInOpen",
    "AudioDriverPlugInClose",
    "AudioDriverPlugInDeviceGetPropertyInfo",
    "AudioDriverPlugInDeviceGetProperty",
    "AudioDriverPlugInDeviceSetProperty",
    "AudioDriverPlugInStreamGetPropertyInfo",
    "AudioDriverPlugInStreamGetProperty",
    "AudioDriverPlugInStreamSetProperty",
    "ConvertUTF16toUTF32",
    "ConvertUTF16toUTF8",
    "ConvertUTF32toUTF16",
    "ConvertUTF32toUTF8",
    "ConvertUTF8toUTF16",
    "ConvertUTF8toUTF32",
    "isLegalUTF8Sequence",
};

bool IsLoaded(const std::string& path)
{
    void* const handle = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (handle != nullptr) {
        dlclose(handle);
    }
    return handle != nullptr;
}

int CountLoadedObjects()
{
    int count = 0;
    dl_iterate_phdr(
        [](dl_phdr_info*, std::size_t, void* counter) {
            ++*static_cast<int*>(counter);
            return 0;
        },
        &count);
    return count;
}

/// A file of a second bundle, a copy, that is deleted at the end.
class BundleCopy
{
public:
    BundleCopy()
        : mPath(std::filesystem::temp_directory_path() /
                ("DriverPlugInCopy-" + std::to_string(getpid()) + ".so"))
    {
        std::filesystem::copy_file(QX_BUNDLE_PATH, mPath,
                                   std::filesystem::copy_options::overwrite_existing);
    }
    BundleCopy(const BundleCopy&) = delete;
    BundleCopy& operator=(const BundleCopy&) = delete;
    ~BundleCopy() { std::filesystem::remove(mPath); }

    std::string GetPath() const { return mPath.string(); }

private:
    std::filesystem::path mPath;
};

TEST(Bundle, FindsEveryEntryPointAndConversionByName)
{
    const LoadedBundle bundle(QX_BUNDLE_PATH);

    for (const char* const name : kNames) {
        SCOPED_TRACE(name);
        EXPECT_NE(bundle.Find(name), nullptr);
    }
}

TEST(Bundle, AnswersThroughItsEntryPoints)
{
    const LoadedBundle bundle(QX_BUNDLE_PATH);

    EXPECT_EQ(bundle.Open(258), 0);
    EXPECT_EQ(bundle.Open(258), kWhat);
    EXPECT_EQ(bundle.SetInteger(258, 0, 1), kWho);
    EXPECT_EQ(bundle.SetInteger(259, kEnable, 1), kWhat);
    EXPECT_EQ(bundle.Close(258), 0);
    EXPECT_EQ(bundle.Close(258), kWhat);
}

TEST(Bundle, StartsWithAnEmptyRegistryEachTimeItIsLoaded)
{
    {
        const LeaksAreMeant leaksAreMeant;
        const LoadedBundle bundle(QX_BUNDLE_PATH);
        bundle.Open(258);
    }
    const LoadedBundle bundle(QX_BUNDLE_PATH);

    EXPECT_EQ(bundle.Open(258), 0);
    EXPECT_EQ(bundle.Close(258), 0);
}

constexpr int kRounds = 1000;
// Less than the smallest leak; but the address sanitizer keeps an entry for each static object
// whose destructor was registered.
#if QX_HAS_ADDRESS_SANITIZER
constexpr std::size_t kBytesOfARound = 2000;
#else
constexpr std::size_t kBytesOfARound = 4;
#endif

TEST(Bundle, LoadsAndUnloadsAnyNumberOfTimesWithoutGrowth)
{
    const auto use = [] {
        const LoadedBundle bundle(QX_BUNDLE_PATH);
        bundle.Open(258);
        bundle.Close(258);
    };
    // The first rounds fill the heap's own caches of free blocks.
    for (int round = 0; round < 50; ++round) {
        use();
    }
    const SInt32 liveObjects = StandinGetTotalLiveObjectCount();
    const int loadedObjects = CountLoadedObjects();
    const std::size_t heapBytes = CountHeapBytes();

    for (int round = 0; round < kRounds; ++round) {
        use();
    }

    EXPECT_EQ(StandinGetTotalLiveObjectCount(), liveObjects);
    EXPECT_EQ(CountLoadedObjects(), loadedObjects);
    EXPECT_LE(CountHeapBytes(), heapBytes + kRounds * kBytesOfARound);
}

TEST(Bundle, TwoInOneProcessHaveRegistriesOfTheirOwn)
{
    const BundleCopy copy;
    const LoadedBundle first(QX_BUNDLE_PATH);
    {
        const LoadedBundle second(copy.GetPath());
        EXPECT_NE(first.Find(kNames[0]), second.Find(kNames[0]));

        EXPECT_EQ(first.Open(258), 0);
        EXPECT_EQ(second.SetInteger(258, 0, 1), kWhat);
        EXPECT_EQ(second.Open(258), 0);
        EXPECT_EQ(second.Close(258), 0);
        EXPECT_EQ(first.SetInteger(258, 0, 1), kWho);
    }
    EXPECT_FALSE(IsLoaded(copy.GetPath()));
    EXPECT_EQ(first.Close(258), 0);
}

// The bundle of this test is the real one except for two calls of the platform, which it has
// inside: its server is always there, and making data throws an exception of the framework.

TEST(ThrowingBundle, ExceptionThrownInsideIsCaughtOutsideByEitherOfItsBases)
{
    const LeaksAreMeant leaksAreMeant;
    const LoadedBundle bundle(QX_THROWING_BUNDLE_PATH);
    ASSERT_EQ(bundle.Open(258), 0);

    try {
        bundle.SetInteger(258, kEnable, 1);
        ADD_FAILURE() << "nothing was thrown";
    } catch (const QX::ExceptionBase& error) {
        EXPECT_STREQ(error.What(), "Logic Error : thrown inside");
    }

    EXPECT_THROW(bundle.SetInteger(258, kEnable, 1), std::logic_error);

    EXPECT_EQ(bundle.SetInteger(258, 0, 1), kWho);
    EXPECT_EQ(bundle.Close(258), 0);
}

} // namespace
