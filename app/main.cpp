#include <csignal>
#include <optional>

#include "app/App.h"
#include "app/CommandLine.h"
#include "app/ServiceReport.h"
#include "app/TextOutput.h"
#include "backends/desktop/DesktopWorld.h"
#include "backends/desktop/Display.h"
#include "backends/headless/HeadlessWorld.h"
#include "package/PackageContent.h"
#include "platform/core/EndSignals.h"
#include "platform/core/StandardError.h"
#include "platform/core/StandardOutput.h"
#include "platform/resources/PackageFiles.h"

namespace {

using Kelvane::CommandLine;

/// Exit status beside those of every program.
constexpr int kNoDisplay = 3;

/// Runs the whole application without a screen and prints what it shows.
int RunText(const CommandLine& line, Kelvane::OutputFormat format) {
    platform::RequireStandardOutput();
    headless::HeadlessWorld world({.Words = line.Words});
    std::optional<int> status;
    const int ended = platform::Application::Start(world, [&] {
        Kelvane::WhenServiceAnswered(world.Loop(), line.Timeout, [&status, format](bool answered) {
            status = 1;
            if (answered) {
                const bool written =
                    platform::WriteStandardOutput(Kelvane::kProgram.Name, Kelvane::MachineAs(format));
                status = Kelvane::ReportMissingData() && written ? 0 : 1;
            }
            platform::Application::Exit();
        });
        return Kelvane::App::Create();
    });
    if (ended == 0 && !status) {
        std::fputs("kelvane: the program was ended before the system service had answered.\n", stderr);
    }
    return ended != 0 ? ended : status.value_or(1);
}

/// Opens the window, or hands the start to the program that shows one already.
int RunWindow(const CommandLine& line) {
    if (!desktop::DisplayAvailable()) {
        platform::WriteStandardError(
            {"kelvane: there is no display to open a window on; set DISPLAY or WAYLAND_DISPLAY, or use "
             "'kelvane --text'."});
        return kNoDisplay;
    }
    const bool takesPicture = !line.Screenshot.empty();
    // The window that is open already may show identifiers.
    const auto world = desktop::CreateDesktopWorld({.Words = line.Words,
                                                    .SingleInstance = !takesPicture && !line.HidesIdentifiers,
                                                    .Background = line.Background});
    bool complete = true;
    std::string problem = takesPicture ? "the program was ended before" : "";
    const auto savePicture = [&] {
        world->SavePicture(line.Screenshot, [&problem](const std::string& error) {
            problem = error;
            platform::Application::Exit();
        });
    };
    const int ended = platform::Application::Start(*world, [&] {
        if (takesPicture) {
            Kelvane::WhenServiceAnswered(world->Loop(), line.Timeout, [&](bool answered) {
                complete = answered && Kelvane::ReportMissingData();
                if (answered) {
                    // The page shows the details in a chain of its own.
                    platform::Application::WhenIdle(savePicture);
                } else {
                    problem.clear();
                    platform::Application::Exit();
                }
            });
        }
        return Kelvane::App::Create();
    });
    if (ended == 0 && !problem.empty()) {
        platform::WriteStandardError({"kelvane: the picture could not be saved: ", problem});
        return 1;
    }
    return ended == 0 && !complete ? 1 : ended;
}

int Run(const CommandLine& line) {
    platform::SetPackageFiles(Kelvane::PackageContent());
    Kelvane::RegisterPages();
    platform::VerifyPackageDirectory();
    if (line.HidesIdentifiers) {
        Kelvane::HideIdentifiers();
    }
    switch (line.Wanted) {
        case CommandLine::Action::Text:
            return RunText(line, Kelvane::OutputFormat::Text);
        case CommandLine::Action::Json:
            return RunText(line, Kelvane::OutputFormat::Json);
        case CommandLine::Action::Window:
            break;
    }
    return RunWindow(line);
}

}  // namespace

int main(int argc, char** argv) {
    platform::BlockEndSignals();
    // A reader that goes away is a failed write, which is reported.
    std::signal(SIGPIPE, SIG_IGN);
    return platform::RunProgram(Kelvane::kProgram, argc, argv, [](const auto& arguments) {
        return Run(Kelvane::ReadCommandLine(arguments));
    });
}
