// kelvane-service: the reference service for Linux. See kelvane-service(8).

#include <unistd.h>

#include <cstdlib>
#include <exception>

#include "host/actions/Configuration.h"
#include "host/actions/ToolStarter.h"
#include "host/machine/Recorder.h"
#include "host/service/Log.h"
#include "host/service/Options.h"
#include "host/service/Records.h"
#include "host/service/Serve.h"

namespace {

int StartTool(const host::Options& options) {
    const auto tool = host::ToolByName(options.Argument);
    if (!tool) {
        host::Log(host::Priority::Error,
                  "unknown tool \"" + options.Argument + "\"; known are system-information and usb-type-c");
        return host::kUsageStatus;
    }
    host::BecomeTool(*tool, host::LoadConfiguration(options.Configuration, geteuid()));
}

int Record(const host::Options& options) {
    for (const std::string& note : host::Record(options.Sysroot, options.Argument)) {
        host::Log(host::Priority::Information, note);
    }
    host::Log(host::Priority::Information,
              "recorded to " + options.Argument + "; look it through before you send it");
    return EXIT_SUCCESS;
}

int Run(const host::Options& options) {
    switch (options.Mode) {
        case host::Options::Task::Print:
            host::PrintRecords(options.Sysroot);
            return EXIT_SUCCESS;
        case host::Options::Task::Record:
            return Record(options);
        case host::Options::Task::StartTool:
            return StartTool(options);
        case host::Options::Task::Serve:
            break;
    }
    return host::Serve(options);
}

}  // namespace

int main(int count, char** arguments) {
    const auto [options, exitStatus] = host::ParseOptions(count, arguments);
    if (!options) {
        return exitStatus;
    }
    try {
        return Run(*options);
    } catch (const std::exception& exception) {
        host::Log(host::Priority::Error, exception.what());
        return EXIT_FAILURE;
    }
}
