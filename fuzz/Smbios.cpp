// Firmware tables: everything that reads them, on any bytes.

#include <cstdlib>

#include "daemon/machine/BiosPassword.h"
#include "daemon/machine/Memory.h"
#include "daemon/machine/Recorder.h"
#include "daemon/machine/Smbios.h"
#include "daemon/machine/Values.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view table(reinterpret_cast<const char*>(data), size);
    const auto structures = daemon_service::ParseSmbios(table);
    static daemon_service::Tree nothing("/proc/self/fdinfo");
    daemon_service::ReadBiosPassword(nothing, structures);
    const auto installed = daemon_service::InstalledMemory(structures);
    std::size_t read = 0;
    for (const daemon_service::SmbiosStructure& structure : structures) {
        read += structure.Formatted.size();
        for (const std::string_view text : structure.Strings) {
            daemon_service::Value(text);
        }
    }
    // A recorded table must be one that reads the same.
    const std::string recorded = daemon_service::WithoutIdentifiers("/sys/firmware/dmi/tables/DMI", table);
    if (read > size || daemon_service::InstalledMemory(daemon_service::ParseSmbios(recorded)) != installed) {
        std::abort();
    }
    return 0;
}
