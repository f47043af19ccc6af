#include "platform/rpc/Socket.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "platform/core/Exception.h"
#include "platform/core/Text.h"

namespace platform::rpc {

namespace {

constexpr int kBacklog = 128;
constexpr mode_t kDirectoryMode = 0755;
constexpr mode_t kSocketMode = 0666;

/// How often a connect that waits for the listener looks whether it is still wanted.
constexpr std::chrono::milliseconds kConnectSlice{100};

constexpr timeval ToTimeval(std::chrono::milliseconds time) {
    return {.tv_sec = time.count() / 1000, .tv_usec = time.count() % 1000 * 1000};
}

sockaddr_un AddressOf(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        throw RpcException(status::kInvalidEndpointFormat);
    }
    path.copy(address.sun_path, path.size());
    return address;
}

int ConnectOnce(int socket, const sockaddr_un& address) {
    while (connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        if (errno != EINTR) {
            return errno;
        }
    }
    return 0;
}

Status StatusOfConnect(int error) {
    switch (error) {
        case EACCES:
        case EPERM:
            return status::kAccessDenied;
        default:
            return status::kServerUnavailable;
    }
}

void Check(int result, std::string_view operation, const std::string& path) {
    if (result != 0) {
        const int error = errno;
        throw ExceptionFromErrno(std::string(operation) + " " + path, error);
    }
}

ucred OtherEndOf(int socket) {
    ucred credentials{};
    socklen_t size = sizeof credentials;
    if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0) {
        throw RpcException(status::kAccessDenied);
    }
    return credentials;
}

/// Of the process at the other end (SO_PEERGROUPS). One with more of them than fit counts as having none.
std::vector<gid_t> SupplementaryGroups(int socket) {
    std::array<gid_t, 1024> groups{};
    socklen_t size = sizeof groups;
    if (getsockopt(socket, SOL_SOCKET, SO_PEERGROUPS, groups.data(), &size) != 0) {
        return {};
    }
    return {groups.data(), groups.data() + size / sizeof(gid_t)};
}

/// Every directory that is made can be entered by all users, independent of the process's mask.
void CreateDirectories(const std::filesystem::path& directory) {
    std::filesystem::path made;
    for (const auto& name : directory) {
        made /= name;
        std::error_code failure;
        const bool created = std::filesystem::create_directory(made, failure);
        if (failure) {
            throw ExceptionFromErrno("create " + made.string(), failure.value());
        }
        if (created) {
            Check(chmod(made.c_str(), kDirectoryMode), "set mode of", made.string());
        }
    }
}

}  // namespace

std::string EndpointDirectory() {
    const char* directory = std::getenv("KELVANE_RPC_DIRECTORY");
    return directory != nullptr && *directory != '\0' ? directory : "/run/kelvane/rpc";
}

std::string EndpointPath(std::u16string_view endpoint) {
    if (endpoint.empty() || endpoint == u"." || endpoint == u".." ||
        endpoint.find_first_of(std::u16string_view(u"/\0", 2)) != std::u16string_view::npos) {
        throw RpcException(status::kInvalidEndpointFormat);
    }
    std::string path = EndpointDirectory() + "/" + ToUtf8(endpoint);
    AddressOf(path);
    return path;
}

FileDescriptor CreateSocket() {
    FileDescriptor created(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (created.Get() < 0) {
        throw RpcException(status::kOutOfResources);
    }
    return created;
}

void Connect(int socket, const std::string& path, const std::function<bool()>& isCancelled) {
    const sockaddr_un address = AddressOf(path);
    int error = ConnectOnce(socket, address);
    if (error == 0 || error == EAGAIN) {
        fcntl(socket, F_SETFL, 0);
    }
    if (error == EAGAIN) {
        // The listener's queue is full.
        LimitWaits(socket, kConnectSlice);
        while (error == EAGAIN && !isCancelled()) {
            error = ConnectOnce(socket, address);
        }
        LimitWaits(socket, {});
    }
    if (error != 0) {
        SetNonBlocking(socket);
    }
    if (error != 0 && !isCancelled()) {
        throw RpcException(StatusOfConnect(error));
    }
    if (isCancelled()) {
        throw RpcException(status::kCallCancelled);
    }
}

void LimitReceiving(int socket, std::chrono::milliseconds limit) {
    const timeval time = ToTimeval(limit);
    setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &time, sizeof time);
}

void LimitWaits(int socket, std::chrono::milliseconds limit) {
    LimitReceiving(socket, limit);
    const timeval time = ToTimeval(limit);
    setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &time, sizeof time);
}

void LimitSendBuffer(int socket, int bytes) {
    setsockopt(socket, SOL_SOCKET, SO_SNDBUF, &bytes, sizeof bytes);
}

void SetNonBlocking(int socket) {
    fcntl(socket, F_SETFL, O_NONBLOCK);
}

bool SendAll(int socket, ByteView bytes) {
    while (!bytes.empty()) {
        const ssize_t sent = send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent >= 0) {
            bytes = bytes.subspan(static_cast<std::size_t>(sent));
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

ssize_t ReceiveSome(int socket, std::span<std::byte> room) {
    while (true) {
        const ssize_t received = recv(socket, room.data(), room.size(), 0);
        if (received >= 0 || errno != EINTR) {
            return received;
        }
    }
}

uid_t UserOf(int socket) {
    return OtherEndOf(socket).uid;
}

SocketCredentials CredentialsOf(int socket) {
    const ucred credentials = OtherEndOf(socket);
    return {.Pid = credentials.pid,
            .Uid = credentials.uid,
            .Gid = credentials.gid,
            .Groups = SupplementaryGroups(socket)};
}

ListeningSocket::ListeningSocket(const std::string& path) : m_path(path) {
    const sockaddr_un address = AddressOf(path);
    const std::filesystem::path directory = std::filesystem::path(path).parent_path();
    CreateDirectories(directory);
    // Two services that start at once must not take the socket from each other: a file is locked while the
    // old one is looked at and the new one put in its place. Not the directory, which everybody can open and
    // lock.
    const std::string lockPath = path + ".lock";
    const FileDescriptor lock(open(lockPath.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600));
    Check(lock.Get() < 0 ? -1 : flock(lock.Get(), LOCK_EX), "lock", lockPath);

    const int error = ConnectOnce(CreateSocket().Get(), address);
    if (error == 0 || error == EAGAIN) {
        throw Exception(result::kAlreadyExists, u"A service already listens at " + FromUtf8(path));
    }
    if (error == ECONNREFUSED) {
        Check(unlink(path.c_str()), "remove", path);
    }
    m_socket = CreateSocket();
    Check(bind(m_socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), "bind", path);
    Check(chmod(path.c_str(), kSocketMode), "set mode of", path);
    Check(listen(m_socket.Get(), kBacklog), "listen at", path);
    struct stat file {};
    Check(stat(path.c_str(), &file), "look at", path);
    m_device = file.st_dev;
    m_inode = file.st_ino;
}

ListeningSocket::~ListeningSocket() {
    struct stat file {};
    if (stat(m_path.c_str(), &file) == 0 && file.st_dev == m_device && file.st_ino == m_inode) {
        unlink(m_path.c_str());
    }
}

}  // namespace platform::rpc
