#include "tests/daemon/ServiceProcess.h"

#include <fcntl.h>
#include <grp.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace daemon_service {

namespace {

platform::FileDescriptor BoundSocket(int type, const std::string& path) {
    platform::FileDescriptor bound(socket(AF_UNIX, type | SOCK_CLOEXEC, 0));
    sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    if (bind(bound.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        throw std::runtime_error("bind " + path);
    }
    return bound;
}

std::vector<char*> Pointers(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

}  // namespace

ServiceProcess::ServiceProcess(Settings settings) {
    // Not below TMPDIR, as the endpoint's directory.
    m_folder = "/tmp/kelvane-daemon-XXXXXX";
    if (mkdtemp(m_folder.data()) == nullptr) {
        throw std::runtime_error("mkdtemp " + m_folder);
    }
    m_notifications = BoundSocket(SOCK_DGRAM, m_folder + "/notify");

    std::vector<std::string> arguments{KELVANE_SERVICE_PROGRAM};
    arguments.insert(arguments.end(), settings.Arguments.begin(), settings.Arguments.end());
    std::vector<std::string> environment = settings.Environment;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        environment.emplace_back(*entry);
    }
    environment.push_back("NOTIFY_SOCKET=" + m_folder + "/notify");

    platform::FileDescriptor listener;
    if (settings.FirstClient) {
        const std::string path = platform::rpc::test::EndpointScope::Socket();
        listener = BoundSocket(SOCK_STREAM, path);
        listen(listener.Get(), 16);
        environment.emplace_back("LISTEN_FDS=1");
        settings.FirstClient();
    }
    m_process = fork();
    if (m_process == 0) {
        const platform::FileDescriptor log(
            open((m_folder + "/log").c_str(), O_CREAT | O_WRONLY | O_APPEND, 0600));
        dup2(log.Get(), STDERR_FILENO);
        if (listener) {
            dup2(listener.Get(), 3);
            environment.push_back("LISTEN_PID=" + std::to_string(getpid()));
        }
        execve(arguments[0].c_str(), Pointers(arguments).data(), Pointers(environment).data());
        _exit(127);
    }
    if (settings.ExpectReady) {
        NextNotification();
    }
}

ServiceProcess::~ServiceProcess() {
    if (m_process > 0) {
        Signal(SIGTERM);
        WaitForEnd();
    }
    std::error_code ignored;
    std::filesystem::remove_all(m_folder, ignored);
}

void ServiceProcess::Signal(int signal) const {
    kill(m_process, signal);
}

int ServiceProcess::WaitForEnd() {
    m_notifications = platform::FileDescriptor();  // a full queue that nobody reads would hold the service up
    int status = 0;
    waitpid(m_process, &status, 0);
    m_process = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
}

std::string ServiceProcess::NextNotification() {
    const timeval limit{.tv_sec = 30, .tv_usec = 0};
    setsockopt(m_notifications.Get(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    char message[256];
    const ssize_t length = recv(m_notifications.Get(), message, sizeof message, 0);
    if (length < 0) {
        throw std::runtime_error("the service says nothing more");
    }
    return {message, static_cast<std::size_t>(length)};
}

std::string ServiceProcess::Log() const {
    std::ifstream file(m_folder + "/log");
    return {std::istreambuf_iterator<char>(file), {}};
}

int AsUser(uid_t user, const std::function<int()>& body, const std::vector<gid_t>& groups) {
    const pid_t child = fork();
    if (child == 0) {
        const bool changed =
            setgroups(groups.size(), groups.data()) == 0 && setgid(user) == 0 && setuid(user) == 0;
        // An exception may not reach the test's own objects, which are the parent's.
        _exit([&]() noexcept { return changed ? body() : 126; }());
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
}

}  // namespace daemon_service
