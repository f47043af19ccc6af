// Firmware tables: everything that reads them, on any bytes.

#include <cstdlib>

#include "host/machine/BiosPassword.h"
#include "host/machine/Memory.h"
#include "host/machine/Recorder.h"
#include "host/machine/Smbios.h"
#include "host/machine/Values.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view table(reinterpret_cast<const char*>(data), size);
    const auto structures = host::ParseSmbios(table);
    static host::Tree nothing("/proc/self/fdinfo");
    host::ReadBiosPassword(nothing, structures);
    const auto installed = host::InstalledMemory(structures);
    std::size_t read = 0;
    for (const host::SmbiosStructure& structure : structures) {
        read += structure.Formatted.size();
        for (const std::string_view text : structure.Strings) {
            host::Value(text);
        }
    }
    // A recorded table must be one that reads the same.
    const std::string recorded = host::WithoutIdentifiers("/sys/firmware/dmi/tables/DMI", table);
    if (read > size || host::InstalledMemory(host::ParseSmbios(recorded)) != installed) {
        std::abort();
    }
    return 0;
}
