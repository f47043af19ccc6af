#pragma once

// What becomes of the messages of one logging session: callers copy them into the images of the live file; a
// thread, the session's, stores full images as log files, reports them, and makes the images ready again.
//
// When files cannot be stored, messages are kept while there is an image to keep them in, then dropped and
// counted; the next file that can be stored carries the count. The outage is said once on the standard error
// stream, and so is its end.

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "platform/core/Exception.h"
#include "platform/diagnostics/EventTraceImage.h"
#include "platform/diagnostics/ImageRing.h"
#include "platform/diagnostics/LiveFile.h"
#include "platform/diagnostics/LogFiles.h"
#include "platform/diagnostics/TraceLock.h"

namespace platform {

/// Own it by std::shared_ptr.
class LogFileRecorder : public std::enable_shared_from_this<LogFileRecorder> {
  public:
    /// Called on the session's thread with each log file that is ready, but not the last one.
    using Generated = std::function<void(const std::filesystem::path&)>;

    using Lock = std::unique_lock<TraceMutex>;

    /// Releases TraceLock, which `lock` holds, until `changed` is notified and `reached` returns true, or
    /// until `limit` has passed; returns what `reached` does. The recorder waits in no other way, so a test
    /// that hands in its own needs no time.
    using Wait = std::function<bool(Lock& lock, std::condition_variable_any& changed,
                                    std::chrono::microseconds limit, const std::function<bool()>& reached)>;
    static constexpr std::chrono::microseconds kNoLimit = std::chrono::microseconds::max();

    enum class State {
        /// There is a live file. What earlier sessions left has not been reported, and most images are
        /// missing.
        Starting,
        /// Full images are stored as they come.
        Recording,
        /// The live file could not be made or a log file not be stored: tried again every second.
        Outage,
        /// Close has been called. What is full is stored, or fails for the last time.
        Closing,
        /// Nothing more happens. What could not be stored is in the live file, for the next session.
        Ended,
    };

    /// Makes the live file, if that is possible now, so that messages have a place at once.
    LogFileRecorder(std::filesystem::path folder, std::u16string sessionName, Generated generated,
                    Wait wait = WaitInRealTime);

    // Any thread.

    /// Copies the message; it never fails. Waits, with `lock` released, only when callers have outrun the
    /// storing, and at most a second.
    void Write(Lock& lock, const etl::Message& message);

    /// Takes no further message; Run then returns when every file has been stored and reported. TraceLock is
    /// taken.
    void Close();

    // One thread, the session's.

    /// Takes steps, and waits in between, until the state is Ended.
    void Run();

    /// Does the next thing that can be done now, at most one log file; returns the state that is reached.
    State Step();

    /// When the state is Ended: the last log file, which is not reported; empty when nothing was recorded
    /// since the file before. Throws when something could not be stored.
    std::optional<std::filesystem::path> LastFile() const;

  private:
    static bool WaitInRealTime(Lock& lock, std::condition_variable_any& changed,
                               std::chrono::microseconds limit, const std::function<bool()>& reached);

    // Any thread, TraceLock held; it is released while something is waited for or said.
    /// The wall clock, as FILETIME, at a reading of the steady one.
    std::int64_t FileTimeOf(std::int64_t steady);
    /// False when there is none, and none is to be waited for.
    bool WaitForImage(Lock& lock);
    void BeginOutage(Lock& lock, const Exception& why);
    void EndOutage(Lock& lock);

    // The session's thread, TraceLock held; it is released while the disk is used. The first in the
    // constructor, too.
    bool OpenLiveFile(Lock& lock);
    void HandOutLeftovers(Lock& lock);
    void PrepareImages(Lock& lock, std::size_t count);
    bool StoreFullImage(Lock& lock);
    void TryAgain(Lock& lock);
    bool RestoreLiveFile(Lock& lock);
    void End(Lock& lock);
    void WaitForFullImage(Lock& lock);

    // The session's thread, without TraceLock.
    void Report(const std::filesystem::path& path);
    void Prepare(etl::EventTraceImage& image) const;

    // Constant.
    const std::u16string m_sessionName;
    /// In the files' headers; kept, so that preparing an image needs no memory.
    const std::u16string m_fileName = m_sessionName + u".etl";
    const Generated m_generated;
    const Wait m_wait;

    // The session's thread, and the constructor.
    LogFiles m_files;
    std::unique_ptr<LiveFile> m_live;
    std::optional<std::filesystem::path> m_last;
    std::exception_ptr m_failure;

    // Guarded by TraceLock. Only the session's thread touches the memory of full images.
    ImageRing m_ring{LiveFile::kImages};
    State m_state = State::Starting;
    /// The beginning of an outage has been said, and its end has not.
    bool m_outageSaid = false;
    /// How many of the ring's dropped messages the end of an outage need not report.
    std::uint64_t m_reported = 0;
    /// The wall clock, as FILETIME, when the steady one was zero.
    std::optional<std::int64_t> m_steadyZero;
    /// The session's thread waits without a limit: m_work has to be notified.
    bool m_asleep = false;
    std::condition_variable_any m_work;
    std::condition_variable_any m_freed;
};

}  // namespace platform
