#include "daemon/machine/ReadMachine.h"

#include "daemon/machine/Identity.h"
#include "daemon/machine/Memory.h"
#include "daemon/machine/Sources.h"

namespace daemon_service {

MachineDetails ReadSystem(MachineFiles& files) {
    Sources sources(files);
    MachineDetails machine;
    ReadIdentity(sources, machine);
    ReadMemory(sources, machine);
    machine.BiosPassword = ReadBiosPassword(sources, machine.BiosPasswordKinds);

    const auto note = [&files](const char* what, const auto& field) {
        if (!field.Value) {
            files.Note(std::string(what) + ": no value: " + field.Source + ": " +
                       ReasonOf(field.Why, field.Detail));
        }
    };
    note("product name", machine.ProductName);
    note("product number", machine.ProductNumber);
    note("serial number", machine.SerialNumber);
    note("processor", machine.Processor);
    note("operating system", machine.OperatingSystem);
    note("firmware version", machine.FirmwareVersion);
    note("system board", machine.SystemBoard);
    note("build identifier", machine.BuildIdentifier);
    note("BIOS password", machine.BiosPassword);
    return machine;
}

MachineDetails ReadMachine(MachineFiles& files) {
    MachineDetails machine = ReadSystem(files);
    machine.TypeCPorts = ReadTypeCPorts(files);
    return machine;
}

}  // namespace daemon_service
