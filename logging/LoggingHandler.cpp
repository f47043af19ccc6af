#include "logging/LoggingHandler.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <utility>

#include "logging/LogRetention.h"
#include "platform/core/DebugOutput.h"
#include "platform/core/Exception.h"
#include "platform/core/StandardError.h"
#include "platform/core/Text.h"
#include "platform/core/UserInterfaceThread.h"
#include "platform/storage/ApplicationData.h"
#include "platform/storage/Places.h"
#include "platform/tasks/Clock.h"

namespace Kelvane {

using platform::CreationCollisionOption;
using platform::LoggingLevel;
using platform::NameCollisionOption;
using platform::PropertyValue;
using platform::StorageFile;
using platform::StorageFolder;

namespace {

constexpr std::u16string_view kLoggingEnabled = u"Kelvane_LoggingEnabled";
constexpr std::u16string_view kFileBeforeSuspend = u"Kelvane_LogFileGeneratedBeforeSuspend";
constexpr std::u16string_view kSessionName = u"Kelvane_Session";
constexpr std::u16string_view kFolderName = u"Kelvane_LogFiles";
/// The names of stored files begin with these; the first begins with the second.
constexpr std::u16string_view kGeneratedPrefix = u"Log-Kelvane";
constexpr std::u16string_view kFinalPrefix = u"Log-";
/// How often a name that is taken is tried again with the next millisecond's time stamp.
constexpr int kNameAttempts = 50;

platform::PropertySet& Settings() {
    return platform::ApplicationData::Current().LocalSettings().Values();
}

void SetLocalSetting(std::u16string_view key, PropertyValue value) {
    if (Settings().HasKey(key)) {
        Settings().Remove(key);
    }
    Settings().Insert(key, std::move(value));
}

/// The saved files that no start has reported yet: the last one, and those of other Kelvanes that ended since
/// this one started, under the same key with "-1", "-2" and so on.
std::vector<std::u16string> UnreportedFiles() {
    std::vector<std::u16string> paths;
    for (const auto& [key, value] : Settings().All()) {
        if (const auto* const path = std::get_if<std::u16string>(&value);
            path != nullptr && key.starts_with(kFileBeforeSuspend) && !path->empty()) {
            paths.push_back(*path);
        }
    }
    return paths;
}

void ForgetReported(const std::vector<std::u16string>& reported) {
    Settings().Change([&](platform::PropertyMap& values) {
        std::erase_if(values, [&](const auto& setting) {
            return setting.first.starts_with(kFileBeforeSuspend) &&
                   std::ranges::any_of(
                       reported, [&](const auto& path) { return setting.second == PropertyValue(path); });
        });
        values.try_emplace(std::u16string(kFileBeforeSuspend));
    });
}

void RememberSaved(PropertyValue path) {
    Settings().Change([&](platform::PropertyMap& values) {
        auto& last = values[std::u16string(kFileBeforeSuspend)];
        if (const auto* const other = std::get_if<std::u16string>(&last);
            other != nullptr && !other->empty()) {
            int number = 1;
            while (
                !values
                     .try_emplace(std::u16string(kFileBeforeSuspend) + u"-" + platform::ToText(number), last)
                     .second) {
                ++number;
            }
        }
        last = std::move(path);
    });
}

/// 251116-173058123 for 16 November 2025, 17:30:58.123 local time.
std::u16string TimeStamp() {
    const auto now = platform::GetLocalTime();
    std::array<char, 64> text;
    const int length =
        std::snprintf(text.data(), text.size(), "%02u%02u%02u-%02u%02u%02u%03u", now.Year - 2000U,
                      unsigned{now.Month}, unsigned{now.Day}, unsigned{now.Hour}, unsigned{now.Minute},
                      unsigned{now.Second}, unsigned{now.Milliseconds});
    return {text.data(), text.data() + length};
}

/// Warns whoever gives the files of the folder to somebody.
void WarnOfContent(const StorageFolder& folder) {
    const std::filesystem::path path(platform::ToPathBytes(folder.Path() + u"/README.txt"));
    std::error_code unknown;
    if (!std::filesystem::exists(path, unknown) && !unknown) {
        std::ofstream(path)
            << "These files hold what Kelvane did, and this machine's data as it was read: the serial "
               "number\n"
               "and the build identifier too, also when they were hidden in the window. Read a file before\n"
               "you give it to somebody: kelvane-log FILE\n";
        std::filesystem::permissions(
            path, std::filesystem::perms::owner_read | std::filesystem::perms::owner_write, unknown);
    }
}

platform::task<std::shared_ptr<StorageFolder>> OpenLogFolder() {
    return platform::ApplicationData::Current().LocalFolder()->CreateFolderAsync(
        std::u16string(kFolderName), CreationCollisionOption::OpenIfExists);
}

}  // namespace

struct LoggingHandler::ContinuationData {
    std::shared_ptr<StorageFolder> folder;
    std::shared_ptr<StorageFile> file;
    std::u16string name;

