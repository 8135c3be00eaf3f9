// ChildProcess.cpp - starting a tool and reading what it writes.

#include "Tests/Tools/EndToEnd/ChildProcess.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sstream>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace ToolsTests {
namespace {

constexpr int kPatienceMilliseconds = 60000;

/// The words before the program's own command line: none, or an emulator.
std::vector<std::string> GetEmulator()
{
    std::vector<std::string> words;
    std::istringstream text(QX_EMULATOR);
    for (std::string word; text >> word;) {
        words.push_back(word);
    }
    return words;
}

/// An unnamed file that holds the text.
int MakeInput(const std::string& text)
{
    std::FILE* const file = std::tmpfile();
    if (file == nullptr) {
        throw std::runtime_error("no temporary file");
    }
    std::fwrite(text.data(), 1, text.size(), file);
    std::fflush(file);
    const int copy = dup(fileno(file));
    std::fclose(file);
    lseek(copy, 0, SEEK_SET);
    return copy;
}

} // namespace

ChildProcess::ChildProcess(const std::string& program, std::vector<std::string> arguments,
                           const std::string& input)
{
    // A tool is named with its path; what is named without one is a program of this machine.
    std::vector<std::string> words;
    if (program.find('/') != std::string::npos) {
        words = GetEmulator();
    }
    words.push_back(program);
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> values;
    for (std::string& word : words) {
        values.push_back(word.data());
    }
    values.push_back(nullptr);

    int output[2];
    int errors[2];
    if (pipe2(output, O_CLOEXEC) != 0 || pipe2(errors, O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe");
    }
    const int inputFile = MakeInput(input);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, inputFile, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, errors[1], STDERR_FILENO);
    const int error = posix_spawnp(&mID, values.front(), &actions, nullptr, values.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(inputFile);
    close(output[1]);
    close(errors[1]);
    mOutput = output[0];
    mErrors = errors[0];
    if (error != 0) {
        throw std::runtime_error("cannot start " + words.front());
    }
}

ChildProcess::~ChildProcess()
{
    if (mID > 0) {
        kill(mID, SIGKILL);
        waitpid(mID, nullptr, 0);
    }
    CloseOutput();
    close(mErrors);
}

bool ChildProcess::ReadMore()
{
    pollfd waiting = {mOutput, POLLIN, 0};
    const int count = poll(&waiting, 1, kPatienceMilliseconds);
    if (count < 0 && errno == EINTR) {
        return true;
    }
    if (count <= 0) {
        throw std::runtime_error("the process has written nothing for a minute");
    }
    char block[65536];
    const ssize_t size = read(mOutput, block, sizeof block);
    if (size > 0) {
        mBuffer.append(block, static_cast<std::size_t>(size));
    }
    return size > 0;
}

std::optional<std::string> ChildProcess::ReadLine()
{
    std::size_t end = mBuffer.find('\n');
    while (end == std::string::npos) {
        if (!ReadMore()) {
            return std::nullopt;
        }
        end = mBuffer.find('\n');
    }
    std::string line = mBuffer.substr(0, end);
    mBuffer.erase(0, end + 1);
    return line;
}

std::vector<std::string> ChildProcess::ReadLines()
{
    std::vector<std::string> lines;
    while (std::optional<std::string> line = ReadLine()) {
        lines.push_back(*line);
    }
    return lines;
}

void ChildProcess::CloseOutput()
{
    if (mOutput >= 0) {
        close(mOutput);
        mOutput = -1;
    }
}

void ChildProcess::Signal(int number) const
{
    kill(mID, number);
}

int ChildProcess::Wait()
{
    GetErrors();
    int status = 0;
    while (waitpid(mID, &status, 0) < 0 && errno == EINTR) {
    }
    mID = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

const std::string& ChildProcess::GetErrors()
{
    char block[4096];
    ssize_t size = 0;
    while ((size = read(mErrors, block, sizeof block)) > 0 || (size < 0 && errno == EINTR)) {
        mErrorText.append(block, size > 0 ? static_cast<std::size_t>(size) : 0);
    }
    return mErrorText;
}

} // namespace ToolsTests
