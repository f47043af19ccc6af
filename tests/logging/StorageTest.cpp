#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>

#include "platform/core/Text.h"
#include "platform/storage/ApplicationData.h"
#include "platform/storage/Places.h"
#include "platform/storage/SettingsFile.h"
#include "platform/storage/StorageFile.h"
#include "tests/support/LogFolder.h"

namespace {

/// What has been synced; a folder only after the new file in it has got its name.
std::vector<std::string> g_synced;

}  // namespace

/// Stands in for the C library's.
extern "C" int fsync(int descriptor) {
    const auto path = std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(descriptor));
    if (!std::filesystem::is_directory(path) ||
        tests::Names(path, ".new-" + std::to_string(getpid())).empty()) {
        g_synced.push_back(path);
    }
    return static_cast<int>(syscall(SYS_fsync, descriptor));
}

namespace {

using namespace std::string_literals;
using platform::ApplicationDataContainer;
using platform::NameCollisionOption;
using platform::PropertyMap;
using platform::PropertyValue;

class Storage : public testing::Test {
  protected:
    std::shared_ptr<platform::StorageFile> Make(const std::string& name, const std::string& content) {
        platform::EnsureFolder(platform::LocalStateFolder());
        std::ofstream(platform::LocalStateFolder() / name) << content;
        return std::make_shared<platform::StorageFile>(platform::LocalStateFolder() / name);
    }

    tests::StateFolderScope m_state;
};

mode_t ModeOf(const std::filesystem::path& path) {
    struct stat status {};
    stat(path.c_str(), &status);
    return status.st_mode & 0777;
}

TEST_F(Storage, SettingsOfEveryTypeAndEveryTextSurviveARestart) {
    const PropertyMap values = {
        {u"empty", {}},
        {u"yes", true},
        {u"int32", std::int32_t{-2147483647 - 1}},
        {u"int64", std::int64_t{9007199254740993}},
        {u"double", 0.1},
        {u"blank", u" \t\r\n "},
        {u"none", u""},
        {u"key <&\"\\\x01", u"a\0b\x1F\xD800x\xDC00\uFFFE \U0001F600\\u0041 <&>]]>\x7F\x85"s}};
    const auto file = platform::SettingsFolder() / "settings.xml";
    platform::SaveSettings(file, values);
    EXPECT_EQ(g_synced,
              (std::vector{file.string() + ".new-" + std::to_string(getpid()), file.parent_path().string()}));
    EXPECT_EQ(platform::LoadSettings(file), values);
    EXPECT_EQ(ModeOf(file), 0600U);
    EXPECT_EQ(ModeOf(file.parent_path()), 0700U);
    EXPECT_EQ(tests::Names(file.parent_path(), ".xml").size(), 1U);
}

TEST_F(Storage, DamagedSettingsAreSetAsideAndSaidOnce) {
    const auto file = platform::SettingsFolder() / "settings.xml";
    for (const std::string content :
         {"", "<settings", "no xml at all", "<other/>",
          "<settings><setting key='a' type='Int32'>x</setting></settings>",
          "<settings><setting key='a' type='Colour'>x</setting></settings>",
          "<settings><setting key='a' type='String'>\\u12</setting></settings>"}) {
        platform::EnsureFolder(file.parent_path());
        std::ofstream(file) << content;
        testing::internal::CaptureStderr();
        EXPECT_TRUE(platform::LoadSettings(file).empty()) << content;
        const auto said = testing::internal::GetCapturedStderr();
        EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;
        EXPECT_EQ(said.find(" (a: ") != said.npos, content.find("key") != content.npos) << said;
        EXPECT_FALSE(std::filesystem::exists(file));
        EXPECT_TRUE(std::filesystem::exists(file.string() + ".damaged"));
    }
}

TEST_F(Storage, SettingsThatCannotBeSavedHoldUntilTheEndAndAreSavedLater) {
    const auto folder = platform::SettingsFolder();
    platform::EnsureFolder(folder.parent_path());
    std::ofstream(folder) << "a file where the folder should be";
    ApplicationDataContainer container(folder / "settings.xml");
    testing::internal::CaptureStderr();
    container.Values().Insert(u"a", true);
    container.Values().Insert(u"b", true);
    const auto said = testing::internal::GetCapturedStderr();
    EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;
    EXPECT_EQ(container.Values().Lookup(u"a"), PropertyValue(true));

    std::filesystem::remove(folder);
    container.Values().Remove(u"b");
    EXPECT_EQ(platform::LoadSettings(folder / "settings.xml"), (PropertyMap{{u"a", true}}));
}

TEST_F(Storage, ProcessesKeepEachOthersSettings) {
    const auto file = platform::SettingsFolder() / "settings.xml";
    // Of a process that was killed while it saved.
    tests::WriteBytes(file.string() + ".new-1", {});
    std::vector<pid_t> others;
    for (char16_t name = u'a'; name < u'e'; ++name) {
        others.push_back(fork());
        if (others.back() == 0) {
            ApplicationDataContainer container(file);
            for (std::int32_t i = 0; i < 10; ++i) {
                container.Values().Insert({&name, 1}, i);
            }
            _exit(0);
        }
    }
    for (const pid_t other : others) {
        waitpid(other, nullptr, 0);
    }
    const auto values = platform::LoadSettings(file);
    EXPECT_EQ(values.size(), others.size());
    EXPECT_EQ(tests::Names(file.parent_path(), ".new-1"), std::vector<std::string>());
    EXPECT_TRUE(
        std::ranges::all_of(values, [](const auto& each) { return each.second == PropertyValue(9); }));
}

TEST_F(Storage, MovesKeepWhatIsThereUnlessToldOtherwise) {
    const auto open = [](platform::CreationCollisionOption option) {
        return platform::ApplicationData::Current().LocalFolder()->CreateFolderAsync(u"Target", option).get();
    };
    const auto folder = open(platform::CreationCollisionOption::OpenIfExists);
    EXPECT_EQ(folder->Path(), platform::FromPathBytes((platform::LocalStateFolder() / "Target").native()));
    EXPECT_THROW(open(platform::CreationCollisionOption::FailIfExists), platform::Exception);
    const auto first = Make("1", "one");
    first->MoveAsync(folder, u"file.etl", NameCollisionOption::FailIfExists).get();
    EXPECT_EQ(first->Path(), folder->Path() + u"/file.etl");

    const auto second = Make("2", "second");
    try {
        second->MoveAsync(folder, u"file.etl", NameCollisionOption::FailIfExists).get();
        FAIL() << "replaced a file";
    } catch (const platform::Exception& exception) {
        EXPECT_EQ(exception.Code(), platform::result::kAlreadyExists);
    }
    EXPECT_EQ(second->Name(), u"2");
    second->MoveAsync(folder, u"file.etl", NameCollisionOption::GenerateUniqueName).get();
    EXPECT_EQ(second->Name(), u"file (2).etl");
    second->MoveAsync(folder, u"file.etl", NameCollisionOption::ReplaceExisting).get();
    EXPECT_EQ(tests::Names(folder->NativePath()), (std::vector<std::string>{"file.etl"}));
    const auto moved = platform::StorageFile::GetFileFromPathAsync(folder->Path() + u"/file.etl").get();
    EXPECT_EQ(tests::ReadBytes(platform::ToPathBytes(moved->Path())).size(), 6U);
    EXPECT_THROW(platform::StorageFile::GetFileFromPathAsync(folder->Path() + u"/none").get(),
                 platform::Exception);
}

}  // namespace
