#pragma once

// The carrier: Unix stream sockets in one directory, an endpoint a socket. System errors become RPC statuses
// or platform exceptions here.

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/rpc/Bytes.h"
#include "platform/storage/FileDescriptor.h"

namespace platform::rpc {

/// Who is at the other end, as the kernel says: for a server as of connect, for a client as of listen.
struct SocketCredentials {
    pid_t Pid = 0;
    uid_t Uid = 0;
    gid_t Gid = 0;
    std::vector<gid_t> Groups{};  ///< supplementary ones; none where there are more than 1024
};

/// The directory of the endpoints: KELVANE_RPC_DIRECTORY, or /run/kelvane/rpc.
std::string EndpointDirectory();

/// The socket of an endpoint. Throws RpcException (kInvalidEndpointFormat) when the name could mean another
/// directory or is too long.
std::string EndpointPath(std::u16string_view endpoint);

/// A stream socket, not yet connected. Nothing waits at it. Throws RpcException.
FileDescriptor CreateSocket();

/// Connects, waiting for room in the listener's queue until `isCancelled`. Sending and receiving wait without
/// a limit afterwards; after a failure the socket can be connected again. Throws RpcException.
void Connect(int socket, const std::string& path, const std::function<bool()>& isCancelled);

/// Ends receiving that has waited for `limit`; zero: never.
void LimitReceiving(int socket, std::chrono::milliseconds limit);

/// The same for sending, too.
void LimitWaits(int socket, std::chrono::milliseconds limit);

/// Limits the bytes that are sent and not yet received (SO_SNDBUF).
void LimitSendBuffer(int socket, int bytes);

/// From here on nothing waits: what would, fails with EAGAIN.
void SetNonBlocking(int socket);

/// Sends everything; false when the connection is closed, or the other end has not read for the
/// socket's time limit.
bool SendAll(int socket, ByteView bytes);

/// Receives at least one byte. 0 when the other side has ended, -1 with errno set for a failure.
ssize_t ReceiveSome(int socket, std::span<std::byte> room);

/// The user at the other end. Throws RpcException (kAccessDenied) when the kernel does not tell.
uid_t UserOf(int socket);

/// The same, and the rest.
SocketCredentials CredentialsOf(int socket);

/// A socket file that listens; it is removed at the end if it is still this one.
class ListeningSocket {
  public:
    /// Creates the directory (0755) if need be, and in it a lock file, which stays, replaces a socket
    /// without a listener, refuses one with a listener (kAlreadyExists). Any user may connect. Accepting
    /// does not block. Throws a platform exception.
    explicit ListeningSocket(const std::string& path);
    ~ListeningSocket();
    ListeningSocket(const ListeningSocket&) = delete;
    ListeningSocket& operator=(const ListeningSocket&) = delete;

    int Get() const { return m_socket.Get(); }

  private:
    std::string m_path;
    FileDescriptor m_socket;
    dev_t m_device = 0;
    ino_t m_inode = 0;
};

}  // namespace platform::rpc
