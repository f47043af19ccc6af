#include "tests/support/EtlRules.h"

#include <cstdint>
#include <cstring>

namespace tests {

namespace {

class Checker {
  public:
    explicit Checker(std::span<const std::byte> file) : m_file(file) {}

    std::vector<std::string> Run() {
        if (m_file.size() < 0x20000) {
            return {"two buffers at least"};
        }
        Header();
        for (std::size_t at = 0x10000; at + 0x48 <= m_file.size(); at += 0x10000) {
            Buffer(at, at + 0x10000 == m_file.size());
        }
        return m_broken;
    }

  private:
    template <typename T>
    T At(std::size_t offset) const {
        T value;
        std::memcpy(&value, m_file.data() + offset, sizeof value);
        return value;
    }

    void Expect(bool holds, const std::string& rule, std::size_t at) {
        if (!holds) {
            m_broken.push_back(rule + " @" + std::to_string(at));
        }
    }

    template <typename T>
    void Field(std::size_t at, T wanted, const char* name) {
        Expect(At<T>(at) == wanted, std::string(name) + " is " + std::to_string(At<T>(at)), at);
    }

    void Filled(std::size_t from, std::size_t to, unsigned char with) {
        for (; from < to; ++from) {
            if (At<unsigned char>(from) != with) {
                Expect(false, "fill", from);
                return;
            }
        }
    }

    void BufferHeader(std::size_t at, std::uint16_t flag, std::uint16_t type) {
        Field<std::uint32_t>(at, 0x10000, "BufferSize");
        const auto end = At<std::uint32_t>(at + 4);
        Expect(end % 8 == 0 && end > 0x48 && end <= 0x10000, "SavedOffset", at);
        Field(at + 8, end, "CurrentOffset");
        Field(at + 0x30, end, "Offset");
        Field<std::int32_t>(at + 0x0C, 0, "ReferenceCount");
        Field<std::int64_t>(at + 0x18, static_cast<std::int64_t>(at / 0x10000), "SequenceNumber");
        Field<std::uint16_t>(at + 0x28, 0, "ProcessorIndex");
        Field<std::uint16_t>(at + 0x2A, 1, "LoggerId");
        Field<std::uint32_t>(at + 0x2C, 3, "State");
        Field(at + 0x34, flag, "BufferFlag");
        Field(at + 0x36, type, "BufferType");
        Filled(at + end, at + 0x10000, 0xFF);
    }

    void Header() {
        BufferHeader(0, 0x21, 4);
        Field<std::uint16_t>(0x48, 2, "Version");
        Field<std::uint8_t>(0x4A, 2, "HeaderType");
        Field<std::uint8_t>(0x4B, 0xC0, "Flags");
        const std::size_t size = At<std::uint16_t>(0x4C);
        Expect((0x48 + size + 7) / 8 * 8 == At<std::uint32_t>(4), "Size of the header record", 0x4C);
        Expect(At<std::uint32_t>(0x54) != 0, "ProcessId", 0x54);
        Field<std::uint32_t>(0x68, 0x10000, "BufferSize");
        Field<std::uint32_t>(0x6C, 0x0501000A, "version");
        Field<std::uint32_t>(0x74, 1, "NumberOfProcessors");
        Field<std::uint32_t>(0x80, 156250, "TimerResolution");
        Field<std::uint32_t>(0x84, 256, "MaximumFileSize");
        Field<std::uint32_t>(0x88, 0x10002001, "LogFileMode");
        Field<std::uint32_t>(0x8C, static_cast<std::uint32_t>(m_file.size() / 0x10000), "BuffersWritten");
        Expect(m_file.size() % 0x10000 == 0 && m_file.size() <= 0x40000, "whole buffers, 256 KB at most", 0);
        Field<std::uint32_t>(0x94, 8, "PointerSize");
        Expect(At<std::uint32_t>(0x9C) != 0, "CpuSpeedInMHz", 0x9C);
        Field<std::uint32_t>(0x15C, 0, "padding");
        Field<std::int64_t>(0x168, 10000000, "PerfFreq");
        Field<std::uint32_t>(0x178, 1, "clock type");
        m_start = At<std::int64_t>(0x58);
        m_time = m_start;
        const auto startTime = At<std::int64_t>(0x170);
        Expect(At<std::int64_t>(0x160) <= startTime, "BootTime", 0x160);
        m_lastTime = At<std::int64_t>(0x78) - startTime + m_start;
        int zeros = 0;
        for (std::size_t at = 0x180; at < 0x48 + size; at += 2) {
            zeros += At<char16_t>(at) == 0 ? 1 : 0;
        }
        Expect(zeros == 2, "two names", 0x180);
    }

    void Buffer(std::size_t at, bool last) {
        BufferHeader(at, last ? 0x21 : 0x20, 0);
        const std::size_t end = at + At<std::uint32_t>(at + 4);
        std::size_t record = at + 0x48;
        while (record + 0x50 <= end) {
            record = Record(record, end);
        }
        Expect(record == end, "records reach the saved offset", at);
        Expect(At<std::int64_t>(at + 0x10) == m_time, "TimeStamp of the buffer", at);
    }

    std::size_t Record(std::size_t at, std::size_t end) {
        const std::size_t size = At<std::uint16_t>(at);
        const std::size_t next = at + (size + 7) / 8 * 8;
        if (size < 0x54 || next > end) {
            Expect(false, "Size of a record", at);
            return end;
        }
        Field<std::uint16_t>(at + 2, 0xC013, "HeaderType");
        Field<std::uint32_t>(at + 4, 0, "Flags and EventProperty");
        const auto time = At<std::int64_t>(at + 0x10);
        Expect(time >= m_time && time <= m_lastTime, "times do not decrease and lie in the file's", at);
        m_time = time;
        static constexpr unsigned char kProvider[] = {0x6e, 0x82, 0xd2, 0x4b, 0xa1, 0x54, 0xa9, 0x4b,
                                                      0xbf, 0x63, 0x92, 0xb7, 0x3e, 0xa1, 0xac, 0x4a};
        Expect(std::memcmp(m_file.data() + at + 0x18, kProvider, 16) == 0, "ProviderId", at);
        const auto id = At<std::uint16_t>(at + 0x28);
        Expect(id >= 1 && id <= 5 && At<std::uint8_t>(at + 0x2C) == id, "Id and Level", at);
        Field<std::uint64_t>(at + 0x30, 1, "Keyword");
        int zeros = 0;
        for (std::size_t unit = at + 0x50; unit < at + size; unit += 2) {
            zeros += At<char16_t>(unit) == 0 ? 1 : 0;
        }
        Expect(zeros == 2 && At<char16_t>(at + size - 2) == 0, "two texts and nothing else", at);
        Filled(at + size, next, 0);
        return next;
    }

    std::span<const std::byte> m_file;
    std::vector<std::string> m_broken;
    std::int64_t m_start = 0;
    std::int64_t m_time = 0;
    std::int64_t m_lastTime = 0;
};

}  // namespace

std::vector<std::string> BrokenRules(std::span<const std::byte> file) {
    return Checker(file).Run();
}

}  // namespace tests
