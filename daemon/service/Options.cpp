#include "daemon/service/Options.h"

namespace daemon_service {

namespace {

constexpr std::chrono::seconds kLongestIdle = std::chrono::hours(24);

constexpr platform::ProgramOption kOptions[] = {
    {.Name = "directory",
     .Argument = "DIR",
     .Help = "where the endpoint's socket is made (default: $KELVANE_RPC_DIRECTORY, else /run/kelvane/rpc)"},
    {.Name = "system-information",
     .Argument = "FILE",
     .Help =
         "serve FILE's text as the system-information record (UTF-8, read anew at each call; a missing file "
         "gives a null text)"},
    {.Name = "usb-type-c", .Argument = "FILE", .Help = "the same as the USB Type-C record"},
    {.Name = "configuration",
     .Argument = "FILE",
     .Help = "tools and firmware request (default: /etc/kelvane/service.conf)"},
    {.Name = "idle-exit",
     .Argument = "SECONDS",
     .Help = "end after so long without a client; 0: never (default: 120 when the service manager holds the "
             "socket, else 0)"},
    {.Name = "sysroot", .Argument = "DIR", .Help = "describe the machine whose files are recorded below DIR"},
    {.Name = "print",
     .Help =
         "instead of serving, print each value, or why there is none, beside its source, and both records, "
         "and end",
     .Exclusive = true},
    {.Name = "record",
     .Argument = "DIR",
     .Help =
         "instead of serving, write the files that describe this machine to DIR, without serial numbers, to "
         "send along with a fault report, and end",
     .Exclusive = true},
    {.Name = "start-tool",
     .Argument = "TOOL",
     .Choices = "system-information usb-type-c",
     .Help =
         "instead of serving, start system-information or usb-type-c in the session of the current user and "
         "end",
     .Exclusive = true},
};

constexpr std::string_view kSynopses[] = {"[OPTION ...]"};

}  // namespace

constinit const platform::Program kProgram{
    .Name = "kelvane-service",
    .Synopses = kSynopses,
    .Summary = "Tells Kelvane what this machine is, over the endpoint HotkeyRpcEndpoint.",
    .Notes = R"(Exit status: 0 ended as asked, 1 failed, 2 wrong usage.
The service ends on SIGTERM and SIGINT. See kelvane-service(8).
)",
    .Options = kOptions,
};

Options ReadOptions(const platform::ProgramArguments& arguments) {
    Options options;
    options.Directory = arguments.Value("directory");
    options.SystemInformationFile = arguments.Value("system-information");
    options.UsbTypeCFile = arguments.Value("usb-type-c");
    options.IdleExit = arguments.Seconds("idle-exit", kLongestIdle);
    options.Sysroot = arguments.Value("sysroot").value_or(options.Sysroot);
    options.Configuration = arguments.Value("configuration").value_or(options.Configuration);
    if (arguments.Has("print")) {
        options.Mode = Options::Task::Print;
    }
    if (const auto folder = arguments.Value("record")) {
        options.Mode = Options::Task::Record;
        options.Recording = *folder;
    }
    if (const auto name = arguments.Value("start-tool")) {
        const auto tool = ToolByName(*name);
        if (!tool) {
            throw platform::WrongUsage("unknown tool '" + *name +
                                       "'; known are system-information and usb-type-c");
        }
        options.Mode = Options::Task::StartTool;
        options.StartedTool = *tool;
    }
    return options;
}

}  // namespace daemon_service
