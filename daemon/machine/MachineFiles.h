#pragma once

// The files that describe a machine, below a root directory: "/" for this machine, any recorded tree else.
// Every reader takes what it knows from here and nowhere else, so a recorded tree gives the same answers as
// the machine it came from. An object is used by one thread at a time; it is cheap, so each call makes its
// own.

#include <cstddef>
#include <functional>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "daemon/machine/Sourced.h"
#include "platform/storage/FileDescriptor.h"

namespace daemon_service {

/// The parts with "/" between them.
std::string PathOf(std::initializer_list<std::string_view> parts);

class MachineFiles {
  public:
    /// Told of each file (`content`) and symbolic link (`target`) that was read, for the recorder.
    struct Observer {
        std::function<void(const std::string& path, std::string_view content)> File;
        std::function<void(const std::string& path, const std::string& target)> Link;
    };

    /// No file here is read beyond this size; firmware tables are below 64 KiB, the rest is text.
    static constexpr std::size_t kMaxFileBytes = std::size_t{1} << 20;

    /// `root` is an existing directory; symbolic links in it, absolute ones too, stay below it. Throws
    /// platform::Exception when it cannot be opened.
    explicit MachineFiles(const std::string& root = "/", Observer observer = {});

    /// The content of a regular file; nothing if it is absent, unreadable, not a regular file or too large.
    /// Every reason but absence becomes a note.
    std::optional<std::string> Read(const std::string& path);

    /// Why the last call that gave nothing did so, and the system's error; "absent" for an absent file.
    Missing Why() const { return m_why; }
    const std::string& Reason() const { return m_reason; }

    /// The names in a directory, sorted ("port2" before "port10"); none if it is absent. Every other reason
    /// for a missing name becomes a note.
    std::vector<std::string> List(const std::string& path);

    /// Where the symbolic link at `path` points, as written in it; nothing if there is no link. Every other
    /// reason becomes a note.
    std::optional<std::string> LinkTarget(const std::string& path);

    /// Why something could not be read or has no value; written to the service's log. The same note counts
    /// once.
    void Note(std::string note);
    const std::vector<std::string>& Notes() const { return m_notes; }

  private:
    std::nullopt_t Failed(const std::string& path, int error);
    std::optional<std::string> ReadOpened(const std::string& path, const platform::FileDescriptor& file);
    std::optional<std::string> Observed(const std::string& path, std::optional<std::string> content) const;
    platform::FileDescriptor Open(const std::string& path, int flags);
    int OpenOnce(const std::string& path, int flags) const;

    bool m_isMachine;
    platform::FileDescriptor m_root;
    Observer m_observer;
    std::string m_credentials;  // folder of files that the service manager read for us; empty without
    Missing m_why = Missing::Absent;
    std::string m_reason;
    std::vector<std::string> m_notes;
};

}  // namespace daemon_service
