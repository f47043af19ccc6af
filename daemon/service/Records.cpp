#include "daemon/service/Records.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <utility>

#include "daemon/machine/SystemInformation.h"
#include "daemon/machine/UsbTypeC.h"
#include "daemon/service/Log.h"
#include "platform/core/StandardOutput.h"
#include "platform/core/Text.h"

namespace daemon_service {

namespace {

constexpr std::size_t kLabelWidth = 20;

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

/// A line for each field, and the record as it is served.
std::string Printed(const std::string& heading, const std::vector<Field>& fields) {
    std::string text = heading + "\n";
    for (const Field& field : fields) {
        auto label = platform::ToUtf8(field.Label);
        label.resize(std::max(label.size(), kLabelWidth), ' ');
        text += "  " + label + " " + platform::ToValidUtf8(field.Text) + "\n";
    }
    const std::u16string record = Joined(fields);
    return text + "  record (" + std::to_string(record.size()) + " characters)\n  " +
           platform::ToValidUtf8(record) + "\n";
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
    MachineFiles files(m_sysroot);
    std::u16string record = Joined(ReadSystemInformation(files));
    LogNews(m_systemInformationNotes, files.Notes());
    return record;
}

std::optional<std::u16string> Records::UsbTypeC() {
    if (m_usbTypeCFile) {
        return FileText(*m_usbTypeCFile);
    }
    MachineFiles files(m_sysroot);
    std::u16string record = Joined(ReadUsbTypeC(files));
    LogNews(m_usbTypeCNotes, files.Notes());
    return record;
}

void Records::LogNews(platform::Guarded<Notes>& known, const Notes& notes) {
    const bool news = known.With([&notes](Notes& last) { return std::exchange(last, notes) != notes; });
    for (const std::string& note : news ? notes : Notes()) {
        Log(Priority::Information, note);
    }
}

bool PrintRecords(const std::string& sysroot) {
    MachineFiles files(sysroot);
    const auto text = Printed("System information", ReadSystemInformation(files)) +
                      Printed("USB Type-C", ReadUsbTypeC(files));
    const bool written = platform::WriteStandardOutput(kProgram.Name, text);
    for (const std::string& note : files.Notes()) {
        Log(Priority::Information, note);
    }
    return written;
}

}  // namespace daemon_service
