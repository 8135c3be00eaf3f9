// SharedLibraryTest.cpp - what a program and the shared library that it uses have in common.

#include "LoadedModule.h"
#include "NullAddresses.h"

#include <gtest/gtest.h>

namespace {

TEST(SharedLibrary, AnswersAnUnknownCenterWithTheProgramsNull)
{
    const QX::RCPtr<QX::LNotificationCenterManager> manager =
        QX::LNotificationCenterManager::Create();

    EXPECT_EQ(&manager->GetNotificationCenter("unknown"),
              &QX::RCPtr<QX::LNotificationCenter>::Null);
}

TEST(SharedLibrary, HasOneNullForEveryOneThatUsesIt)
{
    const LoadedModule user(QX_LIBRARY_USER);

    EXPECT_EQ(user.GetNullAddresses(), GetOwnNullAddresses());
}

TEST(SharedLibrary, LeavesABundleThatContainsTheFrameworkItsOwnNulls)
{
    const LoadedModule bundle(QX_BUNDLE_1);

    const NullAddresses ofTheBundle = bundle.GetNullAddresses();

    for (std::size_t type = 0; type < ofTheBundle.size(); ++type) {
        EXPECT_NE(ofTheBundle[type], GetOwnNullAddresses()[type]) << type;
    }
}

} // namespace
