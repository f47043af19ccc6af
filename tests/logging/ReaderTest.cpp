// What a log file holds to the byte, and the reader against what was written and every kind of damage.

#include "platform/diagnostics/EventTraceReader.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "platform/core/Exception.h"
#include "platform/diagnostics/EventTraceImage.h"
#include "tests/support/Golden.h"
#include "tests/support/LogFolder.h"

namespace {

using Texts = std::vector<std::u16string>;

struct Read {
    Texts texts;
    platform::etl::TraceSummary summary;
    bool refused = false;
};

Read ReadAll(std::span<const std::byte> bytes) {
    Read read;
    try {
        read.summary = platform::etl::ReadEventTrace(
            bytes, [&](auto&& event) { read.texts.push_back(std::move(event.Text)); });
    } catch (const platform::Exception&) {
        read.refused = true;
    }
    return read;
}

const Texts kTexts = {u"one", u"two", u"three"};
constexpr std::size_t kRecords = 0x10048;
/// Of each of the three records, with its padding.
constexpr std::size_t kRecordSize = 0x60;

TEST(EventTraceImage, WritesTheFormatAlsoBehindACrash) {
    const std::u16string large(20'000, u'l');
    auto file = tests::LogFile({u"one", large, large, u"last"}, 7);
    tests::ExpectGolden("logging/images/complete.txt", tests::HexLines(file));
    // The first buffer was left with what was behind it, the second in the middle of its last record, and
    // none has the mark of the last one.
    const std::size_t largeSize = 0x50 + 2 * (1 + large.size() + 2) + 2;
    std::fill(file.begin() + kRecords + kRecordSize + largeSize, file.begin() + 0x20000, std::byte{'j'});
    file[kRecords + 0x10000 + largeSize] = std::byte{0};
    for (std::size_t at = kRecords & ~0xFFFFU; at < file.size(); at += 0x10000) {
        file[at + 0x34] = std::byte{0x20};
    }
    file.resize(platform::etl::EventTraceImage::CompleteLeftover(file));
    tests::ExpectGolden("logging/images/leftover.txt", tests::HexLines(file));
}

TEST(EventTraceReader, ReadsWhatIsWholeOfAFileCutAnywhere) {
    const auto file = tests::LogFile(kTexts, 7);
    const auto whole = ReadAll(file);
    EXPECT_EQ(whole.texts, kTexts);
    EXPECT_EQ(whole.summary.Header.EventsLost, 7U);
    EXPECT_EQ(whole.summary.Header.SystemTime, 1000);
    EXPECT_EQ(whole.summary.Header.SessionName, u"Session");
    EXPECT_TRUE(whole.summary.Problems.empty());
    // The first two need no padding to be whole.
    constexpr std::size_t kEnds[] = {kRecords + kRecordSize - 4, kRecords + 2 * kRecordSize - 4,
                                     kRecords + 3 * kRecordSize};
    for (std::size_t length = 0; length < 0x10200; length += length < 0x200 || length >= 0xFFF0 ? 1 : 509) {
        const auto read = ReadAll(std::span(file).first(length));
        EXPECT_EQ(read.refused, length < 0x180) << length;
        EXPECT_EQ(static_cast<long>(read.texts.size()),
                  std::ranges::count_if(kEnds, [&](std::size_t end) { return end <= length; }))
            << length;
        EXPECT_TRUE(read.refused || !read.summary.Problems.empty()) << length;
    }
}

TEST(EventTraceReader, ReportsARecordWhoseSizeHidesOthersOrTheEndOfItsText) {
    auto file = tests::LogFile(kTexts);
    for (const auto record : {kRecords, kRecords + kRecordSize, kRecords + 2 * kRecordSize}) {
        for (const auto at : {record, record + 1}) {
            const auto right = file[at];
            for (int wrong = 0; wrong < 256; ++wrong) {
                file[at] = static_cast<std::byte>(wrong);
                EXPECT_EQ(ReadAll(file).summary.Problems.empty(), file[at] == right) << at << " " << wrong;
            }
            file[at] = right;
        }
    }
}

TEST(EventTraceReader, GoesOnBehindADamagedBufferAndCountsForeignEvents) {
    const std::u16string large(20000, u'l');
    auto file = tests::LogFile({large, large, large, u"last"});
    file[kRecords] = std::byte{1};  // a record too short
    file[kRecords + 1] = std::byte{0};
    file[kRecords + 0x10000 + 0x18] = std::byte{0};  // another provider
    const auto read = ReadAll(file);
    EXPECT_EQ(read.texts, (Texts{large, u"last"}));
    EXPECT_EQ(read.summary.Problems.size(), 1U);
    EXPECT_EQ(read.summary.ForeignEvents, 1U);
}

}  // namespace
