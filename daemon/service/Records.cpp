#include "daemon/service/Records.h"

#include <fstream>
#include <iterator>
#include <utility>

#include "daemon/machine/ReadMachine.h"
#include "daemon/machine/SystemInformation.h"
#include "daemon/machine/UsbTypeC.h"
#include "daemon/service/Details.h"
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

std::u16string Records::Details(const FirmwareRequest& request, const FirmwareFlagState& flag) {
    const std::lock_guard lock(m_makingDetails);
    MachineFiles files(m_sysroot);
    return DetailsDocument(ReadMachine(files), request, flag);
}

void Records::LogNews(platform::Guarded<Notes>& known, const Notes& notes) {
    const bool news = known.With([&notes](Notes& last) { return std::exchange(last, notes) != notes; });
    for (const std::string& note : news ? notes : Notes()) {
        Log(Priority::Information, note);
    }
}

}  // namespace daemon_service