    std::u16string Path() const { return folder->Path() + u"/" + name; }
};

LoggingHandler& LoggingHandler::GetInstance() {
    static auto* const instance = [] {
        platform::VerifyUserInterfaceThread();
        const auto application = platform::Application::Current();
        if (!application) {
            throw platform::Exception(platform::result::kPointer, u"There is no application to log for.");
        }
        return new std::shared_ptr<LoggingHandler>(Create(*application));
    }();
    return **instance;
}

std::shared_ptr<LoggingHandler> LoggingHandler::Create(platform::Application& application) {
    std::shared_ptr<LoggingHandler> handler(new LoggingHandler);
    application.Suspending().Add(handler, &LoggingHandler::OnAppSuspending);
    application.Resuming().Add(handler, &LoggingHandler::OnAppResuming);
    handler->RestoreLoggingState();
    return handler;
}

LoggingHandler::LoggingHandler()
    : m_channel(std::make_shared<platform::LoggingChannel>(u"Kelvane_Channel")) {}

void LoggingHandler::LogVerbose(std::u16string_view message) {
    Log(message, LoggingLevel::Verbose);
}

void LoggingHandler::LogInformation(std::u16string_view message) {
    Log(message, LoggingLevel::Information);
}

void LoggingHandler::LogWarning(std::u16string_view message) {
    Log(message, LoggingLevel::Warning);
}

void LoggingHandler::LogError(std::u16string_view message) {
    Log(message, LoggingLevel::Error);
}

void LoggingHandler::LogCritical(std::u16string_view message) {
    Log(message, LoggingLevel::Critical);
}

void LoggingHandler::Log(std::u16string_view message, LoggingLevel level) {
    m_channel->LogMessage(message, level);
}

void LoggingHandler::RestoreLoggingState() {
    if (const auto enabled = Settings().LookupBoolean(kLoggingEnabled)) {
        if (*enabled) {
            StartLoggingSession();
        }
    } else {
        SetLocalSetting(kLoggingEnabled, true);
        StartLoggingSession();
    }
    Settings().LookupString(kFileBeforeSuspend);  // refuses another type
    if (const auto unreported = UnreportedFiles(); !unreported.empty()) {
        for (const auto& path : unreported) {
            RaiseStatusChanged(LoggingEventArgs::kSavedAtSuspension, path);
        }
        ForgetReported(unreported);
    }
    InTurn([self = shared_from_this()] { self->KeepNewestFiles(); });
}

void LoggingHandler::StartLoggingSession() {
    const auto session = m_session.With([this](LoggingSession& current) {
        if (!current) {
            current = std::make_shared<platform::FileLoggingSession>(std::u16string(kSessionName));
            current->LogFileGenerated().Add(shared_from_this(), &LoggingHandler::OnLogFileGenerated);
        }
        return current;
    });
    session->AddLoggingChannel(m_channel, LoggingLevel::Verbose);
}

void LoggingHandler::OnLogFileGenerated(platform::FileLoggingSession&,
                                        platform::LogFileGeneratedEventArgs& args) {
    const auto data = std::make_shared<ContinuationData>();
    data->file = args.File();
    // Each step keeps the handler: the chain may outlive the session that started it.
    InTurn([self = shared_from_this(), data] {
        self->Store(*data, kGeneratedPrefix);
        if (!self->m_suspending) {
            self->RaiseStatusChanged(LoggingEventArgs::kGenerated, data->Path());
        }
        self->KeepNewestFiles(data->Path());
    }).then([data](const platform::task<void>& chain) {
        try {
            chain.get();
        } catch (const std::exception&) {
            platform::OutputDebugStringW(u"After the log file " + data->file->Path() + u": " +
                                         platform::CurrentException().Message());
        }
    });
}

platform::task<void> LoggingHandler::InTurn(std::function<void()> work) {
    return m_turns.With([&](platform::task<void>& last) {
        last = last.then([work = std::move(work)](const platform::task<void>&) { work(); });
        return last;
    });
}

void LoggingHandler::Store(ContinuationData& data, std::u16string_view prefix) {
    try {
        data.folder = OpenLogFolder().get();
        WarnOfContent(*data.folder);
        MoveIntoFolder(data, prefix);
        m_saidNotStored = false;
    } catch (...) {
        // Another Kelvane that starts takes over what an ending one has not moved yet.
        std::error_code unknown;
        const bool isThere = std::filesystem::exists(platform::ToPathBytes(data.file->Path()), unknown);
        if ((isThere || unknown) && !std::exchange(m_saidNotStored, true)) {
            platform::WriteStandardError({"kelvane: the log file ", platform::ToPathBytes(data.file->Path()),
                                          " stays there until the next start (",
                                          platform::CurrentException().what(), ")"});
        }
        throw;
    }
}

void LoggingHandler::MoveIntoFolder(ContinuationData& data, std::u16string_view prefix) {
    for (int attempt = 1;; ++attempt) {
        data.name = std::u16string(prefix) + TimeStamp() + u".etl";
        try {
            data.file->MoveAsync(data.folder, data.name, NameCollisionOption::FailIfExists).get();
            return;
        } catch (const platform::Exception& exception) {
            const bool again =
                exception.Code() == platform::result::kAlreadyExists && attempt < kNameAttempts;
            if (!again || !platform::CurrentClock().SleepFor(std::chrono::milliseconds(1))) {
                throw;
            }
        }
    }
}

void LoggingHandler::KeepNewestFiles(const std::u16string& stored) {
    auto kept = UnreportedFiles();
    kept.push_back(stored);
    std::vector<LogFilePlace> places = {
        {platform::LocalStateFolder() / kFolderName, platform::ToUtf8(kFinalPrefix)}};
    if (m_saidNotStored) {
        places.push_back({platform::LogsFolder(), platform::ToUtf8(kSessionName) + "-"});
    }
    DeleteOldLogFiles(places, kLogFilesLimit, kept);
}

void LoggingHandler::OnAppSuspending(platform::Application&, platform::SuspendingEventArgs& args) {
    const auto deferral = args.SuspendingOperation().GetDeferral();
    if (!m_session.With([](const LoggingSession& session) { return session != nullptr; })) {
        SetLocalSetting(kLoggingEnabled, false);
        RememberSaved({});
        deferral->Complete();
        return;
    }
    m_suspending = true;
    // Completed last: its completion may destroy what the steps before used.
    CloseSessionSaveFinalLogFile()
        .then([self = shared_from_this()](const platform::task<File>& saved) {
            self->FinishSuspension(saved);
            return self->InTurn([self] { self->KeepNewestFiles(); });
        })
        .then([deferral](const platform::task<void>&) { deferral->Complete(); });
}

platform::task<LoggingHandler::File> LoggingHandler::CloseSessionSaveFinalLogFile() {
    const auto data = std::make_shared<ContinuationData>();
    const auto session = m_session.With([](const LoggingSession& current) { return current; });
    return session->CloseAndSaveToFileAsync().then(
        [self = shared_from_this(), data](const File& saved) -> platform::task<File> {
            if (!saved) {
                return platform::task_from_result(File());
            }
            data->file = saved;
            return self->InTurn([self, data] { self->Store(*data, kFinalPrefix); }).then([data] {
                return StorageFile::GetFileFromPathAsync(data->Path());
            });
        });
}

void LoggingHandler::FinishSuspension(const platform::task<File>& saved) {
    try {
        File file;
        try {
            file = saved.get();
        } catch (const std::exception&) {
            platform::OutputDebugStringW(u"The last log file is not in its folder: " +
                                         platform::CurrentException().Message());
        }
        // A session that could not save has ended too: the next one hands out what it left.
        if (const auto session =
                m_session.With([](LoggingSession& current) { return std::exchange(current, nullptr); })) {
            session->Close();
        }
        SetLocalSetting(kLoggingEnabled, true);
        RememberSaved(file ? PropertyValue(file->Path()) : PropertyValue());
    } catch (const std::exception&) {
        platform::OutputDebugStringW(u"The suspension could not be recorded: " +
                                     platform::CurrentException().Message());
    }
    m_suspending = false;
}

void LoggingHandler::OnAppResuming(platform::Application&) {
    RestoreLoggingState();
}

void LoggingHandler::RaiseStatusChanged(std::int32_t status, std::u16string message) {
    LoggingEventArgs args(status, std::move(message));
    m_statusChanged.Raise(*this, args);
}

}  // namespace Kelvane
