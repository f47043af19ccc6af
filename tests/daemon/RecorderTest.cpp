// What --record writes: the same answers, and no identifier. All identifiers in tests/machines hold "5ECRET".

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "daemon/machine/Recorder.h"
#include "daemon/machine/SystemInformation.h"
#include "daemon/machine/UsbTypeC.h"
#include "tests/support/RecordedMachine.h"

namespace daemon_service {
namespace {

std::vector<std::u16string> Told(const std::string& root) {
    MachineFiles files(root);
    std::vector<std::u16string> texts;
    for (const Field& field : ReadSystemInformation(files)) {
        const bool identifies = field.Text.find(u"5ECRET") != std::u16string::npos;
        texts.push_back(identifies ? u"RECORDED-SERIAL" : field.Text);
    }
    for (const Field& field : ReadUsbTypeC(files)) {
        texts.push_back(field.Text);
    }
    for (const std::string& note : files.Notes()) {
        texts.emplace_back(note.begin(), note.end());
    }
    return texts;
}

TEST(Recorder, RecordedTreeTellsTheSameWithTheSameFaultsAndWithoutIdentifiers) {
    for (const std::string& name : MachineNames()) {
        const RecordedMachine copy;
        Record(MachineFolder(name), copy.Root());
        EXPECT_EQ(Told(copy.Root()), Told(MachineFolder(name))) << name;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(copy.Root())) {
            if (entry.is_regular_file()) {
                std::ifstream file(entry.path(), std::ios::binary);
                const std::string content(std::istreambuf_iterator<char>(file), {});
                EXPECT_EQ(content.find("5ECRET"), std::string::npos) << name << entry.path();
            }
        }
        EXPECT_THROW(Record(MachineFolder(name), copy.Root()), std::exception) << "nothing is written over";
    }
}

}  // namespace
}  // namespace daemon_service
