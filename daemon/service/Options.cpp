#include "daemon/service/Options.h"

#include <getopt.h>

#include <cstdio>

#include "daemon/machine/Values.h"

namespace daemon_service {

namespace {

constexpr auto kHelp =
    R"(Usage: kelvane-service [OPTION]...
Tells Kelvane what this machine is, over the endpoint HotkeyRpcEndpoint.

Serving (the default):
  --directory DIR             where the endpoint's socket is made
                              (default: $KELVANE_RPC_DIRECTORY, else /run/kelvane/rpc)
  --system-information FILE   serve FILE's text as the system-information record
  --usb-type-c FILE           serve FILE's text as the USB Type-C record
                              (UTF-8, read anew at each call; a missing file gives a null text)
  --configuration FILE        tools and firmware request (default: /etc/kelvane/service.conf)
  --idle-exit SECONDS         end after so long without a client; 0: never (default: 120 when the
                              service manager holds the socket, else 0)
  --sysroot DIR               describe the machine whose files are recorded below DIR

Instead of serving:
  --print                     print both records and end
  --record DIR                write the files that describe this machine to DIR, without
                              serial numbers, to send along with a fault report
  --start-tool TOOL           start system-information or usb-type-c in the session of the
                              current user and end
  --help, --version           print this, or the version, and end

Exit status: 0 ended as asked, 1 failed, 64 unknown option.
The service ends on SIGTERM and SIGINT. See kelvane-service(8).
)";

}  // namespace

ParsedOptions ParseOptions(int count, char** arguments) {
    enum : int {
        kDirectory = 1,
        kSystemInformation,
        kUsbTypeC,
        kConfiguration,
        kIdleExit,
        kSysroot,
        kPrint,
        kRecord,
        kStartTool,
        kHelpOption,
        kVersion
    };
    static const option kOptions[] = {{"directory", required_argument, nullptr, kDirectory},
                                      {"system-information", required_argument, nullptr, kSystemInformation},
                                      {"usb-type-c", required_argument, nullptr, kUsbTypeC},
                                      {"configuration", required_argument, nullptr, kConfiguration},
                                      {"idle-exit", required_argument, nullptr, kIdleExit},
                                      {"sysroot", required_argument, nullptr, kSysroot},
                                      {"print", no_argument, nullptr, kPrint},
                                      {"record", required_argument, nullptr, kRecord},
                                      {"start-tool", required_argument, nullptr, kStartTool},
                                      {"help", no_argument, nullptr, kHelpOption},
                                      {"version", no_argument, nullptr, kVersion},
                                      {}};
    Options options;
    for (int found = 0; (found = getopt_long(count, arguments, "", kOptions, nullptr)) != -1;) {
        switch (found) {
            case kDirectory:
                options.Directory = optarg;
                break;
            case kSystemInformation:
                options.SystemInformationFile = optarg;
                break;
            case kUsbTypeC:
                options.UsbTypeCFile = optarg;
                break;
            case kConfiguration:
                options.Configuration = optarg;
                break;
            case kIdleExit: {
                const auto seconds = Number(optarg);
                if (!seconds || *seconds > 86400) {
                    std::fputs("kelvane-service: --idle-exit takes a number of seconds, 86400 at most\n",
                               stderr);
                    return {.Value = std::nullopt, .ExitStatus = kUsageStatus};
                }
                options.IdleExit = std::chrono::seconds(*seconds);
                break;
            }
            case kSysroot:
                options.Sysroot = optarg;
                break;
            case kPrint:
                options.Mode = Options::Task::Print;
                break;
            case kRecord:
            case kStartTool:
                options.Mode = found == kRecord ? Options::Task::Record : Options::Task::StartTool;
                options.Argument = optarg;
                break;
            case kHelpOption:
                std::fputs(kHelp, stdout);
                return {};
            case kVersion:
                std::puts("kelvane-service " KELVANE_VERSION);
                return {};
            default:
                std::fputs("Try 'kelvane-service --help'.\n", stderr);
                return {.Value = std::nullopt, .ExitStatus = kUsageStatus};
        }
    }
    if (optind < count) {
        std::fprintf(stderr, "kelvane-service: unexpected argument '%s'\nTry 'kelvane-service --help'.\n",
                     arguments[optind]);
        return {.Value = std::nullopt, .ExitStatus = kUsageStatus};
    }
    return {.Value = options};
}

}  // namespace daemon_service
