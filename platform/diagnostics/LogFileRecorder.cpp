#include "platform/diagnostics/LogFileRecorder.h"

#include <chrono>
#include <cstdlib>
#include <utility>

#include "platform/core/DebugOutput.h"
#include "platform/core/Exception.h"
#include "platform/core/StandardError.h"
#include "platform/core/Text.h"
#include "platform/storage/Places.h"
#include "platform/tasks/Clock.h"
#include "platform/tasks/ThreadPool.h"

namespace platform {

namespace {

/// How often storing is tried again during an outage, and how long a caller waits for a slow disk.
constexpr std::chrono::seconds kPatience{1};

/// Callers that have to wait go on when this many images are free: they wait seldom instead of at each file.
constexpr std::size_t kFreeToGoOn = LiveFile::kImages / 2;

/// Under load the recorder's thread polls, since waking it costs a caller as much as fifty messages. After
/// kLooks empty polls it waits to be notified.
constexpr std::chrono::microseconds kLookAgainAfter{200};
constexpr int kLooks = 50;

/// If the wall clock is within 10 ms of the value extrapolated from the previous file, the extrapolated one
/// is used, so that measurement error never makes time step back.
constexpr std::int64_t kWallClockIsSet = 100000;

}  // namespace

std::shared_ptr<LogFileRecorder> LogFileRecorder::Start(std::filesystem::path folder,
                                                        std::u16string sessionName, Generated generated) {
    std::shared_ptr<LogFileRecorder> recorder(
        new LogFileRecorder(std::move(folder), std::move(sessionName), std::move(generated)));
    recorder->OpenLiveFile();
    recorder->m_thread = std::thread([recorder] { recorder->Work(); });
    return recorder;
}

LogFileRecorder::LogFileRecorder(std::filesystem::path folder, std::u16string sessionName,
                                 Generated generated)
    : m_sessionName(std::move(sessionName)),
      m_generated(std::move(generated)),
      m_files(std::move(folder), ToUtf8(m_sessionName)) {}

void LogFileRecorder::Write(std::unique_lock<TraceMutex>& lock, const etl::Message& message) {
    // Waiting releases the lock; the last other reference to this object may then be dropped.
    std::shared_ptr<LogFileRecorder> self;
    while (!m_closing) {
        if (m_current != nullptr) {
            if (m_current->Append(message, CurrentClock().Steady())) {
                return;
            }
            m_full.push_back(std::exchange(m_current, nullptr));
            if (m_asleep) {
                m_work.notify_one();
            }
        }
        if (m_free.empty()) {
            self = shared_from_this();
            if (!WaitForImage(lock)) {
                ++m_lost;
                return;
            }
        }
        // Another caller may have been faster.
        if (m_current == nullptr && !m_free.empty()) {
            m_current = m_free.front();
            m_free.pop_front();
            const auto steady = CurrentClock().Steady();
            m_current->Begin(message.Thread, message.Process, FileTimeOf(steady), steady);
        }
    }
    ++m_lost;
}

std::int64_t LogFileRecorder::FileTimeOf(std::int64_t steady) {
    const auto zero = FileTimeOfSteadyZero(CurrentClock());
    if (!m_steadyZero || std::abs(zero - *m_steadyZero) > kWallClockIsSet) {
        m_steadyZero = zero;
    }
    return *m_steadyZero + steady;
}

bool LogFileRecorder::WaitForImage(std::unique_lock<TraceMutex>& lock) {
    if (m_outage || m_stalled) {
        return false;
    }
    const bool freed = m_freed.wait_for(lock, kPatience, [this] {
        return m_free.size() >= kFreeToGoOn || m_current != nullptr || m_outage || m_closing;
    });
    m_stalled = !freed;
    return freed && !m_outage;
}

std::optional<std::filesystem::path> LogFileRecorder::Finish() {
    {
        const std::lock_guard lock(TraceLock());
        m_closing = true;
        if (m_current != nullptr) {
            m_full.push_back(std::exchange(m_current, nullptr));
            m_lastIsFull = true;
        }
        m_work.notify_all();
        m_freed.notify_all();
    }
    if (m_thread.get_id() == std::this_thread::get_id()) {
        m_thread.detach();
        return {};
    }
    {
        const BlockingRegion blocking;
        m_thread.join();
    }
    if (m_failure) {
        std::rethrow_exception(m_failure);
    }
    return m_last;
}

void LogFileRecorder::Work() {
    std::unique_lock lock(TraceLock());
    bool isNew = true;
    while (true) {
        if (!m_live && !m_closing) {
            lock.unlock();
            OpenLiveFile();
            lock.lock();
        }
        if (m_live && std::exchange(isNew, false)) {
            lock.unlock();
            HandOutLeftovers();
            lock.lock();
            PrepareImages(lock);
        }
        // What failed before the end was asked for is tried once more after it.
        const bool isLastTry = m_closing;
        if (!m_full.empty() && StoreFullImage(lock)) {
            continue;
        }
        if (isLastTry) {
            break;
        }
        if (m_closing) {
            continue;
        }
        if (m_outage) {
            m_work.wait_for(lock, kPatience);
            if (m_live && m_full.empty() && RestoreLiveFile(lock)) {
                EndOutage(lock);
            }
        } else {
            WaitForFullImage(lock);
        }
    }
    // What could not be stored stays in the live file, for the next start.
    if (m_live && m_full.empty()) {
        m_live->Remove();
    }
}

void LogFileRecorder::WaitForFullImage(std::unique_lock<TraceMutex>& lock) {
    const auto awaited = [this] { return m_closing || !m_full.empty(); };
    for (int looks = 0; looks < kLooks && !awaited(); ++looks) {
        lock.unlock();
        std::this_thread::sleep_for(kLookAgainAfter);
        lock.lock();
    }
    m_asleep = true;
    m_work.wait(lock, awaited);
    m_asleep = false;
}

void LogFileRecorder::HandOutLeftovers() {
    const auto leftovers = m_files.TakeLeftovers(m_live->Path());
    for (const auto& path : leftovers.Files) {
        Report(path);
    }
    if (leftovers.Failure) {
        try {
            std::rethrow_exception(leftovers.Failure);
        } catch (...) {
            WriteStandardError({"kelvane: a log file of an earlier run stays where it is (",
                                CurrentException().what(), ")"});
        }
    }
}

void LogFileRecorder::OpenLiveFile() {
    try {
        EnsureFolder(m_files.Folder());
        auto live = std::make_unique<LiveFile>(m_files.Folder(), m_files.Stem());
        etl::EventTraceImage first(live->Image(0));
        Prepare(first);
        std::unique_lock lock(TraceLock());
        m_live = std::move(live);
        m_images.assign(1, first);
        m_images.reserve(LiveFile::kImages);
        m_free.push_back(&m_images.front());
        EndOutage(lock);
    } catch (...) {
        const auto exception = CurrentException();
        std::unique_lock lock(TraceLock());
        BeginOutage(lock, exception);
    }
}

void LogFileRecorder::PrepareImages(std::unique_lock<TraceMutex>& lock) {
    while (m_live && m_images.size() < LiveFile::kImages) {
        const auto index = m_images.size();
        lock.unlock();
        m_live->Populate(index - 1);
        m_live->Populate(index);
        etl::EventTraceImage image(m_live->Image(index));
        Prepare(image);
        lock.lock();
        m_free.push_back(&m_images.emplace_back(image));
        m_freed.notify_all();
    }
}

bool LogFileRecorder::StoreFullImage(std::unique_lock<TraceMutex>& lock) {
    auto* const image = m_full.front();
    const bool isLast = m_lastIsFull && m_full.size() == 1;
    const auto lost = m_lost;
    std::filesystem::path path;
    lock.unlock();
    try {
        image->Complete(CurrentClock().FileTime(), static_cast<std::uint32_t>(lost));
        EnsureFolder(m_files.Folder());
        path = m_files.Store(image->Bytes(), m_live->Path());
        Prepare(*image);
    } catch (...) {
        const auto exception = CurrentException();
        lock.lock();
        m_failure = std::current_exception();
        BeginOutage(lock, exception);
        return false;
    }
    // No system call while the lock is held: callers meet it.
    const bool isGone = m_live->IsGone();
    if (!isLast) {
        Report(path);
    }
    lock.lock();
    m_lost -= lost;
    m_lostInOutage += lost;
    m_full.pop_front();
    m_free.push_back(image);
    m_stalled = false;
    m_failure = nullptr;
    if (m_closing || !isGone || RestoreLiveFile(lock)) {
        EndOutage(lock);
    }
    m_freed.notify_all();
    if (isLast) {
        m_last = path;
    }
    return true;
}

/// Makes the live file anew if somebody has deleted it; false when that fails.
bool LogFileRecorder::RestoreLiveFile(std::unique_lock<TraceMutex>& lock) {
    if (!m_live->IsGone()) {
        return true;
    }
    try {
        m_live->Restore();
        return true;
    } catch (...) {
        BeginOutage(lock, CurrentException());
        return false;
    }
}

void LogFileRecorder::Report(const std::filesystem::path& path) {
    try {
        m_generated(path);
    } catch (...) {
        OutputDebugStringW(u"A handler of LogFileGenerated failed: " + CurrentException().Message());
    }
}

void LogFileRecorder::BeginOutage(std::unique_lock<TraceMutex>& lock, const Exception& why) {
    m_freed.notify_all();
    if (!std::exchange(m_outage, true)) {
        lock.unlock();
        WriteStandardError(
            {"kelvane: log files cannot be stored (", why.what(), "); messages may be lost until they can"});
        lock.lock();
    }
}

void LogFileRecorder::EndOutage(std::unique_lock<TraceMutex>& lock) {
    const auto lost = std::exchange(m_lostInOutage, 0) + m_lost;
    if (std::exchange(m_outage, false)) {
        lock.unlock();
        WriteStandardError(
            {"kelvane: log files are stored again; ", std::to_string(lost), " messages were lost"});
        lock.lock();
    }
}

void LogFileRecorder::Prepare(etl::EventTraceImage& image) const {
    image.Prepare(m_sessionName, m_sessionName + u".etl", CurrentClock().TimeZoneBias());
}

}  // namespace platform
