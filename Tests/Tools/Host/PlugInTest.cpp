// PlugInTest.cpp - loading bundles, whole and broken ones.

#include "Tools/Host/PlugIn.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace {

namespace fs = std::filesystem;
using Host::PlugIn;

TEST(PlugIn, FindsTheEntryPointsOfABundle)
{
    std::string error;

    const std::unique_ptr<PlugIn> plugIn = PlugIn::Load(QX_ANSWERING_PLUGIN, error);

    ASSERT_NE(plugIn, nullptr) << error;
    EXPECT_EQ(plugIn->GetEntryPoints().close(7), 7);
    EXPECT_EQ(plugIn->GetEntryPoints().streamSetProperty(8, 0, nullptr, 0, 0, 0, nullptr), 8);
}

TEST(PlugIn, LoadsTheProgramInsideABundleFolder)
{
    const fs::path folder = fs::path(::testing::TempDir()) / "qxhost-test.bundle";
    fs::create_directories(folder / "Contents" / "MacOS");
    const fs::path program = folder / "Contents" / "MacOS" / "qxhost-test";
    fs::copy_file(QX_ANSWERING_PLUGIN, program, fs::copy_options::overwrite_existing);
    std::string error;

    const std::unique_ptr<PlugIn> plugIn = PlugIn::Load(folder.string() + "/", error);

    EXPECT_NE(plugIn, nullptr) << error;
    fs::remove_all(folder);
}

TEST(PlugIn, NamesEveryEntryPointThatABundleLacks)
{
    std::string error;

    EXPECT_EQ(PlugIn::Load(QX_LACKING_PLUGIN, error), nullptr);
    EXPECT_EQ(error, "it lacks the entry points AudioDriverPlugInClose and "
                     "AudioDriverPlugInStreamSetProperty");
}

TEST(PlugIn, GivesTheReasonWhenThereIsNothingToLoad)
{
    const fs::path text = fs::path(::testing::TempDir()) / "qxhost-test-no-bundle.so";
    std::ofstream(text) << "not a bundle";
    std::string error;

    EXPECT_EQ(PlugIn::Load("/nonexistent/bundle.so", error), nullptr);
    EXPECT_NE(error.find("/nonexistent/bundle.so"), std::string::npos) << error;
    EXPECT_EQ(PlugIn::Load(text.string(), error), nullptr);
    EXPECT_NE(error.find("qxhost-test-no-bundle.so"), std::string::npos) << error;
    fs::remove(text);
}

TEST(PlugIn, IsNamedByItsMachineIfThatIsAnotherOne)
{
    const fs::path file = fs::path(::testing::TempDir()) / "qxhost-test-foreign.so";
    // The header of a file for 64-bit ARM, which no test runs on.
    std::string header = "\177ELF\2\1\1";
    header.resize(64);
    header[18] = '\xB7';
    std::ofstream(file, std::ios::binary) << header;
    std::string error;

    EXPECT_EQ(PlugIn::Load(file.string(), error), nullptr);
    EXPECT_EQ(error.find("it is for 64-bit ARM, and this qxhost is for "), 0U) << error;
    fs::remove(file);
}

TEST(PlugIn, IsLookedForBesideTheProgramFirst)
{
    const fs::path path = Host::FindDefaultPlugIn();

    EXPECT_EQ(path.filename(), "DriverPlugIn.so");
    EXPECT_TRUE(path.is_absolute());
}

} // namespace
