// The reader against what it was written, and against every kind of damage.

#include "platform/diagnostics/EventTraceReader.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "platform/core/Exception.h"
#include "platform/diagnostics/EventTraceFormat.h"
#include "platform/diagnostics/EventTraceImage.h"

namespace {

using platform::etl::TraceEvent;
using platform::etl::TraceSummary;

struct Read {
    std::vector<std::u16string> texts;
    TraceSummary summary;
    bool refused = false;
};

Read ReadAll(std::span<const std::byte> bytes) {
    Read read;
    try {
        read.summary = platform::etl::ReadEventTrace(
            bytes, [&](TraceEvent&& event) { read.texts.push_back(std::move(event.Text)); });
    } catch (const platform::Exception&) {
        read.refused = true;
    }
    return read;
}

/// A file of two buffers with three messages.
std::vector<std::byte> SmallFile() {
    std::vector<std::byte> memory(platform::etl::kFileSize);
    platform::etl::EventTraceImage image(memory.data());
    image.Prepare(u"Session", u"Session.etl", 0);
    image.Begin(1, 2, 133000000000000000, 1000);
    for (const char16_t* text : {u"one", u"two", u"three"}) {
        image.Append({.Channel = u"c", .Text = text, .Level = 1, .Thread = 3, .Process = 2}, 2000);
    }
    image.Complete(133000000000001000, 7);
    return {image.Bytes().begin(), image.Bytes().end()};
}

TEST(EventTraceReader, TellsTheFileApartAndItsLoss) {
    const auto read = ReadAll(SmallFile());
    EXPECT_EQ(read.texts, (std::vector<std::u16string>{u"one", u"two", u"three"}));
    EXPECT_EQ(read.summary.Header.EventsLost, 7U);
    EXPECT_EQ(read.summary.Header.SystemTime, 1000);
    EXPECT_EQ(read.summary.Header.SessionName, u"Session");
}

TEST(EventTraceReader, ReadsWhatIsWholeOfAFileCutAnywhere) {
    const auto file = SmallFile();
    const std::vector<std::size_t> ends = {0x10000 + 0x48 + 0x60, 0x10000 + 0x48 + 0xC0,
                                           0x10000 + 0x48 + 0x120};
    for (std::size_t length = 0; length < file.size();
         length += length < 0x200 || length >= 0xFFF0 ? 1 : 509) {
        if (length > 0x10400) {
            break;
        }
        const auto read = ReadAll(std::span(file).first(length));
        EXPECT_EQ(read.refused, length < 0x180) << length;
        const auto whole = std::ranges::count_if(ends, [&](std::size_t end) { return end - 8 <= length; });
        EXPECT_LE(read.texts.size(), static_cast<std::size_t>(whole)) << length;
        EXPECT_GE(read.texts.size() + 1, static_cast<std::size_t>(whole)) << length;
        EXPECT_TRUE(read.refused || !read.summary.Problems.empty()) << length;
    }
}

TEST(EventTraceReader, SurvivesDamageAtEveryByte) {
    auto file = SmallFile();
    const auto damage = [&](std::size_t from, std::size_t to) {
        for (std::size_t at = from; at < to; ++at) {
            const auto right = file[at];
            for (const auto wrong : {std::byte{0}, std::byte{0xFF}, std::byte{0x7F}, right ^ std::byte{1},
                                     right ^ std::byte{0x80}}) {
                file[at] = wrong;
                const auto read = ReadAll(file);
                EXPECT_LE(read.texts.size(), 3U) << at;
                // A record's size that hides others, or the end of its own text, shows.
                const bool isSize = at >= 0x10048 && at < 0x10168 && (at - 0x10048) % 0x60 < 2;
                EXPECT_TRUE(!isSize || wrong == right || !read.summary.Problems.empty()) << at;
                // What completes a crashed run's file trusts nothing either.
                auto copy = file;
                const auto length = platform::etl::EventTraceImage::CompleteLeftover(copy);
                EXPECT_LE(length, copy.size());
                if (length != 0) {
                    ReadAll(std::span(copy).first(length));
                }
            }
            file[at] = right;
        }
    };
    damage(0, 0x1C8);
    damage(0x10000, 0x10000 + 0x48 + 0x128);
}

TEST(EventTraceReader, GoesOnBehindADamagedBufferAndCountsForeignEvents) {
    std::vector<std::byte> memory(platform::etl::kFileSize);
    platform::etl::EventTraceImage image(memory.data());
    image.Prepare(u"S", u"S.etl", 0);
    image.Begin(1, 2, 133000000000000000, 0);
    const std::u16string large(20000, u'l');
    for (int i = 0; i < 3; ++i) {
        image.Append({.Channel = u"c", .Text = large, .Level = 0, .Thread = 1, .Process = 2}, 0);
    }
    image.Append({.Channel = u"c", .Text = u"last", .Level = 0, .Thread = 1, .Process = 2}, 0);
    image.Complete(133000000000000000, 0);
    memory[0x10000 + 0x48] = std::byte{1};  // a record too short
    memory[0x10000 + 0x49] = std::byte{0};
    memory[0x20000 + 0x48 + 0x18] = std::byte{0};  // another provider
    const auto read = ReadAll(image.Bytes());
    EXPECT_EQ(read.texts.size(), 2U);
    EXPECT_EQ(read.texts.back(), u"last");
    EXPECT_EQ(read.summary.Problems.size(), 1U);
    EXPECT_EQ(read.summary.ForeignEvents, 1U);
}

}  // namespace
