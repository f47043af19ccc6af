// kelvane-service: the reference service for Linux. See kelvane-service(8).

#include <unistd.h>

#include <cstdlib>
#include <exception>

#include "daemon/actions/Configuration.h"
#include "daemon/actions/ToolStarter.h"
#include "daemon/machine/Recorder.h"
#include "daemon/service/Log.h"
#include "daemon/service/Options.h"
#include "daemon/service/Print.h"
#include "daemon/service/Serve.h"

namespace {

int Record(const daemon_service::Options& options) {
    for (const std::string& note : daemon_service::Record(options.Sysroot, options.Recording)) {
        daemon_service::Log(daemon_service::Priority::Information, note);
    }
    daemon_service::Log(daemon_service::Priority::Information,
                        "recorded to " + options.Recording + "; look it through before you send it");
    return EXIT_SUCCESS;
}

int Run(const daemon_service::Options& options) {
    switch (options.Mode) {
        case daemon_service::Options::Task::Print:
            return daemon_service::PrintMachine(options.Sysroot) ? EXIT_SUCCESS : EXIT_FAILURE;
        case daemon_service::Options::Task::Record:
            return Record(options);
        case daemon_service::Options::Task::StartTool:
            daemon_service::BecomeTool(options.StartedTool,
                                       daemon_service::LoadConfiguration(options.Configuration, geteuid()));
        case daemon_service::Options::Task::Serve:
            break;
    }
    return daemon_service::Serve(options);
}

}  // namespace

int main(int argc, char** argv) {
    return platform::RunProgram(daemon_service::kProgram, argc, argv, [](const auto& arguments) {
        const auto options = daemon_service::ReadOptions(arguments);
        try {
            return Run(options);
        } catch (const std::exception& exception) {
            daemon_service::Log(daemon_service::Priority::Error, exception.what());
            return EXIT_FAILURE;
        }
    });
}
