#include "daemon/service/Records.h"

#include <cstdio>
#include <fstream>
#include <iterator>
#include <utility>

#include "daemon/machine/SystemInformation.h"
#include "daemon/machine/UsbTypeC.h"
#include "daemon/service/Log.h"
#include "platform/core/Text.h"

namespace daemon_service {

namespace {

/// The file's text without the line end that editors put there.
std::optional<std::u16string> FileText(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        Log(Priority::Warning, "cannot read " + path + "; a null text is served in its place");
        return std::nullopt;
    }
    std::string text(std::istreambuf_iterator<char>(file), {});
    if (text.ends_with('\n')) {
        text.pop_back();
    }
    return platform::FromUtf8(text);
}

void Print(const char* heading, const std::vector<Field>& fields) {
    std::printf("%s\n", heading);
    for (const Field& field : fields) {
        std::printf("  %-20s %s\n", platform::ToUtf8(field.Label).c_str(),
                    platform::ToValidUtf8(field.Text).c_str());
    }
    const std::u16string record = Joined(fields);
    std::printf("  record (%zu characters)\n  %s\n", record.size(), platform::ToValidUtf8(record).c_str());
}

}  // namespace

Records::Records(const Options& options)
    : m_sysroot(options.Sysroot),
      m_systemInformationFile(options.SystemInformationFile),
      m_usbTypeCFile(options.UsbTypeCFile) {}

std::optional<std::u16string> Records::SystemInformation() {
    if (m_systemInformationFile) {
        return FileText(*m_systemInformationFile);
    }
    Tree tree(m_sysroot);
    std::u16string record = Joined(ReadSystemInformation(tree));
    LogNews(m_systemInformationNotes, tree.Notes());
    return record;
}

std::optional<std::u16string> Records::UsbTypeC() {
    if (m_usbTypeCFile) {
        return FileText(*m_usbTypeCFile);
    }
    Tree tree(m_sysroot);
    std::u16string record = Joined(ReadUsbTypeC(tree));
    LogNews(m_usbTypeCNotes, tree.Notes());
    return record;
}

void Records::LogNews(platform::Guarded<Notes>& known, const Notes& notes) {
    const bool news = known.With([&notes](Notes& last) { return std::exchange(last, notes) != notes; });
    for (const std::string& note : news ? notes : Notes()) {
        Log(Priority::Information, note);
    }
}

void PrintRecords(const std::string& sysroot) {
    Tree tree(sysroot);
    Print("System information", ReadSystemInformation(tree));
    Print("USB Type-C", ReadUsbTypeC(tree));
    for (const std::string& note : tree.Notes()) {
        Log(Priority::Information, note);
    }
}

}  // namespace daemon_service
