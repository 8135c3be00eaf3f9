// UnloadingTest.cpp - the framework in a program that contains nothing of it.

#include "LoadedModule.h"

#include <gtest/gtest.h>

#include <optional>

namespace {

bool IsLoaded(const char* path)
{
    void* const handle = dlopen(path, RTLD_NOW | RTLD_NOLOAD);
    if (handle != nullptr) {
        dlclose(handle);
    }
    return handle != nullptr;
}

TEST(SharedLibrary, UnloadsWithTheLastThatLoadedIt)
{
    std::optional<LoadedModule> first(std::in_place, QX_LIBRARY);
    std::optional<LoadedModule> second(std::in_place, QX_LIBRARY_USER);

    first.reset();
    EXPECT_TRUE(IsLoaded(QX_LIBRARY));
    second.reset();

    EXPECT_FALSE(IsLoaded(QX_LIBRARY));
}

TEST(BundlesWithTheFramework, HaveNullsOfTheirOwn)
{
    const LoadedModule first(QX_BUNDLE_1);
    const LoadedModule second(QX_BUNDLE_2);

    const auto ofTheFirst = first.GetNullAddresses();
    const auto ofTheSecond = second.GetNullAddresses();

    for (std::size_t type = 0; type < ofTheFirst.size(); ++type) {
        EXPECT_NE(ofTheFirst[type], ofTheSecond[type]) << type;
    }
}

} // namespace
