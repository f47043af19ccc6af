#include "daemon/machine/MachineFiles.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

#include "platform/core/Exception.h"

namespace daemon_service {

namespace {

struct Credential {
    const char* path;
    const char* name;
};

/// Files that only root may read. The service's unit has the service manager read them and hands them over
/// under these names, so that the service itself needs no right to them.
constexpr std::array kCredentials{
    Credential{"/sys/class/dmi/id/product_serial", "product_serial"},
    Credential{"/sys/class/dmi/id/board_serial", "board_serial"},
    Credential{"/sys/class/dmi/id/chassis_serial", "chassis_serial"},
    Credential{"/sys/firmware/dmi/tables/DMI", "smbios_table"},
};

/// What the unit has the service manager hand over for a file that it cannot read. No such file of the kernel
/// has this content: a text in it would end in a line end.
constexpr std::string_view kStandIn = "none";

/// How often opening a file is tried while it fails by chance. openat2(2) says EAGAIN when any file of the
/// machine was renamed while it followed a ".."; with four threads that do nothing but rename, one opening in
/// a hundred fails, and none was seen to fail four times in a row.
constexpr int kOpenTries = 100;

/// Reads to the end; sets errno and returns nothing on failure.
std::optional<std::string> ReadAll(int descriptor) {
    std::string content;
    for (;;) {
        char buffer[16384];
        const ssize_t count = read(descriptor, buffer, sizeof buffer);
        if (count == 0) {
            return content;
        }
        if (count < 0) {
            if (errno == EINTR) {
                continue;
            }
            return std::nullopt;
        }
        content.append(buffer, static_cast<std::size_t>(count));
        if (content.size() > MachineFiles::kMaxFileBytes) {
            errno = EFBIG;
            return std::nullopt;
        }
    }
}

bool IsRegular(int descriptor) {
    struct stat status {};
    return fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

Missing WhyOf(int error) {
    switch (error) {
        case ENOENT:
        case ENOTDIR:
        case ENODEV:
            return Missing::Absent;
        case EACCES:
        case EPERM:
            return Missing::Denied;
        case EFBIG:
        case ELOOP:
            return Missing::Damaged;
        default:
            return Missing::Unknown;
    }
}

}  // namespace

std::string PathOf(std::initializer_list<std::string_view> parts) {
    std::string path;
    for (const std::string_view part : parts) {
        path.append(path.empty() ? "" : "/").append(part);
    }
    return path;
}

MachineFiles::MachineFiles(const std::string& root, Observer observer)
    : m_isMachine(root == "/"),
      m_root(open(root.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)),
      m_observer(std::move(observer)) {
    if (!m_root) {
        throw platform::ExceptionFromErrno("open " + root, errno);
    }
    if (const char* folder = std::getenv("CREDENTIALS_DIRECTORY"); folder != nullptr && m_isMachine) {
        m_credentials = folder;
    }
}

platform::FileDescriptor MachineFiles::Open(const std::string& path, int flags) {
    for (int tries = 1;; ++tries) {
        const int descriptor = OpenOnce(path, flags);
        if (descriptor >= 0 || (errno != EAGAIN && errno != EINTR) || tries == kOpenTries) {
            return platform::FileDescriptor(descriptor);
        }
    }
}

/// Below a recorded tree no link leads out of it. The machine itself needs no such care, and the sandbox of
/// the service's unit, which serves nothing else, has no openat2 (RestrictSUIDSGID takes it away).
int MachineFiles::OpenOnce(const std::string& path, int flags) const {
    if (m_isMachine) {
        return open(path.c_str(), flags | O_CLOEXEC);
    }
    open_how how{};
    how.flags = static_cast<std::uint64_t>(flags | O_CLOEXEC);
    how.resolve = RESOLVE_IN_ROOT;
    return static_cast<int>(syscall(SYS_openat2, m_root.Get(), path.c_str(), &how, sizeof how));
}

std::optional<std::string> MachineFiles::Read(const std::string& path) {
    // O_NONBLOCK: a pipe in a recorded tree must not hold the service up.
    constexpr int kFlags = O_RDONLY | O_NONBLOCK;
    const auto* credential = std::ranges::find(kCredentials, path, &Credential::path);
    if (credential != kCredentials.end() && !m_credentials.empty()) {
        const std::string name = m_credentials + "/" + credential->name;
        const platform::FileDescriptor file(open(name.c_str(), kFlags | O_CLOEXEC));
        auto content = file ? ReadOpened(path, file) : std::nullopt;
        if (content && *content != kStandIn) {
            return Observed(path, std::move(content));
        }
        // The service manager could not read the file either; reading it gives the reason.
    }
    const platform::FileDescriptor file = Open(path, kFlags);
    return file ? Observed(path, ReadOpened(path, file)) : Failed(path, errno);
}

std::optional<std::string> MachineFiles::ReadOpened(const std::string& path,
                                                    const platform::FileDescriptor& file) {
    if (!IsRegular(file.Get())) {
        m_why = Missing::Damaged;
        m_reason = "not a regular file";
        Note(path + ": " + m_reason);
        return std::nullopt;
    }
    std::optional<std::string> content = ReadAll(file.Get());
    return content ? content : Failed(path, errno);
}

std::optional<std::string> MachineFiles::Observed(const std::string& path,
                                                  std::optional<std::string> content) const {
    if (content && m_observer.File) {
        m_observer.File(path, *content);
    }
    return content;
}

/// An absent file is the only failure without a note: machines differ in which files they have.
std::nullopt_t MachineFiles::Failed(const std::string& path, int error) {
    m_why = WhyOf(error);
    m_reason = m_why == Missing::Absent ? "absent" : std::strerror(error);
    if (m_why != Missing::Absent) {
        Note(path + ": " + m_reason);
    }
    return std::nullopt;
}

std::vector<std::string> MachineFiles::List(const std::string& path) {
    std::vector<std::string> names;
    platform::FileDescriptor folder = Open(path, O_RDONLY | O_DIRECTORY);
    const std::unique_ptr<DIR, int (*)(DIR*)> stream(folder ? fdopendir(folder.Get()) : nullptr, closedir);
    if (stream == nullptr) {
        Failed(path, errno);
        return names;
    }
    folder.Release();
    // readdir reports the end and a failure alike, and sets errno for a failure only.
    errno = 0;
    while (const dirent* entry = readdir(stream.get())) {
        if (entry->d_name[0] != '.') {
            names.emplace_back(entry->d_name);
        }
        errno = 0;
    }
    if (errno != 0) {
        Failed(path, errno);
    }
    std::ranges::sort(names, [](const std::string& a, const std::string& b) {
        return strverscmp(a.c_str(), b.c_str()) < 0;
    });
    return names;
}

std::optional<std::string> MachineFiles::LinkTarget(const std::string& path) {
    const platform::FileDescriptor link = Open(path, O_PATH | O_NOFOLLOW);
    char target[4096];
    const ssize_t length = link ? readlinkat(link.Get(), "", target, sizeof target) : -1;
    if (length < 0) {
        return Failed(path, errno);
    }
    std::string text(target, static_cast<std::size_t>(length));
    if (m_observer.Link) {
        m_observer.Link(path, text);
    }
    return text;
}

void MachineFiles::Note(std::string note) {
    if (std::ranges::find(m_notes, note) == m_notes.end()) {
        m_notes.push_back(std::move(note));
    }
}

}  // namespace daemon_service
