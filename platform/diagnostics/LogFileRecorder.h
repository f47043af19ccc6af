#pragma once

// What a session does with messages: callers copy them into the images of the live file; a thread of its own
// stores full images as log files, reports them, and makes the images ready again.
//
// When files cannot be stored, messages are kept while there is an image to keep them in, then dropped and
// counted; the next file that can be stored carries the count. The outage is said once on the standard error
// stream, and so is its end.

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "platform/core/Exception.h"
#include "platform/diagnostics/EventTraceImage.h"
#include "platform/diagnostics/LiveFile.h"
#include "platform/diagnostics/LogFiles.h"
#include "platform/diagnostics/TraceLock.h"

namespace platform {

class LogFileRecorder : public std::enable_shared_from_this<LogFileRecorder> {
  public:
    /// Called on the recorder's thread with each log file that is ready, but not the last one.
    using Generated = std::function<void(const std::filesystem::path&)>;

    /// Starts recording into `folder`. Files that earlier sessions of that name left there come first.
    static std::shared_ptr<LogFileRecorder> Start(std::filesystem::path folder, std::u16string sessionName,
                                                  Generated generated);

    /// Any thread, with TraceLock held by `lock`. Copies the message; it never fails. Waits (the lock let go
    /// meanwhile) only when callers have outrun the storing, and at most a second.
    void Write(std::unique_lock<TraceMutex>& lock, const etl::Message& message);

    /// Ends recording; returns when every file has been stored and reported. The result is the last file,
    /// empty when nothing was recorded since the file before. Throws when something could not be stored: it
    /// stays in the live file for the next start. Any thread, once; on the recorder's own thread it does not
    /// wait.
    std::optional<std::filesystem::path> Finish();

  private:
    LogFileRecorder(std::filesystem::path folder, std::u16string sessionName, Generated generated);

    // Any thread, TraceLock held.
    /// The wall clock, as FILETIME, at a reading of the steady one.
    std::int64_t FileTimeOf(std::int64_t steady);

    // Any thread, TraceLock held; it is let go while something is waited for or said.
    bool WaitForImage(std::unique_lock<TraceMutex>& lock);
    void BeginOutage(std::unique_lock<TraceMutex>& lock, const Exception& why);
    void EndOutage(std::unique_lock<TraceMutex>& lock);

    // The recorder's thread.
    void Work();
    void WaitForFullImage(std::unique_lock<TraceMutex>& lock);
    void HandOutLeftovers();
    void OpenLiveFile();
    void PrepareImages(std::unique_lock<TraceMutex>& lock);
    bool StoreFullImage(std::unique_lock<TraceMutex>& lock);
    bool RestoreLiveFile(std::unique_lock<TraceMutex>& lock);
    void Report(const std::filesystem::path& path);
    void Prepare(etl::EventTraceImage& image) const;

    // Constant.
    const std::u16string m_sessionName;
    const Generated m_generated;

    // The recorder's thread, and Start before it.
    LogFiles m_files;

    // Guarded by TraceLock. Images move between the lists under it; only the recorder's thread touches
    // m_full.front().
    std::unique_ptr<LiveFile> m_live;
    std::vector<etl::EventTraceImage> m_images;
    etl::EventTraceImage* m_current = nullptr;
    std::deque<etl::EventTraceImage*> m_free;
    std::deque<etl::EventTraceImage*> m_full;
    /// The wall clock, as FILETIME, when the steady one was zero.
    std::optional<std::int64_t> m_steadyZero;
    /// Dropped messages that no file counts yet.
    std::uint64_t m_lost = 0;
    /// Those of the present outage that a file counts.
    std::uint64_t m_lostInOutage = 0;
    /// The recorder's thread has to be woken.
    bool m_asleep = false;
    bool m_outage = false;
    bool m_stalled = false;
    bool m_closing = false;
    bool m_lastIsFull = false;
    std::optional<std::filesystem::path> m_last;
    std::exception_ptr m_failure;
    std::condition_variable_any m_work;
    std::condition_variable_any m_freed;

    // Start and Finish.
    std::thread m_thread;
};

}  // namespace platform
