// kelvane-service: the reference service for Linux. See kelvane-service(8).

#include <unistd.h>

#include <cstdlib>
#include <exception>

#include "daemon/actions/Configuration.h"
#include "daemon/actions/ToolStarter.h"
#include "daemon/machine/Recorder.h"
#include "daemon/service/Log.h"
#include "daemon/service/Options.h"
#include "daemon/service/Records.h"
#include "daemon/service/Serve.h"

namespace {

int StartTool(const daemon_service::Options& options) {
    const auto tool = daemon_service::ToolByName(options.Argument);
    if (!tool) {
        daemon_service::Log(
            daemon_service::Priority::Error,
            "unknown tool \"" + options.Argument + "\"; known are system-information and usb-type-c");
        return daemon_service::kUsageStatus;
    }
    daemon_service::BecomeTool(*tool, daemon_service::LoadConfiguration(options.Configuration, geteuid()));
}

int Record(const daemon_service::Options& options) {
    for (const std::string& note : daemon_service::Record(options.Sysroot, options.Argument)) {
        daemon_service::Log(daemon_service::Priority::Information, note);
    }
    daemon_service::Log(daemon_service::Priority::Information,
                        "recorded to " + options.Argument + "; look it through before you send it");
    return EXIT_SUCCESS;
}

int Run(const daemon_service::Options& options) {
    switch (options.Mode) {
        case daemon_service::Options::Task::Print:
            daemon_service::PrintRecords(options.Sysroot);
            return EXIT_SUCCESS;
        case daemon_service::Options::Task::Record:
            return Record(options);
        case daemon_service::Options::Task::StartTool:
            return StartTool(options);
        case daemon_service::Options::Task::Serve:
            break;
    }
    return daemon_service::Serve(options);
}

}  // namespace

int main(int count, char** arguments) {
    const auto [options, exitStatus] = daemon_service::ParseOptions(count, arguments);
    if (!options) {
        return exitStatus;
    }
    try {
        return Run(*options);
    } catch (const std::exception& exception) {
        daemon_service::Log(daemon_service::Priority::Error, exception.what());
        return EXIT_FAILURE;
    }
}
