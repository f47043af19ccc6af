#include "tests/support/LogFolder.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <future>
#include <iterator>

#include "platform/diagnostics/EventTraceFormat.h"
#include "platform/diagnostics/EventTraceImage.h"
#include "tests/support/RpcSupport.h"

namespace tests {

std::filesystem::path Memory() {
    const std::filesystem::path memory = "/dev/shm";
    return access(memory.c_str(), W_OK) == 0 ? memory : std::filesystem::temp_directory_path();
}

StateFolderScope::StateFolderScope(const std::filesystem::path& parent) {
    std::string pattern = parent / "kelvane-log-\xFF-XXXXXX";
    m_path = mkdtemp(pattern.data());
    setenv("XDG_STATE_HOME", m_path.c_str(), 1);
}

StateFolderScope::~StateFolderScope() {
    std::filesystem::remove_all(m_path);
}

std::vector<std::byte> ReadBytes(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(stream), {}};
    const auto bytes = std::as_bytes(std::span(text));
    return {bytes.begin(), bytes.end()};
}

void WriteBytes(const std::filesystem::path& path, std::span<const std::byte> bytes) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

std::vector<std::byte> LogFile(const std::vector<std::u16string>& texts, std::uint32_t lost,
                               std::int64_t start) {
    // The memory of a session holds its earlier file.
    std::vector<std::byte> memory(platform::etl::kFileSize, std::byte{'j'});
    platform::etl::EventTraceImage image(memory.data());
    image.Prepare(u"Session", u"Session.etl", -60);
    std::int64_t steady = 1000;
    image.Begin(1, 2, start, steady);
    for (const auto& text : texts) {
        image.Append({.Channel = u"c", .Text = text, .Level = 0, .Thread = 1, .Process = 2}, ++steady);
    }
    image.Complete(start, lost);
    memory.resize(image.Bytes().size());
    return memory;
}

std::string HexLines(std::span<const std::byte> bytes) {
    constexpr std::size_t kWidth = 16;
    std::string lines;
    std::string before;
    for (std::size_t at = 0; at < bytes.size(); at += kWidth) {
        auto line = platform::rpc::test::ToHex(bytes.subspan(at, std::min(kWidth, bytes.size() - at)));
        lines += line == before ? "" : std::to_string(at) + " " + line + "\n";
        before = std::move(line);
    }
    return lines + std::to_string(bytes.size()) + "\n";
}

std::vector<std::string> Names(const std::filesystem::path& folder, const std::string& extension) {
    std::vector<std::string> names;
    if (std::filesystem::exists(folder)) {
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            if (entry.path().extension() == extension) {
                names.push_back(entry.path().filename());
            }
        }
    }
    std::ranges::sort(names);
    return names;
}

std::vector<platform::etl::TraceEvent> ReadSound(const std::filesystem::path& path) {
    const auto bytes = ReadBytes(path);
    std::vector<platform::etl::TraceEvent> events;
    const auto summary = platform::etl::ReadEventTrace(
        bytes, [&](platform::etl::TraceEvent&& event) { events.push_back(event); });
    EXPECT_EQ(summary.Problems, std::vector<std::string>()) << path;
    const auto& header = *reinterpret_cast<const platform::etl::FileHeader*>(bytes.data());
    EXPECT_EQ(header.LogFile.BuffersWritten * std::size_t{platform::etl::kBufferSize}, bytes.size()) << path;
    EXPECT_NE(summary.Header.Process, 0U) << path;
    EXPECT_TRUE(std::ranges::is_sorted(events, {}, &platform::etl::TraceEvent::FileTime)) << path;
    EXPECT_TRUE(events.empty() || events.back().FileTime <= summary.Header.EndTime) << path;
    return events;
}

std::vector<platform::etl::TraceEvent> ReadFolder(const std::filesystem::path& folder) {
    std::vector<std::vector<platform::etl::TraceEvent>> files;
    for (const auto& name : Names(folder)) {
        files.push_back(ReadSound(folder / name));
    }
    std::ranges::sort(files, {},
                      [](const auto& events) { return events.empty() ? 0 : events.front().FileTime; });
    std::vector<platform::etl::TraceEvent> all;
    for (auto& file : files) {
        std::ranges::move(file, std::back_inserter(all));
    }
    return all;
}

std::vector<std::u16string> Texts(const std::vector<platform::etl::TraceEvent>& events) {
    std::vector<std::u16string> texts;
    for (const auto& event : events) {
        texts.push_back(event.Text);
    }
    return texts;
}

void DoWithLimit(const std::string& what, const std::function<void()>& work) {
    auto end = std::async(std::launch::async, work);
    if (end.wait_for(std::chrono::seconds(30)) != std::future_status::ready) {
        std::puts(("FAILED: " + what + " does not end").c_str());
        std::fflush(stdout);
        std::_Exit(1);
    }
    end.get();
}

}  // namespace tests
