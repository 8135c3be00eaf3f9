// CheckProcess.cpp - the process of a check, from its start to its judgement.

#include "Tools/Host/Validate/CheckProcess.h"

#include "Tools/Common/Text.h"
#include "Tools/Host/Validate/FaultNote.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <new>
#include <stdexcept>
#include <sys/resource.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#ifdef __linux__
#include <sys/prctl.h>
#endif

namespace Validate {
namespace {

using Tools::FormatText;

constexpr std::size_t kMostOutput = 2048;
constexpr rlim_t kMostFileBytes = 1 << 20;
constexpr rlim_t kMostDescriptors = 256;

template <class Resource>
void Limit(Resource resource, rlim_t most)
{
    rlimit limit = {};
    getrlimit(resource, &limit);
    limit.rlim_cur = limit.rlim_max == RLIM_INFINITY ? most : std::min(most, limit.rlim_max);
    setrlimit(resource, &limit);
}

/// The processor time ends what spins in a way that even its own process group cannot be ended.
void LimitResources(double timeLimit)
{
    Limit(RLIMIT_CORE, 0);
    Limit(RLIMIT_FSIZE, kMostFileBytes);
    Limit(RLIMIT_NOFILE, kMostDescriptors);
    Limit(RLIMIT_CPU, static_cast<rlim_t>(timeLimit) + 5);
}

Verdict* gOwnVerdict = nullptr;

struct PhaseTexts
{
    const char* name;
    const char* crash; ///< outside of calls
    const char* time;  ///< of an exit
};

/// By phase.
constexpr PhaseTexts kPhaseTexts[] = {
    {"the check", "the process crashed after the last call", ""},
    {"the unloading", "the plug-in crashed while it was unloaded", " while it was unloaded"},
    {"the end of the process", "the plug-in crashed at the end of the process", " at its end"},
};

/// An unnamed file for what a stream takes.
int MakeCapture()
{
    std::FILE* const file = std::tmpfile();
    const int descriptor = file != nullptr ? fcntl(fileno(file), F_DUPFD_CLOEXEC, 3) : -1;
    if (file != nullptr) {
        std::fclose(file);
    }
    if (descriptor < 0) {
        throw std::runtime_error("no temporary file");
    }
    return descriptor;
}

std::string ReadCapture(int descriptor)
{
    std::string text(kMostOutput, '\0');
    const ssize_t size = pread(descriptor, text.data(), text.size(), 0);
    text.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
    return text;
}

std::string MakeFolder()
{
    const char* const given = std::getenv("TMPDIR");
    const std::filesystem::path base = given != nullptr && *given != '\0' ? given : "/tmp";
    std::string path = std::filesystem::absolute(base) / "qxhost-XXXXXX";
    if (mkdtemp(path.data()) == nullptr) {
        const std::string reason = std::strerror(errno);
        throw std::runtime_error("cannot make a temporary folder in " +
                                 Tools::EscapeControls(base.string()) + ": " + reason +
                                 "; TMPDIR can name another place");
    }
    return path;
}

} // namespace

CheckProcess::CheckProcess(const Check& check, const Plan& plan)
    : mCheck(check)
    , mTimeLimit(plan.timeLimit)
    , mFolder(MakeFolder())
    , mOutput(MakeCapture())
    , mErrors(MakeCapture())
    , mJournal(Journal::Create())
{
    // What is still in this process's own buffers is not to be written twice.
    std::fflush(nullptr);
    mProcess = mJournal != nullptr ? fork() : -1;
    if (mProcess < 0) {
        throw std::runtime_error("no process for a check");
    }
    if (mProcess == 0) {
        Run(plan);
    }
}

CheckProcess::~CheckProcess()
{
    KillAll();
    close(mOutput);
    close(mErrors);
    std::error_code ignored;
    std::filesystem::remove_all(mFolder, ignored);
}

void CheckProcess::EnterFolder() const
{
    for (const char* const name : {"XDG_RUNTIME_DIR", "HOME", "TMPDIR"}) {
        setenv(name, mFolder.c_str(), 1);
    }
    if (chdir(mFolder.c_str()) != 0) {
        throw std::runtime_error("no working folder");
    }
}

void CheckProcess::Run(const Plan& plan) const
{
    // A session of its own: no terminal, and a group that can be killed as a whole.
    setsid();
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    std::signal(SIGPIPE, SIG_DFL);
#ifdef __linux__
    prctl(PR_SET_PDEATHSIG, SIGKILL);
#endif
    // What a lack of memory does to the plug-in is the plug-in's business.
    std::set_new_handler(nullptr);
    const int nothing = open("/dev/null", O_RDONLY | O_CLOEXEC);
    dup2(nothing, STDIN_FILENO);
    dup2(mOutput, STDOUT_FILENO);
    dup2(mErrors, STDERR_FILENO);
    LimitResources(mTimeLimit);
    Verdict& verdict = mJournal->GetVerdict();
    NoteFaults(verdict);
    gOwnVerdict = &verdict;
    // Registered before the plug-in is loaded, this runs after what it does at the end.
    std::atexit([] { gOwnVerdict->isOver = gOwnVerdict->phase == Phase::kEnding ? 1 : 0; });
    try {
        EnterFolder();
        // Never destroyed: a check that does not unload the bundle is not about unloading.
        auto* const bench = new Bench(plan.bundle, plan.profile, plan.rounds, *mJournal);
        mCheck.run(*bench);
        if (mCheck.endsByExit) {
            bench->StopServer();
            std::fflush(nullptr);
            verdict.phase = Phase::kEnding;
            std::exit(EXIT_SUCCESS);
        }
    } catch (const std::exception& exception) {
        verdict.isNotLoaded = dynamic_cast<const NotLoaded*>(&exception) != nullptr;
        CopyText(verdict.finding, exception.what());
    }
    std::fflush(nullptr);
    verdict.isOver = 1;
    _exit(EXIT_SUCCESS);
}

void CheckProcess::KillAll()
{
    if (mProcess <= 0) {
        return;
    }
    kill(-mProcess, SIGKILL);
    kill(mProcess, SIGKILL);
    while (waitpid(mProcess, nullptr, 0) < 0 && errno == EINTR) {
    }
    mProcess = -1;
}

std::optional<Outcome> CheckProcess::Poll()
{
    int status = 0;
    const pid_t ended = waitpid(mProcess, &status, WNOHANG);
    const std::chrono::duration<double> time = Clock::now() - mStart;
    const bool isLate = ended == 0 && time.count() > mTimeLimit;
    if (ended == 0 && !isLate) {
        return std::nullopt;
    }
    if (isLate) {
        KillAll();
    } else {
        // Its own servers may still run.
        kill(-mProcess, SIGKILL);
        mProcess = -1;
    }
    Outcome outcome = Judge(DescribeEnd(status, isLate));
    outcome.seconds = time.count();
    return outcome;
}

Outcome CheckProcess::Stop()
{
    KillAll();
    return Judge("stopped by a signal");
}

std::string CheckProcess::DescribeEnd(int status, bool isLate) const
{
    const Verdict& verdict = mJournal->GetVerdict();
    const Event* const call = mJournal->FindLastCall();
    const bool isInCall = call != nullptr && !call->isDone;
    const PhaseTexts& texts = kPhaseTexts[static_cast<int>(verdict.phase.load())];
    if (isLate) {
        return FormatText("%s did not end within %g s", isInCall ? "the last call" : texts.name,
                          mTimeLimit);
    }
    if (WIFSIGNALED(status)) {
        std::string text = isInCall ? "the last call crashed" : texts.crash;
        text += ": " + DescribeSignal(WTERMSIG(status));
        text += verdict.fault[0] != '\0' ? std::string(", ") + verdict.fault : "";
        return text;
    }
    if (verdict.isOver == 0) {
        return FormatText("the plug-in ended the process with the exit code %d%s",
                          WEXITSTATUS(status), texts.time);
    }
    return verdict.finding;
}

Outcome CheckProcess::Judge(const std::string& finding) const
{
    Outcome outcome;
    outcome.journal = mJournal;
    outcome.finding = finding;
    outcome.isNotLoaded = mJournal->GetVerdict().isNotLoaded;
    const Event* const call = mJournal->FindLastCall();
    outcome.lastCall = call != nullptr ? DescribeCall(*call) : "";
    outcome.output = ReadCapture(mOutput);
    outcome.errors = ReadCapture(mErrors);
    if (outcome.finding.empty() && !(outcome.output.empty() && outcome.errors.empty())) {
        outcome.isNoise = true;
        outcome.finding = outcome.output.empty() ? "it wrote to the standard error"
                                                 : "it wrote to the standard output";
    }
    return outcome;
}

} // namespace Validate
