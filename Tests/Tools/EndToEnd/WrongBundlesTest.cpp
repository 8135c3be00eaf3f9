// WrongBundlesTest.cpp - bundles that break one rule each fail the check of that rule and no other.

#include "Tests/Support/BuildKind.h"
#include "Tests/Tools/EndToEnd/Validation.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using ToolsTests::GetWrongBundle;
using ToolsTests::TemporaryFolder;
using ToolsTests::Validate;
using ToolsTests::Validation;
using Names = std::vector<std::string>;

struct Row
{
    const char* check;
    const char* tag;
    const char* finding; ///< a part of it
};

std::string GetTestName(const ::testing::TestParamInfo<Row>& info)
{
    std::string name = info.param.check;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

void PrintTo(const Row& row, std::ostream* stream)
{
    *stream << row.check;
}

class WrongBundle : public ::testing::TestWithParam<Row>
{};

TEST_P(WrongBundle, FailsExactlyTheCheckThatNamesItsFault)
{
    const Row& row = GetParam();
    const TemporaryFolder folder;
    const bool isHang = std::string_view(row.finding).find("did not end") != std::string::npos;
    Names arguments = {GetWrongBundle(row.check), "--jobs", "4", "--rounds", "10", "--time-limit",
                       isHang ? "8" : "60"};
    // All checks of every bundle would take long; those of one kind are told apart all the same.
    if (kIsSlow) {
        arguments.insert(arguments.end(), {"--only", row.tag});
    }

    const Validation validation = Validate(arguments, folder);

    EXPECT_EQ(validation.GetFailed(), Names{row.check});
    EXPECT_EQ(validation.verdict["failed"], 1);
    EXPECT_EQ(validation.verdict["notRun"], 0);
    EXPECT_EQ(validation.exitCode, 1);
    const nlohmann::json* const failed = validation.Find(row.check);
    ASSERT_NE(failed, nullptr);
    EXPECT_NE((*failed)["finding"].get<std::string>().find(row.finding), std::string::npos)
        << (*failed)["finding"];
}

constexpr Row kRows[] = {
    {"own-functions", "entry-points", "AudioDriverPlugInStreamSetProperty is in"},
    {"prints-nothing", "lifetime", "it wrote to the standard output"},
    {"open-twice", "registry", "the second open answered 0 instead of 2003329396 'what'"},
    {"open-twice-close-once", "registry", "after two opens and one close"},
    {"close-unknown", "registry", "closing another device than the open one answered 0"},
    {"device-zero", "registry", "opening device 0 answered 2003329396 'what' instead of 0"},
    {"close-one-of-two", "registry", "closing one device closed the other too"},
    {"reopen", "registry", "opening device 258 answered 2003329396 'what' instead of 0"},
    {"no-announcements", "registry", "calls back into the host is 3 instead of 0"},
    {"info-level", "dispatch", "the writable flag is 0 instead of 1"},
    {"info-null-enable", "dispatch", "SIGSEGV, an invalid memory access, through a null pointer"},
    {"info-unknown", "dispatch", "the size is 4 instead of 0"},
    {"get-enable", "dispatch", "the call changed the data: 00 00 00 00"},
    {"get-size-state", "dispatch", "the data (3 bytes)"},
    {"get-null-size", "dispatch", "through a null pointer"},
    {"set-size-level", "dispatch", "size 12 answered 0 instead of 561211770 '!siz'"},
    {"set-channel-first-enable", "dispatch", "'what' instead of 1970171760 'unop'"},
    {"set-odd-address-enable", "dispatch", "the set answered 2003329396 'what' instead of 0"},
    {"stream-get", "dispatch", "the size is 0 instead of 8"},
    {"set-all-bits-enable", "messages", "the value is 1 (0x00000001) instead of -1 (0xFFFFFFFF)"},
    {"set-zero-state", "messages", "message 1, is 'ClLM' instead of 'SLLM'"},
    {"set-largest-positive-state", "messages", "inside the time stamp"},
    {"gain-nan-level", "messages", "the first level of the gain nan is -999 dB instead of nan dB"},
    {"gain-denormal-level", "messages", "is -999 dB instead of -897"},
    {"gain-negative-level", "messages", "it threw an exception: no such gain"},
    {"gain-huge-level", "messages", "ended the process with the exit code 0"},
    {"gain-infinite-level", "messages", "the last call did not end within"},
    {"channel-master-level", "messages", "the channel index is 0 (0x00000000) instead of -1"},
    {"device-ids", "messages", "the device is 65534 instead of -2"},
    {"set-again", "messages", "0 messages arrived instead of 1"},
    {"only-sets-send", "messages", "1 message arrived instead of 0: 'ClLM'"},
    {"refused-sets-send-nothing", "messages", "3 messages arrived instead of 0"},
    {"server-absent-level", "faults", "the second set answered -3 instead of 0"},
    {"server-late-state", "faults", "the set answered -3 instead of 0"},
    {"server-slow-state", "faults", "the set answered -2 instead of 0"},
    {"server-dies-state", "faults", "the set answered 0 although the server is dead"},
    {"threads-set", "threads", "'stop' instead of 0"},
    {"threads-take-turns", "threads", "the close answered 2003329396 'what' instead of 0"},
    {"unload", "lifetime", "the bundle is still loaded"},
    {"unload-while-open", "lifetime", "SIGABRT"},
    {"exit-while-open", "lifetime", "SIGABRT"},
    {"rounds-of-loading", "lifetime", "is open: "},
    {"rounds-of-opening", "lifetime", "is open: "},
    {"rounds-of-refusals", "lifetime", "the heap has grown by"},
    {"opens-no-files", "lifetime", "a file was opened: /etc/hostname"},
};
INSTANTIATE_TEST_SUITE_P(All, WrongBundle, ::testing::ValuesIn(kRows), GetTestName);

TEST(WrongBundles, PassAllChecksWithoutAFault)
{
    const TemporaryFolder folder;

    const Validation validation =
        Validate({GetWrongBundle("none"), "--jobs", "4", "--rounds", "10"}, folder);

    EXPECT_EQ(validation.GetFailed(), Names{});
    EXPECT_EQ(validation.exitCode, 0);
}

TEST(WrongBundles, AreTriedNoFurtherWithoutAnEntryPoint)
{
    const TemporaryFolder folder;

    const Validation validation = Validate({GetWrongBundle("loads")}, folder);

    EXPECT_EQ(validation.GetFailed(), Names{"loads"});
    EXPECT_EQ(validation.verdict["passed"], 0);
    EXPECT_EQ(validation.verdict["notRun"], validation.checks.size() - 1);
    EXPECT_EQ(validation.exitCode, 3);
    EXPECT_EQ((*validation.Find("loads"))["finding"],
              "the bundle cannot be loaded: it lacks the entry point "
              "AudioDriverPlugInStreamSetProperty");
}

} // namespace
