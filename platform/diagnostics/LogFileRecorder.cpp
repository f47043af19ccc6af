#include "platform/diagnostics/LogFileRecorder.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "platform/core/DebugOutput.h"
#include "platform/core/Exception.h"
#include "platform/core/StandardError.h"
#include "platform/core/Text.h"
#include "platform/storage/Places.h"
#include "platform/tasks/Clock.h"

namespace platform {

namespace {

/// What a usual run logs fits into one; the others take memory only in a program that logs more, from its
/// first full image on.
constexpr std::size_t kImagesAtStart = 2;

/// How often storing is tried again during an outage, and how long a caller waits for a slow disk.
constexpr std::chrono::seconds kPatience{1};

/// Under load the session's thread polls, since waking it costs a caller as much as fifty messages. After
/// kLooks empty polls it waits to be notified.
constexpr std::chrono::microseconds kLookAgainAfter{200};
constexpr int kLooks = 50;

/// If the wall clock is within 10 ms of the value extrapolated from the previous file, the extrapolated one
/// is used, so that measurement error never makes time step back.
constexpr std::int64_t kWallClockIsSet = 100000;

}  // namespace

LogFileRecorder::LogFileRecorder(std::filesystem::path folder, std::u16string sessionName,
                                 Generated generated, Wait wait)
    : m_sessionName(std::move(sessionName)),
      m_generated(std::move(generated)),
      m_wait(std::move(wait)),
      m_files(std::move(folder), ToUtf8(m_sessionName)) {
    Lock lock(TraceLock());
    OpenLiveFile(lock);
}

bool LogFileRecorder::WaitInRealTime(Lock& lock, std::condition_variable_any& changed,
                                     std::chrono::microseconds limit, const std::function<bool()>& reached) {
    if (limit != kNoLimit) {
        return changed.wait_for(lock, limit, reached);
    }
    changed.wait(lock, reached);
    return true;
}

void LogFileRecorder::Write(Lock& lock, const etl::Message& message) {
    // Waiting releases the lock; the last other reference to this object may then be dropped.
    std::shared_ptr<LogFileRecorder> self;
    while (!m_ring.IsClosed()) {
        if (m_ring.Append(message, CurrentClock().Steady())) {
            return;
        }
        if (m_asleep && m_ring.HasFull()) {
            m_work.notify_one();
        }
        if (m_ring.CanBegin()) {
            const auto steady = CurrentClock().Steady();
            m_ring.Begin(message, FileTimeOf(steady), steady);
            continue;
        }
        self = shared_from_this();
        if (!WaitForImage(lock)) {
            break;
        }
    }
    m_ring.Drop();
}

std::int64_t LogFileRecorder::FileTimeOf(std::int64_t steady) {
    const auto zero = FileTimeOfSteadyZero(CurrentClock());
    if (!m_steadyZero || std::abs(zero - *m_steadyZero) > kWallClockIsSet) {
        m_steadyZero = zero;
    }
    return *m_steadyZero + steady;
}

bool LogFileRecorder::WaitForImage(Lock& lock) {
    if (m_state == State::Outage || !m_ring.MayWait()) {
        return false;
    }
    const auto isOver = [this] { return m_ring.IsWaitOver() || m_state == State::Outage; };
    // The fewest free images are better than a lost message.
    const bool goesOn = m_wait(lock, m_freed, kPatience, isOver) || m_ring.CanBegin();
    if (!goesOn) {
        m_ring.WaitedInVain();
    }
    return goesOn;
}

void LogFileRecorder::Close() {
    const std::lock_guard lock(TraceLock());
    m_ring.Close();
    m_work.notify_all();
    m_freed.notify_all();
}

void LogFileRecorder::Run() {
    for (auto state = Step(); state != State::Ended; state = Step()) {
        Lock lock(TraceLock());
        if (state == State::Recording) {
            WaitForFullImage(lock);
        } else if (state == State::Outage) {
            m_wait(lock, m_work, kPatience, [this] { return m_ring.IsClosed(); });
        }
    }
}

LogFileRecorder::State LogFileRecorder::Step() {
    Lock lock(TraceLock());
    if (m_ring.IsClosed() && (m_state == State::Recording || m_state == State::Outage)) {
        m_state = State::Closing;
    }
    switch (m_state) {
        case State::Starting:
            HandOutLeftovers(lock);
            PrepareImages(lock, kImagesAtStart);
            m_state = State::Recording;
            break;
        case State::Recording:
            if (m_ring.HasFull() && !m_ring.IsComplete()) {
                PrepareImages(lock, LiveFile::kImages);
            } else if (m_ring.HasFull()) {
                StoreFullImage(lock);
            }
            break;
        case State::Outage:
            TryAgain(lock);
            break;
        case State::Closing:
            if (!m_ring.HasFull() || !StoreFullImage(lock)) {
                End(lock);
            }
            break;
        case State::Ended:
            break;
    }
    return m_state;
}

std::optional<std::filesystem::path> LogFileRecorder::LastFile() const {
    if (m_failure) {
        std::rethrow_exception(m_failure);
    }
    return m_last;
}

void LogFileRecorder::WaitForFullImage(Lock& lock) {
    const auto awaited = [this] { return m_ring.HasFull() || m_ring.IsClosed(); };
    for (int looks = 0; looks < kLooks; ++looks) {
        if (m_wait(lock, m_work, kLookAgainAfter, awaited)) {
            return;
        }
    }
    m_asleep = true;
    m_wait(lock, m_work, kNoLimit, awaited);
    m_asleep = false;
}

bool LogFileRecorder::OpenLiveFile(Lock& lock) {
    lock.unlock();
    try {
        EnsureFolder(m_files.Folder());
        auto live = std::make_unique<LiveFile>(m_files.Folder(), m_files.Stem());
        live->Populate(0);
        etl::EventTraceImage first(live->Image(0));
        Prepare(first);
        m_live = std::move(live);
        lock.lock();
        m_ring.Add(first);
        return true;
    } catch (...) {
        const auto exception = CurrentException();
        lock.lock();
        BeginOutage(lock, exception);
        return false;
    }
}

void LogFileRecorder::HandOutLeftovers(Lock& lock) {
    lock.unlock();
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
    lock.lock();
}

void LogFileRecorder::PrepareImages(Lock& lock, std::size_t count) {
    while (m_ring.Size() < count && !m_ring.IsClosed()) {
        const auto index = m_ring.Size();
        lock.unlock();
        m_live->Populate(index);
        etl::EventTraceImage image(m_live->Image(index));
        Prepare(image);
        lock.lock();
        m_ring.Add(image);
        m_freed.notify_all();
    }
}

bool LogFileRecorder::StoreFullImage(Lock& lock) {
    const auto full = m_ring.FirstFull();
    std::filesystem::path path;
    lock.unlock();
    try {
        full.Image->Complete(CurrentClock().FileTime(), static_cast<std::uint32_t>(full.Lost));
        EnsureFolder(m_files.Folder());
        path = m_files.Store(full.Image->Bytes(), m_live->Path());
        Prepare(*full.Image);
    } catch (...) {
        const auto exception = CurrentException();
        m_failure = std::current_exception();
        lock.lock();
        BeginOutage(lock, exception);
        return false;
    }
    m_failure = nullptr;
    // No system call while the lock is held: callers meet it.
    const bool isGone = m_live->IsGone();
    if (full.IsLast) {
        m_last = std::move(path);
    } else {
        Report(path);
    }
    lock.lock();
    m_ring.Stored(full);
    if (m_ring.IsClosed() || !isGone || RestoreLiveFile(lock)) {
        EndOutage(lock);
    }
    m_freed.notify_all();
    return true;
}

void LogFileRecorder::TryAgain(Lock& lock) {
    if (!m_live) {
        if (OpenLiveFile(lock)) {
            m_state = State::Starting;
            EndOutage(lock);
        }
    } else if (m_ring.HasFull()) {
        StoreFullImage(lock);
    } else if (RestoreLiveFile(lock)) {
        EndOutage(lock);
    }
}

/// Makes the live file again if it has been deleted; false when that fails.
bool LogFileRecorder::RestoreLiveFile(Lock& lock) {
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

void LogFileRecorder::End(Lock& lock) {
    m_state = State::Ended;
    if (m_live && !m_ring.HasFull()) {
        lock.unlock();
        m_live->Remove();
        lock.lock();
    }
}

void LogFileRecorder::Report(const std::filesystem::path& path) {
    try {
        m_generated(path);
    } catch (...) {
        OutputDebugStringW(u"A handler of LogFileGenerated failed: " + CurrentException().Message());
    }
}

void LogFileRecorder::BeginOutage(Lock& lock, const Exception& why) {
    m_state = State::Outage;
    m_freed.notify_all();
    if (!std::exchange(m_outageSaid, true)) {
        m_reported = std::max(m_reported, m_ring.Counted());
        lock.unlock();
        WriteStandardError(
            {"kelvane: log files cannot be stored (", why.what(), "); messages may be lost until they can"});
        lock.lock();
    }
}

void LogFileRecorder::EndOutage(Lock& lock) {
    if (m_state == State::Outage) {
        m_state = State::Recording;
    }
    if (std::exchange(m_outageSaid, false)) {
        const auto lost = m_ring.Dropped() - std::exchange(m_reported, m_ring.Dropped());
        lock.unlock();
        WriteStandardError(
            {"kelvane: log files are stored again; ", std::to_string(lost), " messages were lost"});
        lock.lock();
    }
}

void LogFileRecorder::Prepare(etl::EventTraceImage& image) const {
    image.Prepare(m_sessionName, m_fileName, CurrentClock().TimeZoneBias());
}

}  // namespace platform
