#include "GraphvizRenderer.h"

#include "torvex/platform/Files.h"
#include "torvex/platform/Utf16.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace torvex::cli {
namespace {

std::string FindOnPath(const std::string& program) {
    const char* path = std::getenv("PATH");
    std::string directories = path ? path : "/usr/bin:/bin";
    size_t start = 0;
    while (start <= directories.size()) {
        size_t end = directories.find(':', start);
        if (end == std::string::npos)
            end = directories.size();
        // An empty entry is the working directory.
        std::string candidate = end > start ? directories.substr(start, end - start) : ".";
        candidate += '/';
        candidate += program;
        struct stat info;
        if (::stat(candidate.c_str(), &info) == 0 && S_ISREG(info.st_mode) &&
            ::access(candidate.c_str(), X_OK) == 0)
            return candidate;
        start = end + 1;
    }
    return std::string();
}

// The first line of a file that is not blank, trimmed; empty when there is none.
std::string FirstLine(const std::string& path) {
    std::string bytes;
    platform::ReadFileBytes(platform::FromUtf8(path), bytes);
    size_t start = 0;
    while (start < bytes.size()) {
        size_t end = bytes.find('\n', start);
        if (end == std::string::npos)
            end = bytes.size();
        std::string line = bytes.substr(start, end - start);
        while (!line.empty() && (line.back() == '\r' || line.back() == ' '))
            line.pop_back();
        if (!line.empty())
            return line;
        start = end + 1;
    }
    return std::string();
}

} // namespace

GraphvizRenderer::GraphvizRenderer() : dot_(FindOnPath("dot")) {}

bool GraphvizRenderer::RenderSvg(const std::string& dotText, const std::string& svgPath,
                                 std::string& error) const {
    if (dot_.empty()) {
        error = "Graphviz dot is not installed";
        return false;
    }
    const std::string input = svgPath + ".dot.part";
    const std::string output = svgPath + ".part";
    const std::string complaints = svgPath + ".err.part";
    struct Cleanup {
        const std::string* paths[3];
        ~Cleanup() {
            for (const std::string* path : paths)
                std::remove(path->c_str());
        }
    } cleanup{{&input, &output, &complaints}};
    if (!platform::WriteFileBytes(platform::FromUtf8(input), dotText)) {
        error = "cannot write " + input + ": " + std::strerror(errno ? errno : EIO);
        return false;
    }

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, complaints.c_str(),
                                     O_WRONLY | O_CREAT | O_TRUNC, 0644);
    std::string arguments[] = {"dot", "-Tsvg", "-o" + output, input};
    char* argv[] = {arguments[0].data(), arguments[1].data(), arguments[2].data(),
                    arguments[3].data(), nullptr};
    pid_t child = 0;
    const int spawned = ::posix_spawn(&child, dot_.c_str(), &actions, nullptr, argv, environ);
    posix_spawn_file_actions_destroy(&actions);
    if (spawned != 0) {
        error = "cannot run " + dot_ + ": " + std::strerror(spawned);
        return false;
    }
    int status = 0;
    while (::waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) {
            error = "cannot wait for " + dot_ + ": " + std::strerror(errno);
            return false;
        }
    }
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        const std::string said = FirstLine(complaints);
        error = dot_ +
                (WIFEXITED(status) ? " failed (exit code " + std::to_string(WEXITSTATUS(status))
                                   : " was ended by signal " + std::to_string(WTERMSIG(status))) +
                (WIFEXITED(status) ? ")" : "") + (said.empty() ? "" : ": " + said);
        return false;
    }
    if (std::rename(output.c_str(), svgPath.c_str()) != 0) {
        error = "cannot write " + svgPath + ": " + std::strerror(errno);
        return false;
    }
    return true;
}

} // namespace torvex::cli
