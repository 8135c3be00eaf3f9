// ValidateEndToEndTest.cpp - qxhost validate as a process: verdicts, options, files and exit codes.

#include "Tests/Support/BuildKind.h"
#include "Tests/Tools/EndToEnd/Validation.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <iterator>

namespace {

using ToolsTests::ChildProcess;
using ToolsTests::GetWrongBundle;
using ToolsTests::kHostProgram;
using ToolsTests::TemporaryFolder;
using ToolsTests::Validate;
using ToolsTests::Validation;
using JSON = nlohmann::json;
using Lines = std::vector<std::string>;

std::string ReadFile(const std::string& name)
{
    std::ifstream stream(name);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

/// What a run that is refused says, without the hint after it; "" if it ends in another way.
std::string GetRefusal(Lines arguments)
{
    arguments.insert(arguments.begin(), "validate");
    ChildProcess host(kHostProgram, arguments);
    host.ReadLines();
    if (host.Wait() != 2) {
        return "";
    }
    const std::string text = host.GetErrors();
    return text.substr(0, text.find('\n'));
}

bool Contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

TEST(Validate, PassesTheBundleBesideTheHost)
{
    Lines arguments = {"validate", "--jobs", "4", "--time-limit", "300"};
#if QX_HAS_ADDRESS_SANITIZER
    // The sanitizer's own heap grows with each load, and it cannot work without descriptors.
    arguments.insert(arguments.end(), {"--rounds", "2"});
    for (const char* const tag :
         {"entry-points", "registry", "dispatch", "messages", "threads", "lifetime"}) {
        arguments.insert(arguments.end(), {"--only", tag});
    }
#endif
    ChildProcess host(kHostProgram, arguments);

    const Lines lines = host.ReadLines();

    EXPECT_EQ(host.Wait(), 0) << host.GetErrors();
    ASSERT_GT(lines.size(), 2U);
    EXPECT_EQ(lines.back(), std::to_string(lines.size() - 3) + " passed, 0 failed");
    EXPECT_EQ(host.GetErrors(), "");
}

TEST(Validate, TakesABundleThatIsAFolder)
{
    namespace fs = std::filesystem;
    const TemporaryFolder folder;
    const fs::path bundle = folder / "Right.bundle";
    fs::create_directories(bundle / "Contents" / "MacOS");
    fs::copy_file(GetWrongBundle("none"), bundle / "Contents" / "MacOS" / "Right");

    const Validation validation =
        Validate({bundle.string(), "--only", "own-functions", "--only", "opens-no-files"}, folder);

    EXPECT_EQ(validation.GetFailed(), Lines{});
    EXPECT_EQ(validation.verdict["passed"], 2);
}

TEST(Validate, NamesTheLastCallAndTheCommandThatRepeatsIt)
{
    const TemporaryFolder folder;
    const std::string bundle = GetWrongBundle("info-null-enable");
    ChildProcess host(kHostProgram, {"validate", bundle, "--only", "info-null-enable",
                                     "--recordings", folder / "kept"});

    Lines lines = host.ReadLines();
    // An emulator says of itself that its program has crashed.
    std::erase_if(lines, [](const std::string& line) { return Contains(line, "printed    qemu"); });

    EXPECT_EQ(host.Wait(), 1);
    ASSERT_EQ(lines.size(), 8U);
    EXPECT_EQ(lines[2], "FAILED   info-null-enable                  Info stores only where a "
                        "pointer is not null.");
    EXPECT_EQ(lines[3], "         found      the last call crashed: SIGSEGV, an invalid memory "
                        "access, through a null pointer (address 0)");
    EXPECT_EQ(lines[4], "         last call  AudioDriverPlugInDeviceGetPropertyInfo(device 258, "
                        "channel 0, input, 'DGme', null size pointer, null writable pointer)");
    EXPECT_EQ(lines[5], "         recording  " + folder / "kept/info-null-enable.jsonl");
    EXPECT_EQ(lines[6], "         repeat     qxhost validate " + bundle +
                            " --only info-null-enable --recordings " + folder / "kept");
    EXPECT_EQ(lines[7], "0 passed, 1 failed");
}

TEST(Validate, ShowsWhatAPlugInPrintsWithTheCheckThatFails)
{
    const TemporaryFolder folder;

    const Validation validation =
        Validate({GetWrongBundle("prints-nothing"), "--only", "open-twice"}, folder);

    ASSERT_EQ(validation.GetFailed(), Lines{"open-twice"});
    EXPECT_EQ(validation.checks[0]["finding"], "it wrote to the standard output");
    EXPECT_EQ(validation.checks[0]["output"], "device opened\n");
}

TEST(Validate, LeavesARecordingOfCallsAndMessages)
{
    const TemporaryFolder folder;

    Validate({GetWrongBundle("set-zero-state"), "--only", "set-zero-state"}, folder);

    std::ifstream stream(folder / "recordings/set-zero-state.jsonl");
    std::vector<JSON> objects;
    for (std::string line; std::getline(stream, line);) {
        objects.push_back(JSON::parse(line));
    }
    ASSERT_EQ(objects.size(), 5U);
    EXPECT_EQ(objects[0]["event"], "recording");
    EXPECT_EQ(objects[0]["check"], "set-zero-state");
    EXPECT_EQ(objects[1]["entryPoint"], "AudioDriverPlugInOpen");
    EXPECT_EQ(objects[2]["entryPoint"], "AudioDriverPlugInDeviceSetProperty");
    EXPECT_EQ(objects[2]["data"], "00000000");
    EXPECT_EQ(objects[2]["status"], 0);
    EXPECT_EQ(objects[3]["code"], "ClLM");
    EXPECT_EQ(objects[3]["dataSize"], 0);
    EXPECT_EQ(objects[4]["code"], "SLLM");
    EXPECT_EQ(objects[4]["data"].get<std::string>().substr(0, 10), "3C3F786D6C"); // "<?xml"
    for (const JSON& object : objects) {
        EXPECT_EQ(object["schemaVersion"], 1);
    }
}

TEST(Validate, ListsEachCheckWithItsTagAndRule)
{
    ChildProcess host(kHostProgram, {"validate", "--list"});

    const Lines lines = host.ReadLines();

    EXPECT_EQ(host.Wait(), 0);
    ASSERT_GT(lines.size(), 100U);
    EXPECT_EQ(lines[0], "entry-points  loads                            The bundle can be loaded "
                        "and has the eight entry points.");
}

TEST(Validate, RunsTheChecksOfATagAsOftenAsAsked)
{
    const TemporaryFolder folder;

    const Validation validation = Validate({"--only", "threads", "--repeat", "3"}, folder);

    ASSERT_EQ(validation.checks.size(), 9U);
    for (const JSON& check : validation.checks) {
        EXPECT_EQ(check["tag"], "threads");
        EXPECT_EQ(check["result"], "passed");
    }
    EXPECT_EQ(validation.verdict["passed"], 9);
}

TEST(Validate, TellsWhichWordOfItsCommandLineIsWrong)
{
    EXPECT_EQ(GetRefusal({"--only", "gain-nan"}),
              "qxhost validate: there is no check and no tag \"gain-nan\"; --list shows all");
    EXPECT_EQ(GetRefusal({"--only", "opne"}),
              "qxhost validate: there is no check and no tag \"opne\"; did you mean "
              "open? --list shows all");
    EXPECT_EQ(GetRefusal({"--junit", ""}), "qxhost validate: --junit: the name is empty");
    EXPECT_EQ(GetRefusal({"--junit", "-"}),
              "qxhost validate: --junit: the standard output is for other text; name a file");
    const TemporaryFolder folder;
    const std::string bundle = folder / "Driver.so";
    std::ofstream(bundle) << "a bundle";
    EXPECT_EQ(GetRefusal({bundle, "--junit", bundle}),
              "qxhost validate: --junit: the results would take the place of " + bundle);
    EXPECT_EQ(GetRefusal({"--jbos", "2"}),
              "qxhost validate: there is no option --jbos; did you mean --jobs? see --help");
    EXPECT_EQ(GetRefusal({"--repeat", "0"}),
              "qxhost validate: --repeat: \"0\" is not a whole number from 1 to 1000000");
    EXPECT_EQ(GetRefusal({"--jobs", "two"}),
              "qxhost validate: --jobs: \"two\" is not a whole number from 1 to 64");
    EXPECT_EQ(GetRefusal({"--time-limit", "-1"}),
              "qxhost validate: --time-limit: \"-1\" is not a number of seconds from 0.1 to 3600");
}

TEST(Validate, WritesAFileInTheFormOfJUnit)
{
    const TemporaryFolder folder;

    Validate({GetWrongBundle("open-twice"), "--only", "open-twice", "--only", "close", "--junit",
              folder / "junit.xml"},
             folder);

    const std::string text = ReadFile(folder / "junit.xml");
    EXPECT_TRUE(Contains(text, "tests=\"2\" failures=\"1\" skipped=\"0\"")) << text;
    EXPECT_TRUE(Contains(text, "<testcase classname=\"registry\" name=\"close\"")) << text;
    EXPECT_TRUE(Contains(text, "<failure message=\"the second open answered 0")) << text;
}

TEST(Validate, CannotLoadWhatIsNoBundle)
{
    const TemporaryFolder folder;
    std::ofstream(folder / "text.so") << "not a bundle";

    EXPECT_EQ(Validate({folder / "text.so"}, folder).exitCode, 3);
    // Without the check that is about loading as well.
    const Validation missing = Validate({"/nonexistent/bundle.so", "--only", "registry"}, folder);
    EXPECT_EQ(missing.exitCode, 3);
    EXPECT_EQ(missing.verdict["failed"], 1);
    EXPECT_EQ(missing.verdict["notRun"], missing.checks.size() - 1);
}

TEST(Validate, SaysOnceThatABundleIsMissing)
{
    ChildProcess host(kHostProgram, {"validate", "/nonexistent/bundle.so"});

    const Lines lines = host.ReadLines();

    EXPECT_EQ(host.Wait(), 3);
    ASSERT_EQ(lines.size(), 6U);
    EXPECT_TRUE(lines[2].starts_with("FAILED   loads ")) << lines[2];
    EXPECT_TRUE(Contains(lines[3], "No such file or directory")) << lines[3];
    EXPECT_TRUE(lines[5].starts_with("0 passed, 1 failed, ")) << lines[5];
    EXPECT_TRUE(lines[5].ends_with(" not run")) << lines[5];
}

TEST(Validate, KeepsTheRecordingOfEachRound)
{
    const TemporaryFolder folder;

    Validate({GetWrongBundle("open-twice"), "--only", "open-twice", "--repeat", "3"}, folder);

    for (const char* const file : {"open-twice", "open-twice.2", "open-twice.3"}) {
        EXPECT_TRUE(std::filesystem::exists(folder / "recordings/" + file + ".jsonl")) << file;
    }
}

TEST(Validate, SaysBeforeTheChecksThatAFileCannotBeWritten)
{
    ChildProcess host(kHostProgram, {"validate", "--junit", "/nonexistent/junit.xml"});

    EXPECT_EQ(host.ReadLines(), Lines{});
    EXPECT_EQ(host.Wait(), 4);
    EXPECT_EQ(host.GetErrors(),
              "qxhost: cannot write /nonexistent/junit.xml: No such file or directory\n");
}

TEST(Validate, NamesTheMachineOfAForeignBundle)
{
    const TemporaryFolder folder;
    // An ELF header of a 64-bit machine with the number of RISC-V.
    std::string header = "\177ELF\2\1\1";
    header.resize(64);
    header[18] = '\xF3';
    std::ofstream(folder / "foreign.so", std::ios::binary) << header;

    const Validation validation = Validate({folder / "foreign.so"}, folder);

    EXPECT_EQ(validation.exitCode, 3);
    const std::string finding = validation.Find("loads")->at("finding").get<std::string>();
    EXPECT_TRUE(Contains(finding, "it is for another machine, and this qxhost is for ")) << finding;
}

TEST(Validate, ReadsARightProfile)
{
    const TemporaryFolder folder;

    const Validation validation = Validate(
        {"--profile", QX_PROFILE, "--only", "messages", "--only", "dispatch", "--jobs", "4"},
        folder);

    EXPECT_EQ(validation.GetFailed(), Lines{});
    EXPECT_EQ(validation.exitCode, 0);
}

TEST(Validate, HoldsABundleAgainstItsProfile)
{
    const TemporaryFolder folder;
    JSON profile = JSON::parse(ReadFile(QX_PROFILE));
    profile["properties"][0]["statuses"]["setOnOtherChannel"] = "nope";
    std::ofstream(folder / "other.json") << profile;

    const Validation validation =
        Validate({"--profile", folder / "other.json", "--only", "dispatch", "--jobs", "4",
                  "--rounds", "500", "--time-limit", "29.5"},
                 folder);

    EXPECT_EQ(validation.GetFailed(), (Lines{"set-channel-enable", "set-channel-first-enable"}));
    EXPECT_TRUE(
        Contains(validation.Find("set-channel-enable")->at("repeat"),
                 " --profile " + folder / "other.json" + " --rounds 500 --time-limit 29.5"));
}

TEST(Validate, TellsWhereAProfileIsWrong)
{
    const TemporaryFolder folder;
    const std::string file = folder / "wrong.json";
    const JSON right = JSON::parse(ReadFile(QX_PROFILE));
    const auto refuse = [&](const JSON& profile) {
        std::ofstream(file) << profile;
        const std::string refusal = GetRefusal({"--profile", file});
        const std::string start = "qxhost validate: the profile " + file + " is wrong: ";
        return refusal.substr(std::min(refusal.size(), start.size()));
    };

    JSON profile = right;
    profile["properties"][1]["statuses"]["get"] = "unsupported";
    EXPECT_EQ(refuse(profile), "properties[1].statuses.get: \"unsupported\" is no status: ok, a "
                               "number, or four characters");
    profile = right;
    profile["properties"][0].erase("value");
    EXPECT_EQ(refuse(profile), "properties[0].value: the field is missing");
    profile = right;
    profile["properties"][0]["value"] = "float";
    EXPECT_EQ(refuse(profile), "properties[0].value: \"float\" is not one of word, gains");
    profile = right;
    profile["prot"] = "x";
    EXPECT_EQ(refuse(profile), "prot: there is no such field");
    profile = right;
    profile["schemaVersion"] = 2;
    EXPECT_EQ(refuse(profile), "schemaVersion: this qxhost reads version 1");
    EXPECT_EQ(refuse(JSON::array()), "the profile is not an object");

    std::ofstream(file) << "{\"name\": }";
    EXPECT_EQ(GetRefusal({"--profile", file}),
              "qxhost validate: the profile " + file + " is wrong: byte 10: it is no JSON there");
}

TEST(Validate, EndsAtASignalAndCountsWhatWasNotRun)
{
    const TemporaryFolder folder;
    ChildProcess host(kHostProgram,
                      {"validate", GetWrongBundle("gain-infinite-level"), "--only", "open",
                       "--only", "gain-infinite-level", "--only", "unload", "--json",
                       "--recordings", folder / "recordings", "--time-limit", "600"});
    host.ReadLine();
    EXPECT_EQ(JSON::parse(*host.ReadLine())["name"], "open");

    host.Signal(SIGINT);

    const Lines lines = host.ReadLines();
    EXPECT_EQ(host.Wait(), 130);
    EXPECT_EQ(JSON::parse(lines.back())["passed"], 1);
    EXPECT_EQ(JSON::parse(lines.back())["notRun"], 2);
}

} // namespace
